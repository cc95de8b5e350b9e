#include "RunLog.h"

#include <QJsonDocument>

namespace {

/** Takes off the part of a line that a killed run may have left at the end. */
bool endWithWholeLine(QFile& file)
{
    constexpr qint64 step = 65536;
    qint64 end = file.size();
    while (end > 0) {
        const qint64 start = qMax<qint64>(0, end - step);
        if (!file.seek(start))
            return false;
        const int feed = file.read(end - start).lastIndexOf('\n');
        end = start;
        if (feed >= 0) {
            end = start + feed + 1;
            break;
        }
    }
    return file.resize(end) && file.seek(end);
}

}  // namespace

bool RunLog::open(const QString& path, bool goOn, ep::SxFileError& error)
{
    m_file.setFileName(path);
    const QIODevice::OpenMode fresh = goOn ? QIODevice::NotOpen : QIODevice::Truncate;
    const bool isReady = m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered | fresh)
                         && (m_file.isSequential() || endWithWholeLine(m_file));
    if (!isReady)
        error = {ep::ExFileError::Unwritable, m_file.errorString()};
    return isReady;
}

bool RunLog::write(const QJsonObject& line)
{
    const QByteArray bytes = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    return m_file.write(bytes) == bytes.size();
}

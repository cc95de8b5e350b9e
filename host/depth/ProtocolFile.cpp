#include "ProtocolFile.h"

#include <QFile>
#include <QFileInfo>

namespace {

/** A protocol does not tell whether its lines arrived, as on a full disk. */
bool holds(const QString& path, const QStringList& lines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QString expected = lines.isEmpty() ? QString() : lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
    return file.readAll() == expected.toLocal8Bit();
}

}  // namespace

bool ProtocolFile::create(ep::SxFileError& error)
{
    // A file takes the place of the old one, and a device is not to be replaced.
    const QFileInfo old(m_path);
    if (old.exists() && !old.isFile()) {
        error = {ep::ExFileError::Unwritable, QStringLiteral("it exists and is no plain file")};
        return false;
    }
    return m_file.create(error);
}

bool ProtocolFile::write(orn::Protocol& protocol, ep::SxFileError& error)
{
    const QString path = m_file.temporaryName();
    if (!protocol.save(path) || !holds(path, protocol.getProtocol())) {
        error = {ep::ExFileError::Unwritable, QStringLiteral("the messages could not be written")};
        return false;
    }
    return m_file.commit(false, error);
}

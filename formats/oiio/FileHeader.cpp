#include "FileHeader.h"

#include "OiioFormat.h"

#include <QFile>
#include <QtEndian>

namespace ep {
namespace oiio {
namespace {

QByteArray beginning(QFile& file, int bytes)
{
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.read(bytes) : QByteArray();
    return content.size() == bytes ? content : QByteArray();
}

/** The reader does not miss the end of a picture's mask, so that a file cut short would seem whole. */
QString iconFlaw(const QString& path)
{
    constexpr int directoryAt = 6;
    constexpr int entryBytes = 16;
    constexpr int lengthAt = 8;
    constexpr int offsetAt = 12;
    QFile file(path);
    const QByteArray header = beginning(file, directoryAt);
    const int pictures = header.isEmpty() ? 0 : qFromLittleEndian<quint16>(header.constData() + 4);
    const QByteArray directory = file.read(pictures * entryBytes);
    if (directory.isEmpty() || directory.size() < pictures * entryBytes)
        return QStringLiteral("the file ends inside its header");
    for (int i = 0; i < pictures; ++i) {
        const char* entry = directory.constData() + i * entryBytes;
        const qint64 end =
            qint64(qFromLittleEndian<quint32>(entry + offsetAt)) + qFromLittleEndian<quint32>(entry + lengthAt);
        if (end > file.size())
            return QStringLiteral("the file is too short for its picture");
    }
    return QString();
}

QString dpxFlaw(const QString& path)
{
    constexpr int userDataAt = 32;
    constexpr quint32 notStated = 0xffffffff;
    QFile file(path);
    const QByteArray header = beginning(file, userDataAt + 4);
    if (header.isEmpty())
        return QStringLiteral("the file ends inside its header");
    const quint32 userData = header.startsWith("XPDS") ? qFromLittleEndian<quint32>(header.constData() + userDataAt)
                                                       : qFromBigEndian<quint32>(header.constData() + userDataAt);
    return userData == notStated || userData <= file.size()
               ? QString()
               : QStringLiteral("its header announces more user data than the file has bytes");
}

}  // namespace

QString headerFlaw(const OiioFormat& format, const QString& path)
{
    if (format.is("ico"))
        return iconFlaw(path);
    return format.is("dpx") ? dpxFlaw(path) : QString();
}

int pngGrayBits(const QString& path)
{
    constexpr int depthAt = 24;
    constexpr int colorTypeAt = 25;
    QFile file(path);
    const QByteArray header = beginning(file, colorTypeAt + 1);
    return !header.isEmpty() && header.at(colorTypeAt) == 0 ? header.at(depthAt) : 0;
}

}  // namespace oiio
}  // namespace ep

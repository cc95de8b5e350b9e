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

}  // namespace

QString headerFlaw(const OiioFormat& format, const QString& path)
{
    if (!format.is("dpx"))
        return QString();
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

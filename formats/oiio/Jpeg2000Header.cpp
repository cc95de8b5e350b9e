#include "Jpeg2000Header.h"

#include <ep/internal/CheckedSize.h>

#include <QFile>
#include <QtEndian>

#include <algorithm>

namespace ep {
namespace oiio {
namespace {

/** Goes to where the image begins: at once, or in one of the boxes of a container. False when there is none. */
bool findCodestream(QFile& file)
{
    constexpr int headBytes = 8, longHeadBytes = 16;
    if (file.peek(2) == QByteArray("\xff\x4f", 2))
        return true;
    for (;;) {
        const qint64 begin = file.pos();
        const QByteArray head = file.peek(longHeadBytes);
        if (head.size() < headBytes)
            return false;
        const qint64 shortSize = qFromBigEndian<quint32>(head.constData());
        const bool isLong = shortSize == 1 && head.size() == longHeadBytes;
        const qint64 size = isLong ? qFromBigEndian<qint64>(head.constData() + headBytes) : shortSize;
        if (head.mid(4, 4) == "jp2c")
            return file.seek(begin + (isLong ? longHeadBytes : headBytes));
        if (size < headBytes || size > file.size() - begin || !file.seek(begin + size))
            return false;
    }
}

}  // namespace

QString jpeg2000Flaw(const QString& path)
{
    constexpr int sizesAt = 8, sizes = 8, numberBytes = 4;
    constexpr int leastTileBytes = 14;  // what tells that one begins
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !findCodestream(file))
        return QString();
    const QByteArray header = file.read(sizesAt + sizes * numberBytes);
    if (header.size() < sizesAt + sizes * numberBytes)
        return QStringLiteral("the file ends inside its header");
    // Right and lower edge, left and upper one, size of tiles, where their grid begins: each across, then down.
    const auto number = [&](int i) {
        return qint64(qFromBigEndian<quint32>(header.constData() + sizesAt + i * numberBytes));
    };
    internal::CheckedSize tiles = 1;
    for (const int direction : {0, 1}) {
        const qint64 length = std::max<qint64>(0, number(direction) - number(6 + direction));
        const qint64 step = std::max<qint64>(1, number(4 + direction));
        tiles = tiles * ((length + step - 1) / step);
    }
    if (!(tiles * leastTileBytes).fits(file.size()))
        return QStringLiteral("its header announces more tiles than the file can have");
    // Of each channel, its depth, and how far apart its samples are across and down.
    constexpr int countBytes = 2, channelBytes = 3;
    const QByteArray count = file.read(countBytes);
    const int channels = count.size() == countBytes ? qFromBigEndian<quint16>(count.constData()) : 0;
    for (int i = 0; i < channels; ++i)
        if (!file.read(channelBytes).endsWith(QByteArray("\1\1", 2)))
            return QStringLiteral("its channels have fewer samples than it has pixels");
    return QString();
}

}  // namespace oiio
}  // namespace ep

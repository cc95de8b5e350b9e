#include "JpegHeader.h"

#include <QFile>
#include <QtEndian>

namespace ep {
namespace oiio {
namespace {

/** The next marker of a JPEG file, as libjpeg finds it; 0 at the end. */
uchar nextJpegMarker(QFile& file)
{
    char byte = 0;
    bool isBehindFill = false;
    while (file.getChar(&byte)) {
        const bool isFill = byte == '\xff';
        if (isBehindFill && !isFill && byte != 0)
            return static_cast<uchar>(byte);
        isBehindFill = isFill;
    }
    return 0;
}

/** Whether the records of an IPTC block end within it. */
bool iptcRecordsFit(QByteArray block)
{
    constexpr int headBytes = 5;
    constexpr int sizeAt = 3;
    while (block.startsWith("\x1c\1") || block.startsWith("\x1c\2")) {
        const int bytes = block.size() < headBytes ? 0 : qFromBigEndian<quint16>(block.constData() + sizeAt);
        if (block.size() < headBytes + bytes)
            return false;
        block.remove(0, headBytes + bytes);
    }
    return block.isEmpty() || block.at(0) != '\x1c' || block.size() > 1;
}

/** Whether the reader stays within @p segment, which it takes for metadata by how it begins. */
bool jpegSegmentFits(const QByteArray& segment)
{
    const QByteArray photoshop("Photoshop 3.0", 14);
    for (const QByteArray& name : {QByteArray("Exif", 5), QByteArray("http://ns.adobe.com/xap/1.0/", 29), photoshop})
        if (segment.size() < name.size() && name.startsWith(segment))
            return false;
    const QByteArray iptc = photoshop + QByteArray("8BIM\4\4", 6);
    if (!segment.startsWith(iptc))
        return !segment.startsWith(photoshop) || segment.size() >= iptc.size();
    // An empty name, and the upper half of the size, which the reader passes over.
    constexpr int nameBytes = 4, sizeBytes = 2;
    const QByteArray content = segment.mid(iptc.size() + nameBytes);
    if (content.size() < sizeBytes)
        return false;
    const int bytes = qFromBigEndian<quint16>(content.constData());
    return bytes <= content.size() - sizeBytes && iptcRecordsFit(content.mid(sizeBytes, bytes));
}

}  // namespace

QString jpegFlaw(const QString& path)
{
    constexpr uchar scan = 0xda, end = 0xd9, firstAlone = 0xd0, lastAlone = 0xd8, temporary = 0x01;
    constexpr uchar exifSegment = 0xe1, photoshopSegment = 0xed;
    constexpr int sizeBytes = 2;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    for (uchar marker = nextJpegMarker(file); marker != 0 && marker != scan && marker != end;
         marker = nextJpegMarker(file)) {
        if ((marker >= firstAlone && marker <= lastAlone) || marker == temporary)
            continue;
        const QByteArray size = file.read(sizeBytes);
        const int bytes = size.size() < sizeBytes ? 0 : qFromBigEndian<quint16>(size.constData()) - sizeBytes;
        if (bytes < 0 || file.pos() + bytes > file.size())
            return QStringLiteral("the file ends inside its header");
        const QByteArray segment = file.read(bytes);
        if ((marker == exifSegment || marker == photoshopSegment) && !jpegSegmentFits(segment))
            return QStringLiteral("its header announces more metadata than it has");
    }
    return QString();
}

}  // namespace oiio
}  // namespace ep

#include "ExrHeader.h"

#include <ep/internal/CheckedSize.h>

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <iterator>
#include <limits>

namespace ep {
namespace oiio {
namespace {

/** A name in the header of an OpenEXR file: up to a zero, that it does not hold. Null when there is no end. */
QByteArray exrName(QFile& file)
{
    constexpr int longest = 256;
    QByteArray name("");
    for (char letter = 0; file.getChar(&letter) && name.size() < longest; name.append(letter))
        if (letter == 0)
            return name;
    return QByteArray();
}

/** What the reader of an OpenEXR file takes memory by, as the attributes of a part state it. */
struct ExrPart {
    qint64 columns = 0;
    qint64 tilePixels = 0;
    qint64 pixelBytes = 0;
    int compression = 0;

    /** Bytes of the lines, or the tile, that are compressed as one, and decompressed at once. */
    qint64 blockBytes() const
    {
        // In the order of their codes: none, RLE, ZIPS, ZIP, PIZ, PXR24, B44, B44A, DWAA, DWAB.
        constexpr int lines[] = {1, 1, 1, 16, 32, 16, 32, 32, 32, 256};
        const bool isKnown = compression >= 0 && compression < static_cast<int>(std::size(lines));
        const auto bytesOf = [&](const internal::CheckedSize& pixels) {
            const internal::CheckedSize bytes = pixels * pixelBytes;
            return bytes.isValid() ? bytes.value() : std::numeric_limits<qint64>::max();
        };
        return std::max(bytesOf(tilePixels), bytesOf(internal::CheckedSize(std::max<qint64>(0, columns))
                                                     * (isKnown ? lines[compression] : 1)));
    }
};

/** Bytes of a pixel by the list of channels: names that end in a zero, each before its type and what does not matter.
 */
qint64 exrPixelBytes(const QByteArray& channels)
{
    constexpr int behindName = 16;
    constexpr char half = 1;
    qint64 bytes = 0;
    for (int end = channels.indexOf('\0'); end > 0 && end + behindName < channels.size();) {
        bytes += channels.at(end + 1) == half ? 2 : 4;
        const int next = end + 1 + behindName;
        end = next < channels.size() && channels.at(next) != 0 ? channels.indexOf('\0', next) : -1;
    }
    return bytes;
}

void takeExrAttribute(const QByteArray& name, const QByteArray& value, ExrPart& part)
{
    constexpr int boxBytes = 16, rightAt = 8, tileBytes = 9, tileHeightAt = 4;
    if (name == "dataWindow" && value.size() == boxBytes)
        part.columns = qint64(qFromLittleEndian<qint32>(value.constData() + rightAt))
                       - qFromLittleEndian<qint32>(value.constData()) + 1;
    else if (name == "tiles" && value.size() == tileBytes)
        part.tilePixels = (internal::CheckedSize(qFromLittleEndian<quint32>(value.constData()))
                           * qFromLittleEndian<quint32>(value.constData() + tileHeightAt))
                              .value();
    else if (name == "channels")
        part.pixelBytes = exrPixelBytes(value);
    else if (name == "compression" && !value.isEmpty())
        part.compression = value.at(0);
}

/** Reads the attributes of one part of an OpenEXR file. False when the file ends before them. */
bool readExrPart(QFile& file, ExrPart& part, bool& hasAttributes)
{
    constexpr int sizeBytes = 4;
    hasAttributes = false;
    for (;;) {
        const QByteArray name = exrName(file);
        if (name.isEmpty())
            return !name.isNull();
        hasAttributes = true;
        const QByteArray type = exrName(file);
        const QByteArray size = file.read(sizeBytes);
        if (type.isNull() || size.size() < sizeBytes)
            return false;
        const qint64 bytes = qFromLittleEndian<quint32>(size.constData());
        if (file.pos() + bytes > file.size())
            return false;
        takeExrAttribute(name, file.read(bytes), part);
    }
}

}  // namespace

ExrHeader readExrHeader(const QString& path)
{
    constexpr int versionAt = 4, versionBytes = 8;
    constexpr quint32 hasPartsBit = 0x1000;
    ExrHeader header;
    QFile file(path);
    const QByteArray version = file.open(QIODevice::ReadOnly) ? file.read(versionBytes) : QByteArray();
    if (version.size() < versionBytes)
        return header;
    const bool hasParts = qFromLittleEndian<quint32>(version.constData() + versionAt) & hasPartsBit;
    header.isWhole = true;
    // A part without attributes stands behind the last.
    for (bool isPart = version.startsWith("v/1\1"); header.isWhole && isPart;) {
        ExrPart part;
        header.isWhole = readExrPart(file, part, isPart);
        header.largestBlock = std::max(header.largestBlock, part.blockBytes());
        header.compression = std::max(header.compression, part.compression);
        isPart = isPart && hasParts;
    }
    return header;
}

}  // namespace oiio
}  // namespace ep

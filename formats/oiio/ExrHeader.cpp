#include "ExrHeader.h"

#include <ep/internal/CheckedSize.h>

#include <QFile>
#include <QVector>
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

/** One image in an OpenEXR file, as its attributes state it. */
struct ExrPart {
    qint64 columns = 0;
    qint64 lines = 0;
    qint64 tileColumns = 0;  // 0: it is stored by lines
    qint64 tileLines = 0;
    qint64 pixelBytes = 0;
    qint64 chunkCount = 0;  // 0: not stated
    int compression = 0;
    QByteArray type;      // empty: not stated
    bool isPlain = true;  // every pixel has one sample in every channel

    bool isTiled() const { return tileColumns > 0 && tileLines > 0; }
    qint64 linesPerBlock() const;
    qint64 blocks() const;
    qint64 blockBytes() const;
    qint64 blockBytes(qint64 block) const;
};

qint64 ceilDivide(qint64 number, qint64 divisor)
{
    return (number + divisor - 1) / divisor;
}

qint64 ExrPart::linesPerBlock() const
{
    // In the order of their codes: none, RLE, ZIPS, ZIP, PIZ, PXR24, B44, B44A, DWAA, DWAB.
    constexpr int linesOf[] = {1, 1, 1, 16, 32, 16, 32, 32, 32, 256};
    const bool isKnown = compression >= 0 && compression < static_cast<int>(std::size(linesOf));
    return isTiled() ? tileLines : isKnown ? linesOf[compression] : 1;
}

/** How many blocks the image is made of in its full size. */
qint64 ExrPart::blocks() const
{
    const internal::CheckedSize down = ceilDivide(lines, linesPerBlock());
    const internal::CheckedSize number = down * (isTiled() ? ceilDivide(columns, tileColumns) : 1);
    return number.isValid() ? number.value() : std::numeric_limits<qint64>::max();
}

/** Bytes of the lines, or the tile, that are compressed as one, and decompressed at once. */
qint64 ExrPart::blockBytes() const
{
    const internal::CheckedSize bytes =
        internal::CheckedSize(isTiled() ? tileColumns : columns) * linesPerBlock() * pixelBytes;
    return bytes.isValid() ? bytes.value() : std::numeric_limits<qint64>::max();
}

/** Bytes of block @p block, which may be cut off by the right or the lower edge. */
qint64 ExrPart::blockBytes(qint64 block) const
{
    const qint64 across = isTiled() ? ceilDivide(columns, tileColumns) : 1;
    const qint64 step = isTiled() ? tileColumns : columns;
    const qint64 left = block % across * step;
    const qint64 top = block / across * linesPerBlock();
    return std::min(step, columns - left) * std::min(linesPerBlock(), lines - top) * pixelBytes;
}

/** Takes the list of channels: names that end in a zero, each before its type and what it leaves out. */
void takeExrChannels(const QByteArray& channels, ExrPart& part)
{
    constexpr int behindName = 16, samplingAt = 8;
    constexpr char half = 1;
    part.pixelBytes = 0;
    for (int end = channels.indexOf('\0'); end > 0 && end + behindName < channels.size();) {
        part.pixelBytes += channels.at(end + 1) == half ? 2 : 4;
        const char* sampling = channels.constData() + end + 1 + samplingAt;
        part.isPlain =
            part.isPlain && qFromLittleEndian<quint32>(sampling) == 1 && qFromLittleEndian<quint32>(sampling + 4) == 1;
        const int next = end + 1 + behindName;
        end = next < channels.size() && channels.at(next) != 0 ? channels.indexOf('\0', next) : -1;
    }
}

void takeExrAttribute(const QByteArray& name, const QByteArray& value, ExrPart& part)
{
    constexpr int boxBytes = 16, tileBytes = 9;
    const auto number = [&](int at) { return qint64(qFromLittleEndian<qint32>(value.constData() + at)); };
    if (name == "dataWindow" && value.size() == boxBytes) {
        part.columns = std::max<qint64>(0, number(8) - number(0) + 1);
        part.lines = std::max<qint64>(0, number(12) - number(4) + 1);
    } else if (name == "tiles" && value.size() == tileBytes) {
        part.tileColumns = qFromLittleEndian<quint32>(value.constData());
        part.tileLines = qFromLittleEndian<quint32>(value.constData() + 4);
    } else if (name == "channels")
        takeExrChannels(value, part);
    else if (name == "compression" && !value.isEmpty())
        part.compression = value.at(0);
    else if (name == "chunkCount" && value.size() == 4)
        part.chunkCount = std::max<qint64>(0, number(0));
    else if (name == "type") {
        part.type = value;
        part.isPlain = part.isPlain && !value.startsWith("deep");
    }
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

/** Whether there is room in the file for a place in the table, and for a head, of every block; and for samples that are
 * not compressed. */
bool blocksFit(const QVector<ExrPart>& parts, qint64 fileBytes)
{
    constexpr qint64 leastBytes = 16;
    qint64 left = fileBytes / leastBytes;
    for (const ExrPart& part : parts) {
        const qint64 blocks = std::max(part.blocks(), part.chunkCount);
        const bool isStoredWhole = part.compression == 0 && part.isPlain;
        const internal::CheckedSize bytes = internal::CheckedSize(part.columns) * part.lines * part.pixelBytes;
        if (blocks > left || (isStoredWhole && !bytes.fits(fileBytes)))
            return false;
        left -= blocks;
    }
    return true;
}

/** Whether every block of @p part has the bytes of its samples. The table of the blocks begins at @p tableAt. */
bool blocksAreWhole(QFile& file, const ExrPart& part, qint64 tableAt, bool hasParts)
{
    constexpr int placeBytes = 8, sizeBytes = 4;
    // A number of the part; the place of a tile, and of its size; or the first line.
    const int sizeAt = (hasParts ? 4 : 0) + (part.isTiled() ? 16 : 4);
    const qint64 blocks = part.blocks();
    file.seek(tableAt);
    const QByteArray table = file.read(blocks * placeBytes);
    for (qint64 block = 0; block < blocks && (block + 1) * placeBytes <= table.size(); ++block) {
        const auto place = qFromLittleEndian<quint64>(table.constData() + block * placeBytes);
        // What is not there at all, the reader misses.
        if (place >= static_cast<quint64>(file.size()) || !file.seek(static_cast<qint64>(place) + sizeAt))
            continue;
        const QByteArray size = file.read(sizeBytes);
        if (size.size() == sizeBytes && qFromLittleEndian<quint32>(size.constData()) != part.blockBytes(block))
            return false;
    }
    return true;
}

/** @param tableAt  where the header ends */
QString blocksFlaw(const QString& path, const QVector<ExrPart>& parts, qint64 tableAt, bool hasParts)
{
    constexpr int placeBytes = 8;
    QFile file(path);
    // Single numbers are read all over it.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || !blocksFit(parts, file.size()))
        return QStringLiteral("its header announces more than the file has");
    for (const ExrPart& part : parts) {
        if (part.compression == 0 && part.isPlain && !blocksAreWhole(file, part, tableAt, hasParts))
            return QStringLiteral("one of its blocks is not as long as its samples");
        tableAt += (hasParts ? part.chunkCount : part.blocks()) * placeBytes;
    }
    return QString();
}

bool readExrParts(QFile& file, bool areMany, QVector<ExrPart>& parts)
{
    // A part without attributes stands behind the last.
    for (bool isPart = true; isPart; isPart = isPart && areMany) {
        ExrPart part;
        if (!readExrPart(file, part, isPart))
            return false;
        if (isPart)
            parts.append(part);
    }
    return true;
}

/** Whether @p part has tiles where it says so; by the one, the reader sizes what it reads by the other. */
bool agreesOnTiles(const ExrPart& part, bool isSaidToBeTiled)
{
    const bool isTypeTiled = part.type == "tiledimage" || part.type == "deeptile";
    return part.isTiled() == isSaidToBeTiled && (part.type.isEmpty() || part.isTiled() == isTypeTiled);
}

}  // namespace

ExrHeader readExrHeader(const QString& path)
{
    constexpr int versionAt = 4, versionBytes = 8;
    constexpr quint32 areTilesBit = 0x200, arePartsBit = 0x1000;
    ExrHeader header;
    QFile file(path);
    const QByteArray version = file.open(QIODevice::ReadOnly) ? file.read(versionBytes) : QByteArray();
    if (version.size() < versionBytes || !version.startsWith("v/1\1")) {
        header.flaw = QStringLiteral("it is damaged or not a file of its format");
        return header;
    }
    const auto bits = qFromLittleEndian<quint32>(version.constData() + versionAt);
    const bool areMany = bits & arePartsBit;
    QVector<ExrPart> parts;
    if (!readExrParts(file, areMany, parts))
        header.flaw = QStringLiteral("its header announces more than the file has");
    for (const ExrPart& part : qAsConst(parts)) {
        header.largestBlock = std::max(header.largestBlock, part.blockBytes());
        header.compression = std::max(header.compression, part.compression);
        if (!agreesOnTiles(part, areMany ? part.isTiled() : bool(bits & areTilesBit)))
            header.flaw = QStringLiteral("its header contradicts itself about tiles");
    }
    if (header.flaw.isEmpty())
        header.flaw = blocksFlaw(path, parts, file.pos(), areMany);
    return header;
}

}  // namespace oiio
}  // namespace ep

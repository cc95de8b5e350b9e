#include "FitsImage.h"

#include "FitsTypes.h"

#include <ep/internal/MemoryLimit.h>

#include <algorithm>
#include <limits>

namespace ep {
namespace fits {
namespace {

using internal::CheckedSize;

constexpr int mostUnits = 10000;
constexpr qint64 mostAxes = 999;
// Deflate reaches 1032 : 1, and it is the best of the served kinds.
constexpr qint64 mostExpansion = 2048;
constexpr qint64 largestDimension = std::numeric_limits<qint32>::max();

bool fail(SxFileError& error, const QString& reason, ExFileError kind = ExFileError::Unreadable)
{
    error = {kind, reason};
    return false;
}

QByteArray numbered(const char* name, qint64 number)
{
    return name + QByteArray::number(number);
}

bool isBitpix(qint64 code)
{
    return code == 8 || code == 16 || code == 32 || code == 64 || code == -32 || code == -64;
}

/** Reads the axes that the keywords beginning with @p prefix tell; each is 0 or more. */
bool readAxes(const FitsHeader& header, const QByteArray& prefix, QVector<qint64>& axes, SxFileError& error)
{
    const QByteArray name = prefix + "NAXIS";
    const qint64 count = header.integer(name, -1);
    if (count < 0 || count > mostAxes)
        return fail(error, QStringLiteral("its header tells no sensible number of axes"));
    for (qint64 i = 1; i <= count; ++i) {
        axes.append(header.integer(numbered(name, i), -1));
        if (axes.last() < 0)
            return fail(error, QStringLiteral("its header tells no sensible length of axis %1").arg(i));
    }
    return true;
}

/** Bits of the data of a unit, without what fills its last block. */
CheckedSize dataBits(const FitsHeader& header, QVector<qint64> axes)
{
    const bool hasGroups = !axes.isEmpty() && axes[0] == 0 && header.isTrue("GROUPS");
    if (hasGroups)
        axes.removeFirst();
    CheckedSize samples(axes.isEmpty() ? 0 : 1);
    for (const qint64 length : axes)
        samples = samples * length;
    const qint64 bitpix = header.integer("BITPIX", 0);
    return (samples + header.count("PCOUNT", 0)) * header.count("GCOUNT", 1) * (bitpix < 0 ? -bitpix : bitpix);
}

bool isCompressedImage(const FitsHeader& header)
{
    // Binary tables have had other names.
    return header.has("XTENSION") && header.text("XTENSION") != "IMAGE" && header.isTrue("ZIMAGE");
}

bool holdsImage(const FitsHeader& header, const QVector<qint64>& axes)
{
    if (isCompressedImage(header))
        return true;
    const bool isImage = header.has("SIMPLE") || header.text("XTENSION") == "IMAGE";
    return isImage && !axes.isEmpty() && !axes.contains(0);
}

/** Sets sizes and channels from the axes of an image. */
bool takeAxes(const QVector<qint64>& axes, SxImageInfo& info, SxFileError& error)
{
    if (axes.size() < 2)
        return fail(error, QStringLiteral("it has %1 axis, and an image has two or three").arg(axes.size()),
                    ExFileError::Unsupported);
    for (int i = 3; i < axes.size(); ++i)
        if (axes[i] != 1)
            return fail(error, QStringLiteral("it has %1 axes, and an image has two or three").arg(axes.size()),
                        ExFileError::Unsupported);
    const qint64 channels = axes.size() > 2 ? axes[2] : 1;
    if (axes[0] < 1 || axes[1] < 1 || channels < 1)
        return fail(error, QStringLiteral("its image has no samples"));
    if (axes[0] > largestDimension || axes[1] > largestDimension || channels > largestDimension)
        return fail(error,
                    QStringLiteral("its size of %1 x %2 x %3 samples is past what an image can have")
                        .arg(axes[0])
                        .arg(axes[1])
                        .arg(channels),
                    ExFileError::TooLarge);
    info.width = static_cast<qint32>(axes[0]);
    info.height = static_cast<qint32>(axes[1]);
    info.channels = static_cast<qint32>(channels);
    info.layout = channels > 1 ? LayoutPlanar : LayoutPacked;
    return true;
}

bool takeType(FitsImage& image, SxFileError& error)
{
    const FitsHeader& header = image.header;
    if ((header.has("BSCALE") && !header.number("BSCALE", image.scale))
        || (header.has("BZERO") && !header.number("BZERO", image.zero)) || image.scale == 0)
        return fail(error, QStringLiteral("its header tells no sensible scale of the samples"));
    const FitsType* type = typeOfFile(image.bitpix, image.scale, image.zero);
    image.isScaled = type == nullptr;
    image.info.dataType = type ? type->dataType : DataTypeDouble;
    image.info.bitDepth = sampleFacts(image.info.dataType).bits;
    return true;
}

/** True when keyword @p name is missing or an integer from @p least to @p most. */
bool isWithin(const FitsHeader& header, const QByteArray& name, qint64 least, qint64 most)
{
    const qint64 value = header.integer(name, least - 1);
    return !header.has(name) || (value >= least && value <= most);
}

/** True when every reader takes the same values for the keywords that begin with @p stems. */
bool isClear(const FitsHeader& header, const QList<QByteArray>& stems)
{
    return std::none_of(stems.cbegin(), stems.cend(), [&](const QByteArray& stem) { return header.isUnclear(stem); });
}

/** Checks what decoders are told apart from the tiles: cfitsio divides by one of it and looks up a table by another. */
bool checkCompression(const FitsHeader& header, SxFileError& error)
{
    const QByteArray kind = header.text("ZCMPTYPE");
    const QList<QByteArray> served{"RICE_1", "RICE_ONE", "GZIP_1", "GZIP_2"};
    if (!served.contains(kind))
        return fail(error,
                    QStringLiteral("compression \"%1\" is not read: cfitsio's decoders are only safe with damaged data "
                                   "for RICE_1, GZIP_1 and GZIP_2")
                        .arg(QString::fromLatin1(kind)),
                    ExFileError::Unsupported);
    constexpr qint64 longestRiceBlock = 64;
    constexpr qint64 ditherSeeds = 10000;
    const bool isRice = kind.startsWith("RICE");
    const bool isExactFloat = header.text("ZQUANTIZ") == "NONE";
    const bool isSound =
        isClear(header, {"ZCMPTYPE", "ZBITPIX", "ZNAXIS", "ZTILE", "ZVAL", "ZQUANTIZ", "ZDITHER0", "ZSCALE"})
        && (!isExactFloat || header.integer("ZBITPIX", 0) < 0) && isWithin(header, "ZDITHER0", 1, ditherSeeds)
        && (!isRice || (isWithin(header, "ZVAL1", 1, longestRiceBlock) && isWithin(header, "ZVAL2", 1, 4)));
    return isSound || fail(error, QStringLiteral("its header tells no sensible compression"));
}

/** Sets the tiles of a compressed image, and checks that its table has room for them. */
bool takeTiles(FitsImage& image, qint64 memoryLimit, SxFileError& error)
{
    const FitsHeader& header = image.header;
    CheckedSize tiles(1);
    CheckedSize tileBytes(8);
    const QVector<qint64>& axes = image.axes;
    for (int i = 0; i < axes.size(); ++i) {
        const QByteArray name = numbered("ZTILE", i + 1);
        const qint64 length = header.has(name) ? header.integer(name, 0) : i == 0 ? axes[0] : 1;
        if (length < 1 || length > largestDimension)
            return fail(error, QStringLiteral("its header tells no sensible size of the tiles"));
        tiles = tiles * ((axes[i] + length - 1) / length);
        tileBytes = tileBytes * length;
        image.tile.append(length);
    }
    if (!tiles.fits(header.integer("NAXIS2", 0)))
        return fail(error, QStringLiteral("its table has fewer rows than the image has tiles"));
    if (!tileBytes.fits(std::max<qint64>(memoryLimit, blockBytes)))
        error = internal::pastMemoryLimit(tileBytes, memoryLimit, QStringLiteral("a tile of its image"));
    return !error;
}

/** Compares the size of the image with that of its stored bytes and the memory limit. */
bool checkSize(const FitsImage& image, qint64 memoryLimit, SxFileError& error)
{
    const SxImageInfo& info = image.info;
    const qint64 sampleBytes = sampleFacts(info.dataType).bytes;
    const CheckedSize bytes = CheckedSize(info.width) * info.height * info.channels * sampleBytes;
    if (!bytes.isValid() || info.width > largestDimension / sampleBytes)
        return fail(error, QStringLiteral("its image is past what memory can hold"), ExFileError::TooLarge);
    if (!bytes.fits(memoryLimit)) {
        error = internal::pastMemoryLimit(bytes, memoryLimit);
        return false;
    }
    if (image.isCompressed && bytes.value() / mostExpansion > image.stored)
        return fail(error, QStringLiteral("%1 bytes cannot hold its image").arg(image.stored));
    return true;
}

bool describe(const QVector<qint64>& axes, qint64 memoryLimit, FitsImage& image, SxFileError& error)
{
    const FitsHeader& header = image.header;
    image.isCompressed = isCompressedImage(header);
    image.axes = axes;
    if (image.isCompressed) {
        image.axes.clear();
        if (!readAxes(header, "Z", image.axes, error))
            return false;
    }
    const qint64 bitpix = header.integer(image.isCompressed ? "ZBITPIX" : "BITPIX", 0);
    if (!isBitpix(bitpix))
        return fail(error, QStringLiteral("its header tells no sensible type of the samples"));
    image.bitpix = static_cast<qint32>(bitpix);
    image.info = emptyImage();
    image.isTopDown = header.text("ROWORDER").toUpper() == "TOP-DOWN";
    return takeAxes(image.axes, image.info, error) && takeType(image, error)
           && (!image.isCompressed || (checkCompression(header, error) && takeTiles(image, memoryLimit, error)))
           && checkSize(image, memoryLimit, error);
}

}  // namespace

bool findFitsImage(QIODevice& device, qint64 memoryLimit, FitsImage& image, SxFileError& error)
{
    image.offset = 0;
    for (image.unit = 1; image.unit <= mostUnits; ++image.unit) {
        // Bytes after the last unit that are no further one are passed over by every reader.
        if (image.unit > 1 && (!device.seek(image.offset) || device.peek(8) != "XTENSION"))
            break;
        QVector<qint64> axes;
        const FitsHeader& header = image.header;
        if (!FitsHeader::read(device, image.offset, image.header, error) || !readAxes(header, "", axes, error))
            return false;
        if (!isClear(header, {"XTENSION", "BITPIX", "NAXIS", "PCOUNT", "GCOUNT", "GROUPS", "ZIMAGE"}))
            return fail(error, QStringLiteral("its header contradicts itself"));
        const CheckedSize bits = dataBits(header, axes);
        const CheckedSize end = CheckedSize(bits.value() / 8) + image.offset + header.bytes() + blockBytes;
        if (!bits.isValid() || !end.isValid())
            return fail(error, QStringLiteral("its header tells a size past all bounds"), ExFileError::TooLarge);
        image.stored = bits.value() / 8;
        const qint64 next = image.offset + header.bytes() + wholeBlocks(image.stored);
        if (holdsImage(header, axes)) {
            if (next > device.size())
                return fail(error,
                            QStringLiteral("the file ends %1 bytes short of its data").arg(next - device.size()));
            return describe(axes, memoryLimit, image, error);
        }
        if (next > device.size())
            break;
        image.offset = next;
    }
    return fail(error, QStringLiteral("it holds no image"), ExFileError::Unsupported);
}

}  // namespace fits
}  // namespace ep

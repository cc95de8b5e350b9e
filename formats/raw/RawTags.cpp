#include "RawTags.h"

#include <algorithm>

namespace ep {
namespace raw {
namespace {

enum Tag {
    TagWidth = 256,
    TagHeight = 257,
    TagCompression = 259,
    TagPhotometric = 262,
    TagStripOffsets = 273,
    TagStripByteCounts = 279,
    TagTileWidth = 322,
    TagTileLength = 323,
    TagTileOffsets = 324,
    TagTileByteCounts = 325,
    TagSampleFormat = 339,
    TagXmp = 700,
    TagCfaRepeatPatternDim = 33421,
    TagCfaPattern = 33422,
    TagDateTimeOriginal = 36867,
    TagOffsetTimeOriginal = 36881,
    TagCfaLayout = 50711,
    TagActiveArea = 50829
};

enum Type { TypeByte = 1, TypeAscii = 2, TypeShort = 3, TypeLong = 4, TypeUndefined = 7 };

constexpr int xTransPlaces = 36;
constexpr quint32 photometricCfa = 32803;
constexpr int mostValues = 1 << 20;
constexpr unsigned int intelOrder = 0x4949;

/** The bytes of a tag; shorter than asked where the file ends. */
QByteArray readBytes(void* stream, int count)
{
    QByteArray bytes(std::clamp(count, 0, 4 * mostValues), '\0');
    const int got =
        static_cast<LibRaw_abstract_datastream*>(stream)->read(bytes.data(), 1, static_cast<size_t>(bytes.size()));
    bytes.truncate(std::max(got, 0));
    return bytes;
}

/** Whether LibRaw takes what the file lacks of this tag, of @p bytes bytes, from memory that nobody wrote. */
bool isReadBehindEnd(int tag, int bytes, void* stream)
{
    auto* file = static_cast<LibRaw_abstract_datastream*>(stream);
    return (tag == TagXmp || tag == TagCfaPattern) && file->tell() + bytes > file->size();
}

/** The numbers of a tag; fewer than told where the file ends. */
QVector<quint32> readNumbers(void* stream, int type, int count, unsigned int order)
{
    const int size = type == TypeByte ? 1 : type == TypeShort ? 2 : type == TypeLong ? 4 : 0;
    QVector<quint32> numbers;
    if (size == 0 || count < 1 || count > mostValues)
        return numbers;
    const QByteArray bytes = readBytes(stream, count * size);
    for (int i = 0; i + size <= bytes.size(); i += size) {
        quint32 number = 0;
        for (int k = 0; k < size; ++k) {
            const int place = order == intelOrder ? k : size - 1 - k;
            number |= quint32(static_cast<uchar>(bytes[i + k])) << (8 * place);
        }
        numbers.append(number);
    }
    return numbers;
}

void noteCell(RawDirectory& directory, int tag, const QVector<quint32>& numbers)
{
    if (tag == TagCfaRepeatPatternDim && numbers.size() == 2) {
        directory.cellHeight = numbers[0];
        directory.cellWidth = numbers[1];
    }
    if (tag == TagCfaLayout && !numbers.isEmpty()) {
        constexpr quint32 rectangular = 1;
        directory.isStaggered = numbers[0] != rectangular;
    }
    if (tag == TagCfaPattern) {
        directory.pattern.clear();
        for (const quint32 number : numbers)
            directory.pattern.append(static_cast<char>(std::min(number, 127u)));
    }
}

QRect areaOf(const QVector<quint32>& sides)
{
    constexpr quint32 most = 0xffff;
    const bool isSound = sides.size() == 4 && *std::max_element(sides.cbegin(), sides.cend()) <= most
                         && sides[0] < sides[2] && sides[1] < sides[3];
    // Top, left, bottom, right; the last two lie outside.
    return isSound ? QRect(QPoint(int(sides[1]), int(sides[0])), QPoint(int(sides[3]) - 1, int(sides[2]) - 1))
                   : QRect();
}

void noteStorage(RawDirectory& directory, int tag, const QVector<quint32>& numbers)
{
    const quint32 first = numbers.isEmpty() ? 0 : numbers[0];
    switch (tag) {
    case TagWidth: directory.width = first; break;
    case TagHeight: directory.height = first; break;
    case TagActiveArea: directory.activeArea = areaOf(numbers); break;
    case TagCompression: directory.compression = first; break;
    case TagPhotometric: directory.isMosaic = first == photometricCfa; break;
    case TagSampleFormat: directory.sampleFormat = first; break;
    case TagTileWidth: directory.tileWidth = first; break;
    case TagTileLength: directory.tileHeight = first; break;
    case TagStripOffsets:
    case TagTileOffsets: directory.offsets = numbers; break;
    case TagStripByteCounts:
    case TagTileByteCounts: directory.sizes = numbers; break;
    default: break;
    }
}

}  // namespace

void RawTags::note(void* self, int tag, int type, int count, unsigned int order, void* stream, long long)
{
    auto* tags = static_cast<RawTags*>(self);
    // LibRaw 0.20 runs past all bounds on a pattern of this length, unless it knows the cell already.
    if ((tag & 0xffff) == TagCfaPattern && count == xTransPlaces && tags->m_identity.filters != LIBRAW_XTRANS)
        throw LIBRAW_EXCEPTION_IO_CORRUPT;
    if (isReadBehindEnd(tag & 0xffff, count, stream))
        throw LIBRAW_EXCEPTION_IO_CORRUPT;
    // LibRaw puts the number of the directory, from 1 on, above the tag, and between them what is neither TIFF nor
    // Exif: makers' notes and the like.
    const int directory = tag >> 20;
    const int code = tag & 0xffff;
    if ((tag >> 16 & 0xf) != 0)
        return;
    switch (code) {
    case TagDateTimeOriginal: tags->m_captureTime = readBytes(stream, std::min(count, 32)); break;
    case TagOffsetTimeOriginal: tags->m_captureTimeOffset = readBytes(stream, std::min(count, 16)); break;
    case TagCfaPattern:
    case TagCfaLayout:
    case TagCfaRepeatPatternDim:
        noteCell(tags->m_directories[directory], code,
                 readNumbers(stream, type == TypeUndefined ? int(TypeByte) : type, count, order));
        break;
    case TagWidth:
    case TagHeight:
    case TagActiveArea:
    case TagCompression:
    case TagPhotometric:
    case TagSampleFormat:
    case TagTileWidth:
    case TagTileLength:
    case TagStripOffsets:
    case TagTileOffsets:
    case TagStripByteCounts:
    case TagTileByteCounts:
        noteStorage(tags->m_directories[directory], code, readNumbers(stream, type, count, order));
        break;
    default: break;
    }
}

const RawDirectory* RawTags::mosaic() const
{
    const RawDirectory* largest = nullptr;
    for (const RawDirectory& directory : m_directories) {
        const quint64 samples = quint64(directory.width) * directory.height;
        if (directory.isMosaic && (!largest || samples > quint64(largest->width) * largest->height))
            largest = &directory;
    }
    return largest;
}

bool RawTags::isTruncated(qint64 fileBytes) const
{
    const RawDirectory* directory = mosaic();
    if (!directory)
        return false;
    const int pieces = std::min(directory->offsets.size(), directory->sizes.size());
    for (int i = 0; i < pieces; ++i)
        if (qint64(directory->offsets[i]) + directory->sizes[i] > fileBytes)
            return true;
    return false;
}

}  // namespace raw
}  // namespace ep

#include "MatElementWalk.h"

#include "MatSampleTypes.h"

#include <ep/internal/CheckedSize.h>

#include <QtEndian>

#include <algorithm>

namespace orn {
namespace matlab {

namespace {

constexpr int deepest = 64;          // matio recurses into cells and structures
constexpr quint32 highestRank = 32;  // MATLAB itself has no use for more
constexpr qint64 tagBytes = 8;

// What matio keeps of a nested element: its description, and of a compressed one either the data or the state of the
// expansion, whichever is smaller.
constexpr qint64 descriptionBytes = 512;
constexpr qint64 inflateStateBytes = 40 << 10;

qint64 padded(qint64 bytes)
{
    return (bytes + 7) / 8 * 8;
}

// Bytes of one stored number or character; 0 for types that are neither.
qint64 storedBytes(quint32 type)
{
    switch (type) {
    case MAT_T_INT8:
    case MAT_T_UINT8:
    case MAT_T_UTF8: return 1;
    case MAT_T_INT16:
    case MAT_T_UINT16:
    case MAT_T_UTF16: return 2;
    case MAT_T_INT32:
    case MAT_T_UINT32:
    case MAT_T_SINGLE:
    case MAT_T_UTF32: return 4;
    case MAT_T_DOUBLE:
    case MAT_T_INT64:
    case MAT_T_UINT64: return 8;
    default: return 0;
    }
}

bool isText(quint32 type)
{
    return type == MAT_T_UTF8 || type == MAT_T_UTF16 || type == MAT_T_UTF32;
}

// For what else it reads, matio asks for as much memory as the dimensions say.
bool hasSizesInContent(int matClass)
{
    return matClass == MAT_C_CELL || matClass == MAT_C_STRUCT || matClass == MAT_C_CHAR || matClass == MAT_C_SPARSE;
}

}  // namespace

bool MatElementWalk::refuse(const char* reason)
{
    if (m_reason.isEmpty())
        m_reason = QLatin1String(reason);
    return false;
}

bool MatElementWalk::charge(qint64 memory)
{
    m_memoryLeft -= memory;
    if (m_memoryLeft < 0)
        m_reason = QStringLiteral("the description of its variables takes more than the memory limit of %1 bytes")
                       .arg(m_memoryLimit);
    return m_memoryLeft >= 0;
}

bool MatElementWalk::take(Span& span, void* target, qint64 bytes)
{
    if (bytes > span.left)
        return refuse("an element is larger than the one that holds it");
    span.left -= bytes;
    return span.source.read(target, bytes) || refuse("it ends in the middle of an element");
}

bool MatElementWalk::pass(Span& span, qint64 bytes)
{
    if (bytes > span.left)
        return refuse("an element is larger than the one that holds it");
    span.left -= bytes;
    return span.source.skip(bytes) || refuse("it ends in the middle of an element");
}

bool MatElementWalk::words(Span& span, quint32* target, int count)
{
    if (!take(span, target, count * qint64(sizeof(quint32))))
        return false;
    if (m_isSwapped)
        std::transform(target, target + count, target, [](quint32 word) { return qbswap(word); });
    return true;
}

bool MatElementWalk::tag(Span& span, quint32& type, quint32& bytes)
{
    quint32 both[2] = {};
    if (!words(span, both, 2))
        return false;
    type = both[0];
    bytes = both[1];
    return true;
}

bool MatElementWalk::tag(MatByteSource& source, quint32& type, quint32& bytes)
{
    Span span{source, tagBytes};
    return tag(span, type, bytes);
}

bool MatElementWalk::dimensions(Span& span, Header& header)
{
    quint32 type = 0, bytes = 0;
    if (!tag(span, type, bytes))
        return false;
    // Names stand here, of which matio skips the first tag.
    if (header.matClass == MAT_C_OPAQUE && type != MAT_T_INT32)
        return true;
    if (type != MAT_T_INT32 || bytes % 4 != 0 || bytes < 4 || bytes > highestRank * 4)
        return refuse("the dimensions of a variable are damaged");
    quint32 sizes[highestRank] = {};
    const auto rank = static_cast<int>(bytes / 4);
    if (!words(span, sizes, rank) || !pass(span, padded(bytes) - bytes))
        return false;
    ep::internal::CheckedSize product(1);
    for (int i = 0; i < rank; ++i)
        product = product * static_cast<qint32>(sizes[i]);
    header.elements = product.value();
    return product.isValid() || refuse("the dimensions of a variable are damaged");
}

bool MatElementWalk::name(Span& span, const Header& header, int holder)
{
    quint32 type = 0, bytes = 0;
    if (!tag(span, type, bytes))
        return false;
    // matio takes the long name of a field for its content.
    if (type == MAT_T_INT8 && bytes > 0 && holder == MAT_C_STRUCT && hasSizesInContent(header.matClass))
        return refuse("a field of a structure has a name of its own");
    if (type == MAT_T_INT8)
        return pass(span, padded(bytes));
    // Up to four characters stand in the tag. What is no name at all matio passes over in the same way.
    const bool isShort = (type & 0xffff) == MAT_T_INT8 && type >> 16 <= 4;
    return isShort || bytes == 0 || header.matClass == MAT_C_OPAQUE || refuse("the name of a variable is damaged");
}

bool MatElementWalk::header(Span& span, Header& header, int holder)
{
    quint32 flags[4];
    if (!words(span, flags, 4))
        return false;
    // Signed flags matio knows in variables of the file only.
    if (!(flags[0] == MAT_T_UINT32 || (flags[0] == MAT_T_INT32 && holder == 0)) || flags[1] != 8)
        return refuse("the class of a variable is damaged");
    header.matClass = static_cast<int>(flags[2] & 0xff);
    header.isComplex = (flags[2] & MAT_F_COMPLEX) != 0;
    if (!dimensions(span, header))
        return false;
    // An object has no dimensions. matio takes what stands there for a name all the same.
    const bool isOver = header.matClass == MAT_C_OPAQUE && span.left == 0;
    return isOver || name(span, header, holder);
}

bool MatElementWalk::stored(Span& span, Stored& stored)
{
    if (!words(span, &stored.type, 1))
        return false;
    stored.isShort = stored.type >> 16 != 0;
    if (stored.isShort)
        stored.bytes = stored.type >> 16;
    else if (!words(span, &stored.bytes, 1))
        return false;
    stored.type &= 0xffff;
    return !stored.isShort || stored.bytes <= 4 || refuse("a short element is longer than its place");
}

bool MatElementWalk::pass(Span& span, const Stored& stored)
{
    // The last element of all may lack its padding.
    const qint64 bytes = stored.bytes;
    return pass(span, stored.isShort ? 4 : std::max(bytes, std::min(padded(bytes), span.left)));
}

bool MatElementWalk::fieldNames(Span& span, qint64& fields)
{
    constexpr quint32 shortNumber = 4 << 16 | MAT_T_INT32;
    quint32 type, nameBytes;
    Stored names;
    if (!tag(span, type, nameBytes))
        return false;
    if (type != shortNumber || nameBytes == 0 || nameBytes > 0xffff)
        return refuse("the fields of a structure are damaged");
    if (!stored(span, names))
        return false;
    // Of names that are cut matio would pass over less than stands there.
    if (names.type != MAT_T_INT8 || names.bytes % nameBytes != 0)
        return refuse("the fields of a structure are damaged");
    fields = names.bytes / nameBytes;
    return charge(names.bytes) && pass(span, names.isShort ? 4 : padded(names.bytes));
}

bool MatElementWalk::children(Span& span, qint64 count, Place place)
{
    if (count > span.left / tagBytes)
        return refuse("a cell array or structure has more elements than it can hold");
    if (!charge(count * 2 * qint64(sizeof(void*))))
        return false;
    for (qint64 i = 0; i < count; ++i) {
        quint32 type, bytes;
        if (!tag(span, type, bytes) || !charge(descriptionBytes))
            return false;
        // In a function handle matio does not expect an empty element.
        if (bytes == 0 && place.holder != MAT_C_FUNCTION)
            continue;
        if (type != MAT_T_MATRIX)
            return refuse("an element of a cell array or structure is no variable");
        if (bytes > span.left)
            return refuse("an element is larger than the one that holds it");
        if (!charge(std::min<qint64>(inflateStateBytes, 8 * qint64(bytes))) || !matrix(span.source, bytes, place))
            return false;
        span.left -= bytes;
    }
    return true;
}

bool MatElementWalk::numbers(Span& span, const Header& header)
{
    Stored values;
    if (!stored(span, values))
        return false;
    const qint64 size = storedBytes(values.type);
    if (size == 0 || (isText(values.type) && header.matClass != MAT_C_CHAR))
        return refuse("numbers of an unknown type are stored");
    // Some writers give empty texts dimensions that are not empty.
    const bool isEmptyText = header.matClass == MAT_C_CHAR && values.bytes == 0;
    if (values.bytes / size < header.elements && !isEmptyText)
        return refuse("a variable has less data than its dimensions say");
    return pass(span, values);
}

bool MatElementWalk::indices(Span& span)
{
    Stored values;
    if (!stored(span, values))
        return false;
    // matio reads them as 32-bit numbers, whatever they are.
    const bool areNumbers = values.type == MAT_T_INT32 || values.type == MAT_T_UINT32;
    return (areNumbers && values.bytes % 4 == 0 && pass(span, values)) || refuse("a sparse matrix is damaged");
}

// The dimensions say nothing of how many numbers are stored.
bool MatElementWalk::sparse(Span& span, Header header)
{
    header.elements = 0;
    return indices(span) && indices(span) && numbers(span, header) && (!header.isComplex || numbers(span, header));
}

bool MatElementWalk::data(Span& span, const Header& header)
{
    if (header.elements == 0 && span.left == 0)
        return true;
    return numbers(span, header) && (!header.isComplex || numbers(span, header));
}

bool MatElementWalk::matrix(MatByteSource& source, qint64 bytes, Place place)
{
    if (place.depth > deepest)
        return refuse("its cells and structures are nested too deeply");
    Span span{source, bytes};
    Header head;
    if (!header(span, head, place.holder))
        return false;
    qint64 fields = 1;
    switch (head.matClass) {
    case MAT_C_STRUCT:
        if (!fieldNames(span, fields))
            return false;
        [[fallthrough]];
    case MAT_C_CELL:
    case MAT_C_FUNCTION: {
        const auto count = ep::internal::CheckedSize(head.elements) * fields;
        if (!count.isValid() || !children(span, count.value(), {place.depth + 1, head.matClass}))
            return refuse("a cell array or structure has more elements than it can hold");
        break;
    }
    case MAT_C_SPARSE:
        if (!sparse(span, head))
            return false;
        break;
    default:
        if ((isDenseNumeric(head.matClass) || head.matClass == MAT_C_CHAR) && !data(span, head))
            return false;
    }
    return pass(span, span.left);
}

}  // namespace matlab
}  // namespace orn

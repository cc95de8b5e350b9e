#include <ep/internal/TransposePlane.h>

#include "StreamBytes.h"
#include "TransposeSquare.h"

#include <algorithm>

namespace ep {
namespace internal {

namespace {

using std::ptrdiff_t;

/** A part of a plane: @p columns x @p rows samples from (left, top) on. */
struct Rectangle {
    ptrdiff_t left;
    ptrdiff_t top;
    ptrdiff_t columns;
    ptrdiff_t rows;
};

/** Calls @p work with a TypeTag of the bytes that are moved as one; false for a size that has none. */
template <typename Work>
bool visitPixelSize(qint32 bytes, Work&& work)
{
    switch (bytes) {
    case 3: work(TypeTag<PixelBytes<3>>()); return true;
    case 6: work(TypeTag<PixelBytes<6>>()); return true;
    case 12: work(TypeTag<PixelBytes<12>>()); return true;
    default: return visitSampleSize(bytes, work);
    }
}

/** Sample by sample, for any steps. Rows of the destination are written one after another. */
template <typename T>
void transposeSamples(const ConstPlaneView& source, const PlaneView& destination, const Rectangle& part)
{
    const ptrdiff_t fromStep = source.rowBytes;
    const ptrdiff_t toStep = destination.pixelStep;
    for (ptrdiff_t x = part.left; x < part.left + part.columns; ++x) {
        const unsigned char* from = source.sample(x, part.top);
        unsigned char* to = destination.sample(part.top, x);
        for (ptrdiff_t i = 0; i < part.rows; ++i)
            storeSample(to + i * toStep, loadSample<T>(from + i * fromStep));
    }
}

/** Any steps: in squares that are a cache line wide on both sides, and never less than 16 samples. */
template <typename T>
void transposeSpread(const ConstPlaneView& source, const PlaneView& destination)
{
    constexpr ptrdiff_t edge = std::max<ptrdiff_t>(16, 64 / sizeof(T));
    for (ptrdiff_t top = 0; top < source.height; top += edge)
        for (ptrdiff_t left = 0; left < source.width; left += edge)
            transposeSamples<T>(source, destination,
                                {left, top, std::min<ptrdiff_t>(edge, source.width - left),
                                 std::min<ptrdiff_t>(edge, source.height - top)});
}

/**
 * Transposes @p part, at least a square wide and high, of a tight plane into the rows of @p toRow bytes from @p to on.
 * The last squares of a row and of a column overlap those before them. Rows go outermost, so that each cache line of
 * the source is used up while it is there: where rows lie a power of two apart, a few of them fill their place in the
 * cache.
 */
template <typename T>
void transposeTile(const ConstPlaneView& source, const Rectangle& part, unsigned char* to, ptrdiff_t toRow)
{
    constexpr ptrdiff_t edge = squareEdge<T>;
    constexpr auto step = static_cast<ptrdiff_t>(sizeof(T));
    constexpr ptrdiff_t rowsAhead = 32;
    const ptrdiff_t lastRow = source.height - 1;
    for (ptrdiff_t row = 0; row < part.rows; row += edge) {
        const ptrdiff_t y = std::min(row, part.rows - edge);
        for (ptrdiff_t i = 0; i < edge; ++i)
            __builtin_prefetch(source.sample(part.left, std::min(part.top + y + rowsAhead + i, lastRow)));
        for (ptrdiff_t column = 0; column < part.columns; column += edge) {
            const ptrdiff_t x = std::min(column, part.columns - edge);
            transposeSquare<T>(source.sample(part.left + x, part.top + y), source.rowBytes, to + x * toRow + y * step,
                               toRow);
        }
    }
}

/** Where the next tile begins: after this one, but never so near to the end that no square fits. */
inline ptrdiff_t tileStart(ptrdiff_t position, ptrdiff_t end, ptrdiff_t edge)
{
    return std::min(position, end - edge);
}

/**
 * A large tight plane, by tiles that are a cache line of the source wide and many lines of the destination deep:
 *
 * @verbatim
 *      source                 in the cache                destination
 *   |  +--+          |       +--------------+         +-------------------
 *   |  |  | 1 KiB    |   ->  | transposed   |   ->    |  whole cache lines,
 *   |  |  | in rows  |       +--------------+         |  past the cache
 *   |  +--+          |        1 KiB per row           |
 *      64 bytes
 * @endverbatim
 */
template <typename T>
void transposeLarge(const ConstPlaneView& source, const PlaneView& destination)
{
    constexpr ptrdiff_t edge = squareEdge<T>;
    constexpr ptrdiff_t depthBytes = 1024;
    constexpr ptrdiff_t tileColumns = std::max<ptrdiff_t>(edge, (sizeof(T) < 4 ? 64 : 128) / sizeof(T));
    constexpr ptrdiff_t tileRows = depthBytes / static_cast<ptrdiff_t>(sizeof(T));
    alignas(64) unsigned char staged[tileColumns * depthBytes];
    for (ptrdiff_t nextLeft = 0; nextLeft < source.width; nextLeft += tileColumns) {
        const ptrdiff_t left = tileStart(nextLeft, source.width, edge);
        const ptrdiff_t columns = std::min(tileColumns, source.width - left);
        for (ptrdiff_t nextTop = 0; nextTop < source.height; nextTop += tileRows) {
            const ptrdiff_t top = tileStart(nextTop, source.height, edge);
            const ptrdiff_t rows = std::min(tileRows, source.height - top);
            transposeTile<T>(source, {left, top, columns, rows}, staged, depthBytes);
            for (ptrdiff_t x = 0; x < columns; ++x)
                streamBytes(destination.sample(top, left + x), staged + x * depthBytes,
                            static_cast<std::size_t>(rows) * sizeof(T));
        }
    }
    finishStreaming();
}

/** A tight plane that stays in the cache. */
template <typename T>
void transposeSmall(const ConstPlaneView& source, const PlaneView& destination)
{
    constexpr ptrdiff_t edge = squareEdge<T>;
    constexpr ptrdiff_t tileColumns = std::max<ptrdiff_t>(edge, 64 / sizeof(T));
    for (ptrdiff_t nextLeft = 0; nextLeft < source.width; nextLeft += tileColumns) {
        const ptrdiff_t left = tileStart(nextLeft, source.width, edge);
        transposeTile<T>(source, {left, 0, std::min(tileColumns, source.width - left), source.height},
                         destination.sample(0, left), destination.rowBytes);
    }
}

template <typename T>
void transposeTight(const ConstPlaneView& source, const PlaneView& destination)
{
    constexpr qint64 largeBytes = 4 << 20;
    if (source.width < squareEdge<T> || source.height < squareEdge<T>)
        transposeSpread<T>(source, destination);
    else if (qint64(source.width) * source.height * qint64(sizeof(T)) < largeBytes)
        transposeSmall<T>(source, destination);
    else
        transposeLarge<T>(source, destination);
}

}  // namespace

void transposePlane(qint32 sampleBytes, const ConstPlaneView& source, const PlaneView& destination)
{
    const bool isTight = source.pixelStep == sampleBytes && destination.pixelStep == sampleBytes;
    visitPixelSize(sampleBytes, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if (isTight)
            transposeTight<Sample>(source, destination);
        else
            transposeSpread<Sample>(source, destination);
    });
}

bool canTranspose(qint32 sampleBytes)
{
    return visitPixelSize(sampleBytes, [](auto) {});
}

}  // namespace internal
}  // namespace ep

#include <ep/internal/TransposePlane.h>

#include "TransposePanel.h"

#include <algorithm>
#include <cstdlib>

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
    case 24: work(TypeTag<PixelBytes<24>>()); return true;
    case 32: work(TypeTag<PixelBytes<32>>()); return true;
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

template <typename T>
void transposeTight(const ConstPlaneView& source, const PlaneView& destination)
{
    constexpr qint64 largeBytes = 4 << 20;
    constexpr std::ptrdiff_t edge = TransposePanel<T>::edge;
    if (source.width < edge || source.height < edge) {
        transposeSpread<T>(source, destination);
        return;
    }
    // A part of a large image counts as large, too: its lines are not in the cache either.
    const bool isLarge = std::abs(qint64(destination.rowBytes)) * destination.height >= largeBytes;
    TransposePanel<T> panel(source, destination, isLarge);
    panel.transposeAll();
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

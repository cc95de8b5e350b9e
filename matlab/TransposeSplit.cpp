#include "TransposeSplit.h"

#include <ep/internal/CopyPlane.h>
#include <ep/internal/SampleVisitor.h>
#include <ep/internal/TransposePlane.h>

#include <algorithm>
#include <vector>

namespace orn {
namespace matlab {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::PlaneView;

// A step that is known beforehand lets the compiler move many samples at once.
template <typename Sample>
void copyEverySecond(const ConstPlaneView& source, const PlaneView& destination)
{
    constexpr std::ptrdiff_t bytes = sizeof(Sample);
    for (std::ptrdiff_t y = 0; y < source.height; ++y) {
        const unsigned char* from = source.row(y);
        unsigned char* to = destination.row(y);
        for (std::ptrdiff_t x = 0; x < source.width; ++x)
            ep::internal::storeSample(to + x * bytes, ep::internal::loadSample<Sample>(from + 2 * x * bytes));
    }
}

void gather(qint32 sampleBytes, const ConstPlaneView& source, const PlaneView& destination)
{
    if (source.pixelStep != 2 * sampleBytes)
        return ep::internal::copyPlane(sampleBytes, source, destination);
    ep::internal::visitSampleSize(
        sampleBytes, [&](auto tag) { copyEverySecond<typename decltype(tag)::Type>(source, destination); });
}

}  // namespace

void transposeSplit(qint32 sampleBytes, const ConstPlaneView& plane, const PlaneView& destination)
{
    // Small enough for the cache that is nearest but one, wide and high enough for whole tiles.
    constexpr qint32 rowBytes = 512;
    constexpr qint32 mostRows = 128;
    const qint32 mostColumns = rowBytes / sampleBytes;
    std::vector<unsigned char> staged(static_cast<size_t>(rowBytes) * mostRows);
    qint32 columns = 0, rows = 0;
    for (qint32 left = 0; left < plane.width; left += columns) {
        columns = std::min(mostColumns, plane.width - left);
        for (qint32 top = 0; top < plane.height; top += rows) {
            rows = std::min(mostRows, plane.height - top);
            const PlaneView block = {staged.data(), rowBytes, sampleBytes, columns, rows};
            gather(sampleBytes, {plane.sample(left, top), plane.rowBytes, plane.pixelStep, columns, rows}, block);
            ep::internal::transposePlane(
                sampleBytes, block,
                {destination.sample(top, left), destination.rowBytes, destination.pixelStep, rows, columns});
        }
    }
}

}  // namespace matlab
}  // namespace orn

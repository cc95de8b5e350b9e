/**
 * @file
 * Exchange of rows and columns between two plane views.
 */
#pragma once

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>

namespace ep {
namespace internal {

/**
 * Transposes the rectangle of @p source that starts at (left, top) and is at most @p edge samples wide and high.
 * Rows of the destination are written one after another.
 */
template <typename T>
void transposeTile(const ConstPlaneView& source, const PlaneView& destination, std::ptrdiff_t left, std::ptrdiff_t top,
                   std::ptrdiff_t edge)
{
    const std::ptrdiff_t right = std::min<std::ptrdiff_t>(left + edge, source.width);
    const std::ptrdiff_t rows = std::min<std::ptrdiff_t>(edge, source.height - top);
    for (std::ptrdiff_t x = left; x < right; ++x) {
        const unsigned char* from = source.sample(x, top);
        unsigned char* to = destination.sample(top, x);
        for (std::ptrdiff_t i = 0; i < rows; ++i)
            storeSample(to + i * destination.pixelStep, loadSample<T>(from + i * source.rowBytes));
    }
}

/**
 * Transposes @p count planes of one size, tile by tile across all planes: the channels of a packed image share cache
 * lines, and a tile stays in the cache until each channel has had its part of it.
 *
 * @param sourceAt, destinationAt give the view of a plane index
 */
template <typename SourceAt, typename DestinationAt>
void transposePlanes(qint32 sampleBytes, qint32 count, SourceAt&& sourceAt, DestinationAt&& destinationAt)
{
    const ConstPlaneView first = sourceAt(0);
    visitSampleSize(sampleBytes, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        // A tile is a cache line wide on both sides, and never less than 16 samples.
        constexpr std::ptrdiff_t edge = std::max<std::ptrdiff_t>(16, 64 / sizeof(Sample));
        for (std::ptrdiff_t top = 0; top < first.height; top += edge)
            for (std::ptrdiff_t left = 0; left < first.width; left += edge)
                for (qint32 i = 0; i < count; ++i)
                    transposeTile<Sample>(sourceAt(i), destinationAt(i), left, top, edge);
    });
}

/**
 * Sets sample (x = r, y = c) of @p destination to sample (x = c, y = r) of @p source, for every sample.
 * The views may have any pixel step and a negative row step; they must not overlap.
 */
inline void transposePlane(qint32 sampleBytes, const ConstPlaneView& source, const PlaneView& destination)
{
    transposePlanes(
        sampleBytes, 1, [&](qint32) { return source; }, [&](qint32) { return destination; });
}

}  // namespace internal
}  // namespace ep

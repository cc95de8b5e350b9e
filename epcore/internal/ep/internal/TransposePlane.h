/**
 * @file
 * Exchange of rows and columns between two plane views.
 */
#pragma once

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <cstring>

namespace ep {
namespace internal {

/**
 * Transposes the rectangle of @p source that starts at (left, top) and is at most edge samples wide and high.
 * Rows of the destination are written one after another. Never inline: inlined beside the other kind of tile it takes
 * twice as long for packed channels (measured).
 */
template <typename T, std::ptrdiff_t edge>
Q_NEVER_INLINE void transposeTile(const ConstPlaneView& source, const PlaneView& destination, std::ptrdiff_t left,
                                  std::ptrdiff_t top)
{
    const std::ptrdiff_t right = std::min<std::ptrdiff_t>(left + edge, source.width);
    const std::ptrdiff_t rows = std::min<std::ptrdiff_t>(edge, source.height - top);
    const std::ptrdiff_t fromStep = source.rowBytes;
    const std::ptrdiff_t toStep = destination.pixelStep;
    for (std::ptrdiff_t x = left; x < right; ++x) {
        const unsigned char* from = source.sample(x, top);
        unsigned char* to = destination.sample(top, x);
        for (std::ptrdiff_t i = 0; i < rows; ++i)
            storeSample(to + i * toStep, loadSample<T>(from + i * fromStep));
    }
}

/**
 * Transposes a whole tile of samples that stand side by side in both images, by way of a small square of memory: rows
 * that lie a power of two apart meet in the same few lines of the cache, and walking down a column of small
 * samples would fetch each of these lines again and again.
 */
template <typename T, std::ptrdiff_t edge>
void transposeTightTile(const ConstPlaneView& source, const PlaneView& destination, std::ptrdiff_t left,
                        std::ptrdiff_t top)
{
    T square[edge][edge];
    for (std::ptrdiff_t y = 0; y < edge; ++y)
        std::memcpy(square[y], source.sample(left, top + y), sizeof(square[y]));
    for (std::ptrdiff_t x = 0; x < edge; ++x) {
        T row[edge];
        for (std::ptrdiff_t y = 0; y < edge; ++y)
            row[y] = square[y][x];
        std::memcpy(destination.sample(top, left + x), row, sizeof(row));
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
        const bool tight =
            sizeof(Sample) <= 2 && first.pixelStep == sizeof(Sample) && destinationAt(0).pixelStep == sizeof(Sample);
        for (std::ptrdiff_t top = 0; top < first.height; top += edge)
            for (std::ptrdiff_t left = 0; left < first.width; left += edge)
                for (qint32 i = 0; i < count; ++i)
                    if (tight && left + edge <= first.width && top + edge <= first.height)
                        transposeTightTile<Sample, edge>(sourceAt(i), destinationAt(i), left, top);
                    else
                        transposeTile<Sample, edge>(sourceAt(i), destinationAt(i), left, top);
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

/**
 * @file
 * Moving samples from one plane view to another: de-interleaving, mosaic splitting and merging are all this.
 */
#pragma once

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <cstring>

namespace ep {
namespace internal {

/** Copies row @p y of @p source to row @p y of @p destination; T has the size of a sample. */
template <typename T>
void copyRow(const ConstPlaneView& source, const PlaneView& destination, std::ptrdiff_t y)
{
    constexpr std::ptrdiff_t bytes = sizeof(T);
    const unsigned char* from = source.row(y);
    unsigned char* to = destination.row(y);
    const std::ptrdiff_t width = source.width;
    const std::ptrdiff_t fromStep = source.pixelStep;
    const std::ptrdiff_t toStep = destination.pixelStep;
    if (fromStep == bytes && toStep == bytes) {
        std::memcpy(to, from, static_cast<std::size_t>(width * bytes));
        return;
    }
    for (std::ptrdiff_t x = 0; x < width; ++x)
        storeSample(to + x * toStep, loadSample<T>(from + x * fromStep));
}

/** Two views of one size between which samples move. */
struct PlanePair {
    ConstPlaneView source;
    PlaneView destination;
};

/**
 * Copies @p count pairs of planes of @p height rows each, row by row across all pairs: the planes of one image share
 * rows, and a row stays in the cache until each plane has had its part of it.
 *
 * @param pairAt gives the PlanePair of an index
 */
template <typename PairAt>
void copyPlanes(qint32 sampleBytes, qint32 count, qint32 height, PairAt&& pairAt)
{
    visitSampleSize(sampleBytes, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        for (std::ptrdiff_t y = 0; y < height; ++y)
            for (qint32 i = 0; i < count; ++i) {
                const PlanePair pair = pairAt(i);
                copyRow<Sample>(pair.source, pair.destination, y);
            }
    });
}

/** Copies every sample of @p source to its place in @p destination, a view of the same width and height. */
inline void copyPlane(qint32 sampleBytes, const ConstPlaneView& source, const PlaneView& destination)
{
    copyPlanes(sampleBytes, 1, source.height, [&](qint32) { return PlanePair{source, destination}; });
}

}  // namespace internal
}  // namespace ep

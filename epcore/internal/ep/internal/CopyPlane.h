/**
 * @file
 * Moving samples from one plane view to another: de-interleaving, mosaic splitting and merging are all this.
 */
#pragma once

#include <ep/Export.h>
#include <ep/internal/PlaneView.h>

#include <algorithm>

namespace ep {
namespace internal {

/** Two views of one size between which samples move; they must not overlap. */
struct PlanePair {
    ConstPlaneView source;
    PlaneView destination;
};

/** So many planes are copied in one pass at most. */
constexpr qint32 mostPlanesAtOnce = 64;

/**
 * Copies 1 to mostPlanesAtOnce pairs of planes of one size in one pass over the rows; leaves @p pairs in any order.
 *
 * @param sampleBytes  1, 2, 4, 8 or 16; any other size does nothing
 */
EP_EXPORT void copyPlanesAtOnce(qint32 sampleBytes, PlanePair* pairs, qint32 count);

/**
 * Copies @p count pairs of planes of one size: the planes of one image share rows, and a row stays in the cache until
 * each plane has had its part of it.
 *
 * @param pairAt gives the PlanePair of an index
 */
template <typename PairAt>
void copyPlanes(qint32 sampleBytes, qint32 count, PairAt&& pairAt)
{
    PlanePair pairs[mostPlanesAtOnce];
    for (qint32 first = 0; first < count; first += mostPlanesAtOnce) {
        const qint32 size = std::min(count - first, mostPlanesAtOnce);
        for (qint32 i = 0; i < size; ++i)
            pairs[i] = pairAt(first + i);
        copyPlanesAtOnce(sampleBytes, pairs, size);
    }
}

/** Copies every sample of @p source to its place in @p destination, a view of the same width and height. */
inline void copyPlane(qint32 sampleBytes, const ConstPlaneView& source, const PlaneView& destination)
{
    PlanePair pair{source, destination};
    copyPlanesAtOnce(sampleBytes, &pair, 1);
}

}  // namespace internal
}  // namespace ep

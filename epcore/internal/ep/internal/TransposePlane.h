/**
 * @file
 * Exchange of rows and columns between two plane views.
 */
#pragma once

#include <ep/Export.h>
#include <ep/internal/PlaneView.h>

namespace ep {
namespace internal {

/**
 * Sets sample (x = r, y = c) of @p destination to sample (x = c, y = r) of @p source, for every sample.
 * The views may have any pixel step and a negative row step; they must not overlap.
 *
 * @param sampleBytes  1, 2, 4, 8 or 16, or the bytes 3, 6, 12, 24 or 32 of a pixel of several samples; any other
 * size does nothing
 */
EP_EXPORT void transposePlane(qint32 sampleBytes, const ConstPlaneView& source, const PlaneView& destination);

/** True for the sizes that transposePlane() takes. */
EP_EXPORT bool canTranspose(qint32 sampleBytes);

}  // namespace internal
}  // namespace ep

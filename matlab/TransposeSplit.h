/**
 * @file
 * One colour plane of a mosaic, transposed.
 */
#pragma once

#include <ep/internal/MosaicCell.h>
#include <ep/internal/PlaneView.h>

namespace orn {
namespace matlab {

/**
 * Sets @p destination to the samples of @p plane with rows and columns exchanged, as transposePlane() does, for a plane
 * whose samples lie apart because those of other planes stand between them:
 * @verbatim
 *    mosaic           block in the cache      destination
 *    R g R g R g          R R R                 R R . .
 *    . . . . . .    ->    R R R         ->      R R . .
 *    R g R g R g                                R R . .
 * @endverbatim
 * Block by block: taken apart and transposed in one go, each line of the mosaic would be fetched for few samples.
 */
void transposeSplit(qint32 sampleBytes, const ep::internal::ConstPlaneView& plane,
                    const ep::internal::PlaneView& destination);

}  // namespace matlab
}  // namespace orn

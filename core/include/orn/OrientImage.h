/**
 * @file
 * Turning an image the way its camera was held.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxScopedBuffer.h>

namespace orn {

/**
 * Applies the Exif orientation @p orientation to @p image, whose storage is replaced when rows and columns change
 * places.
 * @verbatim
 *   1        2        3        4        5        6        7        8       the stored image, by what is applied
 *
 *   F        mirror   turn     flip     trans-   turn     trans-   turn
 *            columns  by 180   rows     pose     by 90    verse    by 270
 *                                                clockwise         clockwise
 * @endverbatim
 * 0 (not known) and 1 leave the image alone. A mosaic's grid does not follow: it is for pictures.
 *
 * @return an ep::ExStatus: fails on an empty image and an orientation that is none, which leave the image alone, and
 * on no memory, which may leave it turned in part
 */
ORN_EXPORT unsigned int OrientImage(ep::CxScopedBuffer& image, int orientation);

}  // namespace orn

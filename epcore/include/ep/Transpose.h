/**
 * @file
 * Exchange of rows and columns.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Writes @p source with rows and columns exchanged into @p destination, which the caller has allocated with
 * swapped width and height and the same channels, layout and sample type.
 * @verbatim
 *    source, 2 rows x 3 columns      destination, 3 rows x 2 columns
 *         a b c                           a d
 *         d e f                           b e
 *                                         c f
 * @endverbatim
 * Planar images are transposed plane by plane; in packed images whole pixels move. Every sample type is served.
 * Source and destination must not overlap.
 *
 * @return ExStatus; fails on null data, a geometry, channel count, layout or sample type that does not fit.
 */
EP_EXPORT unsigned int Transpose(const SxImageBuf& source, SxImageBuf& destination);

}  // namespace ep

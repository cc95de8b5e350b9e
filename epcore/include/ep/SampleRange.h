/**
 * @file
 * The smallest and the largest sample of a channel.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Writes the smallest and the largest sample of channel @p channel of @p image to @p minimum and @p maximum.
 *
 * NaNs are passed over, infinities count; a channel of nothing but NaNs gives NaN for both. 64-bit integers past 2^53
 * come out as the nearest double. Padding between rows is not looked at.
 *
 * One colour of a mosaic is a channel too: of a record with the mosaic's memory that takes each cell's row as one
 * pixel.
 * @verbatim
 *    mosaic, 6 x 4                   record for the first rows of the cells:
 *      R G1 R G1 R G1                width 3, height 2, channels 2, stride doubled
 *      G2 B G2 B G2 B                  |R G1|R G1|R G1|      channel 0: R
 *      R G1 R G1 R G1                  |R G1|R G1|R G1|      channel 1: G1
 *      G2 B G2 B G2 B
 * @endverbatim
 *
 * @return ExStatus; fails, with both numbers untouched, on an empty image, a channel out of range, an unsupported type
 *         or layout.
 */
EP_EXPORT unsigned int SampleRange(const SxImageBuf& image, int channel, double& minimum, double& maximum);

}  // namespace ep

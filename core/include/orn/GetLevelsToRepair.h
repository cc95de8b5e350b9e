/**
 * @file
 * Which levels of an image count as invalid.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

namespace orn {

/**
 * Flags, per channel of an image of 8- or 16-bit samples, the levels up to a low one and those from a high one on that
 * occur under the mask:
 * @verbatim
 *   level   0 1 2 3 4 5 6 7 ...   L-3 L-2 L-1
 *   occurs  x x - x x x x x        x   -   x         lowLevels = 3, highLevels = L - 2
 *   flag    1 1 0 1 0 0 0 0        0   0   1
 * @endverbatim
 *
 * @param mask  one channel of 8-bit samples, at least as large as the image; samples under zero are not counted
 * @param lowLevels   one per channel; a negative one switches its band off
 * @param highLevels  one per channel; a negative one switches its band off
 * @param levelsToRepair  one table per channel, each with L = 2^bitDepth flags, which are overwritten
 * @return false, with the tables as they were, for an image without data, samples of more than two bytes, a bitDepth
 * past 30, a null array or table, and whatever HistogramMasked() refuses
 */
ORN_EXPORT bool GetLevelsToRepair(const ep::SxImageBuf& image, const ep::SxImageBuf& mask, int* lowLevels,
                                  int* highLevels, bool** levelsToRepair);

/**
 * As above, and each band ends where it would cover more than its share of the pixels: the level at which the samples
 * counted so far, from the end of the range on, first pass percent / 100 x width x height is not flagged any more.
 * The share is that of the whole image, whatever the mask covers; the product width x height is one of signed 32 bits
 * and wraps, so in an image of 2^31 pixels or more the shares are meaningless.
 *
 * @param lowPercents   one per channel; clamped to 0 ... 100 in place. 0 switches the band off
 * @param highPercents  likewise
 * @return false as above. When only HistogramMasked() refuses, the shares are clamped already, and the tables of
 * channels with a share of 100 are all true.
 */
ORN_EXPORT bool GetLevelsToRepair(const ep::SxImageBuf& image, const ep::SxImageBuf& mask, double* lowPercents,
                                  int* lowLevels, double* highPercents, int* highLevels, bool** levelsToRepair);

}  // namespace orn

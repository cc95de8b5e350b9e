/**
 * @file
 * A signed image as two images of its signs.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

namespace orn {

/**
 * Splits an image of doubles into its positive samples and its negative ones:
 * @verbatim
 *   src      1.5  -2    0   NaN  -0.25
 *   plus     1.5   0    0    0    0
 *   minus     0   -2    0    0   -0.25      with invertMinus: 0  2  0  0  0.25
 * @endverbatim
 * The caller has allocated all three; @p plus and @p minus have the width, height, channels, bitDepth, dataType,
 * layout, formatCode and bayerGrid of @p src, and strides of their own. Both are cleared first, padding included.
 *
 * Use planar images. A packed image is split as far as its first row; of the other rows, which callers rely on as they
 * are, the positive samples go to the second row of @p minus and the negative ones to its first, each row over what the
 * earlier ones left there. An image of another layout is cleared and not split.
 *
 * @return false, with nothing written, when an image has no data, @p src is not of doubles, the descriptions differ, or
 * the rows of an image are longer than its stride
 */
ORN_EXPORT bool SplitToPlusMinus(const ep::SxImageBuf& src, ep::SxImageBuf& plus, ep::SxImageBuf& minus,
                                 bool invertMinus);

}  // namespace orn

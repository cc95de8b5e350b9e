/**
 * @file
 * Writing an image to a MAT file.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {
namespace matlab {

/**
 * Stores @p image in an open MAT file as one two-dimensional numeric variable per plane, so that MATLAB shows each
 * plane upright.
 *
 * An image of H rows and W columns becomes H x W matrices; MATLAB's order is column by column:
 * @verbatim
 *    image, row by row        variable, H x W            its bytes in the file
 *       a b c                    a b c
 *       d e f                    d e f                      a d  b e  c f
 *
 *    with reverseRows            d e f
 *                                a b c                      d a  e b  f c
 * @endverbatim
 *
 * Packed images are split first: a grid 5 mosaic into patternWidth x patternHeight planes, any other packed image that
 * is not a plain one-channel one into four half-size planes, whatever its number of channels, as though it were a 2 x 2
 * mosaic. De-interleave a colour photograph beforehand (ep::ConvertPackPixelToPlanar()).
 *
 * Names, after @p name:
 * | image as written                     | suffix                                                      |
 * |--------------------------------------|-------------------------------------------------------------|
 * | one plane, no grid                   | "_channel_1"                                                |
 * | one plane of grid 0, 1, 2, 3         | "_BGGR", "_RGGB", "_GBRG", "_GRBG"                          |
 * | one plane of any other grid          | the whole name is empty                                     |
 * | k planes                             | "_channel_1" ... "_channel_k"                               |
 * | four planes and @p raw               | "_channel_R", "_channel_G1", "_channel_B", "_channel_G2"    |
 *
 * @param mat          handle from MatOpenWrite()
 * @param image        the image; never changed
 * @param name         base name of the variables
 * @param reverseRows  store the bottom row first
 * @param writtenInfo  on success: the description of the transposed planar image that was written. Its width is the
 *                     image's height, its channels the number of variables
 * @param raw          name four planes by colour, and take a packed one-channel image as it lies instead of splitting
 * it
 * @return false for a null handle, an empty image or one that MAT cannot hold (sample type 9, a plane of more than 2^31
 * - 1 bytes, a raw packed image of several channels, a cell without width or height); nothing is written then. False as
 * well when matio refuses a variable: the planes before it stay in the file. A failing write to the disk is not noticed
 * here.
 */
ORN_EXPORT bool AddImage(void* mat, ep::SxImageBuf const& image, QString const& name, bool reverseRows,
                         ep::SxImageInfo& writtenInfo, bool raw);

}  // namespace matlab
}  // namespace orn

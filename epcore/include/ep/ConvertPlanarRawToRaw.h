/**
 * @file
 * From colour planes to a mosaic.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Interleaves the colour planes of @p source into the one-channel mosaic @p destination, which the caller has
 * allocated. The inverse of the split of ConvertPackPixelToPlanar().
 *
 * Grids 0 to 3: four planes R, G1, B, G2 into a mosaic of twice the width and height.
 * @verbatim
 *    |R R|  |G1 G1|  |B B|  |G2 G2|   -> (RGGB)   |R  G1|R  G1|
 *                                                 |G2 B |G2 B |
 * @endverbatim
 * Grid 5: patternWidth x patternHeight planes (fields of the destination), counted row by row, into a mosaic of
 * patternWidth times the width and patternHeight times the height.
 *
 * @param grid the arrangement to place the planes by; the destination's own bayerGrid is not looked at
 * @return ExStatus; fails on null data, a source that is not planar or has another number of planes, another
 *         sample type, a destination of another size or with several channels, and grid 4.
 */
EP_EXPORT unsigned int ConvertPlanarRawToRaw(const SxImageBuf& source, SxImageBuf& destination, ExBayerGrid grid);

}  // namespace ep

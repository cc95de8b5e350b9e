/**
 * @file
 * From packed pixels, or a mosaic, to planes.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Writes the packed image @p source as planes into @p destination, which the caller has allocated as planar.
 * The geometry of the destination tells which of two things is meant.
 *
 * Same width, height and channels: the channels are de-interleaved.
 * @verbatim
 *    |R G B|R G B|        |R R|
 *    |R G B|R G B|   ->   |R R|  |G G|  |B B|
 *                                |G G|  |B B|
 * @endverbatim
 *
 * k planes of 1/cell the size, for a cell of k samples (2 x 2 for every grid but 5, else patternWidth x
 * patternHeight of the source): the mosaic is split by cell.
 * @verbatim
 *    |R  G1|R  G1|
 *    |G2 B |G2 B |   ->   |R R|  |G1 G1|  |B B|  |G2 G2|
 * @endverbatim
 * A one-channel mosaic of grid 0 to 3 gives the planes R, G1, B, G2. Everything else (grid 5, no grid, several
 * channels, of which the first is split) gives the cell positions counted row by row. Rows and columns past
 * the last whole cell are dropped.
 *
 * The inverse of the split is ConvertPlanarRawToRaw().
 *
 * @return ExStatus; fails on null data, another sample type, a source that is not packed, a destination that is
 *         not planar, and a geometry that is neither of the two. The destination's description is not changed.
 */
EP_EXPORT unsigned int ConvertPackPixelToPlanar(const SxImageBuf& source, SxImageBuf& destination);

}  // namespace ep

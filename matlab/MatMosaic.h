/**
 * @file
 * From the variables that hold the colour planes of a mosaic to the mosaic.
 */
#pragma once

#include "MatPlane.h"

#include <vector>

namespace orn {
namespace matlab {

/**
 * Reads four colour planes into the mosaic that they were split from, band by band:
 * @verbatim
 *    file                      band of some columns           mosaic with the same columns
 *    R  ||||......             R: upright                     R g R g R g ..........
 *    G1 ||||......     ->      G1               ->            G B G B G B ..........
 *    B  ||||......             B                              R g R g R g ..........
 *    G2 ||||......             G2                             G B G B G B ..........
 * @endverbatim
 * No whole plane is ever in memory beside the mosaic, whose rows are written once.
 *
 * @param planes   four variables for which fillsByPieces() is true with a plane of the mosaic
 * @param mosaic   allocated, of one channel, with the Bayer grid that places the planes
 * @param isReversed the file holds the bottom row of each plane first
 * @param bits     as in PlaneTarget
 */
bool readIntoMosaic(MatDirectory& directory, const std::vector<MatEntry*>& planes, ep::SxImageBuf& mosaic,
                    bool isReversed, quint16* bits, ep::SxFileError& error);

}  // namespace matlab
}  // namespace orn

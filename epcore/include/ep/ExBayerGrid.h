/**
 * @file
 * Colour-filter arrangements of raw mosaics.
 */
#pragma once

#include <QtGlobal>

namespace ep {

/**
 * Colour-filter arrangement of a mosaic. The code always describes the top-left sample of the image
 * that carries it (the visible area), not the sensor's corner.
 *
 * @verbatim
 *    0 BGGR      1 RGGB      2 GBRG      3 GRBG       4 none       5 a cell of patternWidth x patternHeight
 *    +---+---+   +---+---+   +---+---+   +---+---+
 *    | B | G2|   | R | G1|   | G2| B |   | G1| R |
 *    +---+---+   +---+---+   +---+---+   +---+---+
 *    | G1| R |   | G2| B |   | R | G1|   | B | G2|
 *    +---+---+   +---+---+   +---+---+   +---+---+
 * @endverbatim
 *
 * Colour planes are always in the order R, G1, B, G2. G1 is the green that shares a row with red,
 * G2 the green that shares a row with blue. With BayerGridCell, plane p is the cell position p counted
 * row by row.
 */
enum ExBayerGrid : qint32 {
    BayerGridBGGR = 0,
    BayerGridRGGB = 1,
    BayerGridGBRG = 2,
    BayerGridGRBG = 3,
    BayerGridNone = 4,  ///< no colour-filter grid
    BayerGridCell = 5   ///< a mosaic whose cell is patternWidth x patternHeight samples
};

}  // namespace ep

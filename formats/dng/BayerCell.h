/**
 * @file
 * Where the colours lie in a 2 x 2 cell.
 */
#pragma once

#include <ep/ExBayerGrid.h>

#include <QString>

#include <array>

namespace ep {
namespace dng {

/** Positions in the cell of @p grid (0 to 3), counted row by row, of the colour planes R, G1, B and G2. */
std::array<int, 4> bayerPlanePositions(ExBayerGrid grid);

/** The colours of the cell of @p grid (0 to 3) row by row, as "RGGB". */
QString bayerColors(ExBayerGrid grid);

/** The grid whose cell has the colours @p colors; BayerGridNone when there is none. */
ExBayerGrid bayerGridOf(const QString& colors);

}  // namespace dng
}  // namespace ep

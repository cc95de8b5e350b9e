/**
 * @file
 * Which sample of a mosaic's cell belongs to which colour plane.
 */
#pragma once

#include <ep/ExBayerGrid.h>
#include <ep/internal/PlaneView.h>

#include <string_view>

namespace ep {
namespace internal {

/** Column and row of a sample inside a cell. */
struct CellPosition {
    qint32 column;
    qint32 row;
};

/** True for the four 2 x 2 arrangements. */
inline bool isBayerGrid(qint32 grid)
{
    return grid >= BayerGridBGGR && grid <= BayerGridGRBG;
}

/** Where plane @p plane (0 R, 1 G1, 2 B, 3 G2) stands in the 2 x 2 cell of @p grid, which is one of 0 to 3. */
inline CellPosition bayerPosition(qint32 grid, qint32 plane)
{
    static constexpr CellPosition positions[4][4] = {
        {{1, 1}, {0, 1}, {0, 0}, {1, 0}},  // BGGR
        {{0, 0}, {1, 0}, {1, 1}, {0, 1}},  // RGGB
        {{0, 1}, {1, 1}, {1, 0}, {0, 0}},  // GBRG
        {{1, 0}, {0, 0}, {0, 1}, {1, 1}},  // GRBG
    };
    return positions[grid][plane];
}

/** The colours of the cell of each of the four arrangements, row by row. */
constexpr const char* bayerLetters[] = {"BGGR", "RGGB", "GBRG", "GRBG"};

/** The arrangement whose cell has the colours @p letters; BayerGridNone when there is none. */
inline ExBayerGrid bayerGridOf(std::string_view letters)
{
    for (const ExBayerGrid grid : {BayerGridBGGR, BayerGridRGGB, BayerGridGBRG, BayerGridGRBG})
        if (letters == bayerLetters[grid])
            return grid;
    return BayerGridNone;
}

/** How a mosaic falls into planes: the size of its cell, and the place of each plane in it. */
struct MosaicCell {
    qint32 width;
    qint32 height;
    qint32 grid;  ///< 0 to 3 place the planes by colour; any other code counts positions row by row

    /** The cell of @p mosaic with the arrangement @p grid: 2 x 2, or patternWidth x patternHeight for grid 5. */
    static MosaicCell of(const SxImageInfo& mosaic, qint32 grid)
    {
        if (grid == BayerGridCell)
            return {mosaic.patternWidth, mosaic.patternHeight, grid};
        return {2, 2, grid};
    }

    /**
     * The cell by which the packed image @p source is split. Colour places the planes of a one-channel mosaic alone;
     * of every other source the first channel is split, with its positions counted row by row.
     */
    static MosaicCell ofPacked(const SxImageInfo& source)
    {
        const bool byColor = source.channels == 1 || source.bayerGrid == BayerGridCell;
        return of(source, byColor ? source.bayerGrid : BayerGridNone);
    }

    bool isValid() const { return width > 0 && height > 0; }
    qint64 planes() const { return static_cast<qint64>(width) * height; }

    CellPosition position(qint32 plane) const
    {
        return isBayerGrid(grid) ? bayerPosition(grid, plane) : CellPosition{plane % width, plane / width};
    }

    /** The samples of colour plane @p plane in @p mosaic. */
    template <typename Byte>
    BasicPlaneView<Byte> planeOf(const BasicPlaneView<Byte>& mosaic, qint32 plane) const
    {
        const CellPosition place = position(plane);
        return mosaic.cellPosition(place.column, place.row, width, height);
    }
};

}  // namespace internal
}  // namespace ep

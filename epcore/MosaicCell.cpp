#include "MosaicCell.h"

#include <ep/internal/CommonItem.h>

namespace ep {

namespace {

/** Where red stands in the cell of grids 0 to 3. */
constexpr struct {
    int x;
    int y;
} redPosition[] = {{1, 1}, {0, 0}, {0, 1}, {1, 0}};

/** A sequence with one entry per cell position, counted row by row, as seen from @p corner. */
template <typename Sequence>
Sequence cellSeenFrom(const Sequence& whole, const QSize& cell, const QPoint& corner)
{
    Sequence part = whole;
    if (whole.size() != cell.width() * cell.height())
        return part;
    for (int y = 0; y < cell.height(); ++y)
        for (int x = 0; x < cell.width(); ++x) {
            const int column = (x + corner.x()) % cell.width();
            const int row = (y + corner.y()) % cell.height();
            part[y * cell.width() + x] = whole[row * cell.width() + column];
        }
    return part;
}

}  // namespace

QSize mosaicCell(const SxImageInfo& image)
{
    if (internal::isBayerGrid(image.bayerGrid))
        return {2, 2};
    if (image.bayerGrid == BayerGridCell && image.patternWidth > 0 && image.patternHeight > 0)
        return {image.patternWidth, image.patternHeight};
    return {1, 1};
}

ExBayerGrid gridSeenFrom(ExBayerGrid grid, const QPoint& corner)
{
    if (!internal::isBayerGrid(grid))
        return grid;
    const int x = (redPosition[grid].x + corner.x()) & 1;
    const int y = (redPosition[grid].y + corner.y()) & 1;
    for (qint32 code = BayerGridBGGR; code <= BayerGridGRBG; ++code)
        if (redPosition[code].x == x && redPosition[code].y == y)
            return static_cast<ExBayerGrid>(code);
    return grid;
}

void moveMosaicOrigin(CxMetadata& metadata, const SxImageInfo& image, const QPoint& corner)
{
    CxCommonImageMetadata* common = internal::findCommonItem(metadata);
    if (!common)
        return;
    const QSize cell = mosaicCell(image);
    if (common->bayerGrid == image.bayerGrid)
        common->bayerGrid = gridSeenFrom(image.bayerGrid, corner);
    common->patternColors = cellSeenFrom(common->patternColors, cell, corner);
    if (image.bayerGrid == BayerGridCell)  // of the other grids the levels are by colour, which stays
        common->blackLevels = cellSeenFrom(common->blackLevels, cell, corner);
    if (common->sensorWidth > 0)
        common->leftMargin += corner.x();
    if (common->sensorHeight > 0)
        common->topMargin += corner.y();
}

}  // namespace ep

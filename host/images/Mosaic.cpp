#include "Mosaic.h"

#include <algorithm>

namespace {

constexpr int namedGrids = 4;

/** The four 2 x 2 grids by code. */
const char* const colorsOfGrid[namedGrids] = {"BGGR", "RGGB", "GBRG", "GRBG"};

bool isNamed(ep::ExBayerGrid grid)
{
    return grid >= 0 && grid < namedGrids;
}

/** Place in the 2 x 2 cell, counted row by row, of each plane R, G1, B, G2. */
QVector<int> placesOfPlanes(ep::ExBayerGrid grid)
{
    const QString colors = QLatin1String(colorsOfGrid[grid]);
    const int red = colors.indexOf(QLatin1Char('R'));
    // The green of red's row is red's neighbour in it; blue is across, and the other green is the neighbour of blue.
    return {red, red ^ 1, red ^ 3, red ^ 2};
}

QVector<double> movedBlackLevels(const QVector<double>& levels, ep::ExBayerGrid from, ep::ExBayerGrid to)
{
    if (std::all_of(levels.begin(), levels.end(), [&](double level) { return level == levels.front(); }))
        return levels.mid(0, 1);
    if (levels.size() != 4 || !isNamed(from) || !isNamed(to))
        return {};
    const QVector<int> oldPlaces = placesOfPlanes(from);
    QVector<double> moved;
    for (int place : placesOfPlanes(to))
        moved << levels[oldPlaces.indexOf(place)];
    return moved;
}

ep::CxCommonImageMetadata* commonItem(ep::CxMetadata& metadata)
{
    auto* item =
        qobject_cast<ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    if (!item) {
        item = new ep::CxCommonImageMetadata;
        metadata.addMetadata(item);
    }
    return item;
}

}  // namespace

QStringList gridNames()
{
    QStringList names;
    for (const char* colors : colorsOfGrid)
        names << QLatin1String(colors);
    return names << QStringLiteral("none");
}

ep::ExBayerGrid gridFromName(const QString& name)
{
    return static_cast<ep::ExBayerGrid>(gridNames().indexOf(name));
}

QString gridName(const ep::SxImageInfo& image)
{
    if (isNamed(image.bayerGrid))
        return QLatin1String(colorsOfGrid[image.bayerGrid]);
    if (image.bayerGrid == ep::BayerGridCell)
        return QStringLiteral("%1 x %2 cell").arg(image.patternWidth).arg(image.patternHeight);
    return QStringLiteral("none");
}

bool isMosaic(const ep::SxImageInfo& image)
{
    return image.channels == 1 && !cellSize(image).isEmpty();
}

QSize cellSize(const ep::SxImageInfo& image)
{
    if (isNamed(image.bayerGrid))
        return {2, 2};
    if (image.bayerGrid == ep::BayerGridCell)
        return {image.patternWidth, image.patternHeight};
    return {0, 0};
}

QString cellColors(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common)
{
    if (isNamed(image.bayerGrid))
        return QLatin1String(colorsOfGrid[image.bayerGrid]);
    const QSize cell = cellSize(image);
    const bool known = common && common->patternColors.size() == qint64(cell.width()) * cell.height();
    return known ? common->patternColors : QString();
}

bool overrideGrid(ep::ExBayerGrid grid, ep::SxImageInfo& image, ep::CxMetadata& metadata)
{
    ep::CxCommonImageMetadata* common = commonItem(metadata);
    const int blackLevels = common->blackLevels.size();
    if (image.bayerGrid != grid)
        common->blackLevels = movedBlackLevels(common->blackLevels, image.bayerGrid, grid);
    image.bayerGrid = grid;
    image.patternWidth = cellSize(image).width() == 0 ? 0 : 2;
    image.patternHeight = image.patternWidth;
    common->bayerGrid = grid;
    common->patternWidth = image.patternWidth;
    common->patternHeight = image.patternHeight;
    common->patternColors = cellColors(image, nullptr);
    return blackLevels == 0 || !common->blackLevels.isEmpty();
}

#include "RawCell.h"

#include "RawFile.h"

#include <dng/BayerCell.h>

#include <functional>

namespace ep {
namespace raw {
namespace {

using ColorAt = std::function<QChar(int row, int column)>;

constexpr int mostPeriod = 16;
constexpr int searchedSide = 3 * mostPeriod;

RawCell unknownCell()
{
    RawCell cell;
    cell.isUnknown = true;
    return cell;
}

RawCell makeCell(int width, int height, const ColorAt& colorAt)
{
    RawCell cell;
    cell.width = width;
    cell.height = height;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            cell.colors.append(colorAt(row, column));
    const ExBayerGrid bayer = width == 2 && height == 2 ? dng::bayerGridOf(cell.colors) : BayerGridNone;
    cell.grid = bayer == BayerGridNone ? BayerGridCell : bayer;
    return cell;
}

bool repeats(int right, int down, const ColorAt& colorAt)
{
    for (int row = 0; row < searchedSide; ++row)
        for (int column = 0; column < searchedSide; ++column)
            if (colorAt(row, column) != colorAt(row + down, column + right))
                return false;
    return true;
}

/** The smallest cell that repeats; an unknown one when there is none. */
RawCell findCell(const ColorAt& colorAt)
{
    int width = 1;
    int height = 1;
    while (width <= mostPeriod && !repeats(width, 0, colorAt))
        ++width;
    while (height <= mostPeriod && !repeats(0, height, colorAt))
        ++height;
    // A mosaic of one colour is none.
    const bool isFound = width <= mostPeriod && height <= mostPeriod && width * height > 1;
    return isFound ? makeCell(width, height, colorAt) : unknownCell();
}

/** The cell that the tags tell; LibRaw misreads some. */
RawCell cellOfTags(const RawDirectory& directory)
{
    const int width = static_cast<int>(directory.cellWidth);
    return findCell([&directory, width](int row, int column) {
        const int position = row % int(directory.cellHeight) * width + column % width;
        const int code = static_cast<quint8>(directory.pattern[position]);
        return code < 7 ? QLatin1Char("RGBCMYW"[code]) : QLatin1Char('?');
    });
}

}  // namespace

RawCell findRawCell(const RawFile& file)
{
    const libraw_iparams_t& identity = file.data().idata;
    const auto colorAt = [&file, &identity](int row, int column) {
        const int color = file.color(row, column);
        return color >= 0 && color < 4 && identity.cdesc[color] ? QLatin1Char(identity.cdesc[color]) : QLatin1Char('?');
    };
    if (identity.dng_version != 0 && file.tags().mosaic()) {
        // Without a pattern LibRaw assumes one.
        const RawDirectory& directory = *file.tags().mosaic();
        const quint32 side = mostPeriod;
        if (directory.isStaggered || directory.pattern.isEmpty() || directory.cellWidth > side
            || directory.cellHeight > side
            || directory.cellWidth * directory.cellHeight != quint32(directory.pattern.size()))
            return unknownCell();
        return cellOfTags(directory);
    }
    if (identity.filters == 0)
        return RawCell();
    return identity.filters == LIBRAW_XTRANS ? makeCell(6, 6, colorAt) : findCell(colorAt);
}

}  // namespace raw
}  // namespace ep

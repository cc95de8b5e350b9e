#include "PreviewPlanes.h"

#include "CameraColors.h"

#include <ep/internal/MosaicCell.h>
#include <ep/internal/ReadRow.h>

#include <algorithm>

namespace orn {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::MosaicCell;
using ep::internal::planeView;
using ep::internal::readRow;

/** What stands at one place of a mosaic's cell. */
struct CellPlace {
    int channel = 0;  // of the preview
    float black = 0;
    float gain = 1;
};

/** The cell of a mosaic, row by row. */
struct Cell {
    qint32 width = 0;
    qint32 height = 0;
    qint32 channels = 1;  // 3 when every place has a colour, else 1
    std::vector<CellPlace> places;

    CellPlace& at(qint32 x, qint32 y) { return places[index(x, y)]; }
    const CellPlace& at(qint32 x, qint32 y) const { return places[index(x, y)]; }

private:
    std::size_t index(qint32 x, qint32 y) const { return static_cast<std::size_t>((y % height) * width + x % width); }
};

bool isMosaic(const ep::SxImageInfo& image)
{
    const bool isCell = image.bayerGrid == ep::BayerGridCell && image.patternWidth > 0 && image.patternHeight > 0
                        && image.patternWidth <= image.width && image.patternHeight <= image.height;
    const bool isBayer = ep::internal::isBayerGrid(image.bayerGrid) && image.width > 1 && image.height > 1;
    return image.channels == 1 && (isCell || isBayer);
}

/** Gives every place its colour. False, with all places grey, when the colours are not known. */
bool setColors(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common, Cell& cell)
{
    const QString letters = QStringLiteral("RGB");
    if (ep::internal::isBayerGrid(image.bayerGrid)) {
        constexpr int channelOfPlane[] = {0, 1, 2, 1};
        for (qint32 plane = 0; plane < 4; ++plane) {
            const ep::internal::CellPosition place = ep::internal::bayerPosition(image.bayerGrid, plane);
            cell.at(place.column, place.row).channel = channelOfPlane[plane];
        }
        return true;
    }
    const QString colors = common ? common->patternColors : QString();
    const bool known = static_cast<std::size_t>(colors.size()) == cell.places.size()
                       && std::all_of(colors.begin(), colors.end(), [&](QChar c) { return letters.contains(c); })
                       && std::all_of(letters.begin(), letters.end(), [&](QChar c) { return colors.contains(c); });
    for (int i = 0; known && i < colors.size(); ++i)
        cell.places[static_cast<std::size_t>(i)].channel = letters.indexOf(colors[i]);
    return known;
}

/** Gives every place its black level; false when none is known. */
bool setBlackLevels(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common, Cell& cell)
{
    const QVector<double> levels = common ? common->blackLevels : QVector<double>();
    const auto places = static_cast<qint32>(cell.places.size());
    if (levels.size() != 1 && levels.size() != places)
        return false;
    const MosaicCell planes = MosaicCell::of(image, image.bayerGrid);
    for (qint32 plane = 0; plane < places; ++plane) {
        const ep::internal::CellPosition place = planes.position(plane);
        cell.at(place.column, place.row).black = static_cast<float>(levels.size() == 1 ? levels[0] : levels[plane]);
    }
    return true;
}

bool setGains(const ep::CxCommonImageMetadata* common, Cell& cell)
{
    if (cell.channels != 3 || !common || common->whiteBalance.size() != 3)
        return false;
    for (CellPlace& place : cell.places)
        place.gain = static_cast<float>(common->whiteBalance[place.channel]);
    return true;
}

bool hasAllColors(const Cell& cell, qint32 left, qint32 top, qint32 size)
{
    bool found[3] = {};
    for (qint32 y = top; y < top + size; ++y)
        for (qint32 x = left; x < left + size; ++x)
            found[cell.at(x, y).channel] = true;
    return std::all_of(found, found + cell.channels, [](bool has) { return has; });
}

/** The side of the smallest square by which the cell is tiled, every tile holding all colours; 0 when there is none. */
qint32 smallestBlock(const Cell& cell)
{
    for (qint32 size = 2; size <= std::min(cell.width, cell.height); ++size) {
        bool fits = cell.width % size == 0 && cell.height % size == 0;
        for (qint32 y = 0; fits && y < cell.height; y += size)
            for (qint32 x = 0; fits && x < cell.width; x += size)
                fits = hasAllColors(cell, x, y, size);
        if (fits)
            return size;
    }
    return 0;
}

/** Adds a row of samples to the sums and counts of the blocks that it crosses. */
void addRow(const std::vector<float>& row, qint32 y, const Cell& cell, qint32 blockWidth, float* sums, float* counts,
            qint32 blocks)
{
    for (qint32 x = 0; x < blocks * blockWidth; ++x) {
        const CellPlace& place = cell.at(x, y);
        const std::ptrdiff_t to = static_cast<std::ptrdiff_t>(x / blockWidth) * cell.channels + place.channel;
        sums[to] += (row[static_cast<std::size_t>(x)] - place.black) * place.gain;
        counts[to] += 1;
    }
}

ep::ExStatus averageBlocks(const ConstPlaneView& mosaic, ep::ExImageDataType type, const Cell& cell,
                           const SxPreviewFacts& facts, PreviewPlanes& planes)
{
    planes.width = mosaic.width / facts.reductionX;
    planes.height = mosaic.height / facts.reductionY;
    planes.channels = cell.channels;
    const auto rowSize = static_cast<std::size_t>(planes.width) * static_cast<std::size_t>(planes.channels);
    planes.samples.assign(rowSize * static_cast<std::size_t>(planes.height), 0);
    std::vector<float> row(static_cast<std::size_t>(mosaic.width));
    for (qint32 y = 0; y < planes.height; ++y) {
        float* sums = planes.samples.data() + static_cast<std::size_t>(y) * rowSize;
        std::vector<float> counts(rowSize, 0);
        for (qint32 line = y * facts.reductionY; line < (y + 1) * facts.reductionY; ++line) {
            if (!readRow(mosaic, type, line, row.data()))
                return ep::StatusUnsupportedType;
            addRow(row, line, cell, facts.reductionX, sums, counts.data(), planes.width);
        }
        for (std::size_t i = 0; i < rowSize; ++i)
            sums[i] /= counts[i];
    }
    return ep::StatusOk;
}

ConstPlaneView part(const ConstPlaneView& view, const QRect& region)
{
    return {view.sample(region.x(), region.y()), view.rowBytes, view.pixelStep, region.width(), region.height()};
}

/** @p region with its edges moved outwards to whole cells, as far as the image goes. */
QRect wholeCells(const QRect& region, const Cell& cell, const ep::SxImageInfo& image)
{
    const qint32 left = region.x() / cell.width * cell.width;
    const qint32 top = region.y() / cell.height * cell.height;
    const auto roundUp = [](qint32 end, qint32 step, qint32 limit) {
        return std::min<qint64>((static_cast<qint64>(end) + step - 1) / step * step, limit / step * step);
    };
    const auto right = static_cast<qint32>(roundUp(region.x() + region.width(), cell.width, image.width));
    const auto bottom = static_cast<qint32>(roundUp(region.y() + region.height(), cell.height, image.height));
    return {left, top, right - left, bottom - top};
}

ep::ExStatus fromMosaic(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common, const QRect& region,
                        PreviewPlanes& planes, SxPreviewFacts& facts)
{
    const MosaicCell size = MosaicCell::of(image, image.bayerGrid);
    Cell cell;
    cell.width = size.width;
    cell.height = size.height;
    cell.places.resize(static_cast<std::size_t>(size.planes()));
    cell.channels = setColors(image, common, cell) ? 3 : 1;
    planes.blackSubtracted = setBlackLevels(image, common, cell);
    facts.whiteBalanced = setGains(common, cell);
    facts.gammaApplied = true;
    const qint32 block = smallestBlock(cell);
    facts.reductionX = block > 0 ? block : cell.width;
    facts.reductionY = block > 0 ? block : cell.height;
    const QRect cells = wholeCells(region, cell, image);
    if (cells.isEmpty())
        return ep::StatusInvalidArgument;
    const ep::ExStatus status = averageBlocks(part(planeView(image, 0), cells), image.dataType, cell, facts, planes);
    ColorMatrix matrix{};
    facts.colorsOfScreen =
        status == ep::StatusOk && facts.whiteBalanced && screenFromCamera(common->colorMatrix, matrix);
    if (facts.colorsOfScreen)
        applyColorMatrix(matrix, planes.samples);
    return status;
}

ep::ExStatus fromChannels(const ep::SxImageBuf& image, int channel, const QRect& region, PreviewPlanes& planes,
                          SxPreviewFacts& facts)
{
    planes.width = region.width();
    planes.height = region.height();
    planes.channels = channel < 0 && image.channels >= 3 ? 3 : 1;
    planes.isDisplayReady = image.dataType == ep::DataTypeUInt8;
    facts.gammaApplied = image.dataType == ep::DataTypeFloat || image.dataType == ep::DataTypeDouble;
    const auto channels = static_cast<std::size_t>(planes.channels);
    planes.samples.resize(static_cast<std::size_t>(planes.width) * static_cast<std::size_t>(planes.height) * channels);
    std::vector<float> row(static_cast<std::size_t>(planes.width));
    const bool reversed = image.formatCode == ep::FormatCodeReversedColors;
    for (std::size_t i = 0; i < channels; ++i) {
        const auto color = static_cast<qint32>(reversed ? 2 - i : i);
        const ConstPlaneView view = part(planeView(image, planes.channels == 3 ? color : std::max(channel, 0)), region);
        float* to = planes.samples.data() + i;
        for (qint32 y = 0; y < planes.height; ++y) {
            if (!readRow(view, image.dataType, y, row.data()))
                return ep::StatusUnsupportedType;
            for (float sample : row) {
                *to = sample;
                to += channels;
            }
        }
    }
    return ep::StatusOk;
}

}  // namespace

ep::ExStatus makePreviewPlanes(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common,
                               const SxPreviewOptions& options, PreviewPlanes& planes, SxPreviewFacts& facts)
{
    const QRect whole(0, 0, image.width, image.height);
    const QRect region = options.region.isNull() ? whole : options.region;
    if (region.isEmpty() || !whole.contains(region) || options.channel < -1 || options.channel >= image.channels)
        return ep::StatusInvalidArgument;
    if (options.channel < 0 && isMosaic(image))
        return fromMosaic(image, common, region, planes, facts);
    return fromChannels(image, options.channel, region, planes, facts);
}

}  // namespace orn

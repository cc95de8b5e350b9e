#include "ReadDngTags.h"

#include "ReadTiffMetadata.h"

#include <dng/BayerCell.h>
#include <ep/internal/CommonItem.h>

#include <algorithm>
#include <cmath>

namespace ep {
namespace tiff {
namespace {

QVector<double> readFloats(const TiffFile& file, uint32_t tag)
{
    uint16_t count = 0;
    float* values = nullptr;
    QVector<double> numbers;
    if (!file.get(tag, &count, &values) || !values)
        return numbers;
    for (uint16_t i = 0; i < count; ++i)
        numbers.append(static_cast<double>(values[i]));
    const bool isSound = std::all_of(numbers.cbegin(), numbers.cend(), [](double n) { return std::isfinite(n); });
    return isSound ? numbers : QVector<double>();
}

/** Levels of no light, as they stand in the file. */
struct BlackLevels {
    int rows = 1;
    int columns = 1;
    QVector<double> levels;
};

BlackLevels readBlackLevels(const TiffFile& file)
{
    BlackLevels black;
    black.levels = readFloats(file, TIFFTAG_BLACKLEVEL);
    uint16_t* repeat = nullptr;
    if (file.get(TIFFTAG_BLACKLEVELREPEATDIM, &repeat) && repeat) {
        black.rows = repeat[0];
        black.columns = repeat[1];
    }
    return black;
}

/** One level, or one per plane of the mosaic that @p common describes; none where the file has another arrangement. */
QVector<double> planeLevels(const BlackLevels& black, const CxCommonImageMetadata& common)
{
    const QVector<double>& levels = black.levels;
    const bool areEqual = std::all_of(levels.cbegin(), levels.cend(), [&](double level) { return level == levels[0]; });
    if (!levels.isEmpty() && areEqual)
        return {levels[0]};
    const bool isByCell = black.rows == common.patternHeight && black.columns == common.patternWidth
                          && levels.size() == black.rows * black.columns;
    if (!isByCell)
        return {};
    if (common.bayerGrid == BayerGridCell)
        return levels;
    QVector<double> planes;
    for (const int position : dng::bayerPlanePositions(static_cast<ExBayerGrid>(common.bayerGrid)))
        planes.append(levels[position]);
    return planes;
}

QVector<double> readWhiteBalance(const TiffFile& file)
{
    const QVector<double> neutral = readFloats(file, TIFFTAG_ASSHOTNEUTRAL);
    if (neutral.size() != 3 || *std::min_element(neutral.cbegin(), neutral.cend()) <= 0)
        return {};
    return {neutral[1] / neutral[0], 1, neutral[1] / neutral[2]};
}

}  // namespace

bool isPlainMosaic(const TiffFile& file, const TiffPage& page, SxFileError& error)
{
    uint16_t count = 0;
    uint16_t* table = nullptr;
    if (page.image.channels != 1)
        error = {ExFileError::Unsupported, QStringLiteral("its mosaic has several samples per pixel")};
    else if (file.get(TIFFTAG_LINEARIZATIONTABLE, &count, &table))
        error = {ExFileError::Unsupported, QStringLiteral("its samples stand behind a table")};
    return !error;
}

QRect readActiveArea(const TiffFile& file, const TiffPage& page)
{
    const QRect whole(0, 0, page.image.width, page.image.height);
    uint32_t* sides = nullptr;  // top, left, bottom, right
    if (!file.get(TIFFTAG_ACTIVEAREA, &sides) || !sides)
        return whole;
    const auto width = static_cast<uint32_t>(page.image.width);
    const auto height = static_cast<uint32_t>(page.image.height);
    if (sides[2] > height || sides[3] > width || sides[0] >= sides[2] || sides[1] >= sides[3])
        return whole;
    return QRect(QPoint(int(sides[1]), int(sides[0])), QPoint(int(sides[3]) - 1, int(sides[2]) - 1));
}

QByteArray readXmp(const TiffFile& file)
{
    uint32_t size = 0;
    void* bytes = nullptr;
    constexpr uint32_t most = 1u << 30;
    if (!file.get(TIFFTAG_XMLPACKET, &size, &bytes) || !bytes || size > most)
        return QByteArray();
    return QByteArray(static_cast<const char*>(bytes), static_cast<int>(size));
}

CxMetadata readDngMetadata(TiffFile& file, const TiffPage& page)
{
    const BlackLevels black = readBlackLevels(file);
    const QRect area = readActiveArea(file, page);
    const QVector<double> balance = readWhiteBalance(file);
    const QVector<double> matrix = readFloats(file, TIFFTAG_COLORMATRIX1);
    uint16_t count = 0;
    uint32_t* white = nullptr;
    const double whiteLevel = file.get(TIFFTAG_WHITELEVEL, &count, &white) && count > 0 ? white[0] : 0;

    CxMetadata metadata = readTiffMetadata(file, page);
    CxCommonImageMetadata* common = internal::findCommonItem(metadata);
    common->sensorWidth = page.image.width;
    common->sensorHeight = page.image.height;
    common->leftMargin = area.left();
    common->topMargin = area.top();
    common->blackLevels = planeLevels(black, *common);
    common->whiteLevel = whiteLevel;
    common->whiteBalance = balance;
    constexpr int threeByThree = 9;
    if (matrix.size() == threeByThree)
        common->colorMatrix = matrix;
    return metadata;
}

}  // namespace tiff
}  // namespace ep

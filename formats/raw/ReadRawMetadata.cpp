#include "ReadRawMetadata.h"

#include "RawFile.h"

#include <dng/BayerCell.h>
#include <ep/internal/CommonItem.h>

#include <algorithm>
#include <cmath>

namespace ep {
namespace raw {
namespace {

QString decoded(const char* text)
{
    const QString utf8 = QString::fromUtf8(text);
    return (utf8.contains(QChar::ReplacementCharacter) ? QString::fromLatin1(text) : utf8).trimmed();
}

/** A positive number; 0, not known, for anything else. */
double known(float value)
{
    return std::isfinite(value) && value > 0 ? static_cast<double>(value) : 0;
}

/** The level of no light at a place of the visible area. */
double blackLevel(const RawFile& file, int row, int column)
{
    // A common level, one per colour, and a pattern of its own size: they add up.
    const libraw_colordata_t& color = file.data().color;
    double level = color.black;
    const int index = file.color(row, column);
    if (index >= 0 && index < 4)
        level += color.cblack[index];
    const unsigned rows = color.cblack[4];
    const unsigned columns = color.cblack[5];
    if (rows > 0 && columns > 0 && 6 + quint64(rows) * columns <= LIBRAW_CBLACK_SIZE)
        level += color.cblack[6 + unsigned(row) % rows * columns + unsigned(column) % columns];
    return level;
}

QVector<double> readBlackLevels(const RawFile& file, const RawCell& cell)
{
    if (cell.grid == BayerGridNone)
        return {blackLevel(file, 0, 0)};
    QVector<double> levels;
    for (int row = 0; row < cell.height; ++row)
        for (int column = 0; column < cell.width; ++column)
            levels.append(blackLevel(file, row, column));
    if (std::all_of(levels.cbegin(), levels.cend(), [&](double level) { return level == levels[0]; }))
        return {levels[0]};
    if (cell.grid == BayerGridCell)
        return levels;
    // LibRaw's second green is the one of odd rows, which may share them with red or blue.
    QVector<double> planes;
    for (const int position : dng::bayerPlanePositions(cell.grid))
        planes.append(levels[position]);
    return planes;
}

QVector<double> readWhiteBalance(const libraw_colordata_t& color)
{
    const float* factors = color.cam_mul;
    if (!(factors[0] > 0 && factors[1] > 0 && factors[2] > 0))
        return {};
    QVector<double> balance;
    for (int i = 0; i < 3; ++i)
        balance.append(static_cast<double>(factors[i]) / static_cast<double>(factors[1]));
    return balance;
}

QVector<double> readColorMatrix(const RawFile& file)
{
    QVector<double> matrix;
    const libraw_colordata_t& color = file.data().color;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column) {
            const float value = file.data().idata.dng_version != 0 ? color.dng_color[0].colormatrix[row][column]
                                                                   : color.cam_xyz[row][column];
            matrix.append(static_cast<double>(value));
        }
    const bool isKnown = std::any_of(matrix.cbegin(), matrix.cend(), [](double value) { return value != 0; });
    return isKnown ? matrix : QVector<double>();
}

QDateTime readCaptureTime(const RawFile& file)
{
    const QString text = decoded(file.tags().captureTime().constData());
    QDateTime time = QDateTime::fromString(text, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
    if (!time.isValid())
        return file.data().other.timestamp > 0 ? QDateTime::fromSecsSinceEpoch(file.data().other.timestamp)
                                               : QDateTime();
    const QString offset = decoded(file.tags().captureTimeOffset().constData());
    const QTime span = QTime::fromString(offset.mid(1), QStringLiteral("hh:mm"));
    if (span.isValid() && (offset.startsWith(QLatin1Char('+')) || offset.startsWith(QLatin1Char('-'))))
        time.setOffsetFromUtc((offset.startsWith(QLatin1Char('-')) ? -1 : 1) * QTime(0, 0).secsTo(span));
    return time;
}

/** Exif's orientation for LibRaw's turns. */
qint32 orientationOf(int flip)
{
    constexpr qint32 orientations[8] = {1, 2, 4, 3, 5, 8, 6, 7};
    return orientations[flip & 7];
}

void readLayout(const RawFile& file, const RawCell& cell, const SxImageInfo& image, CxCommonImageMetadata& common)
{
    internal::tellArrangement(image, common);
    common.colorBitDepth = image.bitDepth;
    common.patternColors = cell.colors;
    const libraw_image_sizes_t& sizes = file.data().sizes;
    common.sensorWidth = sizes.raw_width;
    common.sensorHeight = sizes.raw_height;
    common.leftMargin = file.visibleArea().left();
    common.topMargin = file.visibleArea().top();
    if (cell.isUnknown)
        common.attributes.insert(QStringLiteral("warning"),
                                 QStringLiteral("the file does not tell its colour-filter pattern"));
}

void readText(CxCommonImageMetadata& common, const char* name, const char* text)
{
    const QString value = decoded(text);
    if (!value.isEmpty())
        common.attributes.insert(QLatin1String(name), value);
}

}  // namespace

std::unique_ptr<CxCommonImageMetadata> readRawMetadata(const RawFile& file, const RawCell& cell,
                                                       const SxImageInfo& image)
{
    auto common = std::make_unique<CxCommonImageMetadata>();
    const libraw_data_t& data = file.data();
    readLayout(file, cell, image, *common);
    common->blackLevels = readBlackLevels(file, cell);
    common->whiteLevel = data.color.maximum;
    common->whiteBalance = readWhiteBalance(data.color);
    common->colorMatrix = readColorMatrix(file);
    common->cameraMake = decoded(data.idata.make);
    common->cameraModel = decoded(data.idata.model);
    common->exposureTime = known(data.other.shutter);
    common->aperture = known(data.other.aperture);
    common->iso = known(data.other.iso_speed);
    common->focalLength = known(data.other.focal_len);
    common->captureTime = readCaptureTime(file);
    common->orientation = orientationOf(data.sizes.flip);
    readText(*common, "Software", data.idata.software);
    readText(*common, "Artist", data.other.artist);
    readText(*common, "LensMake", data.lens.LensMake);
    readText(*common, "LensModel", data.lens.Lens);
    readText(*common, "BodySerialNumber", data.shootinginfo.BodySerial);
    return common;
}

}  // namespace raw
}  // namespace ep

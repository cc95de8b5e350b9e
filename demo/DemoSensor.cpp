#include "DemoSensor.h"

#include "DemoScene.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace demo {
namespace {

// Whole cells of 2 x 2 and of 6 x 6 fill the sensor.
constexpr int width = 1536;
constexpr int height = 1020;

constexpr int bits = 14;
constexpr double blackLevel = 512;
constexpr double whiteLevel = 16383;
constexpr double electronsPerLevel = 1.5;
constexpr double readNoise = 4;
constexpr int defectsOfAKind = 200;

// What each filter lets pass of linear sRGB; a row adds up to the part that white keeps.
constexpr double multipliers[3] = {2.0, 1.0, 1.6};
constexpr double filters[3][3] = {{0.80, 0.15, 0.05}, {0.10, 0.80, 0.10}, {0.05, 0.20, 0.75}};
constexpr double linearFromXyz[3][3] = {
    {3.2406, -1.5372, -0.4986}, {-0.9689, 1.8758, 0.0415}, {0.0557, -0.2040, 1.0570}};

struct Pattern {
    const char* name;
    ep::ExBayerGrid grid;
    int side;
    const char* colors;
};

constexpr Pattern patterns[] = {
    {"RGGB", ep::BayerGridRGGB, 2, "RGGB"},
    {"BGGR", ep::BayerGridBGGR, 2, "BGGR"},
    {"GBRG", ep::BayerGridGBRG, 2, "GBRG"},
    {"GRBG", ep::BayerGridGRBG, 2, "GRBG"},
    {"X-Trans", ep::BayerGridCell, 6, "GGRGGBGGBGGRBRGRBGGGBGGRGGRGGBRBGBRG"},
};

/** Light at the middle of the scene reaches the sensor whole, at its corners less than two thirds of it. */
double vignetting(double x, double y)
{
    const double fromMiddle = ((x - sceneWidth / 2) * (x - sceneWidth / 2) + (y - 0.5) * (y - 0.5)) / 0.8125;
    return 1 - 0.45 * fromMiddle;
}

/** What one photosite behind the filter @p filter receives; the mean over its area, so that edges are soft. */
double receivedLight(int column, int row, int filter)
{
    constexpr int steps = 3;
    double sum = 0;
    for (int i = 0; i < steps * steps; ++i) {
        const double x = (column + (i % steps + 0.5) / steps) / height;
        const double y = (row + (i / steps + 0.5) / steps) / height;
        const Color light = sceneLight(x, y);
        for (size_t c = 0; c < light.size(); ++c)
            sum += filters[filter][c] * light[c] * vignetting(x, y);
    }
    return sum / (steps * steps) / multipliers[filter];
}

/** A normally distributed number. The standard library's own would differ between libraries. */
double gauss(std::mt19937& random)
{
    constexpr int terms = 12;
    double sum = 0;
    for (int i = 0; i < terms; ++i)
        sum += random() / 4294967296.0;
    return sum - terms / 2.0;
}

quint16 digitize(double light, std::mt19937& random)
{
    const double level = light * (whiteLevel - blackLevel);
    const double noise = std::sqrt(std::max(level, 0.0) / electronsPerLevel + readNoise * readNoise) * gauss(random);
    return static_cast<quint16>(std::clamp(std::floor(blackLevel + level + noise + 0.5), 0.0, whiteLevel));
}

void expose(const Pattern& pattern, const ep::internal::PlaneView& sensor)
{
    std::mt19937 random(20240517);
    const QString colors = QString::fromLatin1(pattern.colors);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            const QChar color = colors[row % pattern.side * pattern.side + column % pattern.side];
            const int filter = QStringLiteral("RGB").indexOf(color);
            ep::internal::storeSample(sensor.sample(column, row), digitize(receivedLight(column, row, filter), random));
        }
    const auto setDefect = [&](double level) {
        const int column = static_cast<int>(random() % width);
        const int row = static_cast<int>(random() % height);
        ep::internal::storeSample(sensor.sample(column, row), static_cast<quint16>(level));
    };
    for (int i = 0; i < defectsOfAKind; ++i) {
        setDefect(whiteLevel - double(random() % 2000));  // hot
        setDefect(double(random() % 64));                 // dead
    }
}

QVector<double> colorMatrix()
{
    QVector<double> matrix;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column) {
            double sum = 0;
            for (int k = 0; k < 3; ++k)
                sum += filters[row][k] * linearFromXyz[k][column];
            matrix.append(sum / multipliers[row]);
        }
    return matrix;
}

void describe(const Pattern& pattern, ep::CxCommonImageMetadata& common)
{
    common.bayerGrid = pattern.grid;
    common.patternWidth = common.patternHeight = pattern.side;
    common.patternColors = QString::fromLatin1(pattern.colors);
    common.colorBitDepth = bits;
    common.blackLevels = {blackLevel};
    common.whiteLevel = whiteLevel;
    common.whiteBalance = {multipliers[0], multipliers[1], multipliers[2]};
    common.colorMatrix = colorMatrix();
    common.cameraMake = QStringLiteral("Demonstration");
    common.cameraModel = QStringLiteral("Generated capture");
    common.exposureTime = 1.0 / 125;
    common.aperture = 8;
    common.iso = 100;
    common.focalLength = 35;
    common.captureTime = QDateTime(QDate(2024, 5, 17), QTime(10, 30), Qt::OffsetFromUTC, 2 * 3600);
    common.orientation = 1;
}

}  // namespace

bool takeCapture(const QString& pattern, Capture& capture)
{
    const auto* found = std::find_if(std::begin(patterns), std::end(patterns), [&](const Pattern& candidate) {
        return pattern.compare(QLatin1String(candidate.name), Qt::CaseInsensitive) == 0;
    });
    if (found == std::end(patterns))
        return false;
    capture.mosaic->width = width;
    capture.mosaic->height = height;
    capture.mosaic->channels = 1;
    capture.mosaic->bitDepth = bits;
    capture.mosaic->dataType = ep::DataTypeUInt16;
    capture.mosaic->bayerGrid = found->grid;
    capture.mosaic->patternWidth = capture.mosaic->patternHeight = found->side;
    if (ep::failed(capture.mosaic.allocate()))
        return false;
    expose(*found, ep::internal::planeView(capture.mosaic.image(), 0));
    auto* common = new ep::CxCommonImageMetadata;
    describe(*found, *common);
    capture.metadata.addMetadata(common);
    return true;
}

}  // namespace demo

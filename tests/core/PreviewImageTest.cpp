#include <orn/PreviewImage.h>

#include "CameraImages.h"
#include "ImageKinds.h"
#include "SampleNumbers.h"

#include <QtTest>

#include <cmath>
#include <limits>

using namespace testing;

namespace {

/** A mosaic in which every sample of a colour has that colour's level, above a black level of 100. */
ep::CxScopedBuffer flatMosaic(ep::ExBayerGrid grid, const QString& colors, int cell, int width, int height)
{
    auto mosaic = randomImage(describe(ep::DataTypeUInt16, width, height));
    mosaic->bayerGrid = grid;
    mosaic->patternWidth = cell;
    mosaic->patternHeight = cell;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const QChar color = colors[(y % cell) * cell + x % cell];
            const int level = color == QLatin1Char('R') ? 1000 : color == QLatin1Char('G') ? 2000 : 500;
            setSample<quint16>(mosaic.image(), x, y, 0, quint16(100 + level));
        }
    }
    return mosaic;
}

quint8 srgb(double linear)
{
    const double level = linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
    return quint8(level * 255 + 0.5);
}

bool near(int a, int b)
{
    return std::abs(a - b) <= 1;
}

}  // namespace

class PreviewImageTest : public QObject {
    Q_OBJECT

private slots:
    void mosaicsGetTheirColours_data();
    void mosaicsGetTheirColours();
    void cameraColoursBecomeThoseOfTheScreen();
    void aMosaicOfUnknownColoursIsGrey();
    void eightBitsAreShownAsTheyAre();
    void sixteenBitsAreScaledByPercentiles();
    void realNumbersGetTheScreenCurve();
    void samplesOfEveryKindAreDrawn_data() { addImageKinds(); }
    void samplesOfEveryKindAreDrawn();
    void nothingIsMirroredOrTurned();
    void showsARegion_data();
    void showsARegion();
    void channelOrder();
    void refuses_data();
    void refuses();
};

void PreviewImageTest::mosaicsGetTheirColours_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<QString>("colors");
    QTest::addColumn<int>("cell");
    QTest::addColumn<int>("reduction");
    QTest::newRow("BGGR") << int(ep::BayerGridBGGR) << "BGGR" << 2 << 2;
    QTest::newRow("RGGB") << int(ep::BayerGridRGGB) << "RGGB" << 2 << 2;
    QTest::newRow("GBRG") << int(ep::BayerGridGBRG) << "GBRG" << 2 << 2;
    QTest::newRow("GRBG") << int(ep::BayerGridGRBG) << "GRBG" << 2 << 2;
    QTest::newRow("the X-Trans cell") << int(ep::BayerGridCell) << xTransColors() << 6 << 3;
    QTest::newRow("a 4 x 4 cell of 2 x 2 blocks") << int(ep::BayerGridCell) << "RRGGRRGGGGBBGGBB" << 4 << 4;
}

void PreviewImageTest::mosaicsGetTheirColours()
{
    QFETCH(int, grid);
    QFETCH(QString, colors);
    QFETCH(int, cell);
    QFETCH(int, reduction);
    const auto mosaic = flatMosaic(ep::ExBayerGrid(grid), colors, cell, 25, 13);
    ep::CxCommonImageMetadata common;
    common.patternColors = colors;
    common.blackLevels = {100};
    common.whiteBalance = {2, 1, 3};
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    QCOMPARE(orn::PreviewImage(mosaic.image(), &common, {}, preview, facts), unsigned(ep::StatusOk));
    QCOMPARE(preview->channels, 3);
    QCOMPARE(preview->dataType, ep::DataTypeUInt8);
    QCOMPARE(facts.reductionX, reduction);
    QCOMPARE(preview->width, 25 / cell * cell / reduction);
    QCOMPARE(preview->height, 13 / cell * cell / reduction);
    QVERIFY(facts.whiteBalanced && facts.gammaApplied && facts.scaled);
    QCOMPARE(facts.black, 0.0);
    QCOMPARE(facts.white, 2000.0);
    for (int y = 0; y < preview->height; ++y) {
        for (int x = 0; x < preview->width; ++x) {
            QVERIFY(near(sampleAt<quint8>(preview.image(), x, y, 0), 255));  // 1000 x 2
            QVERIFY(near(sampleAt<quint8>(preview.image(), x, y, 1), 255));  // 2000
            QVERIFY(near(sampleAt<quint8>(preview.image(), x, y, 2), srgb(0.75)));
        }
    }
}

void PreviewImageTest::cameraColoursBecomeThoseOfTheScreen()
{
    // A camera that sees sRGB, but with red and blue exchanged.
    ep::CxCommonImageMetadata common;
    common.colorMatrix = {0.0557, -0.2040, 1.0570, -0.9689, 1.8758, 0.0415, 3.2406, -1.5372, -0.4986};
    common.whiteBalance = {1, 1, 1};
    common.blackLevels = {100};
    const auto mosaic = flatMosaic(ep::BayerGridRGGB, QStringLiteral("RGGB"), 2, 8, 8);
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    QCOMPARE(orn::PreviewImage(mosaic.image(), &common, {}, preview, facts), unsigned(ep::StatusOk));
    QVERIFY(facts.colorsOfScreen);
    QVERIFY(near(sampleAt<quint8>(preview.image(), 1, 1, 0), srgb(0.25)));
    QVERIFY(near(sampleAt<quint8>(preview.image(), 1, 1, 1), srgb(1)));
    QVERIFY(near(sampleAt<quint8>(preview.image(), 1, 1, 2), srgb(0.5)));
    common.colorMatrix = QVector<double>(9, 0);
    QCOMPARE(orn::PreviewImage(mosaic.image(), &common, {}, preview, facts), unsigned(ep::StatusOk));
    QVERIFY(!facts.colorsOfScreen);
}

void PreviewImageTest::aMosaicOfUnknownColoursIsGrey()
{
    const auto mosaic = flatMosaic(ep::BayerGridCell, QStringLiteral("RGGB"), 2, 8, 8);
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    QCOMPARE(orn::PreviewImage(mosaic.image(), nullptr, {}, preview, facts), unsigned(ep::StatusOk));
    QCOMPARE(preview->channels, 1);
    QCOMPARE(preview->width, 4);
    QVERIFY(!facts.whiteBalanced);
}

void PreviewImageTest::eightBitsAreShownAsTheyAre()
{
    for (ep::ExImageLayout layout : allLayouts) {
        const auto image = randomImage(describe(ep::DataTypeUInt8, 17, 5, 3, layout, 3));
        ep::CxScopedBuffer preview;
        orn::SxPreviewFacts facts;
        QCOMPARE(orn::PreviewImage(image.image(), nullptr, {}, preview, facts), unsigned(ep::StatusOk));
        QVERIFY(!facts.scaled && !facts.gammaApplied);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 17; ++x)
                for (int c = 0; c < 3; ++c)
                    QCOMPARE(sampleAt<quint8>(preview.image(), x, y, c), sampleAt<quint8>(image.image(), x, y, c));
    }
}

void PreviewImageTest::sixteenBitsAreScaledByPercentiles()
{
    auto image = randomImage(describe(ep::DataTypeUInt16, 100, 10));
    for (int i = 0; i < 1000; ++i)
        setSample<quint16>(image.image(), i % 100, i / 100, 0, quint16(2000 + i));
    setSample<quint16>(image.image(), 99, 9, 0, 65535);  // a hot pixel must not darken the rest
    orn::SxPreviewOptions options;
    options.lowPercentile = 1;
    options.highPercentile = 99;
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    QCOMPARE(orn::PreviewImage(image.image(), nullptr, options, preview, facts), unsigned(ep::StatusOk));
    QVERIFY(facts.scaled && !facts.gammaApplied);
    QCOMPARE(facts.black, 2010.0);
    QCOMPARE(facts.white, 2989.0);
    QCOMPARE(sampleAt<quint8>(preview.image(), 0, 0), quint8(0));
    QCOMPARE(sampleAt<quint8>(preview.image(), 99, 9), quint8(255));
    QVERIFY(near(sampleAt<quint8>(preview.image(), 0, 5), int(490.0 / 979 * 255 + 0.5)));
}

void PreviewImageTest::realNumbersGetTheScreenCurve()
{
    auto image = randomImage(describe(ep::DataTypeFloat, 4, 1));
    const float values[] = {0, 0.5f, 1, std::numeric_limits<float>::quiet_NaN()};
    for (int x = 0; x < 4; ++x)
        setSample<float>(image.image(), x, 0, 0, values[x]);
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    QCOMPARE(orn::PreviewImage(image.image(), nullptr, {}, preview, facts), unsigned(ep::StatusOk));
    QVERIFY(facts.gammaApplied);
    QCOMPARE(sampleAt<quint8>(preview.image(), 0, 0), quint8(0));
    QVERIFY(near(sampleAt<quint8>(preview.image(), 1, 0), srgb(0.5)));
    QCOMPARE(sampleAt<quint8>(preview.image(), 2, 0), quint8(255));
    QCOMPARE(sampleAt<quint8>(preview.image(), 3, 0), quint8(0));
}

void PreviewImageTest::samplesOfEveryKindAreDrawn()
{
    const ImageKind kind = currentImageKind();
    if (kind.type == ep::DataTypeComplex)
        QSKIP("these are refused");
    forEachShape(kind.type, [&](int width, int height, int padding) {
        const auto image = numbers(kind.describe(width, height, padding));
        ep::CxScopedBuffer preview;
        orn::SxPreviewFacts facts;
        QCOMPARE(orn::PreviewImage(image.image(), nullptr, {}, preview, facts), unsigned(ep::StatusOk));
        QCOMPARE(preview->channels, kind.channels >= 3 ? 3 : 1);
        QCOMPARE(facts.gammaApplied, isReal(kind.type));
        QCOMPARE(facts.scaled, kind.type != ep::DataTypeUInt8);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < preview->channels; ++c) {
                    const auto sample = static_cast<double>(numberOf(image.image(), x, y, c));
                    const double level = qBound(0.0, (sample - facts.black) / (facts.white - facts.black), 1.0);
                    const int expected = facts.gammaApplied ? srgb(level) : int(level * 255 + 0.5);
                    QVERIFY2(near(sampleAt<quint8>(preview.image(), x, y, c), expected),
                             shapeName(width, height, padding));
                }
    });
}

void PreviewImageTest::nothingIsMirroredOrTurned()
{
    auto mosaic = flatMosaic(ep::BayerGridRGGB, QStringLiteral("RGGB"), 2, 12, 8);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x)
            setSample<quint16>(mosaic.image(), 2 + x, y, 0, 60000);  // second block of the first row
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    orn::SxPreviewOptions options;
    options.highPercentile = 100;
    QCOMPARE(orn::PreviewImage(mosaic.image(), nullptr, options, preview, facts), unsigned(ep::StatusOk));
    for (int y = 0; y < preview->height; ++y)
        for (int x = 0; x < preview->width; ++x)
            QCOMPARE(sampleAt<quint8>(preview.image(), x, y, 2) == 255, x == 1 && y == 0);
}

void PreviewImageTest::showsARegion_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<QRect>("asked");
    QTest::addColumn<QRect>("shown");
    QTest::newRow("of a plain image, exactly") << int(ep::BayerGridNone) << QRect(3, 1, 5, 4) << QRect(3, 1, 5, 4);
    QTest::newRow("of a mosaic, whole cells") << int(ep::BayerGridRGGB) << QRect(3, 1, 5, 4) << QRect(1, 0, 3, 3);
    QTest::newRow("of a mosaic, one sample") << int(ep::BayerGridRGGB) << QRect(5, 5, 1, 1) << QRect(2, 2, 1, 1);
    QTest::newRow("the last pixel") << int(ep::BayerGridNone) << QRect(10, 8, 1, 1) << QRect(10, 8, 1, 1);
    QTest::newRow("the whole odd mosaic") << int(ep::BayerGridRGGB) << QRect(0, 0, 11, 9) << QRect(0, 0, 5, 4);
}

void PreviewImageTest::showsARegion()
{
    QFETCH(int, grid);
    QFETCH(QRect, asked);
    QFETCH(QRect, shown);
    auto image = randomImage(describe(ep::DataTypeUInt8, 11, 9));
    image->bayerGrid = ep::ExBayerGrid(grid);
    orn::SxPreviewOptions options;
    ep::CxScopedBuffer whole;
    ep::CxScopedBuffer part;
    orn::SxPreviewFacts facts;
    options.lowPercentile = 0;
    QCOMPARE(orn::PreviewImage(image.image(), nullptr, options, whole, facts), unsigned(ep::StatusOk));
    options.region = asked;
    QCOMPARE(orn::PreviewImage(image.image(), nullptr, options, part, facts), unsigned(ep::StatusOk));
    QCOMPARE(QSize(part->width, part->height), shown.size());
    if (grid != ep::BayerGridNone)
        return;  // levels are those of the region
    for (int y = 0; y < part->height; ++y)
        for (int x = 0; x < part->width; ++x)
            QVERIFY(sameSample(part.image(), x, y, 0, whole.image(), shown.x() + x, shown.y() + y, 0));
}

void PreviewImageTest::channelOrder()
{
    auto image = randomImage(describe(ep::DataTypeUInt8, 3, 3, 4));
    image->formatCode = ep::FormatCodeReversedColors;
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    QCOMPARE(orn::PreviewImage(image.image(), nullptr, {}, preview, facts), unsigned(ep::StatusOk));
    QCOMPARE(preview->channels, 3);
    QCOMPARE(sampleAt<quint8>(preview.image(), 1, 1, 0), sampleAt<quint8>(image.image(), 1, 1, 2));
    QCOMPARE(sampleAt<quint8>(preview.image(), 1, 1, 2), sampleAt<quint8>(image.image(), 1, 1, 0));
    orn::SxPreviewOptions options;
    options.channel = 3;
    QCOMPARE(orn::PreviewImage(image.image(), nullptr, options, preview, facts), unsigned(ep::StatusOk));
    QCOMPARE(preview->channels, 1);
    QCOMPARE(sampleAt<quint8>(preview.image(), 1, 1, 0), sampleAt<quint8>(image.image(), 1, 1, 3));
}

void PreviewImageTest::refuses_data()
{
    QTest::addColumn<QRect>("region");
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("type");
    QTest::newRow("a region outside") << QRect(0, 0, 12, 9) << -1 << int(ep::DataTypeUInt8);
    QTest::newRow("a region that starts left of the image") << QRect(-1, 0, 3, 3) << -1 << int(ep::DataTypeUInt8);
    QTest::newRow("a region without rows") << QRect(0, 0, 3, 0) << -1 << int(ep::DataTypeUInt8);
    QTest::newRow("a channel that is not there") << QRect() << 1 << int(ep::DataTypeUInt8);
    QTest::newRow("samples that are no numbers") << QRect() << -1 << int(ep::DataTypeComplex);
}

void PreviewImageTest::refuses()
{
    QFETCH(QRect, region);
    QFETCH(int, channel);
    QFETCH(int, type);
    const auto image = randomImage(describe(ep::ExImageDataType(type), 11, 9));
    orn::SxPreviewOptions options;
    options.region = region;
    options.channel = channel;
    ep::CxScopedBuffer preview;
    orn::SxPreviewFacts facts;
    QVERIFY(ep::failed(orn::PreviewImage(image.image(), nullptr, options, preview, facts)));
    QVERIFY(!preview->data);
}

QTEST_GUILESS_MAIN(PreviewImageTest)
#include "PreviewImageTest.moc"

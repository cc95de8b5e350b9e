#include <ep/ConvertPlanarRawToRaw.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

#include <ep/ConvertPackPixelToPlanar.h>
#include <ep/RawChannelsOffsets.h>

class ConvertPlanarRawToRawTest : public QObject {
    Q_OBJECT

private slots:
    void namesTheColorsOfAMosaic_data();
    void namesTheColorsOfAMosaic();
    void placesSamplesByTheOffsets_data();
    void placesSamplesByTheOffsets();
    void undoesTheSplit_data();
    void undoesTheSplit();
    void looksAtTheGivenGridAlone();
    void refusesWhatDoesNotFit_data();
    void refusesWhatDoesNotFit();
    void refusesASource_data() { testing::addUnsoundImages(); }
    void refusesASource();
    void refusesADestination_data() { testing::addUnsoundImages(); }
    void refusesADestination();
};

void ConvertPlanarRawToRawTest::namesTheColorsOfAMosaic_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<QByteArray>("cell");
    QTest::newRow("0 is BGGR") << 0 << QByteArray("BgGR");
    QTest::newRow("1 is RGGB") << 1 << QByteArray("RGgB");
    QTest::newRow("2 is GBRG") << 2 << QByteArray("gBRG");
    QTest::newRow("3 is GRBG") << 3 << QByteArray("GRBg");
}

// G shares a row with red, g with blue.
void ConvertPlanarRawToRawTest::namesTheColorsOfAMosaic()
{
    QFETCH(int, grid);
    QByteArray planes("RGBg");
    ep::SxImageBuf source{};
    static_cast<ep::SxImageInfo&>(source) = testing::describe(ep::DataTypeUInt8, 1, 1, 4, ep::LayoutPlanar);
    source.stride = 1;
    source.data = planes.data();
    ep::CxScopedBuffer mosaic = testing::randomImage(testing::describe(ep::DataTypeUInt8, 2, 2));
    QCOMPARE(ep::ConvertPlanarRawToRaw(source, mosaic.image(), ep::ExBayerGrid(grid)), 0u);
    QTEST(QByteArray(static_cast<const char*>(mosaic->data), 4), "cell");
}

void ConvertPlanarRawToRawTest::placesSamplesByTheOffsets_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("type");
    for (int grid = 0; grid < 4; ++grid)
        for (const ep::ExImageDataType type : testing::allTypes)
            QTest::addRow("grid %d, %s", grid, ep::sampleFacts(type).name) << grid << int(type);
}

// Sample (x, y) of plane p stands at byte 2 y stride + 2 x b + offset(p).
void ConvertPlanarRawToRawTest::placesSamplesByTheOffsets()
{
    QFETCH(int, grid);
    QFETCH(int, type);
    const auto dataType = ep::ExImageDataType(type);
    testing::forEachShape(dataType, [&](int width, int height, int padding) {
        const ep::CxScopedBuffer source =
            testing::randomImage(testing::describe(dataType, width, height, 4, ep::LayoutPlanar, padding), 1);
        const ep::SxImageInfo info =
            testing::describe(dataType, 2 * width, 2 * height, 1, ep::LayoutPacked, (padding * 3) % 7);
        ep::CxScopedBuffer mosaic = testing::randomImage(info, 2);
        mosaic->bayerGrid = ep::ExBayerGrid(grid);
        ep::CxScopedBuffer expected = testing::copyOf(mosaic.image());
        qint32 offsets[4];
        QVERIFY(ep::RawChannelsOffsets(mosaic.image(), offsets[0], offsets[1], offsets[2], offsets[3]));
        const std::ptrdiff_t bytes = ep::sampleFacts(type).bytes;
        for (int p = 0; p < 4; ++p)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    std::memcpy(static_cast<char*>(expected->data) + 2 * std::ptrdiff_t(y) * mosaic->stride
                                    + 2 * x * bytes + offsets[p],
                                testing::address(source.image(), x, y, p), size_t(bytes));
        QCOMPARE(ep::ConvertPlanarRawToRaw(source.image(), mosaic.image(), ep::ExBayerGrid(grid)), 0u);
        QVERIFY2(testing::sameStorage(mosaic.image(), expected.image()), testing::shapeName(width, height, padding));
    });
}

void ConvertPlanarRawToRawTest::undoesTheSplit_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("cellWidth");
    QTest::addColumn<int>("cellHeight");
    QTest::newRow("BGGR") << 0 << 2 << 2;
    QTest::newRow("RGGB") << 1 << 2 << 2;
    QTest::newRow("GBRG") << 2 << 2 << 2;
    QTest::newRow("GRBG") << 3 << 2 << 2;
    QTest::newRow("a 6 x 6 cell") << 5 << 6 << 6;
    QTest::newRow("a 3 x 1 cell") << 5 << 3 << 1;
    QTest::newRow("a 1 x 1 cell") << 5 << 1 << 1;
}

void ConvertPlanarRawToRawTest::undoesTheSplit()
{
    QFETCH(int, grid);
    QFETCH(int, cellWidth);
    QFETCH(int, cellHeight);
    for (const ep::ExImageDataType type : testing::allTypes) {
        ep::SxImageInfo info = testing::describe(type, 5 * cellWidth, 4 * cellHeight);
        info.bayerGrid = ep::ExBayerGrid(grid);
        info.patternWidth = cellWidth;
        info.patternHeight = cellHeight;
        const ep::CxScopedBuffer mosaic = testing::randomImage(info, 1);
        ep::CxScopedBuffer planes =
            testing::randomImage(testing::describe(type, 5, 4, cellWidth * cellHeight, ep::LayoutPlanar), 2);
        ep::CxScopedBuffer back = testing::randomImage(info, 3);
        QCOMPARE(ep::ConvertPackPixelToPlanar(mosaic.image(), planes.image()), 0u);
        QCOMPARE(ep::ConvertPlanarRawToRaw(planes.image(), back.image(), ep::ExBayerGrid(grid)), 0u);
        QVERIFY(testing::sameStorage(mosaic.image(), back.image()));
    }
}

void ConvertPlanarRawToRawTest::looksAtTheGivenGridAlone()
{
    const ep::CxScopedBuffer source =
        testing::randomImage(testing::describe(ep::DataTypeUInt8, 1, 1, 4, ep::LayoutPlanar));
    ep::CxScopedBuffer mosaic = testing::randomImage(testing::describe(ep::DataTypeUInt8, 2, 2, 1, ep::LayoutPlanar));
    mosaic->bayerGrid = ep::BayerGridNone;
    mosaic->patternWidth = 17;
    QCOMPARE(ep::ConvertPlanarRawToRaw(source.image(), mosaic.image(), ep::BayerGridBGGR), 0u);
    QVERIFY(testing::sameSample(source.image(), 0, 0, 0, mosaic.image(), 1, 1, 0));  // red
    QCOMPARE(int(mosaic->bayerGrid), 4);
}

void ConvertPlanarRawToRawTest::refusesWhatDoesNotFit_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("planes");
    QTest::addColumn<int>("sourceLayout");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("pattern");
    QTest::addColumn<quint32>("status");
    const quint32 geometry = ep::StatusGeometryMismatch;
    const quint32 invalid = ep::StatusInvalidArgument;
    QTest::newRow("a packed source") << 1 << 4 << 0 << 6 << 4 << 1 << 4 << 0 << quint32(ep::StatusUnsupportedLayout);
    QTest::newRow("three planes") << 1 << 3 << 1 << 6 << 4 << 1 << 4 << 0 << geometry;
    QTest::newRow("five planes") << 1 << 5 << 1 << 6 << 4 << 1 << 4 << 0 << geometry;
    QTest::newRow("another width") << 1 << 4 << 1 << 7 << 4 << 1 << 4 << 0 << geometry;
    QTest::newRow("another height") << 1 << 4 << 1 << 6 << 5 << 1 << 4 << 0 << geometry;
    QTest::newRow("a mosaic of two channels") << 1 << 4 << 1 << 6 << 4 << 2 << 4 << 0 << geometry;
    QTest::newRow("another sample type of the same size") << 1 << 4 << 1 << 6 << 4 << 1 << 3 << 0 << geometry;
    QTest::newRow("no grid") << 4 << 4 << 1 << 6 << 4 << 1 << 4 << 0 << invalid;
    QTest::newRow("an unknown grid") << 6 << 4 << 1 << 6 << 4 << 1 << 4 << 0 << invalid;
    QTest::newRow("a negative grid") << -1 << 4 << 1 << 6 << 4 << 1 << 4 << 0 << invalid;
    QTest::newRow("a cell of no size") << 5 << 4 << 1 << 6 << 4 << 1 << 4 << 0 << invalid;
    QTest::newRow("a cell of negative size") << 5 << 4 << 1 << 6 << 4 << 1 << 4 << -2 << invalid;
    QTest::newRow("a cell of another size") << 5 << 4 << 1 << 6 << 4 << 1 << 4 << 3 << geometry;
    QTest::newRow("a cell past 32 bits") << 5 << 4 << 1 << 6 << 4 << 1 << 4 << 0x10002 << geometry;
}

void ConvertPlanarRawToRawTest::refusesWhatDoesNotFit()
{
    QFETCH(int, grid);
    QFETCH(int, planes);
    QFETCH(int, sourceLayout);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, type);
    QFETCH(int, pattern);
    const ep::CxScopedBuffer source =
        testing::randomImage(testing::describe(ep::DataTypeUInt16, 3, 2, planes, ep::ExImageLayout(sourceLayout)));
    ep::CxScopedBuffer mosaic =
        testing::randomImage(testing::describe(ep::ExImageDataType(type), width, height, channels));
    mosaic->patternWidth = pattern;
    mosaic->patternHeight = pattern;
    const ep::CxScopedBuffer before = testing::copyOf(mosaic.image());
    QTEST(ep::ConvertPlanarRawToRaw(source.image(), mosaic.image(), ep::ExBayerGrid(grid)), "status");
    QVERIFY(testing::sameStorage(mosaic.image(), before.image()));
}

void ConvertPlanarRawToRawTest::refusesASource()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound =
        testing::randomImage(testing::describe(ep::DataTypeUInt16, 2, 2, 4, ep::LayoutPlanar));
    ep::CxScopedBuffer mosaic = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    ep::SxImageBuf source = sound.image();
    unsound.spoil(source);
    QCOMPARE(ep::ConvertPlanarRawToRaw(source, mosaic.image(), ep::BayerGridRGGB), unsound.status);
}

void ConvertPlanarRawToRawTest::refusesADestination()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer source =
        testing::randomImage(testing::describe(ep::DataTypeUInt16, 2, 2, 4, ep::LayoutPlanar));
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    ep::SxImageBuf mosaic = sound.image();
    unsound.spoil(mosaic);
    QCOMPARE(ep::ConvertPlanarRawToRaw(source.image(), mosaic, ep::BayerGridRGGB), unsound.status);
}

QTEST_GUILESS_MAIN(ConvertPlanarRawToRawTest)
#include "ConvertPlanarRawToRawTest.moc"

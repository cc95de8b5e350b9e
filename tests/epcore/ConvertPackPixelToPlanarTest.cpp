#include <ep/ConvertPackPixelToPlanar.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

namespace {

// Column and row of planes R, G1, B, G2 in the 2 x 2 cell, as the drawings of the grids show them.
struct Place {
    int column;
    int row;
};

constexpr Place placesByGrid[4][4] = {
    {{1, 1}, {0, 1}, {0, 0}, {1, 0}},  // BGGR
    {{0, 0}, {1, 0}, {1, 1}, {0, 1}},  // RGGB
    {{0, 1}, {1, 1}, {1, 0}, {0, 0}},  // GBRG
    {{1, 0}, {0, 0}, {0, 1}, {1, 1}},  // GRBG
};

}  // namespace

class ConvertPackPixelToPlanarTest : public QObject {
    Q_OBJECT

private slots:
    void separatesChannels_data() { testing::addImageKinds(); }
    void separatesChannels();
    void splitsAMosaic_data();
    void splitsAMosaic();
    void namesTheColorsOfAMosaic_data();
    void namesTheColorsOfAMosaic();
    void refusesWhatDoesNotFit_data();
    void refusesWhatDoesNotFit();
    void refusesASource_data() { testing::addUnsoundImages(); }
    void refusesASource();
    void refusesADestination_data() { testing::addUnsoundImages(); }
    void refusesADestination();
};

void ConvertPackPixelToPlanarTest::separatesChannels()
{
    const testing::ImageKind kind = testing::currentImageKind();
    if (kind.layout == ep::LayoutPlanar)
        return;  // refused, see below
    testing::forEachShape(kind.type, [&](int width, int height, int padding) {
        const ep::CxScopedBuffer source = testing::randomImage(kind.describe(width, height, padding), 1);
        ep::CxScopedBuffer planar = testing::randomImage(
            testing::describe(kind.type, width, height, kind.channels, ep::LayoutPlanar, (padding * 3) % 7), 2);
        ep::CxScopedBuffer expected = testing::copyOf(planar.image());
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    testing::copySample(source.image(), x, y, c, expected.image(), x, y, c);
        const ep::SxImageInfo before = planar.image();
        QCOMPARE(ep::ConvertPackPixelToPlanar(source.image(), planar.image()), 0u);
        QVERIFY2(testing::sameStorage(planar.image(), expected.image()), testing::shapeName(width, height, padding));
        QCOMPARE(std::memcmp(&planar.image(), &before, sizeof(before)), 0);
    });
}

void ConvertPackPixelToPlanarTest::splitsAMosaic_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("cellWidth");
    QTest::addColumn<int>("cellHeight");
    QTest::addColumn<bool>("byColor");
    QTest::newRow("BGGR") << 0 << 1 << 2 << 2 << true;
    QTest::newRow("RGGB") << 1 << 1 << 2 << 2 << true;
    QTest::newRow("GBRG") << 2 << 1 << 2 << 2 << true;
    QTest::newRow("GRBG") << 3 << 1 << 2 << 2 << true;
    QTest::newRow("no grid: row by row") << 4 << 1 << 2 << 2 << false;
    QTest::newRow("an unknown grid: row by row") << 9 << 1 << 2 << 2 << false;
    QTest::newRow("a negative grid: row by row") << -1 << 1 << 2 << 2 << false;
    QTest::newRow("several channels: the first, row by row") << 1 << 3 << 2 << 2 << false;
    QTest::newRow("several channels without grid") << 4 << 4 << 2 << 2 << false;
    QTest::newRow("a 6 x 6 cell") << 5 << 1 << 6 << 6 << false;
    QTest::newRow("a 3 x 1 cell") << 5 << 1 << 3 << 1 << false;
    QTest::newRow("a 1 x 4 cell") << 5 << 1 << 1 << 4 << false;
    QTest::newRow("a 2 x 2 cell counts row by row") << 5 << 1 << 2 << 2 << false;
    QTest::newRow("a 3 x 2 cell of several channels") << 5 << 2 << 3 << 2 << false;
}

void ConvertPackPixelToPlanarTest::splitsAMosaic()
{
    QFETCH(int, grid);
    QFETCH(int, channels);
    QFETCH(int, cellWidth);
    QFETCH(int, cellHeight);
    QFETCH(bool, byColor);
    const int planes = cellWidth * cellHeight;
    for (const ep::ExImageDataType type : testing::allTypes)
        for (int extra = 0; extra < 4; ++extra) {
            // Rows and columns past the last whole cell are dropped.
            const int columns = 7, rows = 5;
            const int width = columns * cellWidth + extra % cellWidth;
            const int height = rows * cellHeight + extra % cellHeight;
            ep::CxScopedBuffer source =
                testing::randomImage(testing::describe(type, width, height, channels, ep::LayoutPacked, extra), 1);
            source->bayerGrid = ep::ExBayerGrid(grid);
            source->patternWidth = grid == 5 ? cellWidth : 99;
            source->patternHeight = grid == 5 ? cellHeight : 99;
            ep::CxScopedBuffer planar =
                testing::randomImage(testing::describe(type, columns, rows, planes, ep::LayoutPlanar, extra), 2);
            ep::CxScopedBuffer expected = testing::copyOf(planar.image());
            for (int p = 0; p < planes; ++p) {
                const Place place = byColor ? placesByGrid[grid][p] : Place{p % cellWidth, p / cellWidth};
                for (int y = 0; y < rows; ++y)
                    for (int x = 0; x < columns; ++x)
                        testing::copySample(source.image(), x * cellWidth + place.column, y * cellHeight + place.row, 0,
                                            expected.image(), x, y, p);
            }
            QCOMPARE(ep::ConvertPackPixelToPlanar(source.image(), planar.image()), 0u);
            QVERIFY2(testing::sameStorage(planar.image(), expected.image()), ep::sampleFacts(type).name);
        }
}

void ConvertPackPixelToPlanarTest::namesTheColorsOfAMosaic_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<QByteArray>("cell");
    QTest::newRow("0 is BGGR") << 0
                               << QByteArray("Bg"
                                             "GR");
    QTest::newRow("1 is RGGB") << 1
                               << QByteArray("RG"
                                             "gB");
    QTest::newRow("2 is GBRG") << 2
                               << QByteArray("gB"
                                             "RG");
    QTest::newRow("3 is GRBG") << 3
                               << QByteArray("GR"
                                             "Bg");
}

// G shares a row with red, g with blue.
void ConvertPackPixelToPlanarTest::namesTheColorsOfAMosaic()
{
    QFETCH(int, grid);
    QFETCH(QByteArray, cell);
    ep::SxImageBuf source{};
    static_cast<ep::SxImageInfo&>(source) = testing::describe(ep::DataTypeUInt8, 2, 2);
    source.stride = 2;
    source.bayerGrid = ep::ExBayerGrid(grid);
    source.data = cell.data();
    ep::CxScopedBuffer planar = testing::randomImage(testing::describe(ep::DataTypeUInt8, 1, 1, 4, ep::LayoutPlanar));
    QCOMPARE(ep::ConvertPackPixelToPlanar(source, planar.image()), 0u);
    QCOMPARE(QByteArray(static_cast<const char*>(planar->data), 4), QByteArray("RGBg"));
}

void ConvertPackPixelToPlanarTest::refusesWhatDoesNotFit_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("pattern");
    QTest::addColumn<int>("sourceLayout");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<quint32>("status");
    const quint32 geometry = ep::StatusGeometryMismatch;
    const quint32 layout = ep::StatusUnsupportedLayout;
    QTest::newRow("a planar source") << 4 << 0 << 1 << 6 << 4 << 1 << 4 << 1 << layout;
    QTest::newRow("a packed destination") << 4 << 0 << 0 << 6 << 4 << 1 << 4 << 0 << layout;
    QTest::newRow("another sample type of the same size") << 4 << 0 << 0 << 6 << 4 << 1 << 3 << 1 << geometry;
    QTest::newRow("more channels") << 4 << 0 << 0 << 6 << 4 << 2 << 4 << 1 << geometry;
    QTest::newRow("another width") << 4 << 0 << 0 << 5 << 4 << 1 << 4 << 1 << geometry;
    QTest::newRow("another height") << 4 << 0 << 0 << 6 << 5 << 1 << 4 << 1 << geometry;
    QTest::newRow("three half-size planes") << 1 << 0 << 0 << 3 << 2 << 3 << 4 << 1 << geometry;
    QTest::newRow("four planes a column short") << 1 << 0 << 0 << 2 << 2 << 4 << 4 << 1 << geometry;
    QTest::newRow("four planes a row too many") << 1 << 0 << 0 << 3 << 3 << 4 << 4 << 1 << geometry;
    QTest::newRow("a cell of no size") << 5 << 0 << 0 << 3 << 2 << 4 << 4 << 1 << geometry;
    QTest::newRow("a cell of negative size") << 5 << -2 << 0 << 3 << 2 << 4 << 4 << 1 << geometry;
    QTest::newRow("a cell of another size") << 5 << 3 << 0 << 3 << 2 << 4 << 4 << 1 << geometry;
}

void ConvertPackPixelToPlanarTest::refusesWhatDoesNotFit()
{
    QFETCH(int, grid);
    QFETCH(int, pattern);
    QFETCH(int, sourceLayout);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, type);
    QFETCH(int, layout);
    ep::CxScopedBuffer source =
        testing::randomImage(testing::describe(ep::DataTypeUInt16, 6, 4, 1, ep::ExImageLayout(sourceLayout)));
    source->bayerGrid = ep::ExBayerGrid(grid);
    source->patternWidth = pattern;
    source->patternHeight = pattern;
    ep::CxScopedBuffer planar = testing::randomImage(
        testing::describe(ep::ExImageDataType(type), width, height, channels, ep::ExImageLayout(layout)));
    const ep::CxScopedBuffer before = testing::copyOf(planar.image());
    QTEST(ep::ConvertPackPixelToPlanar(source.image(), planar.image()), "status");
    QVERIFY(testing::sameStorage(planar.image(), before.image()));
}

void ConvertPackPixelToPlanarTest::refusesASource()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    ep::CxScopedBuffer planar = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4, 1, ep::LayoutPlanar));
    ep::SxImageBuf source = sound.image();
    unsound.spoil(source);
    QCOMPARE(ep::ConvertPackPixelToPlanar(source, planar.image()), unsound.status);
}

void ConvertPackPixelToPlanarTest::refusesADestination()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer source = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    const ep::CxScopedBuffer sound =
        testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4, 1, ep::LayoutPlanar));
    ep::SxImageBuf planar = sound.image();
    unsound.spoil(planar);
    QCOMPARE(ep::ConvertPackPixelToPlanar(source.image(), planar), unsound.status);
}

QTEST_GUILESS_MAIN(ConvertPackPixelToPlanarTest)
#include "ConvertPackPixelToPlanarTest.moc"

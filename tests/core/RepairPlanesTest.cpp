#include <orn/RepairPlanes.h>

#include "PlaneRepairs.h"

#include <QtTest>

#include <set>

using namespace testing;

class RepairPlanesTest : public QObject {
    Q_OBJECT
private slots:
    void aColorTakesItsOwn_data();
    void aColorTakesItsOwn();
    void aChannelTakesItsOwn_data();
    void aChannelTakesItsOwn();
    void theMaskIsPerPixel_data();
    void theMaskIsPerPixel();
    void levelsAreTheNumbersOfTheSamples_data();
    void levelsAreTheNumbersOfTheSamples();
    void everyPlaneHasItsLevels();
    void bandsEndAtTheirShare();
    void aPlaneWithoutSourceIsRefused_data();
    void aPlaneWithoutSourceIsRefused();
    void refuses_data();
    void refuses();
};

void RepairPlanesTest::aColorTakesItsOwn_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    for (int grid = 0; grid < 4; ++grid) {
        QTest::addRow("grid %d", grid) << grid << 40 << 30;
        QTest::addRow("grid %d of odd size", grid) << grid << 41 << 31;
    }
    QTest::newRow("X-Trans") << 5 << 72 << 60;
    QTest::newRow("X-Trans with partial cells") << 5 << 71 << 65;
    QTest::newRow("fewer samples than the cell") << 1 << 3 << 1;
}

void RepairPlanesTest::aColorTakesItsOwn()
{
    QFETCH(int, grid);
    QFETCH(int, width);
    QFETCH(int, height);
    const int cell = grid == 5 ? 6 : 2;
    ep::SxImageInfo info = describe(ep::DataTypeUInt16, width, height);
    info.bayerGrid = static_cast<ep::ExBayerGrid>(grid);
    info.patternWidth = cell;
    info.patternHeight = cell;
    // Values tell their place in the cell; one in seven samples is broken, the last column and row among them.
    const auto isBroken = [&](int x, int y) { return (x * 5 + y * 3) % 7 == 3; };
    const auto placeOf = [&](int x, int y) { return y % cell * cell + x % cell; };
    auto image = made(info, [&](int x, int y, int) {
        return isBroken(x, y) ? 0 : 100 * (placeOf(x, y) + 1) + (x * 13 + y * 7) % 100;
    });
    const auto before = copyOf(image.image());
    const Repair result = repair(image, below(0));
    QVERIFY(!ep::failed(result.status));
    QVERIFY(tellsEveryChange(result, before.image(), image.image()));
    int broken = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            broken += isBroken(x, y);
            QCOMPARE(numberAt(image.image(), x, y) / 100, placeOf(x, y) + 1);
        }
    QCOMPARE(result.samples.size(), broken);
    QVERIFY(std::is_sorted(result.samples.begin(), result.samples.end(),
                           [](const auto& a, const auto& b) { return a.plane < b.plane; }));
}

void RepairPlanesTest::aChannelTakesItsOwn_data()
{
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<ep::ExImageLayout>("layout");
    QTest::addColumn<int>("channels");
    for (ep::ExImageDataType type : {ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeInt8, ep::DataTypeInt16})
        for (ep::ExImageLayout layout : allLayouts)
            for (int channels : {1, 3, 6})
                QTest::addRow("%s, layout %d, %d channels", ep::sampleFacts(type).name, int(layout), channels)
                    << type << layout << channels;
}

void RepairPlanesTest::aChannelTakesItsOwn()
{
    QFETCH(ep::ExImageDataType, type);
    QFETCH(ep::ExImageLayout, layout);
    QFETCH(int, channels);
    const auto isBroken = [&](int x, int y, int c) { return (x + y * 3 + c) % 11 == 0; };
    auto image = made(describe(type, 31, 23, channels, layout, 5),
                      [&](int x, int y, int c) { return isBroken(x, y, c) ? 3 : 10 * (c + 1) + (x + y) % 10; });
    image->formatCode = ep::FormatCodeReversedColors;  // numbers of planes are stored channels, whatever their order
    const auto before = copyOf(image.image());
    const Repair result = repair(image, below(3));
    QVERIFY(!ep::failed(result.status));
    QVERIFY(tellsEveryChange(result, before.image(), image.image()));
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < 23; ++y)
            for (int x = 0; x < 31; ++x)
                QCOMPARE(numberAt(image.image(), x, y, c) / 10, c + 1);
}

void RepairPlanesTest::theMaskIsPerPixel_data()
{
    QTest::addColumn<ep::ExImageLayout>("layout");
    QTest::addColumn<ep::ExImageLayout>("maskLayout");
    for (ep::ExImageLayout layout : allLayouts)
        for (ep::ExImageLayout maskLayout : allLayouts)
            QTest::addRow("layout %d, mask of layout %d", int(layout), int(maskLayout)) << layout << maskLayout;
}

void RepairPlanesTest::theMaskIsPerPixel()
{
    QFETCH(ep::ExImageLayout, layout);
    QFETCH(ep::ExImageLayout, maskLayout);
    // Valid samples left of column 8 are 1, the others 2; the mask takes the left ones away, and the broken row 5.
    auto image = made(describe(ep::DataTypeUInt8, 16, 9, 3, layout, 3), [](int x, int y, int) {
        return y == 5 || (x + y) % 3 == 0 ? 0 : x < 8 ? 1 : 2;
    });
    const auto mask = made(describe(ep::DataTypeUInt8, 16, 9, 1, maskLayout, 7), [](int x, int y, int) {
        return x < 4 || y == 5 ? 0 : x < 8 ? 1 : 255;
    });
    const auto before = copyOf(image.image());
    const Repair result = repair(image, below(0), mask.image());
    QVERIFY(!ep::failed(result.status));
    QVERIFY(tellsEveryChange(result, before.image(), image.image()));
    for (int c = 0; c < 3; ++c)
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 16; ++x) {
                const int old = numberAt(before.image(), x, y, c);
                const int now = numberAt(image.image(), x, y, c);
                if (x < 4 || y == 5)
                    QCOMPARE(now, old);
                else
                    QVERIFY(now > 0);
            }
}

void RepairPlanesTest::levelsAreTheNumbersOfTheSamples_data()
{
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<int>("low");
    QTest::addColumn<int>("high");
    QTest::addColumn<QVector<int>>("row");
    QTest::addColumn<QVector<int>>("broken");
    const int off = orn::SxInvalidLevels::off;
    const QVector<int> bytes{0, 1, 100, 254, 255};
    const QVector<int> words{0, 1, 5000, 65534, 65535};
    const QVector<int> signedWords{-32768, -5, 0, 5, 32767};
    QTest::newRow("both bands off") << ep::DataTypeUInt16 << off << off << words << QVector<int>{};
    QTest::newRow("low 0") << ep::DataTypeUInt8 << 0 << off << bytes << QVector<int>{0};
    QTest::newRow("a negative low level of unsigned samples")
        << ep::DataTypeUInt8 << -1 << off << bytes << QVector<int>{};
    QTest::newRow("a negative high level of unsigned samples")
        << ep::DataTypeUInt8 << off << -7 << bytes << QVector<int>{};
    QTest::newRow("high 254") << ep::DataTypeUInt8 << off << 254 << bytes << QVector<int>{254, 255};
    QTest::newRow("a high level past the type") << ep::DataTypeUInt8 << off << 256 << bytes << QVector<int>{};
    QTest::newRow("the highest high level") << ep::DataTypeUInt16 << off << 65535 << words << QVector<int>{65535};
    QTest::newRow("a high level past all levels") << ep::DataTypeUInt16 << off << 2147483647 << words << QVector<int>{};
    QTest::newRow("low -5 of signed samples")
        << ep::DataTypeInt16 << -5 << off << signedWords << QVector<int>{-32768, -5};
    QTest::newRow("high 0 of signed samples")
        << ep::DataTypeInt16 << off << 0 << signedWords << QVector<int>{0, 5, 32767};
    QTest::newRow("the lowest level of signed samples")
        << ep::DataTypeInt16 << -32768 << off << signedWords << QVector<int>{-32768};
    QTest::newRow("both bands") << ep::DataTypeInt8 << -100 << 100 << QVector<int>{-128, -100, -99, 99, 100, 127}
                                << QVector<int>{-128, -100, 100, 127};
}

void RepairPlanesTest::levelsAreTheNumbersOfTheSamples()
{
    QFETCH(ep::ExImageDataType, type);
    QFETCH(int, low);
    QFETCH(int, high);
    QFETCH(QVector<int>, row);
    auto image = made(describe(type, row.size(), 1), [&](int x, int, int) { return row[x]; });
    image->bitDepth = 5;  // what a file says of its depth does not narrow the levels
    const Repair result = repair(image, {{{low, high, 100, 100}}, {}});
    QVERIFY(!ep::failed(result.status));
    QVector<int> broken;
    for (const orn::SxRepairedSample& sample : result.samples)
        broken << sample.oldValue;
    QTEST(broken, "broken");
}

void RepairPlanesTest::everyPlaneHasItsLevels()
{
    auto image = made(describe(ep::DataTypeUInt8, 6, 4, 3), [](int x, int, int) { return 10 * x; });
    const int off = orn::SxInvalidLevels::off;
    const Repair result = repair(image, {{{0, off, 100, 100}, {off, off, 100, 100}, {off, 40, 100, 100}}, {}});
    QVERIFY(!ep::failed(result.status));
    std::set<std::pair<int, int>> found;
    for (const orn::SxRepairedSample& sample : result.samples)
        found.insert({sample.plane, sample.oldValue});
    QCOMPARE(found, (std::set<std::pair<int, int>>{{0, 0}, {2, 40}, {2, 50}}));
}

void RepairPlanesTest::bandsEndAtTheirShare()
{
    // Each of the four planes of 25 samples holds 0 to 24; a share of 20 % is five of them, and counts per plane.
    ep::SxImageInfo info = describe(ep::DataTypeUInt16, 10, 10);
    info.bayerGrid = ep::BayerGridRGGB;
    auto image = made(info, [](int x, int y, int) { return y / 2 * 5 + x / 2; });
    const Repair result = repair(image, {{{12, 20, 20, 8}}, {}});
    QVERIFY(!ep::failed(result.status));
    QVector<int> broken;
    for (const orn::SxRepairedSample& sample : result.samples)
        if (sample.plane == 3)
            broken << sample.oldValue;
    QCOMPARE(broken, (QVector<int>{0, 1, 2, 3, 4, 23, 24}));
    QCOMPARE(result.samples.size(), 4 * 7);
}

void RepairPlanesTest::aPlaneWithoutSourceIsRefused_data()
{
    QTest::addColumn<bool>("byMask");
    QTest::addColumn<bool>("byPlace");
    QTest::newRow("every level is invalid") << false << false;
    QTest::newRow("the mask takes every source away") << true << false;
    QTest::newRow("every pixel is named") << false << true;
}

void RepairPlanesTest::aPlaneWithoutSourceIsRefused()
{
    QFETCH(bool, byMask);
    QFETCH(bool, byPlace);
    // Channel 0 can be repaired, channel 1 has no valid sample.
    auto image = made(describe(ep::DataTypeUInt8, 5, 4, 2), [&](int x, int, int c) {
        return c == 1 && (!byMask || x == 2) ? 0 : x == 2 ? 0 : 9;
    });
    auto mask = made(describe(ep::DataTypeUInt8, 5, 4), [&](int x, int, int) { return !byMask || x == 2; });
    orn::SxRepairRequest request = below(0);
    if (byPlace) {
        request.levels.clear();
        for (int i = 0; i < 20; ++i)
            request.places << QPoint(i % 5, i / 5);
    }
    const auto before = copyOf(image.image());
    const Repair result = repair(image, request, mask.image());
    QVERIFY(ep::failed(result.status));
    QCOMPARE(result.planeWithoutSource, byMask || byPlace ? 0 : 1);
    QVERIFY(result.samples.isEmpty());
    QVERIFY(sameStorage(image.image(), before.image()));
}

void RepairPlanesTest::refuses_data()
{
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<int>("levels");
    QTest::addColumn<QVector<int>>("mask");  // width, height, channels, type
    QTest::addColumn<unsigned int>("status");
    const auto row = [](const char* name, ep::ExImageDataType type, int levels, const QVector<int>& mask,
                        ep::ExStatus status) {
        QTest::newRow(name) << type << levels << mask << static_cast<unsigned int>(status);
    };
    row("32-bit samples", ep::DataTypeUInt32, 1, {}, ep::StatusUnsupportedType);
    row("floats", ep::DataTypeFloat, 1, {}, ep::StatusUnsupportedType);
    row("more levels than channels", ep::DataTypeUInt8, 4, {}, ep::StatusInvalidArgument);
    row("fewer levels than channels", ep::DataTypeUInt8, 2, {}, ep::StatusInvalidArgument);
    row("a mask that is too narrow", ep::DataTypeUInt8, 1, {7, 6, 1, 2}, ep::StatusGeometryMismatch);
    row("a mask that is too high", ep::DataTypeUInt8, 1, {8, 7, 1, 2}, ep::StatusGeometryMismatch);
    row("a mask of three channels", ep::DataTypeUInt8, 1, {8, 6, 3, 2}, ep::StatusGeometryMismatch);
    row("a mask of 16 bits", ep::DataTypeUInt8, 1, {8, 6, 1, 4}, ep::StatusGeometryMismatch);
    row("levels for all channels, and a mask, are fine", ep::DataTypeUInt8, 3, {8, 6, 1, 2}, ep::StatusOk);
    row("no levels are fine", ep::DataTypeInt16, 0, {8, 6, 1, 1}, ep::StatusOk);
}

void RepairPlanesTest::refuses()
{
    QFETCH(ep::ExImageDataType, type);
    QFETCH(int, levels);
    QFETCH(QVector<int>, mask);
    auto image = randomImage(describe(type, 8, 6, 3));
    const auto before = copyOf(image.image());
    ep::CxScopedBuffer maskImage;
    if (!mask.isEmpty())
        maskImage = randomImage(describe(static_cast<ep::ExImageDataType>(mask[3]), mask[0], mask[1], mask[2]));
    const Repair result = repair(image, {QVector<orn::SxInvalidLevels>(levels), {}}, maskImage.image());
    QTEST(result.status, "status");
    QCOMPARE(result.planeWithoutSource, -1);
    QVERIFY(sameStorage(image.image(), before.image()));
    ep::CxScopedBuffer empty;
    QVERIFY(ep::failed(repair(empty, {}).status));
}

QTEST_GUILESS_MAIN(RepairPlanesTest)
#include "RepairPlanesTest.moc"

#include <orn/RepairPlanes.h>

#include "PlaneRepairs.h"

#include <QtTest>

using namespace testing;

/** Repair of named pixels, by RepairPlanes(). */
class RepairPlacesTest : public QObject {
    Q_OBJECT
private slots:
    void placesAreRepairedWhateverTheirLevel_data();
    void placesAreRepairedWhateverTheirLevel();
    void placesInAnImageOfAllLevels_data();
    void placesInAnImageOfAllLevels();
    void placesAreOfAColorPlane();
};

void RepairPlacesTest::placesAreRepairedWhateverTheirLevel_data()
{
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<ep::ExImageLayout>("layout");
    QTest::addColumn<int>("channels");
    for (ep::ExImageDataType type : {ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeInt8, ep::DataTypeInt16})
        for (ep::ExImageLayout layout : allLayouts)
            for (int channels : {1, 5})
                QTest::addRow("%s, layout %d, %d channels", ep::sampleFacts(type).name, int(layout), channels)
                    << type << layout << channels;
}

void RepairPlacesTest::placesAreRepairedWhateverTheirLevel()
{
    QFETCH(ep::ExImageDataType, type);
    QFETCH(ep::ExImageLayout, layout);
    QFETCH(int, channels);
    const QVector<QPoint> places{{0, 0}, {7, 3}, {8, 3}, {30, 22}, {12, 12}};
    auto image = made(describe(type, 31, 23, channels, layout, 5), [&](int x, int y, int c) {
        return places.contains({x, y}) ? 100 : 10 * (c + 1) + (x + y) % 10;
    });
    const auto before = copyOf(image.image());
    orn::SxRepairRequest request{{}, places};
    request.places << places.first() << places.last() << QPoint(31, 0) << QPoint(0, 23) << QPoint(-1, 5)
                   << QPoint(5, -1) << QPoint(2147483647, -2147483647 - 1);
    const Repair result = repair(image, request);
    QVERIFY(!ep::failed(result.status));
    QCOMPARE(result.samples.size(), places.size() * channels);
    QVERIFY(tellsEveryChange(result, before.image(), image.image()));
    for (const orn::SxRepairedSample& sample : result.samples) {
        QVERIFY(places.contains({sample.x, sample.y}));
        QCOMPARE(sample.newValue / 10, sample.plane + 1);
    }
}

void RepairPlacesTest::placesInAnImageOfAllLevels_data()
{
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("alsoByLevel");
    QTest::newRow("256 levels of 8 bits") << ep::DataTypeUInt8 << 64 << false;
    QTest::newRow("65,536 levels of 16 bits") << ep::DataTypeUInt16 << 512 << false;
    QTest::newRow("65,536 levels of signed 16 bits") << ep::DataTypeInt16 << 512 << false;
    QTest::newRow("65,536 levels, the rarest one broken too") << ep::DataTypeUInt16 << 512 << true;
}

void RepairPlacesTest::placesInAnImageOfAllLevels()
{
    QFETCH(ep::ExImageDataType, type);
    QFETCH(int, width);
    QFETCH(bool, alsoByLevel);
    auto image = made(describe(type, width, width), [&](int x, int y, int) { return y * width + x; });
    // Level 0 becomes the rarest one, with a single sample.
    for (int y = 0; y < width; ++y)
        for (int x = 1; x < width; ++x)
            if (numberAt(image.image(), x, y) == 0)
                setNumber(image.image(), x, y, 0, 1);
    for (int y = 1; y < width; ++y)
        if (numberAt(image.image(), 0, y) == 0)
            setNumber(image.image(), 0, y, 0, 1);
    const QVector<QPoint> places{{1, 0}, {5, 5}, {6, 5}, {width - 1, width - 1}};
    const auto before = copyOf(image.image());
    orn::SxRepairRequest request{{}, places};
    if (alsoByLevel)
        request.levels = below(0).levels;
    const Repair result = repair(image, request);
    QVERIFY(!ep::failed(result.status));
    QVERIFY(tellsEveryChange(result, before.image(), image.image()));
    QCOMPARE(result.samples.size(), places.size() + alsoByLevel);
}

void RepairPlacesTest::placesAreOfAColorPlane()
{
    auto image = cameraMosaic(ep::BayerGridGRBG, 21, 15);
    const auto before = copyOf(image.image());
    const Repair result = repair(image, {{}, {{3, 4}, {20, 14}}});
    QCOMPARE(result.samples.size(), 2);
    QVERIFY(tellsEveryChange(result, before.image(), image.image()));
    QCOMPARE(result.samples[0].plane, 0);  // red stands right of green in even rows
    QCOMPARE(result.samples[0].x, 3);
    QCOMPARE(result.samples[1].plane, 1);
    const auto isNeighbour = [&](const orn::SxRepairedSample& sample) {
        for (int dy = -2; dy <= 2; dy += 2)
            for (int dx = -2; dx <= 2; dx += 2)
                if (QRect(0, 0, 21, 15).contains(sample.x + dx, sample.y + dy) && (dx || dy)
                    && numberAt(before.image(), sample.x + dx, sample.y + dy) == sample.newValue)
                    return true;
        return false;
    };
    QVERIFY(isNeighbour(result.samples[0]) && isNeighbour(result.samples[1]));
}

QTEST_GUILESS_MAIN(RepairPlacesTest)
#include "RepairPlacesTest.moc"

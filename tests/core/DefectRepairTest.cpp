#include "DefectSearch.h"

#include <orn/RepairPlanes.h>

#include <QtTest>

using namespace testing;

namespace {

/** Light on a sensor: waves, fine detail in one direction, and a dark bar with sharp edges. */
ep::CxScopedBuffer scene(int width, int height, bool isMosaic)
{
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, width, height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double waves = 1500 * std::sin(x / 60.0) * std::cos(y / 45.0);
            const double detail = 60 * std::sin(x / 3.1 + y / 4.3);
            const double bar = x > width / 2 && x < width / 2 + 20 ? -900 : 0;
            const double colour = isMosaic && x % 2 != y % 2 ? 700 : 0;
            setSample(image.image(), x, y, 0, quint16(3000 + waves + detail + bar + colour));
        }
    return image;
}

}  // namespace

/** What repairing the pixels that a search finds is good for. */
class DefectRepairTest : public QObject {
    Q_OBJECT
private slots:
    void errorsShrinkTenfold_data();
    void errorsShrinkTenfold();
};

void DefectRepairTest::errorsShrinkTenfold_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<quint32>("seed");
    QTest::newRow("RGGB") << int(ep::BayerGridRGGB) << 1u;
    QTest::newRow("BGGR") << int(ep::BayerGridBGGR) << 2u;
    QTest::newRow("GBRG") << int(ep::BayerGridGBRG) << 3u;
    QTest::newRow("GRBG") << int(ep::BayerGridGRBG) << 4u;
    QTest::newRow("no grid") << int(ep::BayerGridNone) << 5u;
}

void DefectRepairTest::errorsShrinkTenfold()
{
    QFETCH(int, grid);
    QFETCH(quint32, seed);
    SensorKind kind = darkMosaic(400, 300);
    kind.grid = ep::ExBayerGrid(grid);
    kind.glow = 400;
    DefectiveSensor sensor(kind, seed);
    sensor.breakPixels(300, 3, 16, 50, 3000);
    const Found found = search(sensor, 16);
    QCOMPARE(found.status, unsigned(ep::StatusOk));

    const ep::CxScopedBuffer truth = scene(kind.width, kind.height, grid != ep::BayerGridNone);
    ep::CxScopedBuffer picture = sensor.takePicture(truth.image());
    const double before = errorAt(sensor.defects(), picture.image(), truth.image());
    orn::SxRepairRequest request;
    for (const orn::SxDefect& defect : found.defects)
        request.places << QPoint(defect.x, defect.y);
    QVector<orn::SxRepairedSample> repaired;
    qint32 without = 0;
    QCOMPARE(orn::RepairPlanes(picture.image(), ep::emptyImage(), request, repaired, without), unsigned(ep::StatusOk));
    const double after = errorAt(sensor.defects(), picture.image(), truth.image());
    qInfo("RMS error at the %d defective pixels: %.1f before, %.1f after, %.1f times less", sensor.defects().size(),
          before, after, before / after);
    QVERIFY(before / after >= 10);
}

QTEST_GUILESS_MAIN(DefectRepairTest)
#include "DefectRepairTest.moc"

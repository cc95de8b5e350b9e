#include "DefectSearch.h"

#include <QRect>
#include <QtTest>

using namespace testing;

Q_DECLARE_METATYPE(SensorKind)

/** How many of the defects of a generated sensor are found, and how many others. */
class DefectSearchQualityTest : public QObject {
    Q_OBJECT
private slots:
    void findsWhatIsDefective_data();
    void findsWhatIsDefective();
    void seesManyDefectsAtOnce_data();
    void seesManyDefectsAtOnce();
};

void DefectSearchQualityTest::findsWhatIsDefective_data()
{
    QTest::addColumn<SensorKind>("kind");
    QTest::addColumn<int>("frames");
    QTest::addColumn<int>("kinds");
    QTest::addColumn<quint32>("seed");
    quint32 seed = 1;
    const auto row = [&](const char* name, const SensorKind& kind, int frames, int kinds) {
        QTest::newRow(name) << kind << frames << kinds << seed++;
    };
    SensorKind dark;
    dark.grid = ep::BayerGridRGGB;
    row("dark frames, RGGB", dark, 16, 3);
    dark.grid = ep::BayerGridBGGR;
    row("dark frames, BGGR", dark, 16, 3);
    dark.grid = ep::BayerGridGBRG;
    row("dark frames, GBRG", dark, 16, 3);
    dark.grid = ep::BayerGridGRBG;
    row("dark frames, GRBG", dark, 16, 3);
    row("dark frames, GRBG, other noise", dark, 16, 3);
    dark.glow = 900;
    row("with amplifier glow", dark, 16, 3);
    row("with amplifier glow, other noise", dark, 16, 3);
    dark.columnPattern = 2;
    row("with glow and columns of their own", dark, 16, 3);
    row("five frames with glow and columns", dark, 5, 2);
    row("two frames with glow and columns", dark, 2, 2);
    row("one frame with glow and columns", dark, 1, 2);
    SensorKind flat;
    flat.isFlat = true;
    flat.level = 9000;
    flat.fixedPattern = 0.005;
    flat.vignetting = 0.6;
    for (int grid : {ep::BayerGridRGGB, ep::BayerGridBGGR, ep::BayerGridGBRG, ep::BayerGridGRBG}) {
        flat.grid = ep::ExBayerGrid(grid);
        row(qPrintable(QStringLiteral("flat frames with vignetting, grid %1").arg(grid)), flat, 16, 3);
    }
    row("five flat frames", flat, 5, 3);
    row("one flat frame", flat, 1, 2);
    SensorKind plain;
    row("one channel without a grid", plain, 16, 3);
    plain.channels = 3;
    row("three channels", plain, 16, 3);
    plain.type = ep::DataTypeFloat;
    plain.scale = 1.0 / 65535;
    row("three channels of floats", plain, 16, 3);
    plain = SensorKind();
    plain.type = ep::DataTypeInt16;
    row("signed samples", plain, 16, 3);
    plain.type = ep::DataTypeUInt32;
    row("32-bit samples in steps of 1000", plain, 16, 3);
    plain.type = ep::DataTypeDouble;
    row("doubles", plain, 8, 3);
    plain = SensorKind();
    plain.scale = 4;
    row("14 bits at the upper end of 16", plain, 16, 3);
    plain = SensorKind();
    plain.type = ep::DataTypeUInt8;
    plain.level = 40;
    plain.highest = 255;
    plain.readNoise = 0.8;
    plain.fixedPattern = 0.3;
    row("8 bits with noise below a level", plain, 1, 2);
    row("32 frames of 8 bits with noise below a level", plain, 32, 2);
    plain.readNoise = 0.2;
    plain.fixedPattern = 0.1;
    row("one frame of 8 bits with next to no noise", plain, 1, 2);
}

void DefectSearchQualityTest::findsWhatIsDefective()
{
    QFETCH(SensorKind, kind);
    QFETCH(int, frames);
    QFETCH(int, kinds);
    QFETCH(quint32, seed);
    DefectiveSensor sensor(kind, seed);
    sensor.breakPixels(450, kinds, frames, 8, 60);
    orn::SxDefectLimits limits;
    limits.isFlat = kind.isFlat;
    const Found found = search(sensor, frames, limits);
    QCOMPARE(found.status, unsigned(ep::StatusOk));
    const SearchQuality quality = qualityOf(found.defects, sensor.defects());
    qInfo("precision %.4f, recall %.4f: %d right (%d of the right kind), %d wrong, %d missed", quality.precision(),
          quality.recall(), quality.right, quality.rightKind, quality.wrong, quality.missed);
    QVERIFY(quality.precision() >= 0.99);
    QVERIFY(quality.recall() >= 0.99);
    QVERIFY(quality.rightKind >= 0.99 * quality.right);
    for (const orn::SxDefectPlane& plane : found.planes)
        QCOMPARE(plane.tellsStuck, kinds == 3);
}

void DefectSearchQualityTest::seesManyDefectsAtOnce_data()
{
    QTest::addColumn<QRect>("area");
    QTest::newRow("a column") << QRect(101, 0, 1, 300);
    QTest::newRow("a row") << QRect(0, 200, 400, 1);
    QTest::newRow("a spot") << QRect(200, 150, 8, 8);
    QTest::newRow("a spot in a corner") << QRect(392, 292, 8, 8);
}

void DefectSearchQualityTest::seesManyDefectsAtOnce()
{
    QFETCH(QRect, area);
    DefectiveSensor sensor(darkMosaic(400, 300), 5);
    sensor.breakPixels(400, 3, 16, 8, 60);
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            sensor.breakPixel(x, y, 0, orn::DefectHot, 16, 12);
    const SearchQuality quality = qualityOf(search(sensor, 16).defects, sensor.defects());
    qInfo("precision %.4f, recall %.4f", quality.precision(), quality.recall());
    QVERIFY(quality.precision() >= 0.99);
    QVERIFY(quality.recall() >= 0.99);
}

QTEST_GUILESS_MAIN(DefectSearchQualityTest)
#include "DefectSearchQualityTest.moc"

#include "DefectSearch.h"
#include "SampleNumbers.h"

#include <QtTest>

#include <limits>

using namespace testing;

namespace {

/** A frame with one level everywhere. */
ep::CxScopedBuffer plainFrame(int width, int height, double level, ep::ExImageDataType type = ep::DataTypeUInt16)
{
    SensorKind kind;
    kind.type = type;
    kind.width = width;
    kind.height = height;
    kind.level = level;
    kind.readNoise = 0;
    kind.fixedPattern = 0;
    return DefectiveSensor(kind, 1).takeFrame();
}

}  // namespace

Q_DECLARE_METATYPE(ep::SxImageInfo)

class CxDefectSearchTest : public QObject {
    Q_OBJECT
private slots:
    void findsDefectsOnEveryEdge_data();
    void findsDefectsOnEveryEdge();
    void tellsNothingStuckByChance_data();
    void tellsNothingStuckByChance();
    void passesCosmicRays();
    void oneLevelHasItsDefects();
    void samplesThatAreNoNumbersAreDead();
    void layoutsAndStridesDoNotMatter_data();
    void layoutsAndStridesDoNotMatter();
    void samplesOfAnyTypeAreSearchedAlike_data();
    void samplesOfAnyTypeAreSearchedAlike();
    void framesMayFollowAResult();
    void saysWhatItMeasured();
    void refusesFrames_data();
    void refusesFrames();
    void refusesLimits_data();
    void refusesLimits();
};

void CxDefectSearchTest::findsDefectsOnEveryEdge_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("whole tiles") << QSize(256, 192);
    QTest::newRow("a cell that is cut off") << QSize(255, 191);
    QTest::newRow("tiles that are cut off") << QSize(301, 97);
    QTest::newRow("one tile per plane") << QSize(40, 36);
    QTest::newRow("less than a tile") << QSize(21, 19);
    QTest::newRow("a few rows") << QSize(600, 5);
}

void CxDefectSearchTest::findsDefectsOnEveryEdge()
{
    QFETCH(QSize, size);
    DefectiveSensor sensor(darkMosaic(size.width(), size.height()), 3);
    int kind = orn::DefectHot;
    for (int x : {0, 1, size.width() / 2, size.width() - 2, size.width() - 1})
        for (int y : {0, size.height() - 1}) {
            sensor.breakPixel(x, y, 0, kind, 16, 40);
            kind = orn::DefectHot + orn::DefectDead - kind;
        }
    const Found found = search(sensor, 16);
    const SearchQuality quality = qualityOf(found.defects, sensor.defects());
    QCOMPARE(quality.missed, 0);
    QCOMPARE(quality.wrong, 0);
    QCOMPARE(quality.rightKind, 10);
}

void CxDefectSearchTest::tellsNothingStuckByChance_data()
{
    QTest::addColumn<double>("level");
    QTest::addColumn<double>("noise");
    QTest::addColumn<int>("frames");
    QTest::newRow("frames without noise") << 100.0 << 0.0 << 16;
    QTest::newRow("noise far below a level") << 100.0 << 0.2 << 16;
    QTest::newRow("noise of half a level") << 100.0 << 0.5 << 30;
    QTest::newRow("noise of a level") << 100.0 << 1.0 << 12;
    QTest::newRow("three frames with little noise") << 100.0 << 3.0 << 3;
    QTest::newRow("darkness cut off at zero") << 0.0 << 4.0 << 16;
    QTest::newRow("darkness nearly cut off at zero") << 3.0 << 3.0 << 12;
    QTest::newRow("light cut off at the top") << 16383.0 << 40.0 << 8;
}

void CxDefectSearchTest::tellsNothingStuckByChance()
{
    QFETCH(double, level);
    QFETCH(double, noise);
    QFETCH(int, frames);
    SensorKind kind = darkMosaic(400, 300);
    kind.level = level;
    kind.readNoise = noise;
    kind.fixedPattern = 0;
    DefectiveSensor sensor(kind, 4);
    const Found found = search(sensor, frames);
    QCOMPARE(found.status, unsigned(ep::StatusOk));
    for (const orn::SxDefect& defect : found.defects)
        QVERIFY(defect.kind != orn::DefectStuck);
    for (const orn::SxDefectPlane& plane : found.planes)
        QCOMPARE(plane.stuck, qint64(0));
}

void CxDefectSearchTest::passesCosmicRays()
{
    DefectiveSensor sensor(darkMosaic(400, 300), 6);
    orn::CxDefectSearch search;
    for (int i = 0; i < 8; ++i) {
        ep::CxScopedBuffer frame = sensor.takeFrame();
        for (int hit = 0; hit < 300; ++hit)  // each in one frame alone
            setSample<quint16>(frame.image(), (hit * 53 + i * 17) % 400, hit, 0, 16000);
        QCOMPARE(search.addFrame(frame.image()), unsigned(ep::StatusOk));
    }
    QVector<orn::SxDefect> defects;
    QVector<orn::SxDefectPlane> planes;
    QCOMPARE(search.result({}, defects, planes), unsigned(ep::StatusOk));
    QVERIFY2(defects.size() <= 1, qPrintable(QString::number(defects.size())));
}

void CxDefectSearchTest::oneLevelHasItsDefects()
{
    for (int frames : {1, 2, 5}) {
        ep::CxScopedBuffer frame = plainFrame(64, 48, 100);
        setSample<quint16>(frame.image(), 0, 0, 0, 103);
        setSample<quint16>(frame.image(), 63, 47, 0, 97);
        setSample<quint16>(frame.image(), 30, 20, 0, 101);  // a step away is no defect
        orn::CxDefectSearch search;
        for (int i = 0; i < frames; ++i)
            search.addFrame(frame.image());
        QVector<orn::SxDefect> defects;
        QVector<orn::SxDefectPlane> planes;
        QCOMPARE(search.result({}, defects, planes), unsigned(ep::StatusOk));
        QCOMPARE(defects.size(), 2);
        QCOMPARE(defects[0].kind, qint32(orn::DefectHot));
        QCOMPARE(defects[1].kind, qint32(orn::DefectDead));
    }
}

void CxDefectSearchTest::samplesThatAreNoNumbersAreDead()
{
    constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    SensorKind kind;
    kind.type = ep::DataTypeFloat;
    DefectiveSensor sensor(kind, 7);
    orn::CxDefectSearch search;
    for (int i = 0; i < 4; ++i) {
        ep::CxScopedBuffer frame = sensor.takeFrame();
        if (i == 2)
            setSample(frame.image(), 10, 10, 0, notANumber);
        setSample(frame.image(), 20, 10, 0, notANumber);
        setSample(frame.image(), 30, 10, 0, infinity);
        for (int x = 100; x < 150; ++x)
            for (int y = 100; y < 150; ++y)
                setSample(frame.image(), x, y, 0, notANumber);
        search.addFrame(frame.image());
    }
    QVector<orn::SxDefect> defects;
    QVector<orn::SxDefectPlane> planes;
    QCOMPARE(search.result({}, defects, planes), unsigned(ep::StatusOk));
    QCOMPARE(planes.first().dead, qint64(2503));
    QCOMPARE(planes.first().hot + planes.first().stuck, qint64(0));
}

void CxDefectSearchTest::layoutsAndStridesDoNotMatter_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("padding");
    QTest::newRow("packed with padding") << int(ep::LayoutPacked) << 5;
    QTest::newRow("planar") << int(ep::LayoutPlanar) << 0;
    QTest::newRow("planar with padding") << int(ep::LayoutPlanar) << 3;
}

void CxDefectSearchTest::layoutsAndStridesDoNotMatter()
{
    QFETCH(int, layout);
    QFETCH(int, padding);
    SensorKind kind;
    kind.channels = 3;
    DefectiveSensor sensor(kind, 8);
    sensor.breakPixels(60, 3, 16, 10, 60);
    orn::CxDefectSearch packed;
    orn::CxDefectSearch other;
    for (int i = 0; i < 16; ++i) {
        const ep::CxScopedBuffer frame = sensor.takeFrame();
        ep::CxScopedBuffer copy =
            randomImage(describe(kind.type, kind.width, kind.height, 3, ep::ExImageLayout(layout), padding));
        for (int c = 0; c < 3; ++c)
            for (int y = 0; y < kind.height; ++y)
                for (int x = 0; x < kind.width; ++x)
                    copySample(frame.image(), x, y, c, copy.image(), x, y, c);
        QCOMPARE(packed.addFrame(frame.image()), unsigned(ep::StatusOk));
        QCOMPARE(other.addFrame(copy.image()), unsigned(ep::StatusOk));
    }
    Found expected;
    Found found;
    QCOMPARE(packed.result({}, expected.defects, expected.planes), unsigned(ep::StatusOk));
    QCOMPARE(other.result({}, found.defects, found.planes), unsigned(ep::StatusOk));
    QCOMPARE(found.planes.size(), 3);
    QCOMPARE(found.defects.size(), expected.defects.size());
    QCOMPARE(qualityOf(found.defects, expected.defects).rightKind, expected.defects.size());
}

void CxDefectSearchTest::samplesOfAnyTypeAreSearchedAlike_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    for (ep::ExImageDataType type : allTypes)
        for (ep::ExImageLayout layout : allLayouts)
            if (type != ep::DataTypeComplex)
                QTest::addRow("%s, %s", ep::sampleFacts(type).name, layout == ep::LayoutPlanar ? "planar" : "packed")
                    << int(type) << int(layout);
}

void CxDefectSearchTest::samplesOfAnyTypeAreSearchedAlike()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    SensorKind kind;
    kind.type = ep::DataTypeUInt8;
    kind.channels = 2;
    kind.width = 131;
    kind.height = 97;
    kind.level = 60;
    kind.highest = 127;  // which every type holds
    DefectiveSensor sensor(kind, 12);
    sensor.breakPixels(40, 3, 8, 10, 30);
    orn::CxDefectSearch bytes;
    orn::CxDefectSearch others;
    for (int i = 0; i < 8; ++i) {
        const ep::CxScopedBuffer frame = sensor.takeFrame();
        ep::CxScopedBuffer copy =
            randomImage(describe(ep::ExImageDataType(type), kind.width, kind.height, 2, ep::ExImageLayout(layout), 3));
        for (int c = 0; c < 2; ++c)
            for (int y = 0; y < kind.height; ++y)
                for (int x = 0; x < kind.width; ++x)
                    setNumber(copy.image(), x, y, c, sampleAt<quint8>(frame.image(), x, y, c));
        QCOMPARE(bytes.addFrame(frame.image()), unsigned(ep::StatusOk));
        QCOMPARE(others.addFrame(copy.image()), unsigned(ep::StatusOk));
    }
    Found expected;
    Found found;
    QCOMPARE(bytes.result({}, expected.defects, expected.planes), unsigned(ep::StatusOk));
    QCOMPARE(others.result({}, found.defects, found.planes), unsigned(ep::StatusOk));
    QVERIFY(expected.defects.size() > 30);
    QCOMPARE(found.defects.size(), expected.defects.size());
    QCOMPARE(qualityOf(found.defects, expected.defects).rightKind, expected.defects.size());
    for (int plane = 0; plane < 2; ++plane)
        QCOMPARE(found.planes[plane].background, expected.planes[plane].background);
}

void CxDefectSearchTest::framesMayFollowAResult()
{
    DefectiveSensor sensor(darkMosaic(200, 200), 9);
    sensor.breakPixels(30, 3, 16, 20, 60);
    orn::CxDefectSearch search;
    Found found;
    for (int i = 0; i < 16; ++i) {
        QCOMPARE(search.addFrame(sensor.takeFrame().image()), unsigned(ep::StatusOk));
        QCOMPARE(search.frames(), i + 1);
        if (i == 0)
            QCOMPARE(search.result({}, found.defects, found.planes), unsigned(ep::StatusOk));
    }
    QVERIFY(!found.planes[0].tellsStuck);
    QCOMPARE(search.result({}, found.defects, found.planes), unsigned(ep::StatusOk));
    QCOMPARE(qualityOf(found.defects, sensor.defects()).rightKind, 30);
}

void CxDefectSearchTest::saysWhatItMeasured()
{
    SensorKind kind = darkMosaic(400, 300);
    kind.fixedPattern = 3;
    DefectiveSensor sensor(kind, 10);
    sensor.breakPixels(90, 3, 16, 20, 60);
    const Found found = search(sensor, 16);
    QCOMPARE(found.planes.size(), 4);
    qint64 kinds[3] = {};
    for (int plane = 0; plane < 4; ++plane) {
        const orn::SxDefectPlane& answer = found.planes[plane];
        QCOMPARE(answer.plane, plane);
        QCOMPARE(answer.samples, qint64(30000));
        QVERIFY(std::fabs(answer.background - 512) < 0.3);
        QVERIFY(std::fabs(answer.temporalNoise / 5 - 1) < 0.06);
        QVERIFY(std::fabs(answer.sigma / std::sqrt(9 + 25.0 / 16) - 1) < 0.06);
        kinds[0] += answer.hot;
        kinds[1] += answer.dead;
        kinds[2] += answer.stuck;
    }
    for (qint64 count : kinds)
        QVERIFY(count >= 30 && count <= 31);
}

void CxDefectSearchTest::refusesFrames_data()
{
    QTest::addColumn<ep::SxImageInfo>("info");
    QTest::addColumn<unsigned>("status");
    const auto mismatch = unsigned(ep::StatusGeometryMismatch);
    ep::SxImageInfo other = describe(ep::DataTypeUInt16, 64, 48);
    other.bayerGrid = ep::BayerGridRGGB;
    QTest::newRow("another size") << describe(ep::DataTypeUInt16, 64, 47) << mismatch;
    QTest::newRow("another sample type") << describe(ep::DataTypeInt16, 64, 48) << mismatch;
    QTest::newRow("another number of channels") << describe(ep::DataTypeUInt16, 64, 48, 3) << mismatch;
    QTest::newRow("another grid") << other << mismatch;
}

void CxDefectSearchTest::refusesFrames()
{
    QFETCH(ep::SxImageInfo, info);
    QFETCH(unsigned, status);
    orn::CxDefectSearch search;
    QCOMPARE(search.addFrame(plainFrame(64, 48, 100).image()), unsigned(ep::StatusOk));
    QCOMPARE(search.addFrame(randomImage(info).image()), status);
    QCOMPARE(search.addFrame(ep::emptyImage()), unsigned(ep::StatusInvalidArgument));
    QCOMPARE(search.frames(), 1);
    orn::CxDefectSearch empty;
    QCOMPARE(empty.addFrame(randomImage(describe(ep::DataTypeComplex, 8, 8)).image()),
             unsigned(ep::StatusUnsupportedType));
    QCOMPARE(empty.frames(), 0);
}

void CxDefectSearchTest::refusesLimits_data()
{
    QTest::addColumn<int>("frames");
    QTest::addColumn<double>("sigma");
    QTest::addColumn<bool>("flat");
    QTest::newRow("no frames") << 0 << 5.0 << false;
    QTest::newRow("a limit of zero") << 1 << 0.0 << false;
    QTest::newRow("a limit that is no number") << 1 << std::numeric_limits<double>::quiet_NaN() << false;
    QTest::newRow("a limit without end") << 1 << std::numeric_limits<double>::infinity() << false;
    QTest::newRow("a flat frame without light") << 1 << 5.0 << true;
}

void CxDefectSearchTest::refusesLimits()
{
    QFETCH(int, frames);
    QFETCH(double, sigma);
    QFETCH(bool, flat);
    orn::CxDefectSearch search;
    for (int i = 0; i < frames; ++i)
        search.addFrame(plainFrame(64, 48, 0).image());
    Found found;
    found.defects.append({1, 2, 3, 4});
    QCOMPARE(search.result({sigma, flat}, found.defects, found.planes), unsigned(ep::StatusInvalidArgument));
    QCOMPARE(found.defects.size(), 1);
}

QTEST_GUILESS_MAIN(CxDefectSearchTest)
#include "CxDefectSearchTest.moc"

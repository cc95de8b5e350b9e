#include "RepairTesting.h"

#include <orn/orn_core.h>

using namespace testing;

/** Pixels that `orn repair` is told, and the picture of what it repaired. */
class RepairMapTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void mappedPixelsAreRepaired_data();
    void mappedPixelsAreRepaired();
    void oldValuesAreTheTrueOnes();
    void whatDoesNotConcernTheImageIsNoted();
    void laterDefectsAreLeftOut();
    void coordinatesOfTheSensorAreMoved();
    void allPixelsAreTooMany();
    void levelsAndMapGoTogether();
    void theOverlayShowsThePixels_data();
    void theOverlayShowsThePixels();
};

void RepairMapTest::initTestCase()
{
    orn::Init();
}

void RepairMapTest::mappedPixelsAreRepaired_data()
{
    QTest::addColumn<QString>("map");
    QTest::newRow("a list") << QStringLiteral("bad.txt");
    QTest::newRow("a list of any name") << QStringLiteral("badpixels");
    QTest::newRow("an image") << QStringLiteral("bad.png");
    QTest::newRow("an image as PGM") << QStringLiteral("bad.pgm");
}

void RepairMapTest::mappedPixelsAreRepaired()
{
    QFETCH(QString, map);
    const ImageFolder files;
    const auto mosaic = cameraMosaic(ep::BayerGridGRBG, 20, 16);
    QVERIFY(files.save(QStringLiteral("in.tif"), mosaic));
    const QVector<QPoint> bad{{0, 0}, {7, 3}, {19, 15}};
    if (map.contains(QLatin1String("bad.")) && map != QLatin1String("bad.txt")) {
        auto image = randomImage(describe(ep::DataTypeUInt8, 20, 16));
        QVERIFY(!ep::failed(ep::SetChannel(image.image(), 0, 0)));
        for (const QPoint& place : bad)
            setSample(image.image(), place.x(), place.y(), 0, static_cast<quint8>(1));
        QVERIFY(files.save(map, image, ep::CxMetadata()));
    } else {
        QVERIFY(writeFile(files.path(map), "# bad pixels\r\n0 0 0\r\n7 3\r\n19 15 0 # hot\r\n7 3 0\r\n"));
    }
    const ProgramRun run =
        repairFiles(files, optionsOf(files, QStringLiteral("--report @r.json --map @") + map), "in.tif", "out.tif");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const Loaded out = files.load(QStringLiteral("out.tif"));
    const QJsonArray samples = QJsonDocument::fromJson(files.bytes("r.json"))[QStringLiteral("samples")].toArray();
    QCOMPARE(samples.size(), bad.size());
    for (const QJsonValue& value : samples) {
        const QJsonObject sample = value.toObject();
        const QPoint place(sample[QStringLiteral("x")].toInt(), sample[QStringLiteral("y")].toInt());
        QVERIFY(bad.contains(place));
        QCOMPARE(sample[QStringLiteral("old")].toInt(), int(sampleAt<quint16>(mosaic.image(), place.x(), place.y())));
        // The new value is one of the neighbours of the same colour.
        bool isNeighbour = false;
        for (int dy = -2; dy <= 2; dy += 2)
            for (int dx = -2; dx <= 2; dx += 2)
                if ((dx || dy) && QRect(0, 0, 20, 16).contains(place.x() + dx, place.y() + dy))
                    isNeighbour = isNeighbour
                                  || sampleAt<quint16>(mosaic.image(), place.x() + dx, place.y() + dy)
                                         == sample[QStringLiteral("new")].toInt();
        QVERIFY(isNeighbour);
    }
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 20; ++x)
            QVERIFY(bad.contains({x, y}) || sameSample(mosaic.image(), x, y, 0, out.image.image(), x, y, 0));
}

void RepairMapTest::oldValuesAreTheTrueOnes()
{
    const ImageFolder files;
    auto all = randomImage(describe(ep::DataTypeUInt8, 32, 32));
    for (int i = 0; i < 1024; ++i)
        setSample(all.image(), i % 32, i / 32, 0, static_cast<quint8>(i));
    QVERIFY(files.save(QStringLiteral("in.tif"), all, ep::CxMetadata()));
    QVERIFY(writeFile(files.path("bad.txt"), "5 5\n0 0\n31 31\n"));
    const ProgramRun run =
        repairFiles(files, optionsOf(files, QStringLiteral("--report @r.csv --map @bad.txt")), "in.tif", "out.tif");
    QVERIFY2(run.code == 0, run.all());
    const QList<QByteArray> lines = files.bytes("r.csv").split('\n').mid(9, 3);
    QVERIFY(lines[0].startsWith("0,0,channel 1,0,"));
    QVERIFY(lines[1].startsWith("5,5,channel 1,165,"));
    QVERIFY(lines[2].startsWith("31,31,channel 1,255,"));
    QCOMPARE(repairFiles(files, optionsOf(files, QStringLiteral("--replay @r.csv")), "in.tif", "again.tif").code, 0);
    QCOMPARE(files.bytes("again.tif"), files.bytes("out.tif"));
}

void RepairMapTest::whatDoesNotConcernTheImageIsNoted()
{
    const ImageFolder files;
    QVERIFY(files.save(QStringLiteral("in.tif"), cameraMosaic(ep::BayerGridRGGB, 20, 16)));
    QVERIFY(writeFile(files.path("bad.txt"), "20 0\n0 16\n-1 3\n1000000000 1000000000\n4 4\n"));
    const ProgramRun run =
        repairFiles(files, optionsOf(files, QStringLiteral("--map @bad.txt --json")), "in.tif", "out.tif");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(repairedIn(run.json()), 1);
    const QString note = QStringLiteral("pixels of the map that lie outside of the image: 4");
    QVERIFY2(run.err.contains(note), run.all());
    QCOMPARE(run.json()[QStringLiteral("notes")].toArray(), QJsonArray{note});
}

void RepairMapTest::laterDefectsAreLeftOut()
{
    const ImageFolder files;
    const auto mosaic = cameraMosaic(ep::BayerGridRGGB, 20, 16);
    ep::CxMetadata metadata = cameraMetadata(mosaic.image());
    const QDateTime taken(QDate(2020, 5, 17), QTime(12, 0), Qt::UTC);
    auto* common = const_cast<ep::CxCommonImageMetadata*>(commonItem(metadata));
    common->captureTime = taken;
    QVERIFY(files.save(QStringLiteral("in.mat"), mosaic, metadata));
    const qint64 time = taken.toSecsSinceEpoch();
    QVERIFY(writeFile(files.path("bad.txt"), "2 2 0\n4 4 " + QByteArray::number(time - 90000) + "\n6 6 "
                                                 + QByteArray::number(time + 90000) + "\n"));
    const ProgramRun run =
        repairFiles(files, optionsOf(files, QStringLiteral("--map @bad.txt --json")), "in.mat", "out.mat");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(repairedIn(run.json()), 2);
    QVERIFY2(run.err.contains(QStringLiteral("pixels of the map that went bad after the image was taken: 1")),
             run.all());
}

void RepairMapTest::coordinatesOfTheSensorAreMoved()
{
    const ImageFolder files;
    const auto mosaic = cameraMosaic(ep::BayerGridRGGB, 20, 16);
    ep::CxMetadata metadata = cameraMetadata(mosaic.image());
    auto* common = const_cast<ep::CxCommonImageMetadata*>(commonItem(metadata));
    common->sensorWidth = 100;
    common->sensorHeight = 80;
    common->leftMargin = 12;
    common->topMargin = 8;
    QVERIFY(files.save(QStringLiteral("in.mat"), mosaic, metadata));
    QVERIFY(writeFile(files.path("bad.txt"), "# coordinates: sensor\n15 13 0\n"));
    const ProgramRun run =
        repairFiles(files, optionsOf(files, QStringLiteral("--map @bad.txt --report @r.csv")), "in.mat", "out.mat");
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(files.bytes("r.csv").contains("\n3,5,B,"), files.bytes("r.csv"));
}

void RepairMapTest::allPixelsAreTooMany()
{
    const ImageFolder files;
    auto map = randomImage(describe(ep::DataTypeUInt8, 20, 16));
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 20; ++x)
            setSample(map.image(), x, y, 0, static_cast<quint8>(x % 2 == 1 || y % 2 == 0));
    QVERIFY(files.save(QStringLiteral("map.png"), map, ep::CxMetadata()));
    QVERIFY(files.save(QStringLiteral("in.tif"), cameraMosaic(ep::BayerGridBGGR, 20, 16)));
    const ProgramRun run = repairFiles(files, optionsOf(files, QStringLiteral("--map @map.png")), "in.tif", "out.tif");
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(saysOf(run, files.path("in.tif"), "R has samples to repair and no valid one to take"), run.all());
    QVERIFY(!files.has("out.tif"));
}

void RepairMapTest::levelsAndMapGoTogether()
{
    const ImageFolder files;
    const auto damaged = damagedImage(mosaicInfo(1, 20, 16));
    QVERIFY(files.save(QStringLiteral("in.tif"), damaged));
    QVERIFY(writeFile(files.path("bad.txt"), "0 0\n1 0\n"));  // neither is broken by level
    int broken = 2;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 20; ++x)
            broken += isBroken(x, y, 0);
    const ProgramRun run = repairFiles(
        files, optionsOf(files, QStringLiteral("--map @bad.txt --low 0 --high 65535 --json")), "in.tif", "out.tif");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(repairedIn(run.json()), broken);
}

void RepairMapTest::theOverlayShowsThePixels_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QPoint>("size");
    QTest::addColumn<QPoint>("seen");  // of the pixel at 2,1
    QTest::newRow("a small image is enlarged") << 10 << 8 << 3 << 1 << QPoint(510, 408) << QPoint(2 * 51, 51);
    QTest::newRow("grey") << 600 << 400 << 1 << 1 << QPoint(600, 400) << QPoint(2, 1);
    QTest::newRow("two channels") << 600 << 400 << 2 << 1 << QPoint(600, 400) << QPoint(2, 1);
    QTest::newRow("a turned image") << 600 << 400 << 1 << 6 << QPoint(400, 600) << QPoint(398, 2);
}

void RepairMapTest::theOverlayShowsThePixels()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, orientation);
    QFETCH(QPoint, size);
    QFETCH(QPoint, seen);
    const ImageFolder files;
    auto image = randomImage(describe(ep::DataTypeUInt8, width, height, channels));
    for (int c = 0; c < channels; ++c)
        QVERIFY(!ep::failed(ep::SetChannel(image.image(), c, 80)));
    ep::CxMetadata metadata;
    auto* common = new ep::CxCommonImageMetadata;
    common->orientation = orientation;
    metadata.addMetadata(common);
    QVERIFY(files.save(QStringLiteral("in.tif"), image, metadata));
    QVERIFY(writeFile(files.path("bad.txt"), "2 1\n"));
    const ProgramRun run =
        repairFiles(files, optionsOf(files, QStringLiteral("--map @bad.txt --overlay @o.png")), "in.tif", "out.tif");
    QVERIFY2(run.code == 0, run.all());
    const Loaded overlay = files.load(QStringLiteral("o.png"));
    QCOMPARE(QPoint(overlay.image->width, overlay.image->height), size);
    QCOMPARE(overlay.image->channels, 3);
    for (int c = 0; c < 3; ++c)
        QCOMPARE(int(sampleAt<quint8>(overlay.image.image(), seen.x(), seen.y(), c)), c == 1 ? 0 : 255);
    const int far = size.x() > 450 ? size.x() - 3 : 3;
    for (int c = 0; c < 3; ++c)
        QCOMPARE(int(sampleAt<quint8>(overlay.image.image(), far, size.y() - 3, c)), 80);
}

QTEST_GUILESS_MAIN(RepairMapTest)
#include "RepairMapTest.moc"

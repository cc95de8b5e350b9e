#include "ConvertTesting.h"
#include "DefectSearch.h"
#include "Files.h"

#include <orn/DefectMap.h>

#include <QJsonArray>

using namespace testing;

namespace {

constexpr int frameCount = 16;

SensorKind sensorKind()
{
    SensorKind kind = darkMosaic(160, 120);
    kind.glow = 300;
    return kind;
}

/** What a camera says of a frame that begins at column 12, row 8 of its sensor. */
ep::CxMetadata frameMetadata(const ep::SxImageInfo& frame)
{
    ep::CxMetadata metadata = cameraMetadata(frame);
    auto* common = const_cast<ep::CxCommonImageMetadata*>(commonItem(metadata));
    common->sensorWidth = 180;
    common->sensorHeight = 130;
    common->leftMargin = 12;
    common->topMargin = 8;
    return metadata;
}

}  // namespace

/** `orn defects` from outside. */
class DefectsCommandTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void mapsWhatIsDefective();
    void aListCanBeAlone();
    void answersPrograms();
    void countsFromTheSensor();
    void originsCanBeGiven();
    void gridsCanBeGiven();
    void unitesWithAnOlderList_data();
    void unitesWithAnOlderList();
    void datesNewDefects_data();
    void datesNewDefects();
    void flatFramesAreJudgedByTheirLight();
    void framesThatDifferAreNamed_data();
    void framesThatDifferAreNamed();
    void refuses_data();
    void refuses();
    void leavesOldFilesAlone();
    void saysThatStuckPixelsNeedFrames();
    void endsWhenInterrupted();
    void repairingTheMapShrinksErrors_data();
    void repairingTheMapShrinksErrors();

private:
    ProgramRun defects(const QStringList& options, int frames = frameCount) const
    {
        return runOrn(QStringList{QStringLiteral("defects")} + m_frames.mid(0, frames) + options);
    }
    QStringList to(const char* name) const { return {QStringLiteral("--out"), m_folder.path(name)}; }
    orn::SxDefectList listed(const char* name) const
    {
        orn::SxDefectList list;
        ep::SxFileError error;
        if (!orn::readDefects(m_folder.path(name), list, error))
            qWarning("%s: %s", name, qPrintable(error.reason));
        return list;
    }

    ImageFolder m_folder;
    DefectiveSensor m_sensor{sensorKind(), 1};
    QStringList m_frames;
};

void DefectsCommandTest::initTestCase()
{
    m_sensor.breakPixels(60, 3, frameCount, 20, 3000);
    for (int i = 0; i < frameCount; ++i) {
        const QString name = QStringLiteral("dark-%1.tif").arg(i, 2, 10, QLatin1Char('0'));
        ep::CxScopedBuffer frame = m_sensor.takeFrame();
        frame->bitDepth = 14;
        QVERIFY(m_folder.save(name, frame, frameMetadata(frame.image())));
        m_frames << m_folder.path(name);
    }
}

void DefectsCommandTest::mapsWhatIsDefective()
{
    const ProgramRun run = defects(to("map.png"));
    QVERIFY2(run.code == 0, run.all());
    for (const char* said : {"R ", "G1", "B ", "G2", "60 defects in 16 frames", "map.png", "map.txt"})
        QVERIFY2(run.out.contains(QLatin1String(said)), run.all());
    QVERIFY2(run.err.contains(QStringLiteral("16 of 16 files")), run.all());
    QCOMPARE(qualityOf(listed("map.txt").defects, m_sensor.defects()).rightKind, 60);
    QCOMPARE(qualityOf(listed("map.png").defects, m_sensor.defects()).rightKind, 60);
    const Loaded map = m_folder.load(QStringLiteral("map.png"));
    QCOMPARE(QSize(map.image->width, map.image->height), QSize(160, 120));
    const QByteArray list = m_folder.bytes("map.txt");
    QVERIFY(list.contains("\n# coordinates: image\n# image origin on the sensor: 12 8\n"));
    QVERIFY(defects(to("map.png") + QStringList{QStringLiteral("--quiet")}).err.isEmpty());
}

void DefectsCommandTest::aListCanBeAlone()
{
    const ProgramRun run = defects(to("alone.txt"));
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(listed("alone.txt").defects.size(), 60);
    QCOMPARE(m_folder.names().filter(QStringLiteral("alone")), QStringList{QStringLiteral("alone.txt")});
}

void DefectsCommandTest::answersPrograms()
{
    const QJsonObject answer = defects(to("json.tif") + QStringList{QStringLiteral("--json")}).json();
    QCOMPARE(answer[QStringLiteral("command")].toString(), QStringLiteral("defects"));
    QCOMPARE(answer[QStringLiteral("frames")].toInt(), 16);
    QCOMPARE(answer[QStringLiteral("found")].toInt(), 60);
    QCOMPARE(answer[QStringLiteral("listed")].toInt(), 60);
    QCOMPARE(answer[QStringLiteral("map")].toString(), m_folder.path("json.tif"));
    QCOMPARE(answer[QStringLiteral("list")].toString(), m_folder.path("json.txt"));
    QCOMPARE(answer[QStringLiteral("origin")].toObject()[QStringLiteral("x")].toInt(), 12);
    int kinds[3] = {};
    for (const QJsonValue& plane : answer[QStringLiteral("planes")].toArray()) {
        kinds[0] += plane[QStringLiteral("hot")].toInt();
        kinds[1] += plane[QStringLiteral("dead")].toInt();
        kinds[2] += plane[QStringLiteral("stuck")].toInt();
        QCOMPARE(plane[QStringLiteral("samples")].toInt(), 4800);
        QVERIFY(plane[QStringLiteral("tellsStuck")].toBool());
        const double background = plane[QStringLiteral("background")].toDouble();
        QVERIFY(background > 512 && background < 812);  // with the glow
    }
    for (int count : kinds)
        QCOMPARE(count, 20);
}

void DefectsCommandTest::countsFromTheSensor()
{
    const ProgramRun run =
        defects(to("sensor.txt") + QStringList{QStringLiteral("--coordinates"), QStringLiteral("sensor")});
    QVERIFY2(run.code == 0, run.all());
    QVERIFY(m_folder.bytes("sensor.txt").contains("# coordinates: sensor\n"));
    const orn::SxDefectList list = listed("sensor.txt");
    QCOMPARE(list.origin.x, 12);
    QCOMPARE(list.origin.y, 8);
    QCOMPARE(qualityOf(list.defects, m_sensor.defects()).rightKind, 60);
    const orn::SxDefect& first = list.defects.first();
    const QByteArray line = QByteArray::number(first.x + 12) + ' ' + QByteArray::number(first.y + 8) + " 0  # ";
    QVERIFY(m_folder.bytes("sensor.txt").contains('\n' + line));
}

void DefectsCommandTest::originsCanBeGiven()
{
    const ProgramRun run = defects(to("origin.png") + QStringList{QStringLiteral("--origin"), QStringLiteral("100,7")});
    QVERIFY2(run.code == 0, run.all());
    QVERIFY(m_folder.bytes("origin.txt").contains("# image origin on the sensor: 100 7\n"));
}

void DefectsCommandTest::gridsCanBeGiven()
{
    QVERIFY(m_folder.save(QStringLiteral("plain.pgm"), randomImage(describe(ep::DataTypeUInt16, 40, 30)), {}));
    const QStringList frame{QStringLiteral("defects"), m_folder.path("plain.pgm")};
    const ProgramRun without = runOrn(frame + to("plain.png"));
    QVERIFY2(without.code == 0 && without.out.contains(QStringLiteral("channel 1")), without.all());
    const ProgramRun with =
        runOrn(frame + to("plain.png") + QStringList{QStringLiteral("--cfa"), QStringLiteral("GRBG")});
    QVERIFY2(with.code == 0 && with.out.contains(QStringLiteral("G2")), with.all());
}

void DefectsCommandTest::unitesWithAnOlderList_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QPoint>("shift");
    QTest::newRow("of the image as it is opened") << QByteArray() << QPoint(0, 0);
    QTest::newRow("of another image of the sensor")
        << QByteArray("# image origin on the sensor: 10 5\n") << QPoint(2, 3);
    QTest::newRow("of the sensor") << QByteArray("# coordinates: sensor\n# image origin on the sensor: 10 5\n")
                                   << QPoint(12, 8);
}

void DefectsCommandTest::unitesWithAnOlderList()
{
    QFETCH(QByteArray, head);
    QFETCH(QPoint, shift);
    const orn::SxDefect known = m_sensor.defects().first();
    const auto line = [&](int x, int y, const char* rest) {
        return QByteArray::number(x + shift.x()) + ' ' + QByteArray::number(y + shift.y()) + rest;
    };
    QVERIFY(
        writeFile(m_folder.path("old.txt"), head + line(known.x, known.y, " 1000\n") + line(-4, 2, " 2000 # dead\n")));
    const ProgramRun run = defects(to("united.txt")
                                   + QStringList{QStringLiteral("--merge"), m_folder.path("old.txt"),
                                                 QStringLiteral("--since"), QStringLiteral("5000")});
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(run.out.contains(QStringLiteral("60 defects in 16 frames, 61 with those of")), run.all());
    const QVector<orn::SxDefect> united = listed("united.txt").defects;
    QCOMPARE(united.size(), 61);
    for (const orn::SxDefect& defect : united) {
        const bool isKnown = defect.x == known.x && defect.y == known.y;
        QCOMPARE(defect.since, qint64(isKnown ? 1000 : defect.x == -4 ? 2000 : 5000));
        QVERIFY(!isKnown || defect.kind == known.kind);
    }
}

void DefectsCommandTest::datesNewDefects_data()
{
    QTest::addColumn<QString>("since");
    QTest::addColumn<qint64>("time");
    QTest::newRow("a number") << QStringLiteral("1714521600") << qint64(1714521600);
    QTest::newRow("a day") << QStringLiteral("2024-05-01") << qint64(1714521600);
    QTest::newRow("a time in a zone") << QStringLiteral("2024-05-01T02:00:00+02:00") << qint64(1714521600);
}

void DefectsCommandTest::datesNewDefects()
{
    QFETCH(QString, since);
    QFETCH(qint64, time);
    const ProgramRun run = defects(to("dated.txt") + QStringList{QStringLiteral("--since"), since}, 1);
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(listed("dated.txt").defects.first().since, time);
}

void DefectsCommandTest::flatFramesAreJudgedByTheirLight()
{
    SensorKind kind = sensorKind();
    kind.isFlat = true;
    kind.glow = 0;
    kind.level = 8000;
    kind.vignetting = 0.5;
    kind.fixedPattern = 0.005;
    DefectiveSensor sensor(kind, 2);
    sensor.breakPixels(30, 3, 8, 12, 60);
    QStringList arguments{QStringLiteral("defects"), QStringLiteral("--flat")};
    for (int i = 0; i < 8; ++i) {
        const QString name = QStringLiteral("flat-%1.tif").arg(i);
        QVERIFY(m_folder.save(name, sensor.takeFrame()));
        arguments << m_folder.path(name);
    }
    const ProgramRun run = runOrn(arguments + to("flat.png"));
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(run.out.contains(QStringLiteral(" %")), run.all());
    const SearchQuality quality = qualityOf(listed("flat.txt").defects, sensor.defects());
    QVERIFY2(quality.wrong <= 1 && quality.missed <= 1, run.all());
}

void DefectsCommandTest::framesThatDifferAreNamed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    ep::CxScopedBuffer frame = m_sensor.takeFrame();
    ep::CxMetadata metadata = frameMetadata(frame.image());
    const_cast<ep::CxCommonImageMetadata*>(commonItem(metadata))->topMargin = 10;
    m_folder.save(QStringLiteral("elsewhere.tif"), frame, metadata);
    frame->bayerGrid = ep::BayerGridGBRG;
    m_folder.save(QStringLiteral("grid.tif"), frame, frameMetadata(frame.image()));
    m_folder.save(QStringLiteral("size.tif"), cameraMosaic(ep::BayerGridRGGB, 160, 118));
    m_folder.save(QStringLiteral("type.tif"), photograph(ep::DataTypeUInt16, 160, 120));
    QTest::newRow("another place on the sensor") << QStringLiteral("elsewhere.tif") << QStringLiteral("elsewhere");
    QTest::newRow("another grid") << QStringLiteral("grid.tif") << QStringLiteral("GBRG");
    QTest::newRow("another size") << QStringLiteral("size.tif") << QStringLiteral("160 x 118");
    QTest::newRow("other channels") << QStringLiteral("type.tif") << QStringLiteral("3 channels");
}

void DefectsCommandTest::framesThatDifferAreNamed()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    const ProgramRun run =
        runOrn(QStringList{QStringLiteral("defects"), m_frames[0], m_frames[1], m_folder.path(name)} + to("never.png"));
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(saysOf(run, m_folder.path(name), reason.toUtf8().constData()), run.all());
    QVERIFY2(saysOf(run, m_folder.path(name), m_frames[0].toUtf8().constData()), run.all());
    QVERIFY(!m_folder.has("never.png") && !m_folder.has("never.txt"));
}

void DefectsCommandTest::refuses_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const char* arguments, int code, const char* reason) {
        QTest::newRow(name) << QString::fromLatin1(arguments) << code << QString::fromLatin1(reason);
    };
    writeFile(m_folder.path("hostile.txt"), "1 2 0\n1 x\n");
    QVERIFY(writeFile(m_folder.path("black.pgm"), "P5 40 30 255\n" + QByteArray(1200, '\0')));
    row("no frames", "--out @never.png", 2, "DARK");
    row("no map", "@dark-00.tif", 2, "--out");
    row("a limit of zero", "--sigma 0 @dark-00.tif --out @never.png", 2, "--sigma");
    row("a limit that is no number", "--sigma nan @dark-00.tif --out @never.png", 2, "--sigma");
    row("no time", "--since yesterday @dark-00.tif --out @never.png", 2, "yesterday");
    row("half an origin", "--origin 5 @dark-00.tif --out @never.png", 2, "--origin");
    row("an origin outside of the sensor", "--origin 5,-1 @dark-00.tif --out @never.png", 2, "--origin");
    row("the sensor's coordinates, which are not known", "--coordinates sensor @black.pgm --out @never.png", 2,
        "--origin X,Y");
    row("a grid for an image of colours", "--cfa RGGB @type.tif --out @never.png", 2, "3 channels");
    row("a missing frame", "@dark-00.tif @missing.tif --out @never.png", 3, "missing.tif");
    row("a list to unite with that is none", "--merge @hostile.txt @dark-00.tif --out @never.png", 3, "line 2");
    row("a folder that does not exist", "@dark-00.tif --out @no/never.png", 4, "folder");
    row("a format that nobody writes", "@dark-00.tif --out @never.xyz", 4, ".xyz");
    row("a format that loses samples", "@dark-00.tif --out @never.jpg", 5, ".png");
    row("flat frames without light", "--flat @black.pgm --out @never.png", 5, "light");
}

void DefectsCommandTest::refuses()
{
    QFETCH(QString, arguments);
    QFETCH(int, code);
    QFETCH(QString, reason);
    QStringList list{QStringLiteral("defects")};
    for (const QString& argument : arguments.split(QLatin1Char(' ')))
        list << (argument.startsWith(QLatin1Char('@')) ? m_folder.path(argument.mid(1)) : argument);
    const ProgramRun run = runOrn(list);
    QVERIFY2(run.code == code, run.all());
    QVERIFY2(run.err.contains(reason), run.all());
    QVERIFY(m_folder.names().filter(QStringLiteral("never")).isEmpty());
}

void DefectsCommandTest::leavesOldFilesAlone()
{
    QVERIFY(writeFile(m_folder.path("kept.txt"), "1 1 0\n"));
    const ProgramRun run = defects(to("kept.png") + QStringList{QStringLiteral("--no-replace")}, 1);
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(saysOf(run, m_folder.path("kept.txt"), "exists already"), run.all());
    QVERIFY(!m_folder.has("kept.png"));
    QCOMPARE(m_folder.bytes("kept.txt"), QByteArray("1 1 0\n"));
}

void DefectsCommandTest::saysThatStuckPixelsNeedFrames()
{
    const ProgramRun run = defects(to("few.txt"), 3);
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(saysOf(run, m_folder.path("few.txt"), "stuck pixels cannot be told from chance in R, G1, B, G2"),
             run.all());
}

void DefectsCommandTest::endsWhenInterrupted()
{
    const ProgramRun run = runShell(
        QStringLiteral(
            "timeout --preserve-status -s INT 0.5 \"$ORN\" defects --out \"$2\" $(yes \"$1\" | head -n 20000)"),
        {m_frames[0], m_folder.path("never.png")});
    QVERIFY2(run.code == 130, run.all());
    QVERIFY(m_folder.names().filter(QStringLiteral("never")).isEmpty());
}

void DefectsCommandTest::repairingTheMapShrinksErrors_data()
{
    QTest::addColumn<QString>("map");
    QTest::newRow("by the list") << QStringLiteral("e.txt");
    QTest::newRow("by the map") << QStringLiteral("e.png");
}

void DefectsCommandTest::repairingTheMapShrinksErrors()
{
    QFETCH(QString, map);
    ep::CxScopedBuffer scene = cameraMosaic(ep::BayerGridRGGB, 160, 120);
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            setSample(scene.image(), x, y, 0,
                      quint16(4000 + 1500 * std::sin(x / 40.0) + 10 * y + (x % 2 != y % 2 ? 700 : 0)));
    const ep::CxScopedBuffer picture = m_sensor.takePicture(scene.image());
    QVERIFY(m_folder.save(QStringLiteral("picture.tif"), picture, frameMetadata(picture.image())));
    QCOMPARE(defects(to("e.png")).code, 0);
    const ProgramRun run = runOrn({QStringLiteral("repair"), QStringLiteral("--map"), m_folder.path(map),
                                   m_folder.path("picture.tif"), m_folder.path("repaired.tif")});
    QVERIFY2(run.code == 0, run.all());
    const Loaded repaired = m_folder.load(QStringLiteral("repaired.tif"));
    const double before = errorAt(m_sensor.defects(), picture.image(), scene.image());
    const double after = errorAt(m_sensor.defects(), repaired.image.image(), scene.image());
    qInfo("RMS error at the defects: %.1f before, %.1f after", before, after);
    QVERIFY(before >= 10 * after);
}

QTEST_GUILESS_MAIN(DefectsCommandTest)
#include "DefectsCommandTest.moc"

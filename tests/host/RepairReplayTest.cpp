#include "RepairTesting.h"
#include "TinyDisk.h"

#include <orn/orn_core.h>

using namespace testing;

/** The reports of `orn repair`, and repairs that are repeated from them. */
class RepairReplayTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void aReplayGivesTheSameBytes_data();
    void aReplayGivesTheSameBytes();
    void theReportTellsEveryChange();
    void otherProgramsMaySaveTheReport();
    void anotherImageIsRefused_data();
    void anotherImageIsRefused();
    void aDamagedReportIsRefused_data();
    void aDamagedReportIsRefused();
    void everyCutReportIsRefused_data();
    void everyCutReportIsRefused();
    void aFullDiskLeavesNothing();

private:
    ProgramRun repair(const char* options, const char* from, const char* to) const
    {
        return repairFiles(*m_files, optionsOf(*m_files, QLatin1String(options)), from, to);
    }

    std::unique_ptr<ImageFolder> m_files;
};

void RepairReplayTest::initTestCase()
{
    orn::Init();
}

void RepairReplayTest::init()
{
    m_files = std::make_unique<ImageFolder>();
}

void RepairReplayTest::aReplayGivesTheSameBytes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("grid");
    QTest::addColumn<QString>("suffix");
    for (int type : {2, 4})
        for (int channels : {1, 3, 5})
            for (const char* suffix : {"tif", "mat"})  // read as packed and as planar images
                QTest::addRow("%s, %d channels, %s", ep::sampleFacts(type).name, channels, suffix)
                    << type << channels << 4 << QString::fromLatin1(suffix);
    for (int grid : {0, 1, 2, 3, 5})
        QTest::addRow("grid %d", grid) << 4 << 1 << grid << QStringLiteral("tif");
}

void RepairReplayTest::aReplayGivesTheSameBytes()
{
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(int, grid);
    QFETCH(QString, suffix);
    ep::SxImageInfo info = mosaicInfo(grid, 37, 29);
    info.channels = channels;
    info.dataType = static_cast<ep::ExImageDataType>(type);
    info.bitDepth = ep::sampleFacts(type).bits;
    const QByteArray end = '.' + suffix.toLatin1();
    QVERIFY(m_files->save(QLatin1String("in" + end), damagedImage(info)));
    const char* const high = type == 2 ? "--high 255" : "--high 65535";
    for (const char* report : {"@r.csv", "@r.json"}) {
        const QByteArray options = QByteArray("--low 0 ") + high + " --report " + report;
        const ProgramRun made = repair(options, "in" + end, "out" + end);
        QVERIFY2(made.code == 0, made.all());
        const ProgramRun again = repair(QByteArray("--replay ") + report, "in" + end, "again" + end);
        QVERIFY2(again.code == 0, again.all());
        // A MAT file begins with the second in which it was written.
        const int head = suffix == QLatin1String("mat") ? 128 : 0;
        QCOMPARE(m_files->bytes("again" + end).mid(head), m_files->bytes("out" + end).mid(head));
        QCOMPARE(again.out.section(QStringLiteral(": "), 1), made.out.section(QStringLiteral(": "), 1));
        QVERIFY(!ep::SameSamples(m_files->load(QLatin1String("in" + end)).image.image(),
                                 m_files->load(QLatin1String("out" + end)).image.image()));
    }
}

void RepairReplayTest::theReportTellsEveryChange()
{
    auto image = randomImage(mosaicInfo(ep::BayerGridRGGB, 5, 4));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            setSample(image.image(), x, y, 0, static_cast<quint16>(100 + y % 2 * 2 + x % 2));
    setSample(image.image(), 4, 2, 0, static_cast<quint16>(7));  // red
    setSample(image.image(), 1, 1, 0, static_cast<quint16>(8));  // blue
    QVERIFY(m_files->save(QStringLiteral("in.tif"), image));
    QCOMPARE(repair("--low 8 --report @r.csv", "in.tif", "out.tif").code, 0);
    QCOMPARE(m_files->bytes("r.csv"), QByteArray("# orn repair report: 1\n# width: 5\n# height: 4\n# type: uint16\n"
                                                 "# channels: 1\n# grid: RGGB\n# planes: R,G1,B,G2\n# repaired: 2\n"
                                                 "x,y,plane,old,new\n4,2,R,7,100\n1,1,B,8,103\n"));
    QCOMPARE(repair("--low 8 --report @r.json", "in.tif", "out.tif").code, 0);
    const QJsonObject report = QJsonDocument::fromJson(m_files->bytes("r.json")).object();
    QCOMPARE(report[QStringLiteral("repaired")].toInt(), 2);
    const QJsonObject sample = report[QStringLiteral("samples")].toArray()[0].toObject();
    QCOMPARE(sample, (QJsonObject{{QStringLiteral("x"), 4},
                                  {QStringLiteral("y"), 2},
                                  {QStringLiteral("plane"), QStringLiteral("R")},
                                  {QStringLiteral("old"), 7},
                                  {QStringLiteral("new"), 100}}));
    QCOMPARE(report[QStringLiteral("image")].toObject()[QStringLiteral("grid")].toString(), QStringLiteral("RGGB"));
}

void RepairReplayTest::otherProgramsMaySaveTheReport()
{
    QVERIFY(m_files->save(QStringLiteral("in.tif"), damagedImage(mosaicInfo(1, 12, 12))));
    QCOMPARE(repair("--low 0 --report @r.csv", "in.tif", "out.tif").code, 0);
    QByteArray changed = "\xEF\xBB\xBF" + m_files->bytes("r.csv").replace("\n", "\r\n") + "\r\n";
    QVERIFY(writeFile(m_files->path("dos.csv"), changed));
    const ProgramRun run = repair("--replay @dos.csv", "in.tif", "again.tif");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(m_files->bytes("again.tif"), m_files->bytes("out.tif"));
}

void RepairReplayTest::anotherImageIsRefused_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("brokenRow");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, int width, int type, int channels, int grid, int brokenRow,
                        const char* said) {
        QTest::newRow(name) << width << type << channels << grid << brokenRow << QString::fromLatin1(said);
    };
    row("another width", 14, 4, 1, 1, -1, "12 x 12 pixels, not 14 x 12 pixels");
    row("another sample type", 12, 3, 1, 1, -1, "uint16, not int16");
    row("other channels", 12, 4, 3, 4, -1, "1 channels, not 3 channels");
    row("another grid", 12, 4, 1, 3, -1, "grid RGGB, not grid GRBG");
    row("no grid", 12, 4, 1, 4, -1, "grid RGGB, not grid none");
    row("another sample", 12, 4, 1, 1, 0, "is not 0");
}

void RepairReplayTest::anotherImageIsRefused()
{
    QFETCH(int, width);
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(int, grid);
    QFETCH(int, brokenRow);
    QFETCH(QString, said);
    QVERIFY(m_files->save(QStringLiteral("in.tif"), damagedImage(mosaicInfo(1, 12, 12))));
    QCOMPARE(repair("--low 0 --report @r.csv", "in.tif", "out.tif").code, 0);
    ep::SxImageInfo info = mosaicInfo(grid, width, 12);
    info.dataType = static_cast<ep::ExImageDataType>(type);
    info.channels = channels;
    auto other = damagedImage(info);
    if (brokenRow >= 0)
        for (int x = 0; x < width; ++x)
            setSample(other.image(), x, brokenRow, 0, static_cast<quint16>(77));
    ep::CxMetadata metadata = type == 4 && channels == 1 ? cameraMetadata(info) : ep::CxMetadata();
    const char* const file = type == 4 ? "other.tif" : "other.mat";
    QVERIFY(m_files->save(QLatin1String(file), other, metadata));
    const QStringList before = m_files->names();
    for (const char* form : {"", " --json"}) {
        const ProgramRun run = repair(QByteArray("--replay @r.csv") + form, file, "again.tif");
        QVERIFY2(run.code == 5, run.all());
        QVERIFY2(saysOf(run, m_files->path("r.csv"), said.toLatin1()), run.all());
    }
    QCOMPARE(m_files->names(), before);
}

void RepairReplayTest::aDamagedReportIsRefused_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, const char* from, const char* to, int code, const char* said) {
        QTest::newRow(name) << QByteArray(from) << QByteArray(to) << code << QString::fromLatin1(said);
    };
    row("a column past the image", "4,2,R,7,100", "6,2,R,7,100", 5, "sample 1: the image has no R at 6,2");
    row("a negative column", "4,2,R,7,100", "-4,2,R,7,100", 5, "sample 1: the image has no R at -4,2");
    row("the largest column", "4,2,R,7,100", "2147483647,2,R,7,100", 5, "no R at 2147483647,2");
    row("a column of 2^31", "4,2,R,7,100", "2147483648,2,R,7,100", 3, "line 10");
    row("another plane", "4,2,R,7,100", "4,2,B,7,100", 5, "no B at 4,2");
    row("an unknown plane", "4,2,R,7,100", "4,2,Q,7,100", 3, "line 10");
    row("another old value", "4,2,R,7,100", "4,2,R,9,100", 5, "R at 4,2 is not 9");
    row("a second sample that is wrong", "1,1,B,8,103", "1,1,B,9,103", 5, "sample 2: the image's B at 1,1 is not 9");
    row("a new value past the type", "4,2,R,7,100", "4,2,R,7,65536", 5, "65536 is no value of uint16");
    row("a negative new value", "4,2,R,7,100", "4,2,R,7,-1", 5, "-1 is no value of uint16");
    row("not a number", "4,2,R,7,100", "4,2,R,7,nan", 3, "line 10");
    row("a fraction", "4,2,R,7,100", "4,2,R,7,100.5", 3, "line 10");
    row("an empty number", "4,2,R,7,100", "4,2,R,,100", 3, "line 10");
    row("a field too many", "4,2,R,7,100", "4,2,R,7,100,", 3, "line 10");
    row("a field too few", "4,2,R,7,100", "4,2,R,7", 3, "line 10");
    row("fewer samples than announced", "4,2,R,7,100\n", "", 3, "it holds 1 samples and announces 2");
    row("more samples than announced", "4,2,R,7,100\n", "4,2,R,7,100\n2,2,R,100,100\n", 3, "line 12");
    row("a negative number of samples", "repaired: 2", "repaired: -1", 3, "line 10");
    row("no number of samples", "repaired: 2", "repaired: two", 3, "line 8");
    row("a later version", "report: 1", "report: 2", 3, "later version");
    row("no version", "# orn repair report: 1\n", "", 3, "later version");
    row("no planes", "# planes: R,G1,B,G2\n", "", 3, "line 9");
    row("other planes", "planes: R,G1,B,G2", "planes: B,G1,R,G2", 5, "planes B,G1,R,G2, not planes R,G1,B,G2");
    row("no width", "# width: 5\n", "", 5, "0 x 4 pixels, not 5 x 4 pixels");
    row("a line of something else", "# width: 5\n", "width\n", 3, "line 2: it is no report of a repair");
    QTest::newRow("a zero byte in a number") << QByteArray("4,2,R,7,100")
                                             << QByteArray("4,2,R,7,1\0"
                                                           "0",
                                                           11)
                                             << 3 << QStringLiteral("line 10");
}

void RepairReplayTest::aDamagedReportIsRefused()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, code);
    QFETCH(QString, said);
    auto image = randomImage(mosaicInfo(ep::BayerGridRGGB, 5, 4));
    QVERIFY(!ep::failed(ep::SetChannel(image.image(), 0, 100)));
    setSample(image.image(), 4, 2, 0, static_cast<quint16>(7));
    setSample(image.image(), 1, 1, 0, static_cast<quint16>(8));
    QVERIFY(m_files->save(QStringLiteral("in.tif"), image));
    QByteArray report = "# orn repair report: 1\n# width: 5\n# height: 4\n# type: uint16\n# channels: 1\n# grid: RGGB\n"
                        "# planes: R,G1,B,G2\n# repaired: 2\nx,y,plane,old,new\n4,2,R,7,100\n1,1,B,8,103\n";
    QVERIFY(writeFile(m_files->path("r.csv"), report));
    QCOMPARE(repair("--replay @r.csv", "in.tif", "good.tif").code, 0);
    QVERIFY(report.contains(from));
    QVERIFY(writeFile(m_files->path("r.csv"), report.replace(from, to)));
    const ProgramRun run = repair("--replay @r.csv", "in.tif", "out.tif");
    QVERIFY2(run.code == code, run.all());
    QVERIFY2(saysOf(run, m_files->path("r.csv"), said.toLatin1()), run.all());
    QVERIFY(!m_files->has("out.tif"));
}

void RepairReplayTest::everyCutReportIsRefused_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("CSV") << QByteArray("r.csv");
    QTest::newRow("JSON") << QByteArray("r.json");
}

void RepairReplayTest::everyCutReportIsRefused()
{
    QFETCH(QByteArray, name);
    QVERIFY(m_files->save(QStringLiteral("in.tif"), damagedImage(mosaicInfo(1, 9, 4))));
    QCOMPARE(repair("--low 0 --report @" + name, "in.tif", "out.tif").code, 0);
    const QByteArray whole = m_files->bytes(name);
    const int stepped = qMax(1, whole.size() / 40);
    for (int size = 0; size < whole.size() - 6; size += stepped) {
        QVERIFY(writeFile(m_files->path(name.constData()), whole.left(size)));
        const ProgramRun run = repair("--replay @" + name, "in.tif", "again.tif");
        QVERIFY2(run.code == 3, run.all());
        QVERIFY2(saysOf(run, m_files->path(name.constData()), ""), run.all());
    }
    const QList<QByteArray> strange{"[]",
                                    "{}",
                                    "null",
                                    "{\"report\": \"repair\"}",
                                    "\0\0\0",
                                    QByteArray(200000, '['),
                                    QByteArray(whole).replace("\"version\": 1", "\"version\": 1.5"),
                                    QByteArray(whole).replace("\"old\": 0", "\"old\": 1e300"),
                                    QByteArray(whole).replace("\"old\": 0", "\"old\": \"0\""),
                                    QByteArray(whole).replace("\"old\": 0", "\"old\": NaN"),
                                    QByteArray(whole).replace("\"old\": 0", "\"old\": 2147483648"),
                                    QByteArray(whole).replace("\"samples\": [", "\"samples\": 7, \"x\": ["),
                                    QByteArray(whole).replace("\"plane\": \"R\"", "\"plane\": 1")};
    for (const QByteArray& bytes : strange) {
        if (bytes == whole)
            continue;  // of the other form
        QVERIFY(writeFile(m_files->path(name.constData()), bytes));
        const ProgramRun run = repair("--replay @" + name, "in.tif", "again.tif");
        QVERIFY2(run.code == 3, bytes.left(200) + run.all());
    }
    QVERIFY(!m_files->has("again.tif"));
}

void RepairReplayTest::aFullDiskLeavesNothing()
{
    const TinyDisk disk;
    if (!disk.isMounted())
        QSKIP("the system lets nobody mount a small disk here");
    QVERIFY(m_files->save(QStringLiteral("in.tif"), damagedImage(mosaicInfo(1, 300, 300))));
    for (const char* report : {"r.csv", "r.json"}) {
        QVERIFY(writeFile(disk.filePath(report), "old"));
        const ProgramRun run =
            runOrn({QStringLiteral("repair"), QStringLiteral("--low"), QStringLiteral("0"), QStringLiteral("--report"),
                    disk.filePath(report), m_files->path("in.tif"), m_files->path("out.tif")});
        QVERIFY2(run.code == 4, run.all());
        QVERIFY2(saysOf(run, disk.filePath(report), ""), run.all());
        QCOMPARE(readFile(disk.filePath(report)), QByteArray("old"));
        QVERIFY(!m_files->has("out.tif"));
    }
    // An image that does not fit leaves no report either.
    const ProgramRun run =
        runOrn({QStringLiteral("repair"), QStringLiteral("--low"), QStringLiteral("0"), QStringLiteral("--report"),
                m_files->path("r.csv"), m_files->path("in.tif"), disk.filePath("out.tif")});
    QVERIFY2(run.code == 4 && saysOf(run, disk.filePath("out.tif"), ""), run.all());
    QCOMPARE(m_files->names(), QStringList{QStringLiteral("in.tif")});
}

QTEST_GUILESS_MAIN(RepairReplayTest)
#include "RepairReplayTest.moc"

#include "RepairTesting.h"

#include <orn/orn_core.h>

using namespace testing;

/** What `orn repair` repairs, what it says, and what it refuses. */
class RepairCommandTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void aColorTakesItsOwn_data();
    void aColorTakesItsOwn();
    void aChannelTakesItsOwn_data();
    void aChannelTakesItsOwn();
    void optionsChooseTheLevels_data();
    void optionsChooseTheLevels();
    void theMaskIsPerPixel();
    void metadataAndGridStay();
    void nothingToRepairIsDone();
    void writesOverItsOwnInput();
    void usageIsRefused_data();
    void usageIsRefused();
    void imagesAreRefused_data();
    void imagesAreRefused();
    void filesAreNamed_data();
    void filesAreNamed();
    void replacesOnlyWhenItMay();

private:
    std::unique_ptr<ImageFolder> m_files;
};

void RepairCommandTest::initTestCase()
{
    orn::Init();
}

/** A photograph of three channels whose columns are levels 0 to 255 in steps of 10, and a mask of its left half. */
void RepairCommandTest::init()
{
    m_files = std::make_unique<ImageFolder>();
    auto steps = randomImage(describe(ep::DataTypeUInt8, 26, 4, 3));
    auto mask = randomImage(describe(ep::DataTypeUInt8, 26, 4));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 26; ++x) {
            setSample(mask.image(), x, y, 0, static_cast<quint8>(x < 13 ? 255 : 0));
            for (int c = 0; c < 3; ++c)
                setSample(steps.image(), x, y, c, static_cast<quint8>(10 * x));
        }
    QVERIFY(m_files->save(QStringLiteral("steps.tif"), steps, ep::CxMetadata()));
    QVERIFY(m_files->save(QStringLiteral("mask.png"), mask, ep::CxMetadata()));
}

void RepairCommandTest::aColorTakesItsOwn_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QString>("suffix");
    for (int grid = 0; grid < 4; ++grid) {
        QTest::addRow("grid %d as TIFF", grid) << grid << 40 << 32 << "tif";
        QTest::addRow("grid %d of odd size as DNG", grid) << grid << 41 << 31 << "dng";
        QTest::addRow("grid %d as MAT", grid) << grid << 40 << 32 << "mat";
    }
    QTest::newRow("X-Trans") << 5 << 60 << 48 << "tif";
    QTest::newRow("X-Trans with partial cells") << 5 << 61 << 47 << "tif";
}

void RepairCommandTest::aColorTakesItsOwn()
{
    QFETCH(int, grid);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(QString, suffix);
    const auto damaged = damagedImage(mosaicInfo(grid, width, height));
    QVERIFY(m_files->save(QStringLiteral("in.tif"), damaged));
    const QByteArray out = "out." + suffix.toLatin1();
    const ProgramRun run =
        repairFiles(*m_files, optionsOf(*m_files, QStringLiteral("--low 0 --high 65535 --json")), "in.tif", out);
    QVERIFY2(run.code == 0, run.all());
    const Loaded repaired = m_files->load(QString::fromLatin1(out));
    const int cell = grid == 5 ? 6 : 2;
    int broken = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int value = sampleAt<quint16>(repaired.image.image(), x, y);
            QCOMPARE(value / 400, y % cell * cell + x % cell + 1);
            if (isBroken(x, y, 0))
                ++broken;
            else
                QCOMPARE(value, int(sampleAt<quint16>(damaged.image(), x, y)));
        }
    QCOMPARE(repairedIn(run.json()), broken);
    const QJsonArray planes = run.json()[QStringLiteral("planes")].toArray();
    QCOMPARE(planes.size(), cell * cell);
    QCOMPARE(planes.last().toObject()[QStringLiteral("name")].toString(),
             grid == 5 ? QStringLiteral("place 36") : QStringLiteral("G2"));
}

void RepairCommandTest::aChannelTakesItsOwn_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QString>("suffix");
    for (int type : {2, 4})
        for (int channels : {1, 3, 5})
            for (const char* suffix : {"tif", "mat"})
                QTest::addRow("%s, %d channels, %s", ep::sampleFacts(type).name, channels, suffix)
                    << type << channels << QString::fromLatin1(suffix);
}

void RepairCommandTest::aChannelTakesItsOwn()
{
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(QString, suffix);
    const auto damaged = damagedImage(describe(static_cast<ep::ExImageDataType>(type), 33, 21, channels));
    const QByteArray in = "in." + suffix.toLatin1();
    const QByteArray out = "out." + suffix.toLatin1();
    QVERIFY(m_files->save(QString::fromLatin1(in), damaged, ep::CxMetadata()));
    const QString options = type == 2 ? QStringLiteral("--low 0 --high 255") : QStringLiteral("--valid 1:65534");
    const ProgramRun run = repairFiles(*m_files, optionsOf(*m_files, options), in, out);
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const Loaded before = m_files->load(QString::fromLatin1(in));
    const Loaded after = m_files->load(QString::fromLatin1(out));
    QCOMPARE(int(after.image->layout), int(before.image->layout));
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < 21; ++y)
            for (int x = 0; x < 33; ++x) {
                const int value = type == 2 ? sampleAt<quint8>(after.image.image(), x, y, c)
                                            : sampleAt<quint16>(after.image.image(), x, y, c);
                QCOMPARE(value / (type == 2 ? 20 : 400), c + 1);
                QVERIFY(isBroken(x, y, c) || sameSample(after.image.image(), x, y, c, before.image.image(), x, y, c));
            }
}

void RepairCommandTest::optionsChooseTheLevels_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QVector<int>>("repaired");  // columns of each channel
    const auto row = [](const char* options, const QVector<int>& repaired) {
        QTest::newRow(options) << QString::fromLatin1(options) << repaired;
    };
    row("--low 0", {1, 1, 1});
    row("--low 29", {3, 3, 3});
    row("--low 30,off,10", {4, 0, 2});
    row("--low -1", {0, 0, 0});
    row("--low=off", {0, 0, 0});
    row("--high 240", {2, 2, 2});
    row("--high 240,off,251", {2, 0, 0});
    row("--high 100000", {0, 0, 0});
    row("--low 10 --high 240", {4, 4, 4});
    row("--low 10,20,30 --high 240", {4, 5, 6});
    row("--valid 20:230", {4, 4, 4});
    row("--valid 0:255", {0, 0, 0});
    row("--valid 20:255,0:230,100:100", {2, 2, 25});
    row("--low 200 --low-percent 10", {2, 2, 2});
    row("--low 200 --low-percent 10,0,100", {2, 0, 21});
    row("--high 100 --high-percent 4", {1, 1, 1});
    row("--low 10 --mask @mask.png", {2, 2, 2});
    row("--high 200 --mask @mask.png", {0, 0, 0});
}

void RepairCommandTest::optionsChooseTheLevels()
{
    QFETCH(QString, options);
    QFETCH(QVector<int>, repaired);
    const ProgramRun run =
        repairFiles(*m_files, optionsOf(*m_files, options + QStringLiteral(" --json")), "steps.tif", "out.tif");
    QVERIFY2(run.code == 0, run.all());
    const QJsonArray planes = run.json()[QStringLiteral("planes")].toArray();
    for (int c = 0; c < 3; ++c) {
        QCOMPARE(planes[c].toObject()[QStringLiteral("repaired")].toInt(), 4 * repaired[c]);
        QCOMPARE(planes[c].toObject()[QStringLiteral("name")].toString(), QStringLiteral("channel %1").arg(c + 1));
    }
}

void RepairCommandTest::theMaskIsPerPixel()
{
    // Everything but 130 is invalid, and the only 130 under the mask's zeros is no source.
    const ProgramRun refused = repairFiles(
        *m_files, optionsOf(*m_files, QStringLiteral("--valid 130:130 --mask @mask.png")), "steps.tif", "a.tif");
    QVERIFY2(refused.code == 5, refused.all());
    QVERIFY2(saysOf(refused, m_files->path("steps.tif"), "channel 1 has samples to repair and no valid one"),
             refused.all());
    const ProgramRun run = repairFiles(
        *m_files, optionsOf(*m_files, QStringLiteral("--valid 120:130 --mask @mask.png")), "steps.tif", "a.tif");
    QVERIFY2(run.code == 0, run.all());
    const Loaded repaired = m_files->load(QStringLiteral("a.tif"));
    for (int c = 0; c < 3; ++c)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 26; ++x)
                QCOMPARE(int(sampleAt<quint8>(repaired.image.image(), x, y, c)), x < 13 ? 120 : 10 * x);
}

void RepairCommandTest::metadataAndGridStay()
{
    QVERIFY(m_files->save(QStringLiteral("in.dng"), cameraMosaic(ep::BayerGridGBRG, 40, 36)));
    const ProgramRun run =
        repairFiles(*m_files, optionsOf(*m_files, QStringLiteral("--low 2000")), "in.dng", "out.dng");
    QVERIFY2(run.code == 0, run.all());
    const Loaded before = m_files->load(QStringLiteral("in.dng"));
    const Loaded after = m_files->load(QStringLiteral("out.dng"));
    QCOMPARE(after.metadata.saveToXml(0), before.metadata.saveToXml(0));
    QCOMPARE(int(after.image->bayerGrid), int(ep::BayerGridGBRG));
    QCOMPARE(after.image->bitDepth, 14);
    // A format that keeps less is told, as orn convert does.
    const ProgramRun jp2 =
        repairFiles(*m_files, optionsOf(*m_files, QStringLiteral("--low 2000")), "in.dng", "out.jp2");
    QVERIFY2(jp2.code == 0 && saysOf(jp2, m_files->path("out.jp2"), "does not keep the grid"), jp2.all());
}

void RepairCommandTest::nothingToRepairIsDone()
{
    const ProgramRun run = repairFiles(*m_files, optionsOf(*m_files, QStringLiteral("--high 255 --report @r.csv")),
                                       "steps.tif", "out.tif");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QCOMPARE(run.out, QStringLiteral("%1 -> %2: 0 repaired (channel 1: 0, channel 2: 0, channel 3: 0)\n")
                          .arg(m_files->path("steps.tif"), m_files->path("out.tif")));
    QVERIFY(ep::SameSamples(m_files->load(QStringLiteral("out.tif")).image.image(),
                            m_files->load(QStringLiteral("steps.tif")).image.image()));
    QVERIFY(m_files->bytes("r.csv").endsWith("# repaired: 0\nx,y,plane,old,new\n"));
}

void RepairCommandTest::writesOverItsOwnInput()
{
    const ProgramRun run =
        repairFiles(*m_files, optionsOf(*m_files, QStringLiteral("--low 0")), "steps.tif", "steps.tif");
    QVERIFY2(run.code == 0, run.all());
    const Loaded after = m_files->load(QStringLiteral("steps.tif"));
    QCOMPARE(int(sampleAt<quint8>(after.image.image(), 0, 0)), 10);
}

void RepairCommandTest::usageIsRefused_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* options, const char* said) {
        QTest::newRow(options) << QString::fromLatin1(options) << QString::fromLatin1(said);
    };
    row("--mask @mask.png", "nothing says what to repair");
    row("--low 1,2", "--low has 2 entries; the image has 3 (channel 1, channel 2, channel 3)");
    row("--low 1 --high 1,2,3,4", "--high has 4 entries");
    row("--low 1,,3", "--low: '' is neither a level nor 'off'");
    row("--low ten", "--low: 'ten'");
    row("--low 1.5", "--low: '1.5'");
    row("--low 0x10", "--low: '0x10'");
    row("--low 99999999999", "--low: '99999999999'");
    row("--high -2147483648", "--high: '-2147483648'");
    row("--valid 10", "--valid: '10' is not LOW:HIGH");
    row("--valid 10:5", "--valid: '10:5' is not LOW:HIGH");
    row("--valid 1:2:3", "--valid: '1:2:3' is not LOW:HIGH");
    row("--valid 1:off", "--valid: '1:off' is not LOW:HIGH");
    row("--valid 1:2 --low 1", "--valid");
    row("--low-percent 1", "--low");
    row("--low 1 --low-percent 101", "--low-percent: '101' is no share");
    row("--low 1 --low-percent nan", "--low-percent: 'nan' is no share");
    row("--low 1 --low-percent -0.5", "--low-percent: '-0.5' is no share");
    row("--high 1 --high-percent 1,2", "--high-percent has 2 entries");
    row("--low 1 --high-percent 2", "--high");
    row("--low 1 --report @report.txt", "a report is a file of suffix .csv or .json");
    row("--low 1 --report @out.csv --overlay @out.csv", "would be written over");
    row("--low 1 --overlay @steps.tif", "would be written over");
    row("--low 1 --overlay @out.tif", "would be written over");
    row("--low 1 --mask @mask.png --overlay @mask.png", "would be written over");
    row("--replay @r.csv --low 1", "--replay");
    row("--replay @r.csv --report @s.csv", "--replay");
    row("--replay @r.xml", "a report is a file of suffix .csv or .json");
}

void RepairCommandTest::usageIsRefused()
{
    QFETCH(QString, options);
    QFETCH(QString, said);
    const QStringList before = m_files->names();
    const ProgramRun run = repairFiles(*m_files, optionsOf(*m_files, options), "steps.tif", "out.tif");
    QVERIFY2(run.code == 2, run.all());
    QVERIFY2(run.err.contains(said), run.all());
    QCOMPARE(m_files->names(), before);
}

void RepairCommandTest::imagesAreRefused_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("said");
    for (int type : {5, 6, 7, 8, 10, 11})
        QTest::newRow(ep::sampleFacts(type).name)
            << type
            << QStringLiteral("its samples are %1; those of 8 and 16 bits can be repaired")
                   .arg(QLatin1String(ep::sampleFacts(type).name));
}

void RepairCommandTest::imagesAreRefused()
{
    QFETCH(int, type);
    QFETCH(QString, said);
    QVERIFY(m_files->save(QStringLiteral("in.tif"),
                          plainNumbers(describe(static_cast<ep::ExImageDataType>(type), 6, 4)), ep::CxMetadata()));
    const ProgramRun run = repairFiles(*m_files, optionsOf(*m_files, QStringLiteral("--low 0")), "in.tif", "out.tif");
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(saysOf(run, m_files->path("in.tif"), said.toLatin1()), run.all());
    QVERIFY(!m_files->has("out.tif"));
}

void RepairCommandTest::filesAreNamed_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, const char* options, const char* from, const char* to, int code,
                        const char* file,
                        const char* said) { QTest::newRow(name) << options << from << to << code << file << said; };
    row("a missing input", "--low 0", "no.tif", "out.tif", 3, "no.tif", "");
    row("an output of no format", "--low 0", "steps.tif", "out.doc", 4, "out.doc", "cannot be written");
    row("a missing folder of the output", "--low 0 --report @r.csv", "steps.tif", "no/out.tif", 4, "no/out.tif", "");
    row("an overlay of no format", "--low 0 --overlay @o.doc", "steps.tif", "out.tif", 4, "o.doc", "cannot be written");
    row("a missing folder of the report", "--low 0 --report @no/r.csv", "steps.tif", "out.tif", 4, "no/r.csv", "");
    row("a folder as report", "--low 0 --report @dir.csv", "steps.tif", "out.tif", 4, "dir.csv", "");
    row("a missing mask", "--low 0 --mask @no.png", "steps.tif", "out.tif", 3, "no.png", "");
    row("a mask of another size", "--low 0 --mask @small.png", "steps.tif", "out.tif", 5, "small.png", "26 x 4 pixels");
    row("a mask of three channels", "--low 0 --mask @steps.tif", "steps.tif", "out.tif", 5, "steps.tif", "one channel");
    row("a mask of 16 bits", "--low 0 --mask @deep.png", "steps.tif", "out.tif", 5, "deep.png", "of 8 bits");
    row("a missing map", "--map @no.txt", "steps.tif", "out.tif", 3, "no.txt", "");
    row("a map that is no list", "--map @words.txt", "steps.tif", "out.tif", 3, "words.txt", "line 1");
    row("a map of another size", "--map @small.png", "steps.tif", "out.tif", 5, "small.png", "26 x 4 pixels");
    row("a missing report", "--replay @no.csv", "steps.tif", "out.tif", 3, "no.csv", "");
    row("a folder as report to replay", "--replay @dir.csv", "steps.tif", "out.tif", 3, "dir.csv", "folder");
}

void RepairCommandTest::filesAreNamed()
{
    QFETCH(QString, options);
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(int, code);
    QFETCH(QString, file);
    QFETCH(QString, said);
    QVERIFY(
        m_files->save(QStringLiteral("small.png"), randomImage(describe(ep::DataTypeUInt8, 25, 4)), ep::CxMetadata()));
    QVERIFY(
        m_files->save(QStringLiteral("deep.png"), randomImage(describe(ep::DataTypeUInt16, 26, 4)), ep::CxMetadata()));
    QVERIFY(writeFile(m_files->path("words.txt"), "these are words\n"));
    QVERIFY(QDir().mkdir(m_files->path("dir.csv")));
    const QStringList before = m_files->names();
    for (const char* form : {"", " --json"}) {
        const ProgramRun run =
            repairFiles(*m_files, optionsOf(*m_files, options + QLatin1String(form)), qPrintable(from), qPrintable(to));
        QVERIFY2(run.code == code, run.all());
        QVERIFY2(saysOf(run, m_files->path(file), said.toLatin1()), run.all());
        QCOMPARE(m_files->names(), before);
        if (*form)
            QCOMPARE(run.json()[QStringLiteral("error")].toObject()[QStringLiteral("file")].toString(),
                     m_files->path(file));
    }
}

void RepairCommandTest::replacesOnlyWhenItMay()
{
    const QStringList options = optionsOf(*m_files, QStringLiteral("--low 0 --report @r.csv --overlay @o.png"));
    QCOMPARE(repairFiles(*m_files, options, "steps.tif", "out.tif").code, 0);
    for (const char* kept : {"out.tif", "r.csv", "o.png"}) {
        for (const char* file : {"out.tif", "r.csv", "o.png"})
            if (qstrcmp(file, kept) != 0)
                QFile::remove(m_files->path(file));
        const QByteArray before = m_files->bytes(kept);
        const QStringList names = m_files->names();
        const ProgramRun refused =
            repairFiles(*m_files, options + QStringList{QStringLiteral("--no-replace")}, "steps.tif", "out.tif");
        QVERIFY2(refused.code == 5 && saysOf(refused, m_files->path(kept), "exists"), refused.all());
        QCOMPARE(m_files->bytes(kept), before);
        QCOMPARE(m_files->names(), names);
        const ProgramRun replaced = repairFiles(*m_files, options, "steps.tif", "out.tif");
        QVERIFY2(replaced.code == 0, replaced.all());
    }
}

QTEST_GUILESS_MAIN(RepairCommandTest)
#include "RepairCommandTest.moc"

#include "BatchFolder.h"
#include "RepairTesting.h"

#include <orn/orn_core.h>

using namespace testing;

/** `orn repair` of many files. */
class RepairBatchTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyFileHasItsReportAndOverlay();
    void aBatchIsReplayed();
    void resumeMakesWhatHasNoReportAgain();
    void oneMapServesAll();
    void aFileThatDoesNotFitFailsAlone();
    void filesOfAllAreRefused_data();
    void filesOfAllAreRefused();

private:
    BatchFolder m_files;
};

void RepairBatchTest::initTestCase()
{
    orn::Init();
    for (int i = 1; i <= 6; ++i)
        QVERIFY(m_files.save(QStringLiteral("d%1.tif").arg(i), damagedImage(mosaicInfo(i % 4, 30 + i, 20 + i))));
    QVERIFY(m_files.run("mkdir reports replays overlays").code == 0);
}

void RepairBatchTest::everyFileHasItsReportAndOverlay()
{
    const ProgramRun run = m_files.run("orn repair d*.tif --low 0 --high 65535 --report 'reports/{}.csv' "
                                       "--overlay 'overlays/{}.png' --out-dir out --jobs 3 --quiet");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QCOMPARE(run.out, QStringLiteral("6 repaired\n"));
    QCOMPARE(m_files.names("out").size(), 6);
    QCOMPARE(m_files.names("reports").first(), QStringLiteral("d1.tif.csv"));
    QCOMPARE(m_files.names("reports").size(), 6);
    QCOMPARE(m_files.names("overlays").size(), 6);
    for (int i = 1; i <= 6; ++i) {
        const Loaded repaired = m_files.load(QStringLiteral("out/d%1.tif").arg(i));
        for (int y = 0; y < repaired.image->height; ++y)
            for (int x = 0; x < repaired.image->width; ++x)
                QCOMPARE(sampleAt<quint16>(repaired.image.image(), x, y) / 400, y % 2 * 2 + x % 2 + 1);
    }
}

void RepairBatchTest::aBatchIsReplayed()
{
    QVERIFY(m_files.run("orn repair d*.tif --low 0 --report 'replays/{}.json' --out-dir first --quiet").code == 0);
    const ProgramRun run = m_files.run("orn repair d*.tif --replay 'replays/{}.json' --out-dir second --quiet");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(m_files.contents("second"), m_files.contents("first"));
}

// A run that is killed between the image and its report leaves the one without the other.
void RepairBatchTest::resumeMakesWhatHasNoReportAgain()
{
    const QString line = QStringLiteral("orn repair d*.tif --low 0 --report 'resumed/{}.csv' "
                                        "--overlay 'resumed/{}.png' --out-dir on --quiet --resume");
    QVERIFY(m_files.run("mkdir resumed").code == 0);
    QCOMPARE(m_files.run(line).out, QStringLiteral("6 repaired\n"));
    QVERIFY(m_files.run("rm resumed/d2.tif.csv resumed/d4.tif.png && touch -d 2001-01-01 resumed/d5.tif.csv").code
            == 0);
    QCOMPARE(m_files.run(line).out, QStringLiteral("3 repaired, 3 skipped\n"));
    QCOMPARE(m_files.names("resumed").size(), 12);
    QCOMPARE(m_files.run(line).out, QStringLiteral("0 repaired, 6 skipped\n"));
}

void RepairBatchTest::oneMapServesAll()
{
    QVERIFY(writeFile(m_files.path("bad.txt"), "3 3\n31 1\n35 25\n"));
    const ProgramRun run = m_files.run("orn repair d*.tif --map bad.txt --out-dir mapped --quiet --json");
    QVERIFY2(run.code == 0, run.all());
    int sum = 0;
    for (const QJsonValue& file : run.json()[QStringLiteral("files")].toArray())
        sum += repairedIn(file.toObject());
    QCOMPARE(sum, 6 + 5 + 1);  // the images are 31 x 21 to 36 x 26
}

void RepairBatchTest::aFileThatDoesNotFitFailsAlone()
{
    QVERIFY(m_files.save(QStringLiteral("photo.tif"), photograph(ep::DataTypeUInt8, 20, 10), ep::CxMetadata()));
    QVERIFY(
        m_files.save(QStringLiteral("real.tif"), plainNumbers(describe(ep::DataTypeFloat, 20, 10)), ep::CxMetadata()));
    const ProgramRun run =
        m_files.run("orn repair d1.tif photo.tif real.tif d2.tif --low 0,0,0,0 --out-dir some --quiet");
    QVERIFY2(run.code == 1, run.all());
    QCOMPARE(run.out, QStringLiteral("2 repaired, 2 failed\n"));
    QVERIFY2(saysOf(run, QStringLiteral("photo.tif"), "--low has 4 entries; the image has 3"), run.all());
    QVERIFY2(saysOf(run, QStringLiteral("real.tif"), "its samples are float"), run.all());
    QCOMPARE(m_files.names("some"), QStringList({QStringLiteral("d1.tif"), QStringLiteral("d2.tif")}));
}

void RepairBatchTest::filesOfAllAreRefused_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("said");
    QTest::newRow("one report") << "--low 0 --report r.csv --out-dir no"
                                << "--report: this would be one file for all";
    QTest::newRow("one overlay") << "--low 0 --overlay o.png --out-dir no"
                                 << "--overlay: this would be one file for all";
    QTest::newRow("one replay") << "--replay r.csv --out-dir no"
                                << "--replay: this would be one file for all";
    QTest::newRow("a report over an input") << "--low 0 --report '{}.csv' --overlay '{}' --out-dir no"
                                            << "would be written over";
    QTest::newRow("nothing to do") << "--out-dir no"
                                   << "nothing says what to repair";
    QTest::newRow("no folder") << "--low 0"
                               << "one argument too many; --out-dir serves many files";
}

void RepairBatchTest::filesOfAllAreRefused()
{
    QFETCH(QString, options);
    QFETCH(QString, said);
    const ProgramRun run = m_files.run(QStringLiteral("orn repair d*.tif ") + options);
    QVERIFY2(run.code == 2 && run.err.contains(said), run.all());
    QVERIFY(!m_files.has("no"));
}

QTEST_GUILESS_MAIN(RepairBatchTest)
#include "RepairBatchTest.moc"

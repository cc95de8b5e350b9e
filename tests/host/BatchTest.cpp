#include "BatchFolder.h"

#include <orn/orn_core.h>

#include <sys/stat.h>

using namespace testing;

/** Commands that serve many files. */
class BatchTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyFileIsServed_data();
    void everyFileIsServed();
    void aFailureDoesNotStopTheRest();
    void oneFileExitsWithItsOwnCode();
    void anImageThatOptionsDoNotFitFailsAlone();
    void sameNotesAreSaidOnce();
    void messagesBelongToTheirFiles();
    void theAnswerForProgramsNamesEveryFile();
    void theLogHasALinePerFile();
    void aResumedLogGoesOn();
    void aLogThatCannotBeWrittenIsSaid();
    void resumeSkipsWhatIsDoneAndNewer();
    void aRunThatMakesNoSenseTouchesNothing_data();
    void aRunThatMakesNoSenseTouchesNothing();
    void shardsSeeCollisionsOfTheWholeList();
    void theFolderCannotBeMade();
    void picturesAreDrawn();
    void capturesAreRepaired();
    void quietShowsNoProgress();

private:
    BatchFolder m_files;
};

void BatchTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.makeCaptures(QStringLiteral("c"), 12));
    QVERIFY(m_files.save(QStringLiteral("photo.tif"), photograph(ep::DataTypeUInt8, 20, 10)));
    QVERIFY(m_files.run("echo broken > broken.tif && mkdir other && cp c1.tif other && ln c1.tif link.tif").code == 0);
}

void BatchTest::everyFileIsServed_data()
{
    QTest::addColumn<int>("jobs");
    for (int jobs : {0, 1, 2, 7, 100})
        QTest::addRow("%d jobs", jobs) << jobs;
}

void BatchTest::everyFileIsServed()
{
    QFETCH(int, jobs);
    const QString option = jobs == 0 ? QString() : QStringLiteral("--jobs %1").arg(jobs);
    const ProgramRun run =
        m_files.run(QStringLiteral("rm -rf new && orn convert c*.tif --out-dir new/out --to dng %1").arg(option));
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(run.out, QStringLiteral("12 converted\n"));
    QCOMPARE(run.err, QStringLiteral("orn: 10 of 12 files\norn: 12 of 12 files\n"));
    QCOMPARE(m_files.names("new/out").size(), 12);
    for (int i = 1; i <= 12; ++i)
        QVERIFY(ep::SameSamples(m_files.load(QStringLiteral("new/out/c%1.dng").arg(i)).image.image(),
                                m_files.load(QStringLiteral("c%1.tif").arg(i)).image.image()));
}

void BatchTest::aFailureDoesNotStopTheRest()
{
    const ProgramRun run = m_files.run("orn convert c1.tif broken.tif none.tif c2.tif other/c1.tif.gz c3.tif"
                                       " --out-dir rest --to mat");
    QCOMPARE(run.code, 1);
    QCOMPARE(run.out, QStringLiteral("3 converted, 3 failed\n"));
    for (const char* file : {"broken.tif", "none.tif", "other/c1.tif.gz"})
        QVERIFY2(saysOf(run, QLatin1String(file), ""), run.all());
    QCOMPARE(m_files.names("rest").size(), 3);
}

void BatchTest::oneFileExitsWithItsOwnCode()
{
    QCOMPARE(m_files.run("orn convert none.tif --out-dir one --to mat").code, 3);
    QCOMPARE(m_files.run("mkdir -p one/c1.mat && orn convert c1.tif --out-dir one --to mat").code, 4);
    QCOMPARE(m_files.run("orn convert c2.tif --out-dir one --to mat").code, 0);
    QCOMPARE(m_files.run("orn convert c2.tif --out-dir one --to mat --no-replace").code, 5);
}

void BatchTest::anImageThatOptionsDoNotFitFailsAlone()
{
    const ProgramRun run = m_files.run("orn convert c1.tif photo.tif c2.tif --cfa BGGR --out-dir cfa --to dng");
    QCOMPARE(run.code, 1);
    QVERIFY2(saysOf(run, QStringLiteral("photo.tif"), "--cfa: the image has 3 channels"), run.all());
    QCOMPARE(run.out, QStringLiteral("2 converted, 1 failed\n"));
    const ProgramRun preview = m_files.run("orn preview c1.tif photo.tif --channel 3 --out-dir cfa --quiet");
    QCOMPARE(preview.code, 1);
    QCOMPARE(preview.err, QStringLiteral("orn: c1.tif: --channel: the image has 1\n"));
}

void BatchTest::sameNotesAreSaidOnce()
{
    const ProgramRun run = m_files.run(
        "cp photo.tif p1.tif && cp photo.tif p2.tif && orn convert p*.tif --out-dir notes --to bmp --quiet");
    QCOMPARE(run.code, 0);
    QCOMPARE(run.err.count(QStringLiteral("this format does not keep metadata")), 2);
    QVERIFY2(run.err.endsWith(QStringLiteral("orn: 3 files: note: this format does not keep metadata\n")), run.all());
}

void BatchTest::messagesBelongToTheirFiles()
{
    // About every other file its reader says something of its own, in whichever thread it works.
    QVERIFY(m_files.run("orn convert c*.tif --out-dir said --to mat --quiet").code == 0);
    QStringList odd;
    for (int i = 1; i <= 12; i += 2) {
        const QString name = QStringLiteral("said/c%1.mat").arg(i);
        QByteArray bytes = m_files.bytes(qPrintable(name));
        const int start = bytes.indexOf("<metadata>");
        QVERIFY(start > 0);
        bytes.replace(start, 10, "<metadatas");
        QFile file(m_files.path(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        odd << name;
    }
    const QString reason = QStringLiteral("Failed to load the image metadata.");
    const ProgramRun one = m_files.run("orn convert said/c1.mat one.tif");
    QCOMPARE(one.err, QStringLiteral("orn: said/c1.mat: note: %1\n").arg(reason));
    for (int round = 0; round < 5; ++round) {
        const ProgramRun many =
            m_files.run("orn convert said/*.mat --jobs 4 --out-dir said --to tif --quiet --run-log said/log.jsonl");
        QCOMPARE(many.code, 0);
        QCOMPARE(many.err.count(reason), 2);
        QStringList said;
        for (const QJsonObject& line : m_files.log("said/log.jsonl"))
            if (line[QStringLiteral("notes")].toArray().contains(reason))
                said << line[QStringLiteral("input")].toString();
        said.sort();
        odd.sort();
        QCOMPARE(said, odd);
    }
}

void BatchTest::theAnswerForProgramsNamesEveryFile()
{
    const ProgramRun run =
        m_files.run("orn convert c1.tif broken.tif c2.tif --out-dir answers --to mat --json --quiet --jobs 1");
    QCOMPARE(run.code, 1);
    const QJsonObject answer = run.json();
    QCOMPARE(answer[QStringLiteral("command")].toString(), QStringLiteral("convert"));
    const QJsonArray files = answer[QStringLiteral("files")].toArray();
    QCOMPARE(files.size(), 3);
    const char* const statuses[] = {"done", "failed", "done"};
    for (int i = 0; i < 3; ++i)
        QCOMPARE(files[i].toObject()[QStringLiteral("status")].toString(), QLatin1String(statuses[i]));
    QCOMPARE(files[0].toObject()[QStringLiteral("image")].toObject()[QStringLiteral("width")].toInt(), 40);
    QCOMPARE(files[1].toObject()[QStringLiteral("error")].toObject()[QStringLiteral("kind")].toString(),
             QStringLiteral("unreadable"));
    const QJsonObject summary = answer[QStringLiteral("summary")].toObject();
    QCOMPARE(summary[QStringLiteral("files")].toInt(), 3);
    QCOMPARE(summary[QStringLiteral("done")].toInt(), 2);
    QCOMPARE(summary[QStringLiteral("failed")].toInt(), 1);
    QCOMPARE(summary[QStringLiteral("skipped")].toInt(), 0);
    QCOMPARE(summary[QStringLiteral("cancelled")].toBool(true), false);
}

void BatchTest::theLogHasALinePerFile()
{
    const ProgramRun run =
        m_files.run("orn convert c*.tif broken.tif --out-dir logged --to mat --quiet --jobs 3 --run-log log.jsonl");
    QCOMPARE(run.code, 1);
    const QVector<QJsonObject> lines = m_files.log("log.jsonl");
    QCOMPARE(lines.size(), 14);
    QSet<QString> inputs;
    for (int i = 0; i < 13; ++i) {
        QCOMPARE(lines[i][QStringLiteral("schema")].toInt(), 1);
        const QString input = lines[i][QStringLiteral("input")].toString();
        inputs << input;
        const bool isBroken = input == QLatin1String("broken.tif");
        QCOMPARE(lines[i][QStringLiteral("status")].toString(), QLatin1String(isBroken ? "failed" : "done"));
        QCOMPARE(lines[i].contains(QStringLiteral("error")), isBroken);
        QVERIFY(lines[i][QStringLiteral("seconds")].isDouble());
    }
    QCOMPARE(inputs.size(), 13);
    QCOMPARE(lines[13][QStringLiteral("summary")].toObject()[QStringLiteral("done")].toInt(), 12);
}

void BatchTest::aResumedLogGoesOn()
{
    const char* const line =
        "orn convert c1.tif c2.tif --out-dir goes-on --to mat --quiet --resume --run-log goes-on.log";
    QVERIFY(m_files.run("printf '{\"an\":\"earlier line\"}\\n{\"half a li' > goes-on.log").code == 0);
    QCOMPARE(m_files.run(line).code, 0);
    QVector<QJsonObject> lines = m_files.log("goes-on.log");
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines[0].contains(QStringLiteral("an")));
    QCOMPARE(lines[1][QStringLiteral("status")].toString(), QStringLiteral("done"));
    QCOMPARE(m_files.run(line).code, 0);
    lines = m_files.log("goes-on.log");
    QCOMPARE(lines.size(), 7);
    QCOMPARE(lines[5][QStringLiteral("status")].toString(), QStringLiteral("skipped"));
    // A run that is not resumed begins anew.
    QCOMPARE(m_files.run("orn convert c1.tif --out-dir goes-on --to mat --quiet --run-log goes-on.log").code, 0);
    QCOMPARE(m_files.log("goes-on.log").size(), 2);
}

void BatchTest::aLogThatCannotBeWrittenIsSaid()
{
    const ProgramRun missing = m_files.run("orn convert c1.tif --out-dir no-log --to mat --run-log none/log");
    QCOMPARE(missing.code, 4);
    QVERIFY2(saysOf(missing, QStringLiteral("none/log"), ""), missing.all());
    QCOMPARE(m_files.names("no-log"), QStringList());
    const ProgramRun full =
        m_files.run("orn convert c1.tif c2.tif --out-dir no-log --to mat --quiet --run-log /dev/full");
    QCOMPARE(full.code, 4);
    QCOMPARE(full.out, QStringLiteral("2 converted\n"));
    QCOMPARE(full.err.count(QStringLiteral("orn: ")), 1);
}

void BatchTest::resumeSkipsWhatIsDoneAndNewer()
{
    QVERIFY(m_files.run("rm -rf again && orn convert c1.tif c2.tif c3.tif c4.tif --out-dir again --to tiff").code == 0);
    QVERIFY(m_files
                .run("cd again && echo kept > c1.tiff && touch -d 2001-01-01 c2.tiff && rm c3.tiff && "
                     "touch -r ../c4.tif c4.tiff")
                .code
            == 0);
    const ProgramRun run =
        m_files.run("orn convert c1.tif c2.tif c3.tif c4.tif none.tif --out-dir again --to tiff --resume --quiet");
    QCOMPARE(run.code, 1);
    // Older, missing and as old as the input are made again.
    QCOMPARE(run.out, QStringLiteral("3 converted, 1 skipped, 1 failed\n"));
    QCOMPARE(m_files.bytes("again/c1.tiff"), QByteArray("kept\n"));
    for (int i = 2; i <= 4; ++i)
        QVERIFY(ep::SameSamples(m_files.load(QStringLiteral("again/c%1.tiff").arg(i)).image.image(),
                                m_files.load(QStringLiteral("c%1.tif").arg(i)).image.image()));
    QCOMPARE(m_files.run("orn convert c1.tif c2.tif --out-dir again --to tiff --resume").out,
             QStringLiteral("0 converted, 2 skipped\n"));
}

void BatchTest::aRunThatMakesNoSenseTouchesNothing_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* name, const char* line, const char* said) {
        QTest::newRow(name) << QString::fromLatin1(line) << QString::fromLatin1(said);
    };
    row("files of one name in two folders", "convert c1.tif c2.tif other/c1.tif --out-dir no --to mat",
        "'c1.tif' and 'other/c1.tif' would both become 'no/c1.mat'");
    row("files of one name and two suffixes", "convert photo.tif photo.jpg --out-dir no --to mat",
        "'photo.tif' and 'photo.jpg' would both become 'no/photo.mat'");
    row("a file given twice", "convert c1.tif c2.tif c1.tif --out-dir no --to mat", "'c1.tif' is given twice");
    row("an output that is an input", "convert c2.tif c1.tif --out-dir . --to tif",
        "'./c2.tif' would replace 'c2.tif'");
    row("an output that is another input", "convert other/c1.tif c1.mat c1.tif --out-dir . --to tif", "both become");
    row("an output that is an input by another name", "convert other/c1.tif link.tif --out-dir . --to tif",
        "would replace 'link.tif'");
    row("a log that is an input", "convert c1.tif --out-dir no --to mat --run-log c1.tif", "would replace 'c1.tif'");
    row("no format", "convert c1.tif --out-dir no", "--to");
    row("a format that is not written", "convert c1.tif --out-dir no --to cr2", "--to: files of suffix .cr2");
    row("options that do not fit the format", "convert c1.tif --out-dir no --to png --name scene", "--name is for MAT");
    row("no files", "convert --out-dir no --to mat", "FILE");
    row("no folder", "convert c1.tif c2.tif --to mat", "--out-dir");
    row("jobs without a folder", "convert c1.tif no.mat --jobs 2", "--out-dir");
    row("no jobs", "convert c1.tif --out-dir no --to mat --jobs 0", "--jobs");
    row("a repair in place", "repair c1.tif --out-dir . --low 0", "'./c1.tif' would replace 'c1.tif'");
    row("a plot of each", "preview c1.tif --out-dir no --histogram", "--histogram");
    row("a sheet of each", "preview c1.tif --out-dir no --contact-sheet", "--contact-sheet");
}

void BatchTest::aRunThatMakesNoSenseTouchesNothing()
{
    QFETCH(QString, line);
    QFETCH(QString, said);
    const QStringList before = m_files.names();
    const QByteArray first = m_files.bytes("c1.tif");
    const ProgramRun run = m_files.run(QStringLiteral("orn ") + line);
    QVERIFY2(run.code == 2, run.all());
    QVERIFY2(run.err.section(QLatin1Char('\n'), 0, 0).contains(said), run.all());
    QVERIFY(!QFile::exists(m_files.path("no")));
    QCOMPARE(m_files.names(), before);
    QCOMPARE(m_files.bytes("c1.tif"), first);
}

void BatchTest::shardsSeeCollisionsOfTheWholeList()
{
    // Each shard alone has one of the two.
    for (const char* shard : {"1/2", "2/2"}) {
        const ProgramRun run =
            m_files.run(QStringLiteral("orn convert c1.tif other/c1.tif --out-dir no --to mat --shard %1")
                            .arg(QLatin1String(shard)));
        QCOMPARE(run.code, 2);
    }
    // The second shard's output is the first one's input.
    const ProgramRun run = m_files.run("orn convert c1.tif other/c2.mat c2.tif --out-dir . --to tif --shard 2/3");
    QCOMPARE(run.code, 2);
}

void BatchTest::theFolderCannotBeMade()
{
    const ProgramRun run = m_files.run("orn convert c1.tif --out-dir broken.tif --to mat");
    QCOMPARE(run.code, 4);
    QVERIFY2(saysOf(run, QStringLiteral("broken.tif"), "it is a file, not a folder"), run.all());
    const ProgramRun below = m_files.run("orn convert c1.tif --out-dir broken.tif/below --to mat");
    QCOMPARE(below.code, 4);
}

void BatchTest::picturesAreDrawn()
{
    const ProgramRun run = m_files.run("orn preview c1.tif photo.tif --out-dir drawn --quiet");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(run.out, QStringLiteral("2 drawn\n"));
    QCOMPARE(m_files.names("drawn"), (QStringList{QStringLiteral("c1.png"), QStringLiteral("photo.png")}));
    QCOMPARE(m_files.run("orn preview c1.tif one.png").code, 0);
    QVERIFY(m_files.bytes("one.png") == m_files.bytes("drawn/c1.png"));
    QCOMPARE(m_files.run("orn preview c1.tif --out-dir drawn --to .tif --quiet").code, 0);
    QCOMPARE(m_files.load(QStringLiteral("drawn/c1.tif")).image->channels, 3);
}

void BatchTest::capturesAreRepaired()
{
    const ProgramRun run = m_files.run("orn repair --high 16383 c1.tif c2.tif none.tif --out-dir repaired --quiet");
    QCOMPARE(run.code, 1);
    QCOMPARE(run.out, QStringLiteral("2 repaired, 1 failed\n"));
    QCOMPARE(m_files.names("repaired"), (QStringList{QStringLiteral("c1.tif"), QStringLiteral("c2.tif")}));
    const Loaded before = m_files.load(QStringLiteral("c1.tif"));
    const Loaded after = m_files.load(QStringLiteral("repaired/c1.tif"));
    int high = 0;
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
            const bool isHigh = sampleAt<quint16>(before.image.image(), x, y) == 16383;
            high += isHigh;
            QVERIFY(sampleAt<quint16>(after.image.image(), x, y) < 16383);
            QVERIFY(isHigh
                    || sampleAt<quint16>(after.image.image(), x, y) == sampleAt<quint16>(before.image.image(), x, y));
        }
    QVERIFY(high > 0);
}

void BatchTest::quietShowsNoProgress()
{
    const ProgramRun run = m_files.run("orn convert c*.tif --out-dir quiet --to mat --quiet");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QCOMPARE(run.out, QStringLiteral("12 converted\n"));
}

QTEST_GUILESS_MAIN(BatchTest)
#include "BatchTest.moc"

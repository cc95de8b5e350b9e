#include "Files.h"
#include "FolderWatch.h"
#include "Program.h"
#include "Terminal.h"

#include <QDir>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>

using namespace testing;

class DepthCommandTest : public QObject {
    Q_OBJECT
private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void saysTheLargestDepth();
    void saysItInJson();
    void failsWithTheReason_data();
    void failsWithTheReason();
    void namesFilesThatCannotBeRead();
    void filtersChooseFiles_data();
    void filtersChooseFiles();
    void showsProgress_data();
    void showsProgress();
    void showsABarOnATerminal();
    void writesTheLog();
    void failsWhenTheLogCannotBeWritten_data();
    void failsWhenTheLogCannotBeWritten();
    void aLogThatDoesNotArriveIsNoticed();
    void stopsWithinOneFileOfAnInterrupt_data();
    void stopsWithinOneFileOfAnInterrupt();

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }
    bool add(const QString& name, int maxval = 4095) const
    {
        const QByteArray samples(maxval > 255 ? 32 : 16, '\1');
        return writeFile(path(name), "P5\n4 4\n" + QByteArray::number(maxval) + '\n' + samples);
    }
    bool addMany(int count) const
    {
        for (int i = 0; i < count; ++i)
            if (!add(QStringLiteral("%1.pgm").arg(i)))
                return false;
        return true;
    }
    bool addSlowFiles(int count) const;
    ProgramRun depth(const QStringList& options = {}) const
    {
        return runOrn(QStringList{QStringLiteral("depth"), m_folder->path()} + options);
    }
    std::unique_ptr<QTemporaryDir> m_folder;
};

/** Names of one file that takes some hundredths of a second to read. */
bool DepthCommandTest::addSlowFiles(int count) const
{
    constexpr int width = 1500;
    const QByteArray row = QByteArray("1234 ").repeated(width) + '\n';
    const QString first = path(QStringLiteral("0.pgm"));
    if (!writeFile(first, "P2\n1500 1500\n4095\n" + row.repeated(width)))
        return false;
    for (int i = 1; i < count; ++i)
        if (::link(QFile::encodeName(first), QFile::encodeName(path(QStringLiteral("%1.pgm").arg(i)))) != 0)
            return false;
    return true;
}

/** The messages of a log without their stamps. */
static QStringList messagesOf(const QString& log)
{
    QStringList messages;
    for (const QByteArray& line : readFile(log).split('\n'))
        messages << QString::fromUtf8(line).section(QStringLiteral("]: "), 1);
    return messages;
}

/** What the scan of @p count readable files writes, up to and with the line end of the last line. */
static QStringList messagesOfScan(int count, int checked)
{
    QStringList messages;
    for (int i = 0; i < checked; i += 10)
        messages << QStringLiteral("%1 of %2 files checked.").arg(i).arg(count);
    return messages << QStringLiteral("%1 of %1 files checked.").arg(count) << QStringLiteral("Done.") << QString();
}

void DepthCommandTest::saysTheLargestDepth()
{
    QVERIFY(add(QStringLiteral("a.pgm"), 255));
    QVERIFY(add(QStringLiteral("b.pgm"), 4095));
    QVERIFY(add(QStringLiteral("c.pgm"), 1023));
    const ProgramRun run = depth();
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(run.out, m_folder->path() + QStringLiteral(": 12 bits (uint16), the largest depth of 3 files\n"));
}

void DepthCommandTest::saysItInJson()
{
    QVERIFY(addMany(3));
    QVERIFY(writeFile(path(QStringLiteral("broken.pgm")), "no image"));
    const ProgramRun run = depth({QStringLiteral("--json"), QStringLiteral("--quiet")});
    QVERIFY2(run.code == 1, run.all());
    const QJsonObject answer = run.json();
    QCOMPARE(answer[QStringLiteral("command")].toString(), QStringLiteral("depth"));
    QCOMPARE(answer[QStringLiteral("folder")].toString(), m_folder->path());
    QCOMPARE(answer[QStringLiteral("bitDepth")].toInt(), 12);
    QCOMPARE(answer[QStringLiteral("sampleType")].toString(), QStringLiteral("uint16"));
    QCOMPARE(answer[QStringLiteral("files")].toInt(), 4);
    QCOMPARE(answer[QStringLiteral("checked")].toInt(), 4);
    QCOMPARE(answer[QStringLiteral("cancelled")], QJsonValue(false));
    const QJsonArray failures = answer[QStringLiteral("failures")].toArray();
    QCOMPARE(failures.size(), 1);
    const QJsonObject failure = failures.first().toObject();
    QCOMPARE(failure[QStringLiteral("file")].toString(), path(QStringLiteral("broken.pgm")));
    QCOMPARE(failure[QStringLiteral("error")].toObject()[QStringLiteral("kind")].toString(),
             QStringLiteral("unreadable"));
}

void DepthCommandTest::failsWithTheReason_data()
{
    QTest::addColumn<QString>("dir");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a folder that is missing") << "@/missing" << 3 << "there is no such folder";
    QTest::newRow("a file") << "@/other.xyz" << 3 << "there is no such folder";
    QTest::newRow("a folder without images") << "@" << 3 << "no file in it matches";
    QTest::newRow("nothing but broken files") << "@/broken" << 3 << "begin like a portable map";
    QTest::newRow("an empty name") << "" << 2 << "DIR is required";
}

void DepthCommandTest::failsWithTheReason()
{
    QFETCH(QString, dir);
    QFETCH(int, code);
    QFETCH(QString, reason);
    QVERIFY(add(QStringLiteral("other.xyz")));
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("broken")));
    QVERIFY(writeFile(path(QStringLiteral("broken/a.pgm")), "no image"));
    for (const QString& json : {QString(), QStringLiteral("--json")}) {
        QStringList arguments{QStringLiteral("depth"), QString(dir).replace(QLatin1Char('@'), m_folder->path())};
        if (!json.isEmpty())
            arguments << json;
        const ProgramRun run = runOrn(arguments);
        QVERIFY2(run.code == code, run.all());
        QVERIFY2(run.err.contains(reason), run.all());
        QVERIFY2(json.isEmpty() || code == 2 || !run.json().isEmpty(), run.all());
    }
}

void DepthCommandTest::namesFilesThatCannotBeRead()
{
    QVERIFY(addMany(3));
    QVERIFY(writeFile(path(QStringLiteral("Failed to read %1. ]: .pgm")), "no image"));
    const ProgramRun run = depth();
    QVERIFY2(run.code == 1, run.all());
    QVERIFY2(run.err.contains(QStringLiteral("orn: ") + path(QStringLiteral("Failed to read %1. ]: .pgm: the file"))),
             run.all());
    QVERIFY2(run.out.endsWith(QStringLiteral("the largest depth of 3 files; 1 could not be read\n")), run.all());
}

void DepthCommandTest::filtersChooseFiles_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("files");
    QTest::newRow("all suffixes that can be read") << "@" << 3;
    QTest::newRow("one pattern") << "@ --filter a*" << 2;
    QTest::newRow("patterns together") << "@ --filter a.pgm *.ppm" << 2;
    QTest::newRow("patterns one by one") << "@ --filter a.pgm --filter *.xyz" << 2;
    QTest::newRow("the folder after the patterns") << "--filter a.pgm *.ppm @" << 2;
    QTest::newRow("a folder that ends in a separator") << "@/" << 3;
}

void DepthCommandTest::filtersChooseFiles()
{
    QFETCH(QString, arguments);
    QFETCH(int, files);
    for (const char* name : {"a.pgm", "b.PGM", "c.ppm", "a.xyz", ".hidden.pgm"})
        QVERIFY(add(QLatin1String(name)));
    QStringList list{QStringLiteral("depth"), QStringLiteral("--json"), QStringLiteral("--quiet")};
    for (const QString& argument : arguments.split(QLatin1Char(' ')))
        list << QString(argument).replace(QLatin1Char('@'), m_folder->path());
    const ProgramRun run = runOrn(list);
    QCOMPARE(run.json()[QStringLiteral("files")].toInt(), files);
}

void DepthCommandTest::showsProgress_data()
{
    QTest::addColumn<bool>("isQuiet");
    QTest::newRow("a line every ten files") << false;
    QTest::newRow("nothing when quiet") << true;
}

void DepthCommandTest::showsProgress()
{
    QFETCH(bool, isQuiet);
    QVERIFY(addMany(500));
    const ProgramRun run = depth(isQuiet ? QStringList{QStringLiteral("--quiet")} : QStringList());
    QVERIFY2(run.code == 0, run.all());
    QString expected;
    for (int i = 10; i <= 500 && !isQuiet; i += 10)
        expected += QStringLiteral("orn: %1 of 500 files\n").arg(i);
    QCOMPARE(run.err, expected);
}

void DepthCommandTest::showsABarOnATerminal()
{
    QVERIFY(addSlowFiles(30));
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("NO_COLOR"));
    environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
    program.setProcessEnvironment(environment);
    StandardErrorTerminal terminal(80);
    program.start(ornProgram(), {QStringLiteral("depth"), m_folder->path()});
    const bool isDone = program.waitForFinished(60000);
    const QByteArray shown = terminal.taken();
    QVERIFY(isDone && program.exitCode() == 0);
    QVERIFY2(shown.contains("[#") && shown.contains(" of 30"), shown);
    QCOMPARE(linesSeen(shown), QStringList{QString()});  // and nothing of it stays
}

void DepthCommandTest::writesTheLog()
{
    const QTemporaryDir other;
    const QString log = other.filePath(QStringLiteral("scan.log"));
    QVERIFY(writeFile(log, "old"));
    QVERIFY(addMany(500));
    const ProgramRun run = depth({QStringLiteral("--log"), log, QStringLiteral("--quiet")});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QCOMPARE(messagesOf(log), messagesOfScan(500, 500));
    QCOMPARE(QDir(other.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void DepthCommandTest::failsWhenTheLogCannotBeWritten_data()
{
    QTest::addColumn<QString>("log");
    QTest::newRow("in a folder that is missing") << QStringLiteral("@/missing/log");
    QTest::newRow("a folder") << QStringLiteral("@");
    QTest::newRow("a device, which is not replaced") << QStringLiteral("/dev/full");
}

void DepthCommandTest::failsWhenTheLogCannotBeWritten()
{
    QFETCH(QString, log);
    QVERIFY(addMany(1));
    log.replace(QLatin1Char('@'), m_folder->path());
    const ProgramRun run = depth({QStringLiteral("--log"), log});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(run.err.startsWith(QStringLiteral("orn: %1: ").arg(log)), run.all());
    QVERIFY2(run.out.isEmpty(), run.all());  // before any file is read
}

void DepthCommandTest::aLogThatDoesNotArriveIsNoticed()
{
    QVERIFY(addMany(500));
    const QTemporaryDir other;
    const QString log = other.filePath(QStringLiteral("scan.log"));
    QVERIFY(writeFile(log, "old"));
    // A limit on the size of files is met like a full disk: in the middle of writing.
    const ProgramRun run = runShell(QStringLiteral("ulimit -f 1; exec \"$ORN\" depth \"$1\" --log \"$2\" --quiet"),
                                    {m_folder->path(), log});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(run.err.contains(log), run.all());
    QVERIFY2(run.out.contains(QStringLiteral("12 bits")), run.all());
    QCOMPARE(readFile(log), QByteArray("old"));
    QCOMPARE(QDir(other.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void DepthCommandTest::stopsWithinOneFileOfAnInterrupt_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("signal");
    QTest::newRow("in the first file") << 1 << SIGINT;
    QTest::newRow("in the second") << 2 << SIGTERM;
    QTest::newRow("in the middle") << 25 << SIGINT;
}

void DepthCommandTest::stopsWithinOneFileOfAnInterrupt()
{
    QFETCH(int, files);
    QFETCH(int, signal);
    QVERIFY(addSlowFiles(500));
    const QTemporaryDir other;
    const QString log = other.filePath(QStringLiteral("scan.log"));
    FolderWatch watch(m_folder->path());
    QVERIFY(watch.isWatching());
    QProcess program;
    program.start(ornProgram(), {QStringLiteral("depth"), m_folder->path(), QStringLiteral("--log"), log});
    QVERIFY(watch.waitFor(files));
    const int before = watch.opened().size();
    QCOMPARE(::kill(pid_t(program.processId()), signal), 0);
    QVERIFY(program.waitForFinished(60000));
    const int opened = watch.opened().size();
    const QString out = QString::fromUtf8(program.readAllStandardOutput());
    const QString err = QString::fromUtf8(program.readAllStandardError());
    QVERIFY2(program.exitCode() == 130, qPrintable(out + err));
    QVERIFY2(opened <= before + 1, qPrintable(QStringLiteral("%1, then %2").arg(before).arg(opened)));
    // What was begun was finished, and the answer is that of those.
    QCOMPARE(out, m_folder->path()
                      + QStringLiteral(": 12 bits (uint16) so far: cancelled after %1 of 500 files\n").arg(opened));
    QVERIFY2(err.contains(QStringLiteral("stopping after the file in work")), qPrintable(err));
    QCOMPARE(messagesOf(log), messagesOfScan(500, opened));
}

QTEST_GUILESS_MAIN(DepthCommandTest)
#include "DepthCommandTest.moc"

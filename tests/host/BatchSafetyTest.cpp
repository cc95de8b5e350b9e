#include "BatchFolder.h"
#include "LongTests.h"

#include <orn/orn_core.h>

#include <QElapsedTimer>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace testing;

namespace {

constexpr int fileCount = 24;

}  // namespace

/** What is left of a batch that is killed or interrupted, and how it goes on. */
class BatchSafetyTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void aKilledRunLeavesWholeFilesAndIsResumed_data();
    void aKilledRunLeavesWholeFilesAndIsResumed();
    void anInterruptStopsTheRun_data();
    void anInterruptStopsTheRun();
    void aSecondInterruptEndsAtOnce();
    void anInterruptIsSeenBehindAFullPipe();

private:
    QStringList batch(const QString& suffix, bool resume) const;
    bool start(QProcess& process, const QStringList& arguments, const char* folder, int files) const;
    int wholeFiles(const char* folder) const;

    BatchFolder m_files;
    QMap<QString, QByteArray> m_expected;  // what an uninterrupted run makes
    qint64 m_wholeRunMs = 0;
};

QStringList BatchSafetyTest::batch(const QString& suffix, bool resume) const
{
    QStringList arguments{QStringLiteral("convert"),
                          QStringLiteral("--to"),
                          suffix,
                          QStringLiteral("--out-dir"),
                          m_files.path("out"),
                          QStringLiteral("--jobs"),
                          QStringLiteral("3"),
                          QStringLiteral("--quiet"),
                          QStringLiteral("--run-log"),
                          m_files.path("log.jsonl"),
                          QStringLiteral("--files-from"),
                          m_files.path("list")};
    if (resume)
        arguments << QStringLiteral("--resume");
    return arguments;
}

void BatchSafetyTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.makeCaptures(QStringLiteral("c"), fileCount, 600, 400));
    QVERIFY(m_files.run("ls \"$PWD\"/c*.tif > list").code == 0);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(runOrn(batch(QStringLiteral("mat"), false)).code, 0);
    m_wholeRunMs = timer.elapsed();
    m_expected = m_files.contents("out");
    QCOMPARE(m_expected.size(), fileCount);
}

/** Starts a batch and waits until @p folder has so many files. */
bool BatchSafetyTest::start(QProcess& process, const QStringList& arguments, const char* folder, int files) const
{
    QDir(m_files.path(folder)).removeRecursively();
    process.start(ornProgram(), arguments);
    QElapsedTimer timer;
    timer.start();
    while (m_files.names(folder).size() < files && timer.elapsed() < 60000)
        QTest::qSleep(1);
    return process.processId() > 0;
}

/** The number of outputs in @p folder; -1 when one of them is not what an uninterrupted run makes. */
int BatchSafetyTest::wholeFiles(const char* folder) const
{
    int count = 0;
    const auto contents = m_files.contents(folder);
    for (auto it = contents.begin(); it != contents.end(); ++it) {
        // What is not finished has a name of its own.
        if (it.key().startsWith(QLatin1Char('.')))
            continue;
        if (m_expected.value(it.key()) != it.value())
            return -1;
        ++count;
    }
    return count;
}

void BatchSafetyTest::aKilledRunLeavesWholeFilesAndIsResumed_data()
{
    QTest::addColumn<int>("after");
    const int whole = static_cast<int>(m_wholeRunMs);
    constexpr int apart = 5;
    const int steps = areLongTestsWanted() ? whole / apart : 11;
    for (int step = 0; step < steps; ++step)
        QTest::addRow("after %d %% of the time, %d", 100 * step / steps, step) << whole * step / steps;
}

void BatchSafetyTest::aKilledRunLeavesWholeFilesAndIsResumed()
{
    QFETCH(int, after);
    QDir(m_files.path("out")).removeRecursively();
    QProcess process;
    process.start(ornProgram(), batch(QStringLiteral("mat"), false));
    QVERIFY(process.waitForStarted());
    QTest::qSleep(1 + after);
    process.kill();
    QVERIFY(process.waitForFinished());
    const int whole = wholeFiles("out");
    QVERIFY(whole >= 0);
    QVERIFY(whole < fileCount || after > m_wholeRunMs / 4);

    // Every line of the log that is there is whole, or the last one is taken off by the next run.
    const ProgramRun resumed = runOrn(batch(QStringLiteral("mat"), true));
    QVERIFY2(resumed.code == 0, resumed.all());
    QVERIFY2(resumed.out == QStringLiteral("%1 converted, %2 skipped\n").arg(fileCount - whole).arg(whole)
                 || (whole == 0 && resumed.out == QStringLiteral("%1 converted\n").arg(fileCount)),
             resumed.all());
    QCOMPARE(wholeFiles("out"), fileCount);
    for (const QJsonObject& line : m_files.log("log.jsonl"))
        QVERIFY(line.contains(QStringLiteral("schema")));
}

void BatchSafetyTest::anInterruptStopsTheRun_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void BatchSafetyTest::anInterruptStopsTheRun()
{
    QFETCH(int, signal);
    QProcess process;
    QVERIFY(start(process, batch(QStringLiteral("mat"), false), "out", 2));
    ::kill(static_cast<pid_t>(process.processId()), signal);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);
    const int whole = wholeFiles("out");
    QVERIFY2(whole > 0 && whole < fileCount, qPrintable(QString::number(whole)));
    // The files in work were ended: nothing unfinished is left.
    QCOMPARE(m_files.names("out").size(), whole);
    const QString said = QString::fromUtf8(process.readAllStandardOutput());
    QCOMPARE(said, QStringLiteral("cancelled: %1 converted, %2 not begun\n").arg(whole).arg(fileCount - whole));
    QVERIFY(process.readAllStandardError().contains("stopping after the files in work"));
    const QVector<QJsonObject> log = m_files.log("log.jsonl");
    QCOMPARE(log.size(), whole + 1);
    QCOMPARE(log.last()[QStringLiteral("summary")].toObject()[QStringLiteral("cancelled")].toBool(), true);

    QCOMPARE(runOrn(batch(QStringLiteral("mat"), true)).code, 0);
    QCOMPARE(wholeFiles("out"), fileCount);
}

void BatchSafetyTest::aSecondInterruptEndsAtOnce()
{
    QProcess process;
    QVERIFY(start(process, batch(QStringLiteral("mat"), false), "out", 1));
    const auto id = static_cast<pid_t>(process.processId());
    ::kill(id, SIGINT);
    // Two pending signals of one kind are one.
    ::kill(id, SIGTERM);
    QVERIFY(process.waitForFinished());
    const QByteArray said = process.readAllStandardError();
    QVERIFY2(process.exitStatus() == QProcess::NormalExit,
             "signal " + QByteArray::number(process.exitCode()) + '\n' + said);
    QVERIFY2(process.exitCode() == 130, said);
    // On a busy machine the first one may have ended the run before the second is seen.
    const QByteArray summary = process.readAllStandardOutput();
    QVERIFY2(summary.isEmpty() || summary.startsWith("cancelled: "), summary);
    QVERIFY(!said.contains("the program is ending"));
    const int whole = wholeFiles("out");
    QVERIFY(whole >= 0 && whole < fileCount);
    QCOMPARE(m_files.names("out").size(), whole);
}

void BatchSafetyTest::anInterruptIsSeenBehindAFullPipe()
{
#ifdef __SANITIZE_THREAD__
    QSKIP("the sanitizer flushes all streams before it lets a program end");
#endif
    // Nobody reads what is said, so that whoever speaks waits for ever.
    const QByteArray pipe = QFile::encodeName(m_files.path("pipe"));
    QVERIFY(::mkfifo(pipe.constData(), 0600) == 0);
    const int end = ::open(pipe.constData(), O_RDONLY | O_NONBLOCK);
    QVERIFY(end >= 0);
    QVERIFY(m_files.run("seq 1 20000 | sed 's/.*/a missing file of that number &.tif/' > missing").code == 0);
    QProcess process;
    process.setStandardErrorFile(m_files.path("pipe"));
    process.start(ornProgram(),
                  {QStringLiteral("convert"), QStringLiteral("--files-from"), m_files.path("missing"),
                   QStringLiteral("--out-dir"), m_files.path("out"), QStringLiteral("--to"), QStringLiteral("mat")});
    QVERIFY(process.waitForStarted());
    QVERIFY(!process.waitForFinished(2000));
    const auto id = static_cast<pid_t>(process.processId());
    ::kill(id, SIGINT);
    QVERIFY(!process.waitForFinished(500));
    ::kill(id, SIGTERM);
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 130);
    ::close(end);
}

QTEST_GUILESS_MAIN(BatchSafetyTest)
#include "BatchSafetyTest.moc"

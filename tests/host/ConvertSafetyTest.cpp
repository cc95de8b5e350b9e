#include "ConvertTesting.h"
#include "LongTests.h"
#include "TinyDisk.h"

#include <orn/orn_core.h>

#include <QElapsedTimer>

#include <csignal>

using namespace testing;

namespace {

bool writeOldFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write("old\n") == 4 && file.flush();
}

bool isOldFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll() == "old\n";
}

/** The names of all files beside @p path and of itself, hidden ones too. */
QStringList filesOf(const QString& path)
{
    return QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

}  // namespace

/** What is left when `orn convert` is killed, interrupted or out of space: the old file, whole. */
class ConvertSafetyTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void aSignalAtAnyMomentLeavesAWholeFile_data();
    void aSignalAtAnyMomentLeavesAWholeFile();
    void anInterruptLeavesNothingBehind_data();
    void anInterruptLeavesNothingBehind();
    void aFullDiskLeavesTheOldFile_data();
    void aFullDiskLeavesTheOldFile();
    void aDiskWithoutRoomForAnotherFileLeavesTheOldFile();
    void aFolderThatGoesAwayIsAnError();
    void aTargetOnAnotherFileSystem();
    void aFileSizeLimitLeavesTheOldFile_data();
    void aFileSizeLimitLeavesTheOldFile();

private:
    void restoreOldFile();
    QStringList conversion() const;
    QStringList temporaryFiles() const;
    bool waitForTemporaryFile() const;
    bool measureConversion();
    bool endConversion(int signal, bool afterTemporaryFile, qint64 delay, bool& wasEnded) const;
    bool isOldOrNew() const;

    ImageFolder m_files;
    QByteArray m_old;
    QByteArray m_new;
    qint64 m_startMs = 0;  // from the start of the program to its temporary file
    qint64 m_restMs = 0;   // from there to its end
};

void ConvertSafetyTest::restoreOldFile()
{
    QFile file(m_files.path("out.mat"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(m_old), m_old.size());
}

QStringList ConvertSafetyTest::conversion() const
{
    return {QStringLiteral("convert"), m_files.path("big.mat"), m_files.path("out.mat")};
}

QStringList ConvertSafetyTest::temporaryFiles() const
{
    QStringList names = m_files.names();
    for (const char* name : {"big.mat", "out.mat", "small.mat"})
        names.removeAll(QLatin1String(name));
    return names;
}

void ConvertSafetyTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.save(QStringLiteral("big.mat"), cameraMosaic(ep::BayerGridRGGB, 2000, 1500)));
    QVERIFY(m_files.save(QStringLiteral("small.mat"), cameraMosaic(ep::BayerGridRGGB, 40, 30)));
    m_old = m_files.bytes("small.mat");
}

bool ConvertSafetyTest::waitForTemporaryFile() const
{
    QElapsedTimer timer;
    timer.start();
    while (temporaryFiles().isEmpty() && timer.elapsed() < 60000)
        QTest::qSleep(1);
    return !temporaryFiles().isEmpty();
}

/** Lets one conversion end, to know what it makes and how long it takes. */
bool ConvertSafetyTest::measureConversion()
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.start(ornProgram(), conversion());
    const bool hasStarted = waitForTemporaryFile();
    m_startMs = timer.restart();
    const bool hasEnded = process.waitForFinished() && process.exitCode() == 0;
    m_restMs = timer.elapsed();
    m_new = m_files.bytes("out.mat");
    return hasStarted && hasEnded;
}

/** Sends @p signal so many milliseconds after the start of a conversion, or after its temporary file is there. */
bool ConvertSafetyTest::endConversion(int signal, bool afterTemporaryFile, qint64 delay, bool& wasEnded) const
{
    QProcess process;
    process.start(ornProgram(), conversion());
    if (!process.waitForStarted())
        return false;
    const auto id = static_cast<pid_t>(process.processId());
    if (id <= 0 || (afterTemporaryFile && !waitForTemporaryFile()))
        return false;
    QTest::qSleep(1 + static_cast<int>(delay));
    ::kill(id, signal);
    // Before the program has set itself up, a signal ends it as it ends any program.
    const bool hasFinished = process.waitForFinished();
    wasEnded = process.exitStatus() == QProcess::CrashExit || process.exitCode() == 130;
    return hasFinished && (wasEnded || process.exitCode() == 0);
}

/** True when the output is one of two whole files; m_new is the longer one. */
bool ConvertSafetyTest::isOldOrNew() const
{
    const QByteArray now = m_files.bytes("out.mat");
    if (now == m_old)
        return true;
    return now.size() == m_new.size()
           && ep::SameSamples(m_files.load(QStringLiteral("out.mat")).image.image(),
                              m_files.load(QStringLiteral("big.mat")).image.image());
}

void ConvertSafetyTest::aSignalAtAnyMomentLeavesAWholeFile_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGKILL") << SIGKILL;
    QTest::newRow("SIGINT") << SIGINT;
}

void ConvertSafetyTest::aSignalAtAnyMomentLeavesAWholeFile()
{
    QFETCH(int, signal);
    QVERIFY(measureConversion());
    int ended = 0;
    int left = 0;
    // Long tests: every 5 ms of the start, and of the rest.
    constexpr int apart = 5;
    const int stepsOfStart = areLongTestsWanted() ? int(m_startMs / apart) + 1 : 4;
    const int stepsOfRest = areLongTestsWanted() ? int(m_restMs / apart) + 1 : 12;
    for (int step = 0; step < stepsOfStart + stepsOfRest; ++step) {
        restoreOldFile();
        const bool whileWriting = step >= stepsOfStart;
        const qint64 delay =
            whileWriting ? m_restMs * (step - stepsOfStart) / stepsOfRest : m_startMs * step / stepsOfStart;
        bool wasEnded = false;
        QVERIFY2(endConversion(signal, whileWriting, delay, wasEnded), qPrintable(QStringLiteral("step %1").arg(step)));
        QVERIFY2(isOldOrNew(), qPrintable(QStringLiteral("step %1").arg(step)));
        ended += wasEnded;
        for (const QString& name : temporaryFiles()) {
            QVERIFY2(name.startsWith(QStringLiteral(".out-")), qPrintable(name));
            QVERIFY(QFile::remove(m_files.path(name)));
            ++left;
        }
    }
    qInfo("%d of %d runs ended early, %d left a temporary file", ended, stepsOfStart + stepsOfRest, left);
    QVERIFY2(ended > 2, qPrintable(QString::number(ended)));
    // What cannot be caught leaves the unfinished file, under a name of its own; what can be leaves nothing.
    QVERIFY2(signal == SIGKILL ? left > 2 : left == 0, qPrintable(QString::number(left)));
}

void ConvertSafetyTest::anInterruptLeavesNothingBehind_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void ConvertSafetyTest::anInterruptLeavesNothingBehind()
{
    QFETCH(int, signal);
    restoreOldFile();
    QProcess process;
    process.start(ornProgram(), conversion());
    QVERIFY(waitForTemporaryFile());
    QVERIFY(::kill(pid_t(process.processId()), signal) == 0);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);
    QCOMPARE(temporaryFiles(), QStringList());
    QVERIFY(m_files.bytes("out.mat") == m_old);
}

void ConvertSafetyTest::aFullDiskLeavesTheOldFile_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("options");
    for (const char* output : {"out.mat", "out.tif", "out.dng"})
        QTest::newRow(output) << QString::fromLatin1(output) << QString();
    QTest::newRow("entropy image") << QStringLiteral("out.mat") << QStringLiteral("--entropy PIG");
}

void ConvertSafetyTest::aFullDiskLeavesTheOldFile()
{
    QFETCH(QString, output);
    QFETCH(QString, options);
    const TinyDisk disk;
    if (!disk.isMounted())
        QSKIP("no file system may be mounted here");
    const QString target = disk.filePath(qPrintable(output));
    QVERIFY(writeOldFile(target));
    QVERIFY(m_files.save(QStringLiteral("doubles.mat"), randomImage(describe(ep::DataTypeDouble, 200, 100))));
    const QString input = m_files.path(options.isEmpty() ? "big.mat" : "doubles.mat");
    const ProgramRun run = runOrn(QStringList{QStringLiteral("convert"), input, target}
                                  + options.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, target, "full"), run.all());
    QCOMPARE(filesOf(target), QStringList{output});
    QVERIFY(isOldFile(target));
}

void ConvertSafetyTest::aDiskWithoutRoomForAnotherFileLeavesTheOldFile()
{
    const TinyDisk disk;
    if (!disk.isMounted())
        QSKIP("no file system may be mounted here");
    const QString target = disk.filePath("out.mat");
    QVERIFY(writeOldFile(target));
    int others = 0;
    while (writeOldFile(disk.filePath(qPrintable(QString::number(others)))))
        ++others;
    QFile::remove(disk.filePath(qPrintable(QString::number(others))));
    const ProgramRun run = runOrn({QStringLiteral("convert"), m_files.path("small.mat"), target});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, target, "full"), run.all());
    QCOMPARE(filesOf(target).size(), others + 1);
    QVERIFY(isOldFile(target));
}

void ConvertSafetyTest::aFolderThatGoesAwayIsAnError()
{
    const QString folder = m_files.path("away");
    const QString target = folder + QStringLiteral("/out.mat");
    constexpr int turns = 5;
    int failures = 0;
    for (int turn = 0; turn < turns; ++turn) {
        QVERIFY(QDir().mkdir(folder));
        QProcess process;
        process.start(ornProgram(), {QStringLiteral("convert"), m_files.path("big.mat"), target});
        QElapsedTimer timer;
        timer.start();
        while (filesOf(target).isEmpty() && timer.elapsed() < 60000)
            QTest::qSleep(1);
        QTest::qSleep(1 + int(m_restMs) * turn / (2 * turns));
        QVERIFY(QDir(folder).removeRecursively());
        QVERIFY(process.waitForFinished());
        const QByteArray said = process.readAllStandardError();
        // It may have come to its end just before.
        const bool hasFailed = process.exitCode() != 0;
        failures += hasFailed;
        QVERIFY2(process.exitStatus() == QProcess::NormalExit && (!hasFailed || process.exitCode() == 4), said);
        QVERIFY2(!hasFailed || said.startsWith("orn: " + target.toUtf8() + ": "), said);
        QVERIFY(!QDir(folder).exists());
    }
    QVERIFY(failures > 0);
}

void ConvertSafetyTest::aTargetOnAnotherFileSystem()
{
    const QTemporaryDir other(QStringLiteral("/dev/shm/orn-XXXXXX"));
    if (!other.isValid())
        QSKIP("there is no other file system to write to");
    const QString behind = other.filePath(QStringLiteral("behind.mat"));
    QVERIFY(writeOldFile(behind));
    // Both ways there: a link to the file, and a link to its folder.
    QVERIFY(QFile::link(behind, m_files.path("link.mat")));
    QVERIFY(QFile::link(other.path(), m_files.path("folder")));
    for (const char* target : {"link.mat", "folder/new.mat"}) {
        const ProgramRun run = m_files.convert("small.mat", target);
        QVERIFY2(run.code == 0, run.all());
    }
    QVERIFY(QFileInfo(m_files.path("link.mat")).isSymLink());
    QCOMPARE(filesOf(behind), QStringList({QStringLiteral("behind.mat"), QStringLiteral("new.mat")}));
    QVERIFY(QFile::remove(m_files.path("link.mat")));
    QVERIFY(QFile::remove(m_files.path("folder")));
}

void ConvertSafetyTest::aFileSizeLimitLeavesTheOldFile_data()
{
    QTest::addColumn<QString>("output");
    for (const char* output : {"out.mat", "out.tif", "out.dng"})
        QTest::newRow(output) << QString::fromLatin1(output);
}

void ConvertSafetyTest::aFileSizeLimitLeavesTheOldFile()
{
    QFETCH(QString, output);
    QVERIFY(writeOldFile(m_files.path(output)));
    const QStringList before = m_files.names();
    const ProgramRun run = runShell(QStringLiteral("ulimit -f 1000; exec \"$ORN\" convert \"$1\" \"$2\""),
                                    {m_files.path("big.mat"), m_files.path(output)});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, m_files.path(output), ""), run.all());
    QVERIFY(isOldFile(m_files.path(output)));
    QCOMPARE(m_files.names(), before);
    QVERIFY(QFile::remove(m_files.path(output)));
}

QTEST_GUILESS_MAIN(ConvertSafetyTest)
#include "ConvertSafetyTest.moc"

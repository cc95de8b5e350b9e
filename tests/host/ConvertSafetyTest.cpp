#include "ConvertTesting.h"

#include <orn/orn_core.h>

#include <QElapsedTimer>

#include <csignal>

using namespace testing;

/** What is left when `orn convert` is killed, interrupted or out of space: the old file, whole. */
class ConvertSafetyTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void aKillLeavesTheOldFileOrTheNewOne();
    void anInterruptLeavesNothingBehind_data();
    void anInterruptLeavesNothingBehind();
    void aFullDiskLeavesTheOldFile_data();
    void aFullDiskLeavesTheOldFile();
    void aFileSizeLimitLeavesTheOldFile_data();
    void aFileSizeLimitLeavesTheOldFile();

private:
    void restoreOldFile();
    QStringList conversion() const;
    QStringList temporaryFiles() const;
    qint64 millisecondsOfAConversion();

    ImageFolder m_files;
    QByteArray m_old;
    QByteArray m_new;
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
    QVERIFY(m_files.save(QStringLiteral("big.mat"), cameraMosaic(ep::BayerGridRGGB, 3000, 2000)));
    QVERIFY(m_files.save(QStringLiteral("small.mat"), cameraMosaic(ep::BayerGridRGGB, 40, 30)));
    m_old = m_files.bytes("small.mat");
}

qint64 ConvertSafetyTest::millisecondsOfAConversion()
{
    QElapsedTimer timer;
    timer.start();
    const ProgramRun run = runOrn(conversion());
    return run.code == 0 ? timer.elapsed() : -1;
}

void ConvertSafetyTest::aKillLeavesTheOldFileOrTheNewOne()
{
    const qint64 duration = millisecondsOfAConversion();
    QVERIFY(duration > 0);
    m_new = m_files.bytes("out.mat");
    int killedInTheMiddle = 0;
    constexpr int steps = 24;
    for (int step = 0; step < steps; ++step) {
        restoreOldFile();
        QProcess process;
        process.start(ornProgram(), conversion());
        QVERIFY(process.waitForStarted());
        QTest::qSleep(1 + int(duration * step / steps));
        process.kill();
        QVERIFY(process.waitForFinished());
        const QByteArray now = m_files.bytes("out.mat");
        QVERIFY2(now.size() == m_old.size() ? now == m_old : now.size() == m_new.size(), "half a file");
        if (now.size() == m_new.size())
            QVERIFY(ep::SameSamples(m_files.load(QStringLiteral("out.mat")).image.image(),
                                    m_files.load(QStringLiteral("big.mat")).image.image()));
        for (const QString& name : temporaryFiles()) {
            QVERIFY2(name.startsWith(QStringLiteral(".out-")), qPrintable(name));
            QVERIFY(QFile::remove(m_files.path(name)));
            ++killedInTheMiddle;
        }
    }
    QVERIFY2(killedInTheMiddle > 2, qPrintable(QString::number(killedInTheMiddle)));
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
    QElapsedTimer timer;
    timer.start();
    while (temporaryFiles().isEmpty() && timer.elapsed() < 60000)
        QTest::qSleep(1);
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
    if (runShell(QStringLiteral("unshare -rm mount -t tmpfs tmpfs /mnt")).code != 0)
        QSKIP("no file system may be mounted here");
    QVERIFY(m_files.save(QStringLiteral("doubles.mat"), randomImage(describe(ep::DataTypeDouble, 600, 600))));
    const QString input = m_files.path(options.isEmpty() ? "big.mat" : "doubles.mat");
    const QString script =
        QStringLiteral("exec unshare -rm sh -c 'mount -t tmpfs -o size=2m tmpfs /mnt && echo old >\"/mnt/$2\" && "
                       "{ \"$ORN\" convert %1 \"$1\" \"/mnt/$2\"; echo \"code $?\"; cat \"/mnt/$2\"; ls -A /mnt; }' "
                       "sh \"$1\" \"$2\"")
            .arg(options);
    const ProgramRun run = runShell(script, {input, output});
    QCOMPARE(run.out, QStringLiteral("code 4\nold\n%1\n").arg(output));
    QVERIFY2(saysOf(run, QStringLiteral("/mnt/") + output, "full"), run.all());
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
    QFile old(m_files.path(output));
    QVERIFY(old.open(QIODevice::WriteOnly | QIODevice::Truncate));
    old.write("old\n");
    old.close();
    const QStringList before = m_files.names();
    const ProgramRun run = runShell(QStringLiteral("ulimit -f 1000; exec \"$ORN\" convert \"$1\" \"$2\""),
                                    {m_files.path("big.mat"), m_files.path(output)});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, m_files.path(output), ""), run.all());
    QCOMPARE(m_files.bytes(qPrintable(output)), QByteArray("old\n"));
    QCOMPARE(m_files.names(), before);
    QVERIFY(old.remove());
}

QTEST_GUILESS_MAIN(ConvertSafetyTest)
#include "ConvertSafetyTest.moc"

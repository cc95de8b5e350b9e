#include "BatchFolder.h"

#include <orn/orn_core.h>

using namespace testing;

/** The memory that batches take at most. */
class BatchMemoryTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void growsWithTheJobsAndNotWithTheFiles_data();
    void growsWithTheJobsAndNotWithTheFiles();

private:
    double peakOf(const QString& command, int files, int jobs) const;
    BatchFolder m_files;
};

void BatchMemoryTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.save(QStringLiteral("capture.tif"), cameraMosaic(ep::BayerGridRGGB, 1000, 750)));
    for (int i = 0; i < 200; ++i)
        QVERIFY(QFile::link(m_files.path("capture.tif"), m_files.path(QStringLiteral("c%1.tif").arg(i))));
}

/** MiB of memory in use at most; negative when the batch failed. */
double BatchMemoryTest::peakOf(const QString& command, int files, int jobs) const
{
    QFile list(m_files.path("list"));
    if (!list.open(QIODevice::WriteOnly))
        return -1;
    for (int i = 0; i < files; ++i)
        list.write(m_files.path(QStringLiteral("c%1.tif\n").arg(i)).toUtf8());
    list.close();
    const QString script = QStringLiteral(
        "import resource, subprocess, sys\n"
        "subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)\n"
        "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)\n");
    QStringList arguments{QStringLiteral("-c"), script, ornProgram()};
    arguments << command.split(QLatin1Char(' ')) << QStringLiteral("--files-from") << list.fileName()
              << QStringLiteral("--jobs") << QString::number(jobs) << QStringLiteral("--out-dir")
              << m_files.path("out");
    const ProgramRun run = runProgram(QStringLiteral(ORN_PYTHON), arguments);
    QDir(m_files.path("out")).removeRecursively();
    constexpr double kibPerMib = 1024;
    return run.code == 0 ? run.out.toDouble() / kibPerMib : -1;
}

void BatchMemoryTest::growsWithTheJobsAndNotWithTheFiles_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("convert") << QStringLiteral("convert --to mat");
    QTest::newRow("preview") << QStringLiteral("preview --to ppm");
}

void BatchMemoryTest::growsWithTheJobsAndNotWithTheFiles()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("the sanitizer keeps memory that is freed");
#endif
    QFETCH(QString, command);
    // A file's samples are 1.4 MiB, so that 180 more would be 250 MiB if they were kept.
    const double few = peakOf(command, 20, 4);
    const double many = peakOf(command, 200, 4);
    const double one = peakOf(command, 20, 1);
    qInfo("peak memory in MiB: 20 files, 4 jobs: %.1f; 200 files, 4 jobs: %.1f; 20 files, 1 job: %.1f", few, many, one);
    QVERIFY(few > 0 && many > 0 && one > 0);
    // With more files, more often all jobs are at their peak at the same moment.
    QVERIFY(many < few + 25);
}

QTEST_GUILESS_MAIN(BatchMemoryTest)
#include "BatchMemoryTest.moc"

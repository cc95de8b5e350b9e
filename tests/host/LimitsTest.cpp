// --memory-limit and --untrusted: what the program takes of the machine, whatever a file says.

#include "BatchFolder.h"
#include "Files.h"

#include <orn/orn_core.h>

#include <QtEndian>

#include <csignal>

#include <matio.h>
#include <zlib.h>

using namespace testing;

namespace {

constexpr int columns = 40;
constexpr int rows = 30;

/** A MAT file of version 7.3 with one matrix. */
bool writeHdf5(const QString& path)
{
    double numbers[] = {1, 2, 3, 4, 5, 6};
    size_t size[] = {2, 3};
    mat_t* file = Mat_CreateVer(qPrintable(path), nullptr, MAT_FT_MAT73);
    matvar_t* matrix = Mat_VarCreate("m", MAT_C_DOUBLE, MAT_T_DOUBLE, 2, size, numbers, MAT_F_DONT_COPY_DATA);
    const bool isWritten = file && Mat_VarWrite(file, matrix, MAT_COMPRESSION_NONE) == 0;
    Mat_VarFree(matrix);
    return Mat_Close(file) == 0 && isWritten;
}

}  // namespace

class LimitsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyFormatKeepsToTheMemoryLimit_data();
    void everyFormatKeepsToTheMemoryLimit();
    void sizesThatMakeNoSenseAreRefused_data();
    void sizesThatMakeNoSenseAreRefused();
    void untrustedConvertsWhatIsHarmless_data() { everyFormatKeepsToTheMemoryLimit_data(); }
    void untrustedConvertsWhatIsHarmless();
    void untrustedRefusesHdf5_data();
    void untrustedRefusesHdf5();
    void untrustedLowersTheMemoryLimit();
    void untrustedSetsLimitsOfTheProcess();
    void aFileThatTakesTooLongEndsTheRun();

private:
    QString limitOf(const QString& process, const char* name) const;
    std::unique_ptr<QProcess> startWaiting(const QStringList& options) const;

    BatchFolder m_files;
};

void LimitsTest::initTestCase()
{
    orn::Init();
    QVERIFY(writeHdf5(m_files.path("hdf5.mat")));
}

void LimitsTest::everyFormatKeepsToTheMemoryLimit_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::newRow("MAT") << "a.mat" << int(ep::DataTypeDouble) << 3;
    QTest::newRow("TIFF") << "a.tif" << int(ep::DataTypeUInt16) << 3;
    QTest::newRow("DNG") << "a.dng" << int(ep::DataTypeUInt16) << 1;
    QTest::newRow("FITS") << "a.fits" << int(ep::DataTypeFloat) << 1;
    QTest::newRow("portable map") << "a.pam" << int(ep::DataTypeUInt16) << 3;
    QTest::newRow("PNG") << "a.png" << int(ep::DataTypeUInt16) << 3;
    QTest::newRow("OpenEXR") << "a.exr" << int(ep::DataTypeFloat) << 3;
}

void LimitsTest::everyFormatKeepsToTheMemoryLimit()
{
    QFETCH(QString, name);
    QFETCH(int, type);
    QFETCH(int, channels);
    ep::CxScopedBuffer image = plainNumbers(describe(ep::ExImageDataType(type), columns, rows, channels));
    image->bayerGrid = name == QLatin1String("a.dng") ? ep::BayerGridRGGB : ep::BayerGridNone;
    QVERIFY(m_files.save(name, image));
    const qint64 bytes = qint64(columns) * rows * channels * ep::sampleFacts(type).bytes;

    const QString limit = QStringLiteral("--memory-limit");
    const ProgramRun refused = runOrn({limit, QString::number(bytes - 1), QStringLiteral("info"), m_files.path(name)});
    QVERIFY2(refused.code == 5, refused.all());
    const QString reason =
        QStringLiteral("takes %1 bytes, past the memory limit of %2 bytes").arg(bytes).arg(bytes - 1);
    QVERIFY2(saysOf(refused, m_files.path(name), qPrintable(reason)), refused.all());
    // Behind the subcommand, too; and a limit that is just enough.
    const ProgramRun read = runOrn({QStringLiteral("info"), limit, QString::number(bytes), m_files.path(name)});
    QVERIFY2(read.code == 0, read.all());
}

void LimitsTest::sizesThatMakeNoSenseAreRefused_data()
{
    QTest::addColumn<QString>("size");
    QTest::addColumn<int>("code");
    QTest::newRow("none") << "" << 2;
    QTest::newRow("zero") << "0" << 2;
    QTest::newRow("a negative one") << "-1G" << 2;
    QTest::newRow("a word") << "much" << 2;
    QTest::newRow("an unknown unit") << "2X" << 2;
    QTest::newRow("more than 64 bits") << "99999999999E" << 2;
    QTest::newRow("bytes") << "1200000" << 0;
    QTest::newRow("a letter") << "2g" << 0;
    QTest::newRow("binary unit") << "3MiB" << 0;
    QTest::newRow("more than the machine has") << "8E" << 0;
}

void LimitsTest::sizesThatMakeNoSenseAreRefused()
{
    QFETCH(QString, size);
    QFETCH(int, code);
    const ProgramRun run = runOrn({QStringLiteral("--memory-limit"), size, QStringLiteral("formats")});
    QVERIFY2(run.code == code, run.all());
    QVERIFY2(code == 0 || run.err.contains(QStringLiteral("--memory-limit")), run.all());
}

void LimitsTest::untrustedConvertsWhatIsHarmless()
{
    QFETCH(QString, name);
    QVERIFY(QFile::exists(m_files.path(name)));  // of the test before
    const QString copy = m_files.path(QStringLiteral("copy-") + name);
    const ProgramRun run = runOrn({QStringLiteral("--untrusted"), QStringLiteral("convert"), m_files.path(name), copy});
    QVERIFY2(run.code == 0, run.all());
    QVERIFY(ep::SameSamples(m_files.load(name).image.image(), m_files.load(QFileInfo(copy).fileName()).image.image()));
}

void LimitsTest::untrustedRefusesHdf5_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::newRow("info") << QStringList{QStringLiteral("info")};
    QTest::newRow("info of a variable") << QStringList{QStringLiteral("info"), QStringLiteral("--variable"),
                                                       QStringLiteral("m")};
    QTest::newRow("mat list") << QStringList{QStringLiteral("mat"), QStringLiteral("list")};
}

void LimitsTest::untrustedRefusesHdf5()
{
    QFETCH(QStringList, command);
    const QString file = m_files.path("hdf5.mat");
    const ProgramRun trusted = runOrn(command + QStringList{file});
    QVERIFY2(trusted.code == 0, trusted.all());
    const ProgramRun untrusted = runOrn(QStringList{QStringLiteral("--untrusted")} + command + QStringList{file});
    QVERIFY2(untrusted.code == 5 && saysOf(untrusted, file, "7.3"), untrusted.all());
}

void LimitsTest::untrustedLowersTheMemoryLimit()
{
    // 40,000 x 40,000 samples of one byte in a picture of nothing but the header: 1.6 GB.
    const QString file = m_files.path("large.pgm");
    QVERIFY(writeFile(file, "P5 40000 40000 255\n"));
    QVERIFY(QFile::resize(file, 40000LL * 40000 + 19));
    const ProgramRun run = runOrn({QStringLiteral("--untrusted"), QStringLiteral("info"), file});
    QVERIFY2(run.code == 5 && saysOf(run, file, "takes 1600000000 bytes, past the memory limit of "), run.all());
    // A picture that OpenImageIO itself refuses to open.
    const QString header = m_files.path("large.png");
    QVERIFY(m_files.save(QStringLiteral("large.png"), plainNumbers(describe(ep::DataTypeUInt8, columns, rows, 3))));
    QByteArray bytes = readFile(header);
    const QByteArray side("\0\1\0\0", 4);
    bytes.replace(16, 8, side + side);
    const quint32 sum = qToBigEndian(quint32(crc32(0, reinterpret_cast<const Bytef*>(bytes.constData() + 12), 17)));
    QVERIFY(writeFile(header, bytes.replace(29, 4, reinterpret_cast<const char*>(&sum), 4)));
    const ProgramRun picture = runOrn({QStringLiteral("--untrusted"), QStringLiteral("info"), header});
    QVERIFY2(picture.code == 5 && saysOf(picture, header, "limit"), picture.all());
    // The smaller of both limits counts.
    const ProgramRun small = runOrn({QStringLiteral("--untrusted"), QStringLiteral("--memory-limit"),
                                     QStringLiteral("1k"), QStringLiteral("info"), file});
    QVERIFY2(saysOf(small, file, "memory limit of 1024 bytes"), small.all());
}

/** A run that has set its limits and waits for the names of files. */
std::unique_ptr<QProcess> LimitsTest::startWaiting(const QStringList& options) const
{
    auto process = std::make_unique<QProcess>();
    process->start(ornProgram(), options
                                     + QStringList{QStringLiteral("convert"), QStringLiteral("--out-dir"),
                                                   m_files.path("out"), QStringLiteral("--to"), QStringLiteral("mat"),
                                                   QStringLiteral("--files-from"), QStringLiteral("-")});
    process->waitForStarted();
    return process;
}

/** The soft limit in /proc/PID/limits. */
QString LimitsTest::limitOf(const QString& process, const char* name) const
{
    for (const QByteArray& line : readFile(QStringLiteral("/proc/%1/limits").arg(process)).split('\n'))
        if (line.startsWith(name))
            return QString::fromLatin1(line.mid(int(qstrlen(name))).simplified().split(' ').first());
    return QString();
}

void LimitsTest::untrustedSetsLimitsOfTheProcess()
{
    const auto process =
        startWaiting({QStringLiteral("--untrusted"), QStringLiteral("--memory-limit"), QStringLiteral("1M")});
    const QString id = QString::number(process->processId());
    QTRY_COMPARE(limitOf(id, "Max cpu time"), QStringLiteral("61"));
    QCOMPARE(limitOf(id, "Max file size"), QString::number(2 << 20));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    QCOMPARE(limitOf(id, "Max address space"), QString::number((4LL << 20) + (2LL << 30)));
#endif
    process->closeWriteChannel();
    QVERIFY(process->waitForFinished());
}

void LimitsTest::aFileThatTakesTooLongEndsTheRun()
{
    const auto process = startWaiting({QStringLiteral("--untrusted")});
    QTRY_COMPARE(limitOf(QString::number(process->processId()), "Max cpu time"), QStringLiteral("61"));
    // What the kernel sends when the time is over.
    QCOMPARE(::kill(static_cast<pid_t>(process->processId()), SIGXCPU), 0);
    QVERIFY(process->waitForFinished());
    QCOMPARE(process->exitStatus(), QProcess::NormalExit);
    QCOMPARE(process->exitCode(), 5);
    const QByteArray said = process->readAllStandardError();
    QVERIFY2(said.contains("--untrusted: 60 seconds"), said);
}

QTEST_GUILESS_MAIN(LimitsTest)
#include "LimitsTest.moc"

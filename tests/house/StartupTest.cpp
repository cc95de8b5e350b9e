/**
 * @file
 * What a program pays for being linked to orn_core before it opens any file.
 */
#include <QElapsedTimer>
#include <QProcess>
#include <QtTest>

#include <algorithm>
#include <vector>

namespace {

/** Runs @p program to its end and gives its standard output; empty on failure. */
QByteArray outputOf(const char* program)
{
    QProcess process;
    process.start(QString::fromLocal8Bit(program), QStringList());
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return QByteArray();
    return process.readAllStandardOutput();
}

/** Median of the milliseconds from start to end of 21 runs. */
double medianMilliseconds(const char* program)
{
    std::vector<double> times;
    for (int run = 0; run < 21; ++run) {
        QElapsedTimer timer;
        timer.start();
        outputOf(program);
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::nth_element(times.begin(), times.begin() + 10, times.end());
    return times[10];
}

}  // namespace

class StartupTest : public QObject {
    Q_OBJECT
private slots:
    void aProgramThatOpensNoFileLoadsAtMostSixtySharedObjects()
    {
        const QByteArray output = outputOf(STARTUP_ORN);
        const QList<QByteArray> objects = output.trimmed().split('\n');
        QVERIFY(output.contains("liborn_core.so"));
        qInfo("%d shared objects; start to end %.1f ms, a Qt Core program %.1f ms", objects.size(),
              medianMilliseconds(STARTUP_ORN), medianMilliseconds(STARTUP_CORE));
        QVERIFY2(objects.size() <= 60, output.constData());
    }

    void noFormatLibraryIsLoadedBeforeAFileNeedsIt_data()
    {
        QTest::addColumn<QByteArray>("library");
        QTest::newRow("no TIFF plug-in") << QByteArray("epformat_tiff");
        QTest::newRow("no RAW plug-in") << QByteArray("epformat_raw");
        QTest::newRow("no TIFF library") << QByteArray("libtiff");
        QTest::newRow("no RAW library") << QByteArray("libraw_r");
        QTest::newRow("no FITS plug-in") << QByteArray("epformat_fits");
        QTest::newRow("no FITS library") << QByteArray("libcfitsio");
        QTest::newRow("no OpenImageIO") << QByteArray("libOpenImageIO");
    }
    void noFormatLibraryIsLoadedBeforeAFileNeedsIt()
    {
        QFETCH(QByteArray, library);
        const QByteArray output = outputOf(STARTUP_ORN);
        QVERIFY(!output.isEmpty());
        QVERIFY2(!output.contains(library), output.constData());
    }
};

QTEST_GUILESS_MAIN(StartupTest)
#include "StartupTest.moc"

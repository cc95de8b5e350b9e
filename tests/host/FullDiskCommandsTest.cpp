#include "ConvertTesting.h"
#include "FileSizeLimit.h"
#include "Files.h"
#include "LongTests.h"

#include <orn/orn_core.h>

using namespace testing;

/** A disk that is full at any byte, for everything that the commands write besides converted images. */
class FullDiskCommandsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void oldFilesStay_data();
    void oldFilesStay();

private:
    /** Runs a command line in which @in/ stands for the folder of the inputs, and @ for that of the outputs. */
    ProgramRun run(QString line, const ImageFolder& outputs) const
    {
        line.replace(QStringLiteral("@in/"), m_inputs.path("") + QLatin1Char('/'));
        line.replace(QLatin1Char('@'), outputs.path("") + QLatin1Char('/'));
        return runOrn(line.split(QLatin1Char(' ')));
    }
    ImageFolder m_inputs;
};

void FullDiskCommandsTest::initTestCase()
{
    QVERIFY(orn::Init());
    // One level but for some, so that a repair gives the same every time.
    ep::CxScopedBuffer image = cameraMosaic(ep::BayerGridRGGB, 60, 40);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 60; ++x)
            setSample<quint16>(image.image(), x, y, 0, quint16(x % 9 == 4 && y % 7 == 3 ? 0 : 1000));
    setSample<quint16>(image.image(), 0, 0, 0, 16383);
    QVERIFY(m_inputs.save(QStringLiteral("a.tif"), image));
    setSample<quint16>(image.image(), 1, 0, 0, 5);
    QVERIFY(m_inputs.save(QStringLiteral("b.tif"), image));
    ep::CxScopedBuffer doubles = randomImage(describe(ep::DataTypeDouble, 20, 10));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x)
            setSample(doubles.image(), x, y, 0, double(x) - 2 * y);
    QVERIFY(m_inputs.save(QStringLiteral("d.mat"), doubles));
}

void FullDiskCommandsTest::oldFilesStay_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("outputs");
    const auto row = [](const char* name, const char* line, const QStringList& outputs) {
        QTest::newRow(name) << QString::fromLatin1(line) << outputs;
    };
    const QString csv = QStringLiteral("r.csv");
    const QString pgm = QStringLiteral("p.pgm");
    const QString ppm = QStringLiteral("p.ppm");
    const QString tif = QStringLiteral("o.tif");
    row("a repair", "repair --low 0 @in/a.tif @o.tif", {tif});
    row("the report of a repair", "repair --low 0 --report @r.csv @in/a.tif @o.tif", {csv, tif});
    row("one in JSON", "repair --low 0 --report @r.json @in/a.tif @o.tif", {QStringLiteral("r.json"), tif});
    row("the overlay of a repair", "repair --low 0 --overlay @p.ppm @in/a.tif @o.tif", {ppm, tif});
    row("a list of defects", "defects --quiet @in/a.tif --out @l.txt", {QStringLiteral("l.txt")});
    row("a map of defects", "defects --quiet @in/a.tif --out @p.pgm",
        {QStringLiteral("p.pgm"), QStringLiteral("p.txt")});
    row("a picture of differences", "compare --picture @p.pgm @in/a.tif @in/b.tif", {pgm});
    row("a difference", "diff @in/a.tif @in/b.tif @o.tif", {tif});
    row("two halves", "split @in/d.mat @o.tif @m.mat", {tif, QStringLiteral("m.mat")});
    row("a preview", "preview @in/a.tif @p.ppm", {ppm});
    row("the messages of a scan", "depth --quiet @in/ --log @scan.log", {QStringLiteral("scan.log")});
#ifdef ORN_HAS_CHARTS
    const QString png = QStringLiteral("p.png");
    row("a histogram in PNG", "preview --histogram @in/a.tif @p.png", {png});
    row("a histogram in SVG", "preview --histogram @in/a.tif @p.svg", {QStringLiteral("p.svg")});
    row("a histogram in PDF", "preview --histogram @in/a.tif @p.pdf", {QStringLiteral("p.pdf")});
    row("a contact sheet", "preview --contact-sheet @in/a.tif @in/b.tif @p.png", {png});
#endif
}

void FullDiskCommandsTest::oldFilesStay()
{
    QFETCH(QString, line);
    QFETCH(QStringList, outputs);
    const ImageFolder folder;
    const ProgramRun first = run(line, folder);
    QVERIFY2(first.code <= 1, first.all());  // images differ
    outputs.sort();
    QCOMPARE(folder.names(), outputs);
    qint64 largest = 0;
    QMap<QString, qint64> sizes;
    for (const QString& output : outputs) {
        sizes[output] = QFileInfo(folder.path(output)).size();
        largest = std::max(largest, sizes[output]);
    }
    constexpr qint64 usually = 4;
    const QByteArray old = "old\n";
    for (const qint64 bytes : sampleOf(largest, usually)) {
        for (const QString& output : outputs)
            QVERIFY(writeFile(folder.path(output), old));
        ProgramRun failed;
        {
            const FileSizeLimit limit(bytes);
            failed = run(line, folder);
        }
        const QByteArray which = QByteArray::number(bytes) + " bytes: " + failed.all();
        QVERIFY2(failed.code == 4, which);
        QVERIFY2(failed.err.contains(folder.path("")), which);
        QVERIFY2(folder.names() == outputs, which);
        for (const QString& output : outputs)
            QVERIFY2(sizes[output] <= bytes || readFile(folder.path(output)) == old, output.toUtf8() + ", " + which);
    }
}

QTEST_GUILESS_MAIN(FullDiskCommandsTest)
#include "FullDiskCommandsTest.moc"

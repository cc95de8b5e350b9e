#include "ConvertTesting.h"

#include <QJsonArray>

using namespace testing;

namespace {

/** The lines of the histogram of @p file, its heading first. */
QStringList drawn(const QString& file, const QStringList& options = {}, const QMap<QString, QString>& environment = {})
{
    const ProgramRun run = runOrn(
        QStringList{QStringLiteral("info"), QStringLiteral("--histogram")} + options + QStringList{file}, environment);
    QStringList lines = run.out.split(QLatin1Char('\n'));
    while (!lines.isEmpty() && !lines.first().startsWith(QStringLiteral("  histogram")))
        lines.removeFirst();
    return lines;
}

/** The line on which the bars of @p part stand, without its name. */
QString footOf(const QStringList& lines, const char* part)
{
    const QString start = QStringLiteral("    ") + QLatin1String(part) + QLatin1Char(' ');
    for (const QString& line : lines)
        if (line.startsWith(start))
            return line.mid(start.size());
    return QString();
}

/** A row of 8-bit samples: level i is there counts[i] times. */
ep::CxScopedBuffer levels(const QVector<int>& counts)
{
    int width = 0;
    for (int count : counts)
        width += count;
    auto image = randomImage(describe(ep::DataTypeUInt8, width, 1));
    int x = 0;
    for (int level = 0; level < counts.size(); ++level)
        for (int i = 0; i < counts[level]; ++i)
            setSample<quint8>(image.image(), x++, 0, 0, quint8(level));
    return image;
}

}  // namespace

/** `orn info --histogram`, from outside. */
class InfoHistogramTest : public QObject {
    Q_OBJECT
private slots:
    void barsAreAsHighAsTheirCounts();
    void everyColorHasItsBars();
    void nothingIsWiderThanEightyColumns();
    void noColorsOutsideOfATerminal();
    void aTerminalSaysHowWideItIs();
    void programsGetTheCounts();
    void theLastColumnOfAMosaicCounts();
    void strayValuesAreNamed();
};

void InfoHistogramTest::barsAreAsHighAsTheirCounts()
{
    const ImageFolder folder;
    // Four levels of 64 columns in all: a full bar of four lines, a half one, the least there is, and nothing.
    QVERIFY(folder.save(QStringLiteral("a.tif"), levels({64, 32, 1, 0, 0, 0, 0, 8}), ep::CxMetadata()));
    const QStringList lines = drawn(folder.path("a.tif"));
    QVERIFY(lines.size() > 6);
    QVERIFY2(lines[0].contains(QStringLiteral("8 bins of 1 level, linear, highest 64")), qPrintable(lines[0]));
    const int indent = QStringLiteral("    channel 1 ").size();
    const int bar = (80 - indent) / 8;
    const QString full(bar, QChar(0x2588));
    const QString blank(indent, QLatin1Char(' '));
    QCOMPARE(lines[1], blank + full);
    QCOMPARE(lines[2], blank + full);
    QCOMPARE(lines[3], blank + full + full);
    QCOMPARE(lines[4], QStringLiteral("    channel 1 ") + full + full + QString(bar, QChar(0x2581))
                           + QString(4 * bar, QLatin1Char(' ')) + QString(bar, QChar(0x2584)));
    QCOMPARE(lines[5].trimmed(), QLatin1Char('0') + QString(8 * bar - 2, QLatin1Char(' ')) + QLatin1Char('7'));
    // A logarithmic scale lifts the small ones.
    const QStringList logarithmic = drawn(folder.path("a.tif"), {QStringLiteral("--log")});
    QVERIFY(logarithmic[0].contains(QStringLiteral("logarithmic")));
    QVERIFY(footOf(logarithmic, "channel 1").endsWith(QString(bar, QChar(0x2588))));
}

void InfoHistogramTest::everyColorHasItsBars()
{
    const ImageFolder folder;
    auto mosaic = cameraMosaic(ep::BayerGridGBRG, 12, 8);
    // G1 B / R G2 by position, each colour at a level of its own: 0, 1, 2, 3 of four.
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 12; ++x)
            setSample<quint16>(mosaic.image(), x, y, 0, quint16(y % 2 * 2 + x % 2));
    mosaic->bitDepth = 2;
    QVERIFY(folder.save(QStringLiteral("a.tif"), mosaic));
    const QStringList lines = drawn(folder.path("a.tif"));
    const auto quarterOf = [&](const char* part) {
        const QString foot = footOf(lines, part);
        const int first = foot.indexOf(QChar(0x2588));
        return first < 0 ? -1 : first / ((80 - 7) / 4);
    };
    // The top left green shares its row with blue: it is G2.
    QCOMPARE(quarterOf("G2"), 0);
    QCOMPARE(quarterOf("B "), 1);
    QCOMPARE(quarterOf("R "), 2);
    QCOMPARE(quarterOf("G1"), 3);
}

void InfoHistogramTest::nothingIsWiderThanEightyColumns()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), photograph(ep::DataTypeUInt16, 40, 30), ep::CxMetadata()));
    const QStringList lines = drawn(folder.path("a.tif"));
    QVERIFY(!lines.isEmpty());
    for (const QString& line : lines)
        QVERIFY2(line.size() <= 80, qPrintable(line));
}

void InfoHistogramTest::noColorsOutsideOfATerminal()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    for (const QString& line : drawn(folder.path("a.tif")))
        QVERIFY(!line.contains(QLatin1Char('\033')));
}

void InfoHistogramTest::aTerminalSaysHowWideItIs()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 240, 160)));
    // Python's pty module gives the program a terminal of 150 columns.
    const QString script = QStringLiteral("import fcntl, os, pty, struct, sys, termios\n"
                                          "pid, fd = pty.fork()\n"
                                          "if pid == 0:\n"
                                          "    fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack('HHHH', 40, 150, 0, 0))\n"
                                          "    os.execv(sys.argv[1], sys.argv[1:])\n"
                                          "out = b''\n"
                                          "try:\n"
                                          "    while True:\n"
                                          "        piece = os.read(fd, 65536)\n"
                                          "        if not piece: break\n"
                                          "        out += piece\n"
                                          "except OSError: pass\n"
                                          "os.waitpid(pid, 0)\n"
                                          "sys.stdout.buffer.write(out)\n");
    const auto inTerminal = [&](const char* noColor) {
        return runProgram(QStringLiteral(ORN_PYTHON),
                          {QStringLiteral("-c"), script, ornProgram(), QStringLiteral("info"),
                           QStringLiteral("--histogram"), folder.path("a.tif")},
                          {{QStringLiteral("TERM"), QStringLiteral("xterm")},
                           {QStringLiteral("NO_COLOR"), QLatin1String(noColor)}})
            .out;
    };
    const QString coloured = inTerminal("");
    QVERIFY2(coloured.contains(QStringLiteral("128 bins")), qPrintable(coloured));
    for (const char* color : {"31", "32", "34"})
        QVERIFY2(coloured.contains(QStringLiteral("\033[%1m").arg(QLatin1String(color))), color);
    const QString plain = inTerminal("1");
    QVERIFY(plain.contains(QStringLiteral("128 bins")));
    QVERIFY(!plain.contains(QLatin1Char('\033')));
}

void InfoHistogramTest::programsGetTheCounts()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), levels({64, 32, 1, 0, 0, 0, 0, 8}), ep::CxMetadata()));
    const ProgramRun run =
        runOrn({QStringLiteral("info"), QStringLiteral("--histogram"), QStringLiteral("--json"), folder.path("a.tif")});
    const QJsonObject json = run.json()[QStringLiteral("files")].toArray()[0].toObject();
    const QJsonObject histogram = json[QStringLiteral("histogram")].toObject();
    QCOMPARE(histogram[QStringLiteral("low")].toDouble(), 0.0);
    QCOMPARE(histogram[QStringLiteral("binWidth")].toDouble(), 1.0);
    const QJsonArray expected{64, 32, 1, 0, 0, 0, 0, 8};
    const QJsonArray parts = histogram[QStringLiteral("parts")].toArray();
    QCOMPARE(parts.size(), 1);
    QCOMPARE(parts[0].toObject()[QStringLiteral("counts")].toArray(), expected);
    QCOMPARE(parts[0].toObject()[QStringLiteral("samples")].toInt(), 105);
    QCOMPARE(runOrn({QStringLiteral("info"), QStringLiteral("--log"), folder.path("a.tif")}).code, 2);
}

void InfoHistogramTest::theLastColumnOfAMosaicCounts()
{
    const ImageFolder folder;
    // Cells that are cut by the edge: the rows of 5 x 3 samples are R G1 R G1 R, G2 B G2 B G2 and R G1 R G1 R.
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 5, 3)));
    const ProgramRun run =
        runOrn({QStringLiteral("info"), QStringLiteral("--histogram"), QStringLiteral("--json"), folder.path("a.tif")});
    const QJsonObject json = run.json()[QStringLiteral("files")].toArray()[0].toObject();
    QStringList found;
    for (const QJsonValue& part : json[QStringLiteral("histogram")].toObject()[QStringLiteral("parts")].toArray())
        found << QStringLiteral("%1 %2")
                     .arg(part.toObject()[QStringLiteral("name")].toString())
                     .arg(part.toObject()[QStringLiteral("samples")].toInt());
    QCOMPARE(found.join(QLatin1Char(',')), QStringLiteral("R 6,G1 4,B 2,G2 3"));
}

void InfoHistogramTest::strayValuesAreNamed()
{
    const ImageFolder folder;
    auto image = randomImage(describe(ep::DataTypeFloat, 4, 1));
    const float values[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1, 2};
    for (int x = 0; x < 4; ++x)
        setSample<float>(image.image(), x, 0, 0, values[x]);
    QVERIFY(folder.save(QStringLiteral("a.tif"), image, ep::CxMetadata()));
    const QString text = drawn(folder.path("a.tif")).join(QLatin1Char('\n'));
    QVERIFY2(text.contains(QStringLiteral("1 not a number, 1 infinite")), qPrintable(text));
}

QTEST_GUILESS_MAIN(InfoHistogramTest)
#include "InfoHistogramTest.moc"

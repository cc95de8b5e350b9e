#include "ConvertTesting.h"

#include <QJsonArray>

using namespace testing;

namespace {

ProgramRun histogram(const ImageFolder& folder, const char* from, const char* to, const QStringList& options = {},
                     const QMap<QString, QString>& environment = {})
{
    return runOrn(QStringList{QStringLiteral("preview"), QStringLiteral("--histogram")} + options
                      + QStringList{folder.path(from), folder.path(to)},
                  environment);
}

/** The names of the plots, as the program says. */
QStringList plotsOf(const ProgramRun& run)
{
    QStringList names;
    const QJsonObject answer = run.json()[QStringLiteral("preview")].toObject()[QStringLiteral("histogram")].toObject();
    for (const QJsonValue& part : answer[QStringLiteral("parts")].toArray())
        names << part.toObject()[QStringLiteral("name")].toString();
    return names;
}

/** How many pixels of a tile of a contact sheet differ from the sheet's ground, its top left pixel. */
int drawnIn(const ep::SxImageBuf& sheet, const QRect& part)
{
    int count = 0;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            count += sampleAt<quint8>(sheet, x, y, 0) != sampleAt<quint8>(sheet, 0, 0, 0);
    return count;
}

}  // namespace

/** `orn preview --histogram` and `--contact-sheet`, from outside. */
class PreviewChartsTest : public QObject {
    Q_OBJECT
private slots:
    void theProgramItselfNeedsNoWidgets();
    void aHistogramIsWrittenInEveryFormat_data();
    void aHistogramIsWrittenInEveryFormat();
    void everyPartHasItsPlot_data();
    void everyPartHasItsPlot();
    void manyChannelsAreRefused();
    void noDisplayIsNeeded();
    void aBadHistogramOutputIsNamed_data();
    void aBadHistogramOutputIsNamed();
    void anOldHistogramSurvivesAFullDisk();
    void aContactSheetHoldsEveryImage();
    void unreadableFilesGetAPlaceholder();
    void failuresAreAnsweredInJson_data();
    void failuresAreAnsweredInJson();
    void aMissingModuleIsNamed_data();
    void aMissingModuleIsNamed();
};

void PreviewChartsTest::theProgramItselfNeedsNoWidgets()
{
    const ProgramRun run = runProgram(QStringLiteral("ldd"), {ornProgram()});
    QVERIFY2(run.out.contains(QStringLiteral("libQt5Core")), run.all());
    for (const char* library : {"libQt5Gui", "libQt5Widgets", "qwt"})
        QVERIFY2(!run.out.contains(QLatin1String(library)), run.all());
}

void PreviewChartsTest::aHistogramIsWrittenInEveryFormat_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("start");
    QTest::newRow("PNG") << QStringLiteral("h.png") << QByteArray("\x89PNG\r\n");
    QTest::newRow("SVG") << QStringLiteral("h.svg") << QByteArray("<?xml");
    QTest::newRow("PDF, in capitals") << QStringLiteral("h.PDF") << QByteArray("%PDF-");
}

void PreviewChartsTest::aHistogramIsWrittenInEveryFormat()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, start);
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    const QByteArray file = name.toLatin1();
    const ProgramRun run = histogram(folder, "a.tif", file.constData());
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(run.err.isEmpty(), run.all());
    QVERIFY(folder.bytes(file.constData()).startsWith(start));
    QCOMPARE(folder.names().size(), 2);
}

void PreviewChartsTest::everyPartHasItsPlot_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("names");
    const QStringList planes{QStringLiteral("R"), QStringLiteral("G1"), QStringLiteral("B"), QStringLiteral("G2")};
    const QStringList one{QStringLiteral("channel 1")};
    QTest::newRow("a mosaic by its colours") << int(ep::BayerGridGRBG) << 1 << QStringList() << planes;
    QTest::newRow("X-Trans by its colours")
        << int(ep::BayerGridCell) << 1 << QStringList()
        << QStringList{QStringLiteral("R"), QStringLiteral("G"), QStringLiteral("B")};
    QTest::newRow("the one channel of a mosaic")
        << int(ep::BayerGridGRBG) << 1 << QStringList{QStringLiteral("--channel"), QStringLiteral("1")} << one;
    QTest::newRow("a grey image") << int(ep::BayerGridNone) << 1 << QStringList() << one;
    QTest::newRow("two channels") << int(ep::BayerGridNone) << 2 << QStringList()
                                  << QStringList{QStringLiteral("channel 1"), QStringLiteral("channel 2")};
    QTest::newRow("the second channel") << int(ep::BayerGridNone) << 2
                                        << QStringList{QStringLiteral("--channel"), QStringLiteral("2")}
                                        << QStringList{QStringLiteral("channel 2")};
}

void PreviewChartsTest::everyPartHasItsPlot()
{
    QFETCH(int, grid);
    QFETCH(int, channels);
    QFETCH(QStringList, options);
    QFETCH(QStringList, names);
    const ImageFolder folder;
    const auto image = channels == 1 ? cameraMosaic(ep::ExBayerGrid(grid), 24, 18)
                                     : randomImage(describe(ep::DataTypeUInt8, 24, 18, channels));
    QVERIFY(folder.save(QStringLiteral("a.tif"), image, cameraMetadata(image.image())));
    const ProgramRun run =
        histogram(folder, "a.tif", "h.svg", options + QStringList{QStringLiteral("--json"), QStringLiteral("--log")});
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(plotsOf(run), names);
    const QString svg = QString::fromUtf8(folder.bytes("h.svg"));
    for (const QString& name : names)
        QVERIFY2(svg.contains(QLatin1Char('>') + name + QLatin1Char('<')), qPrintable(name));
    QVERIFY(svg.contains(QStringLiteral("a.tif: 24 x 18")));
}

void PreviewChartsTest::manyChannelsAreRefused()
{
    const ImageFolder folder;
    const auto image = randomImage(describe(ep::DataTypeUInt8, 4, 4, 33, ep::LayoutPlanar));
    QVERIFY(folder.save(QStringLiteral("a.tif"), image, ep::CxMetadata()));
    const ProgramRun run = histogram(folder, "a.tif", "h.png");
    QVERIFY2(run.code == 2, run.all());
    QVERIFY2(run.err.contains(QStringLiteral("--channel")), run.all());
    QCOMPARE(histogram(folder, "a.tif", "h.png", {QStringLiteral("--channel"), QStringLiteral("33")}).code, 0);
}

void PreviewChartsTest::noDisplayIsNeeded()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    // Neither a display that does not answer nor a missing or odd runtime folder is in the way.
    for (const char* platform : {"", "xcb", "wayland"}) {
        const ProgramRun run = histogram(folder, "a.tif", "h.png", {},
                                         {{QStringLiteral("DISPLAY"), QStringLiteral("nowhere:7")},
                                          {QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("nowhere")},
                                          {QStringLiteral("QT_QPA_PLATFORM"), QLatin1String(platform)},
                                          {QStringLiteral("XDG_RUNTIME_DIR"), QStringLiteral("/nonexistent")}});
        QVERIFY2(run.code == 0, run.all());
        QVERIFY2(run.err.isEmpty(), run.all());
    }
}

void PreviewChartsTest::aBadHistogramOutputIsNamed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("said");
    QTest::newRow("a format without charts") << QStringLiteral("h.tif") << 2 << QStringLiteral(".svg");
    QTest::newRow("no suffix") << QStringLiteral("histogram") << 2 << QStringLiteral(".svg");
    QTest::newRow("no such folder") << QStringLiteral("none/h.png") << 4 << QStringLiteral("none/h.png");
}

void PreviewChartsTest::aBadHistogramOutputIsNamed()
{
    QFETCH(QString, name);
    QFETCH(int, code);
    QFETCH(QString, said);
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    const QByteArray file = name.toLatin1();
    const ProgramRun run = histogram(folder, "a.tif", file.constData());
    QVERIFY2(run.code == code, run.all());
    QVERIFY2(run.err.contains(said), run.all());
    QCOMPARE(folder.names(), QStringList{QStringLiteral("a.tif")});
}

void PreviewChartsTest::anOldHistogramSurvivesAFullDisk()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    QCOMPARE(histogram(folder, "a.tif", "h.svg").code, 0);
    const QByteArray before = folder.bytes("h.svg");
    // The limit is in blocks of 512 bytes.
    const ProgramRun run = runShell(QStringLiteral("ulimit -f 4; \"$ORN\" preview --histogram --log \"$1\" \"$2\""),
                                    {folder.path("a.tif"), folder.path("h.svg")});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, folder.path("h.svg"), ""), run.all());
    QCOMPARE(folder.bytes("h.svg"), before);
    QCOMPARE(folder.names().size(), 2);
}

void PreviewChartsTest::aContactSheetHoldsEveryImage()
{
    const ImageFolder folder;
    const QStringList names{QStringLiteral("one.tif"), QStringLiteral("two.tif"), QStringLiteral("three.tif")};
    QStringList arguments{QStringLiteral("preview"), QStringLiteral("--contact-sheet"), QStringLiteral("--json")};
    for (const QString& name : names) {
        QVERIFY(folder.save(name, cameraMosaic(ep::BayerGridRGGB, 240, 160)));
        arguments << folder.path(name);
    }
    const ProgramRun run = runOrn(arguments << folder.path("sheet.tif"));
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(run.err.isEmpty(), run.all());
    QCOMPARE(run.json()[QStringLiteral("files")].toArray().size(), 3);
    const Loaded sheet = folder.load(QStringLiteral("sheet.tif"));
    QCOMPARE(sheet.image->channels, 3);
    QCOMPARE(sheet.image->width, run.json()[QStringLiteral("width")].toInt());
    const int half = sheet.image->width / 2;
    const int middle = sheet.image->height / 2;
    QVERIFY(drawnIn(sheet.image.image(), {0, 0, half, middle}) > 10000);
    QVERIFY(drawnIn(sheet.image.image(), {half, 0, half, middle}) > 10000);
    QVERIFY(drawnIn(sheet.image.image(), {0, middle, half, middle}) > 10000);
    QCOMPARE(drawnIn(sheet.image.image(), {half + 6, middle + 6, half - 6, middle - 6}), 0);
}

void PreviewChartsTest::unreadableFilesGetAPlaceholder()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("one.tif"), cameraMosaic(ep::BayerGridRGGB, 240, 160)));
    QVERIFY(QFile(folder.path("two.tif")).open(QIODevice::WriteOnly));
    const ProgramRun run =
        runOrn({QStringLiteral("preview"), QStringLiteral("--contact-sheet"), QStringLiteral("--json"),
                folder.path("one.tif"), folder.path("two.tif"), folder.path("none.tif"), folder.path("sheet.tif")});
    QVERIFY2(run.code == 1, run.all());
    QVERIFY2(saysOf(run, folder.path("two.tif"), ""), run.all());
    QVERIFY2(saysOf(run, folder.path("none.tif"), "exist"), run.all());
    const QJsonArray files = run.json()[QStringLiteral("files")].toArray();
    QVERIFY(!files[0].toObject().contains(QStringLiteral("error")));
    QVERIFY(files[1].toObject().contains(QStringLiteral("error")));
    QVERIFY(files[2].toObject().contains(QStringLiteral("error")));
    const Loaded sheet = folder.load(QStringLiteral("sheet.tif"));
    const int half = sheet.image->width / 2;
    const int inPlaceholder = drawnIn(sheet.image.image(), {half, 0, half, sheet.image->height / 2});
    QVERIFY(inPlaceholder > 200 && inPlaceholder < 10000);
}

void PreviewChartsTest::failuresAreAnsweredInJson_data()
{
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("named");
    QTest::addColumn<int>("code");
    const QString missing = QStringLiteral("none.tif");
    const QString picture = QStringLiteral("h.png");
    const QString nowhere = QStringLiteral("none/h.png");
    QTest::newRow("a histogram of a missing file")
        << missing << picture << QStringLiteral("--histogram") << missing << 3;
    QTest::newRow("a histogram in a missing folder")
        << QStringLiteral("a.tif") << nowhere << QStringLiteral("--histogram") << nowhere << 4;
    QTest::newRow("a contact sheet in a missing folder")
        << QStringLiteral("a.tif") << nowhere << QStringLiteral("--contact-sheet") << nowhere << 4;
}

void PreviewChartsTest::failuresAreAnsweredInJson()
{
    QFETCH(QString, in);
    QFETCH(QString, out);
    QFETCH(QString, kind);
    QFETCH(QString, named);
    QFETCH(int, code);
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    const ProgramRun run =
        runOrn({QStringLiteral("preview"), QStringLiteral("--json"), kind, folder.path(in), folder.path(out)});
    QVERIFY2(run.code == code, run.all());
    const QJsonObject error = run.json()[QStringLiteral("error")].toObject();
    QCOMPARE(error[QStringLiteral("file")].toString(), folder.path(named));
    QVERIFY2(!error[QStringLiteral("reason")].toString().isEmpty(), run.all());
    QVERIFY(!folder.has("h.png"));
}

void PreviewChartsTest::aMissingModuleIsNamed_data()
{
    QTest::addColumn<QString>("mode");
    QTest::newRow("a histogram") << QStringLiteral("--histogram");
    QTest::newRow("a contact sheet") << QStringLiteral("--contact-sheet");
}

void PreviewChartsTest::aMissingModuleIsNamed()
{
    QFETCH(QString, mode);
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    QDir().mkdir(folder.path("bin"));
    const QString program = folder.path("bin/orn");
    QVERIFY(QFile::copy(ornProgram(), program));
    const ProgramRun run =
        runProgram(program, {QStringLiteral("preview"), mode, folder.path("a.tif"), folder.path("h.png")});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, folder.path("h.png"), "orn-charts.so"), run.all());
    QVERIFY(!folder.has("h.png"));
    QCOMPARE(runProgram(program, {QStringLiteral("info"), folder.path("a.tif")}).code, 0);
}

QTEST_GUILESS_MAIN(PreviewChartsTest)
#include "PreviewChartsTest.moc"

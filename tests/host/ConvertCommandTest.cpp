#include "ConvertTesting.h"

#include <orn/orn_core.h>

#include <QJsonArray>

using namespace testing;

/** What `orn convert` says, which options it takes, and what it refuses. */
class ConvertCommandTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void saysWhatItWrote();
    void saysInJsonWhatItWrote();
    void failsWithTheFileAndTheReason_data();
    void failsWithTheFileAndTheReason();
    void failsInAFolderWithoutPermission();
    void replacesOnlyWhenItMay();
    void writesOverItsOwnInput();
    void namesVariables();
    void keepsTheRowOrder();
    void compressesWhereTheFormatCan();
    void setsTheGrid_data();
    void setsTheGrid();
    void movesBlackLevelsWithTheGrid();
    void setsTheGridOfOneChannelOnly();

private:
    std::unique_ptr<ImageFolder> m_files;
};

void ConvertCommandTest::initTestCase()
{
    orn::Init();
}

void ConvertCommandTest::init()
{
    m_files = std::make_unique<ImageFolder>();
    QVERIFY(m_files->save(QStringLiteral("in.tif"), cameraMosaic(ep::BayerGridRGGB, 32, 24)));
}

void ConvertCommandTest::saysWhatItWrote()
{
    const ProgramRun run = m_files->convert("in.tif", "out.mat");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QCOMPARE(run.out, QStringLiteral("%1 -> %2: 32 x 24, uint16, 14 bit, RGGB\n")
                          .arg(m_files->path("in.tif"), m_files->path("out.mat")));
    QCOMPARE(m_files->names(), QStringList({QStringLiteral("in.tif"), QStringLiteral("out.mat")}));
}

void ConvertCommandTest::saysInJsonWhatItWrote()
{
    const ProgramRun run = m_files->convert("in.tif", "out.dng", {QStringLiteral("--json")});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const QJsonObject answer = run.json();
    QCOMPARE(answer[QStringLiteral("schema")].toInt(), 1);
    QCOMPARE(answer[QStringLiteral("output")].toString(), m_files->path("out.dng"));
    const QJsonObject image = answer[QStringLiteral("image")].toObject();
    QCOMPARE(image[QStringLiteral("width")].toInt(), 32);
    QCOMPARE(image[QStringLiteral("mosaic")].toObject()[QStringLiteral("grid")].toString(), QStringLiteral("RGGB"));
    QVERIFY(answer[QStringLiteral("notes")].toArray().isEmpty());
}

void ConvertCommandTest::failsWithTheFileAndTheReason_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<int>("code");
    QTest::newRow("a missing input") << "missing.tif"
                                     << "out.mat" << 3;
    QTest::newRow("a folder as input") << "folder"
                                       << "out.mat" << 3;
    QTest::newRow("a truncated input") << "truncated.tif"
                                       << "out.mat" << 3;
    QTest::newRow("a missing output folder") << "in.tif"
                                             << "nowhere/out.mat" << 4;
    QTest::newRow("a folder as output") << "in.tif"
                                        << "folder" << 4;
    QTest::newRow("a folder with a known suffix as output") << "in.tif"
                                                            << "folder.mat" << 4;
    QTest::newRow("an output in a file") << "in.tif"
                                         << "in.tif/out.mat" << 4;
    QTest::newRow("an output whose format is only read") << "in.tif"
                                                         << "out.cr2" << 4;
    QTest::newRow("an output of no known format") << "in.tif"
                                                  << "out.docx" << 4;
    QTest::newRow("an output without a suffix") << "in.tif"
                                                << "out" << 4;
}

void ConvertCommandTest::failsWithTheFileAndTheReason()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(int, code);
    for (const char* folder : {"folder", "folder.mat"})
        QVERIFY(QDir().mkdir(m_files->path(folder)));
    QFile truncated(m_files->path("truncated.tif"));
    QVERIFY(truncated.open(QIODevice::WriteOnly));
    truncated.write(m_files->bytes("in.tif").left(200));
    truncated.close();
    const QStringList before = m_files->names();

    const ProgramRun run = m_files->convert(qPrintable(from), qPrintable(to));
    QVERIFY2(run.code == code, run.all());
    QVERIFY2(run.out.isEmpty(), run.all());
    QVERIFY2(saysOf(run, m_files->path(code == 3 ? from : to), ""), run.all());
    QCOMPARE(m_files->names(), before);
    const ProgramRun json = m_files->convert(qPrintable(from), qPrintable(to), {QStringLiteral("--json")});
    QCOMPARE(json.code, code);
    QVERIFY2(!json.json()[QStringLiteral("error")].toObject()[QStringLiteral("reason")].toString().isEmpty(),
             json.all());
}

void ConvertCommandTest::failsInAFolderWithoutPermission()
{
    QVERIFY(QDir().mkdir(m_files->path("locked")));
    QVERIFY(QFile::setPermissions(m_files->path("locked"), QFile::ReadOwner | QFile::ExeOwner));
    const ProgramRun run =
        runOrnWithoutPrivileges({QStringLiteral("convert"), m_files->path("in.tif"), m_files->path("locked/out.mat")});
    QVERIFY2(run.code == 4, run.all());
    QVERIFY2(saysOf(run, m_files->path("locked/out.mat"), ""), run.all());
}

void ConvertCommandTest::replacesOnlyWhenItMay()
{
    QCOMPARE(m_files->convert("in.tif", "out.mat").code, 0);
    const QByteArray before = m_files->bytes("out.mat");
    QVERIFY(m_files->save(QStringLiteral("other.tif"), cameraMosaic(ep::BayerGridRGGB, 30, 8)));
    for (const QStringList& options :
         {QStringList(), QStringList{QStringLiteral("--entropy"), QStringLiteral("PIG")}}) {
        auto doubles = randomImage(describe(ep::DataTypeDouble, 6, 4));
        QVERIFY(m_files->save(QStringLiteral("doubles.tif"), doubles));
        const ProgramRun refused =
            m_files->convert("doubles.tif", "out.mat", options + QStringList{QStringLiteral("--no-replace")});
        QVERIFY2(refused.code == 5, refused.all());
        QVERIFY2(saysOf(refused, m_files->path("out.mat"), "exists"), refused.all());
        QCOMPARE(m_files->bytes("out.mat"), before);
    }
    QCOMPARE(m_files->convert("other.tif", "new.mat", {QStringLiteral("--no-replace")}).code, 0);
    const ProgramRun replaced = m_files->convert("other.tif", "out.mat");
    QVERIFY2(replaced.code == 0, replaced.all());
    QCOMPARE(m_files->load(QStringLiteral("out.mat")).image->width, 30);
}

void ConvertCommandTest::writesOverItsOwnInput()
{
    const Loaded before = m_files->load(QStringLiteral("in.tif"));
    const ProgramRun run = m_files->convert("in.tif", "in.tif");
    QVERIFY2(run.code == 0, run.all());
    QVERIFY(ep::SameSamples(m_files->load(QStringLiteral("in.tif")).image.image(), before.image.image()));
}

void ConvertCommandTest::namesVariables()
{
    const ProgramRun run = m_files->convert("in.tif", "out.mat", {QStringLiteral("--name"), QStringLiteral("scene")});
    QVERIFY2(run.code == 0, run.all());
    QVector<orn::matlab::MatVariable> variables;
    QVERIFY(orn::matlab::ListMatVariables(m_files->path("out.mat"), variables, nullptr));
    QStringList names;
    for (const auto& variable : variables)
        names << variable.name;
    const QStringList expected{QStringLiteral("scene_channel_1"), QStringLiteral("scene_channel_2"),
                               QStringLiteral("scene_channel_3"), QStringLiteral("scene_channel_4"),
                               QStringLiteral("ep_image_metadata")};
    QCOMPARE(names, expected);
}

void ConvertCommandTest::keepsTheRowOrder()
{
    for (bool reversed : {true, false}) {
        const QStringList options = reversed ? QStringList() : QStringList{QStringLiteral("--no-reverse-rows")};
        QCOMPARE(m_files->convert("in.tif", "out.mat", options).code, 0);
        const Loaded loaded = m_files->load(QStringLiteral("out.mat"));
        const auto* item = qobject_cast<const orn::matlab::CxMatlabImageMetadata*>(
            loaded.metadata.findItem(orn::matlab::CxMatlabImageMetadata::staticMetaObject));
        QVERIFY(item);
        QCOMPARE(item->reverseRows, reversed);
        QVERIFY(ep::SameSamples(loaded.image.image(), m_files->load(QStringLiteral("in.tif")).image.image()));
    }
}

void ConvertCommandTest::compressesWhereTheFormatCan()
{
    auto even = cameraMosaic(ep::BayerGridRGGB, 200, 100);
    QVERIFY(!ep::failed(ep::SetChannel(even.image(), 0, 1000)));
    QVERIFY(m_files->save(QStringLiteral("even.tif"), even));
    for (const char* format : {"tif", "dng"}) {
        const auto sizeWith = [&](const char* method) {
            const QString name = QStringLiteral("%1.%2").arg(QLatin1String(method), QLatin1String(format));
            const QStringList options{QStringLiteral("--compression"), QLatin1String(method)};
            const ProgramRun run = m_files->convert("even.tif", qPrintable(name), options);
            if (run.code != 0 || !ep::SameSamples(m_files->load(name).image.image(), even.image()))
                return qint64(-1);
            return QFileInfo(m_files->path(name)).size();
        };
        const qint64 plain = sizeWith("none");
        const qint64 packed = sizeWith("deflate");
        QVERIFY2(plain > 40000 && packed > 0 && packed < plain / 4, qPrintable(QString::number(packed)));
    }
}

void ConvertCommandTest::setsTheGrid_data()
{
    QTest::addColumn<QString>("grid");
    QTest::addColumn<int>("code");
    for (int code = 0; code < 4; ++code) {
        const char* names[] = {"BGGR", "RGGB", "GBRG", "GRBG"};
        QTest::newRow(names[code]) << QString::fromLatin1(names[code]) << code;
    }
    QTest::newRow("in small letters") << "grbg" << int(ep::BayerGridGRBG);
    QTest::newRow("none") << "none" << 4;
}

void ConvertCommandTest::setsTheGrid()
{
    QFETCH(QString, grid);
    QFETCH(int, code);
    for (ep::ExBayerGrid before : {ep::BayerGridNone, ep::BayerGridGBRG}) {
        const auto image = cameraMosaic(before, 32, 24);
        QVERIFY(m_files->save(QStringLiteral("plain.tif"), image));
        const ProgramRun run = m_files->convert("plain.tif", "set.mat", {QStringLiteral("--cfa"), grid});
        QVERIFY2(run.code == 0, run.all());
        const Loaded loaded = m_files->load(QStringLiteral("set.mat"));
        QCOMPARE(int(loaded.image->bayerGrid), code);
        QVERIFY(ep::SameSamples(loaded.image.image(), image.image()));
        const auto* common = commonItem(loaded.metadata);
        QVERIFY(common);
        QCOMPARE(common->bayerGrid, code);
        QCOMPARE(common->patternColors, code == 4 ? QString() : grid.toUpper());
        if (code < 4) {
            const ProgramRun dng = m_files->convert("plain.tif", "set.dng", {QStringLiteral("--cfa"), grid});
            QVERIFY2(dng.code == 0, dng.all());
            QCOMPARE(int(m_files->load(QStringLiteral("set.dng")).image->bayerGrid), code);
        }
    }
}

void ConvertCommandTest::movesBlackLevelsWithTheGrid()
{
    const auto image = cameraMosaic(ep::BayerGridRGGB, 32, 24);
    ep::CxMetadata metadata = cameraMetadata(image.image());
    // R, G1, B, G2, so the cell is 1 2 / 4 3.
    const_cast<ep::CxCommonImageMetadata*>(commonItem(metadata))->blackLevels = {1, 2, 3, 4};
    QVERIFY(m_files->save(QStringLiteral("levels.mat"), image, metadata));
    const QVector<QPair<QString, QVector<double>>> expected{
        {QStringLiteral("RGGB"), {1, 2, 3, 4}},  // the same cell
        {QStringLiteral("BGGR"), {3, 4, 1, 2}},
        {QStringLiteral("GBRG"), {4, 3, 2, 1}},
        {QStringLiteral("GRBG"), {2, 1, 4, 3}},
    };
    for (const auto& row : expected) {
        const ProgramRun run = m_files->convert("levels.mat", "out.mat", {QStringLiteral("--cfa"), row.first});
        QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
        QCOMPARE(commonItem(m_files->load(QStringLiteral("out.mat")).metadata)->blackLevels, row.second);
    }
    const ProgramRun none =
        m_files->convert("levels.mat", "out.mat", {QStringLiteral("--cfa"), QStringLiteral("none")});
    QVERIFY2(none.code == 0, none.all());
    QVERIFY2(saysOf(none, m_files->path("out.mat"), "black levels"), none.all());
    QVERIFY(commonItem(m_files->load(QStringLiteral("out.mat")).metadata)->blackLevels.isEmpty());
}

void ConvertCommandTest::setsTheGridOfOneChannelOnly()
{
    QVERIFY(m_files->save(QStringLiteral("photo.tif"), photograph(ep::DataTypeUInt8, 8, 6)));
    const ProgramRun run = m_files->convert("photo.tif", "out.mat", {QStringLiteral("--cfa"), QStringLiteral("RGGB")});
    QVERIFY2(run.code == 2, run.all());
    QVERIFY2(run.err.contains(QStringLiteral("3 channels")), run.all());
    QVERIFY(!m_files->has("out.mat"));
}

QTEST_GUILESS_MAIN(ConvertCommandTest)
#include "ConvertCommandTest.moc"

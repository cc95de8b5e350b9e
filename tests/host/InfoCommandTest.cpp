#include "CameraImages.h"
#include "FullMetadata.h"
#include "Program.h"
#include "TiffBytes.h"

#include <orn/orn_core.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

using namespace testing;

class InfoCommandTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void failsWithTheFileAndTheReason_data();
    void failsWithTheFileAndTheReason();
    void failsOnAFileWithoutPermission();
    void doesNotWaitForAPipe();
    void refusesWhatIsTooLarge();
    void countsFailuresOfSeveralFiles_data();
    void countsFailuresOfSeveralFiles();
    void saysWhatAFileHolds_data();
    void saysWhatAFileHolds();
    void saysTheRangeOfEveryColour();
    void saysTheRangeOfAnXTransCellByColour();
    void saysInJsonWhatJsonHasNoNumberFor();
    void saysWhatATextReaderWants();
    void saysWhereAndWhenACaptureWasTaken();

private:
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    void save(const char* name, const ep::CxScopedBuffer& image);
    void writeBytes(const char* name, const QByteArray& bytes);

    QTemporaryDir m_folder;
};

void InfoCommandTest::save(const char* name, const ep::CxScopedBuffer& image)
{
    const ep::CxMetadata metadata = cameraMetadata(image.image());
    ep::SxFileError error;
    QVERIFY2(ep::CxImageFormatManager::saveImageToFile(path(name), image.image(), &metadata, nullptr, false, QString(),
                                                       &error),
             qPrintable(error.reason));
}

void InfoCommandTest::writeBytes(const char* name, const QByteArray& bytes)
{
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

void InfoCommandTest::initTestCase()
{
    orn::Init();
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("folder.tif")));
    writeBytes("empty.tif", QByteArray());
    writeBytes("empty.mat", QByteArray());
    writeBytes("empty.dng", QByteArray());
    const QByteArray letter("Dear reader,\nthis is a letter and no image at all, however long one looks at it.\n");
    for (const char* name : {"letter.tif", "letter.mat", "letter.dng", "letter.docx"})
        writeBytes(name, letter.repeated(20));
    const auto mosaic = cameraMosaic(ep::BayerGridRGGB, 60, 40);
    for (const char* name : {"good.tif", "good.mat", "good.dng"}) {
        save(name, mosaic);
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        writeBytes(qPrintable(QStringLiteral("truncated") + QString::fromLatin1(name).mid(4)), bytes.left(2500));
    }
}

void InfoCommandTest::failsWithTheFileAndTheReason_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name :
         {"missing.tif", "missing.mat", "missing.dng", "missing", "folder.tif", "empty.tif", "empty.mat", "empty.dng",
          "letter.tif", "letter.mat", "letter.dng", "letter.docx", "truncated.tif", "truncated.mat", "truncated.dng"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void InfoCommandTest::failsWithTheFileAndTheReason()
{
    QFETCH(QString, name);
    const QString file = m_folder.filePath(name);
    const ProgramRun run = runOrn({QStringLiteral("info"), file});
    QVERIFY2(run.code == 3, run.all());
    QVERIFY2(run.out.isEmpty(), run.all());
    const QString start = QStringLiteral("orn: %1: ").arg(file);
    QVERIFY2(run.err.startsWith(start) && run.err.size() > start.size() + 5, run.all());
    QVERIFY2(run.err.count(file) == 1, run.all());
    QCOMPARE(run.err.contains(QStringLiteral("the file is empty")), name == QLatin1String("empty.dng"));

    const ProgramRun json = runOrn({QStringLiteral("info"), QStringLiteral("--json"), file});
    QCOMPARE(json.code, 3);
    const QJsonObject answer = json.json()[QStringLiteral("files")].toArray().at(0).toObject();
    QCOMPARE(answer[QStringLiteral("file")].toString(), file);
    const QJsonObject error = answer[QStringLiteral("error")].toObject();
    QVERIFY2(!error[QStringLiteral("kind")].toString().isEmpty(), json.all());
    QVERIFY2(!error[QStringLiteral("reason")].toString().isEmpty(), json.all());
}

void InfoCommandTest::failsOnAFileWithoutPermission()
{
    QVERIFY(QFile::copy(path("good.tif"), path("locked.tif")));
    QVERIFY(QFile::setPermissions(path("locked.tif"), QFile::Permissions()));
    const ProgramRun run = runOrnWithoutPrivileges({QStringLiteral("info"), path("locked.tif")});
    QVERIFY2(run.code == 3, run.all());
    QVERIFY2(run.err.startsWith(QStringLiteral("orn: ") + path("locked.tif")), run.all());
}

void InfoCommandTest::doesNotWaitForAPipe()
{
    for (const char* name : {"pipe.tif", "pipe.mat", "pipe.dng"}) {
        QCOMPARE(::mkfifo(qPrintable(path(name)), 0600), 0);
        for (const QStringList& command :
             {QStringList{QStringLiteral("info")}, {QStringLiteral("mat"), QStringLiteral("list")}}) {
            const ProgramRun run = runOrn(command + QStringList{path(name)});
            QVERIFY2(run.code == 3, run.all());
            QVERIFY2(run.err.contains(path(name)), run.all());
        }
    }
}

void InfoCommandTest::refusesWhatIsTooLarge()
{
    constexpr quint32 side = 4000000;
    TiffBytes file(side, side, 8, QByteArray(100, '\0'));
    writeBytes("huge.tif", file.set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE).bytes());
    const ProgramRun run = runOrn({QStringLiteral("info"), QStringLiteral("--json"), path("huge.tif")});
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(run.err.contains(QStringLiteral("memory limit")), run.all());
    const QJsonObject answer = run.json()[QStringLiteral("files")].toArray().at(0).toObject();
    QCOMPARE(answer[QStringLiteral("error")].toObject()[QStringLiteral("kind")].toString(),
             QStringLiteral("too large"));
}

void InfoCommandTest::countsFailuresOfSeveralFiles_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("reported");
    const QString good = QStringLiteral("good.tif");
    const QString bad = QStringLiteral("missing.tif");
    QTest::newRow("all are good") << QStringList{good, good} << 0 << 2;
    QTest::newRow("the first fails") << QStringList{bad, good} << 1 << 1;
    QTest::newRow("the last fails") << QStringList{good, bad} << 1 << 1;
    QTest::newRow("all of several fail") << QStringList{bad, bad} << 1 << 0;
}

void InfoCommandTest::countsFailuresOfSeveralFiles()
{
    QFETCH(QStringList, names);
    QFETCH(int, code);
    QFETCH(int, reported);
    QStringList arguments{QStringLiteral("info")};
    for (const QString& name : names)
        arguments << m_folder.filePath(name);
    const ProgramRun run = runOrn(arguments);
    QVERIFY2(run.code == code, run.all());
    QCOMPARE(run.out.count(QStringLiteral("60 x 40")), reported);
    QCOMPARE(run.err.count(QStringLiteral("missing.tif: ")), names.size() - reported);
}

void InfoCommandTest::saysWhatAFileHolds_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("TIFF") << "good.tif";
    QTest::newRow("DNG") << "good.dng";
    QTest::newRow("MAT") << "good.mat";
}

void InfoCommandTest::saysWhatAFileHolds()
{
    QFETCH(QString, name);
    const ProgramRun run = runOrn({QStringLiteral("info"), QStringLiteral("--json"), m_folder.filePath(name)});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const QJsonObject answer = run.json();
    QCOMPARE(answer[QStringLiteral("schema")].toInt(), 1);
    const QJsonObject file = answer[QStringLiteral("files")].toArray().at(0).toObject();
    QVERIFY(!file[QStringLiteral("format")].toString().isEmpty());
    QCOMPARE(file[QStringLiteral("width")].toInt(), 60);
    QCOMPARE(file[QStringLiteral("height")].toInt(), 40);
    QCOMPARE(file[QStringLiteral("channels")].toInt(), 1);
    QCOMPARE(file[QStringLiteral("sampleType")].toString(), QStringLiteral("uint16"));
    QCOMPARE(file[QStringLiteral("bitDepth")].toInt(), 14);
    QCOMPARE(file[QStringLiteral("usedBits")].toInt(), 14);
    const QJsonObject mosaic = file[QStringLiteral("mosaic")].toObject();
    QCOMPARE(mosaic[QStringLiteral("grid")].toString(), QStringLiteral("RGGB"));
    QCOMPARE(mosaic[QStringLiteral("cellWidth")].toInt(), 2);
    QCOMPARE(file[QStringLiteral("range")].toObject()[QStringLiteral("maximum")].toInt(), 16383);
    const QJsonObject common = file[QStringLiteral("metadata")].toArray().at(0).toObject();
    QCOMPARE(common[QStringLiteral("cameraMake")].toString(), QStringLiteral("Make"));
    QCOMPARE(common[QStringLiteral("cameraModel")].toString(), QStringLiteral("Model 7"));
    QCOMPARE(common[QStringLiteral("exposureTime")].toDouble(), 0.004);
}

void InfoCommandTest::saysTheRangeOfEveryColour()
{
    auto mosaic = cameraMosaic(ep::BayerGridGRBG, 8, 6);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x)
            setSample<quint16>(mosaic.image(), x, y, 0, quint16(1000 * (2 * (y % 2) + x % 2) + y * 8 + x));
    save("colours.tif", mosaic);
    const ProgramRun run = runOrn({QStringLiteral("info"), QStringLiteral("--json"), path("colours.tif")});
    QVERIFY2(run.code == 0, run.all());
    const QJsonObject file = run.json()[QStringLiteral("files")].toArray().at(0).toObject();
    QStringList ranges;
    for (const QJsonValue& value : file[QStringLiteral("ranges")].toArray()) {
        const QJsonObject range = value.toObject();
        ranges << QStringLiteral("%1 %2 %3")
                      .arg(range[QStringLiteral("name")].toString())
                      .arg(range[QStringLiteral("minimum")].toInt())
                      .arg(range[QStringLiteral("maximum")].toInt());
    }
    const QStringList expected{QStringLiteral("R 1001 1039"), QStringLiteral("G1 0 38"), QStringLiteral("B 2008 2046"),
                               QStringLiteral("G2 3009 3047")};
    QCOMPARE(ranges, expected);
}

void InfoCommandTest::saysTheRangeOfAnXTransCellByColour()
{
    auto mosaic = cameraMosaic(ep::BayerGridCell, 24, 24);
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 24; ++x) {
            const QChar colour = xTransColors().at(6 * (y % 6) + x % 6);
            const int base = colour == QLatin1Char('R') ? 1000 : colour == QLatin1Char('G') ? 2000 : 3000;
            setSample<quint16>(mosaic.image(), x, y, 0, quint16(base + y));
        }
    }
    save("cell.dng", mosaic);
    const ProgramRun run = runOrn({QStringLiteral("info"), path("cell.dng")});
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(run.out.contains(QStringLiteral("6 x 6 cell GGRGGB GGBGGR")), run.all());
    for (const char* line : {"R +1000 \\.\\. 1023", "G +2000 \\.\\. 2023", "B +3000 \\.\\. 3023"})
        QVERIFY2(QRegularExpression(QLatin1String(line)).match(run.out).hasMatch(), run.all());
}

void InfoCommandTest::saysInJsonWhatJsonHasNoNumberFor()
{
    auto image = randomImage(describe(ep::DataTypeDouble, 2, 1, 2, ep::LayoutPlanar));
    const double infinity = std::numeric_limits<double>::infinity();
    setSample<double>(image.image(), 0, 0, 0, -infinity);
    setSample<double>(image.image(), 1, 0, 0, infinity);
    setSample<double>(image.image(), 0, 0, 1, std::numeric_limits<double>::quiet_NaN());
    setSample<double>(image.image(), 1, 0, 1, std::numeric_limits<double>::quiet_NaN());
    save("odd.mat", image);
    const ProgramRun run = runOrn({QStringLiteral("info"), QStringLiteral("--json"), path("odd.mat")});
    QVERIFY2(run.code == 0, run.all());
    const QJsonArray ranges =
        run.json()[QStringLiteral("files")].toArray().at(0).toObject()[QStringLiteral("ranges")].toArray();
    QCOMPARE(ranges.size(), 2);
    QCOMPARE(ranges.at(0).toObject()[QStringLiteral("minimum")].toString(), QStringLiteral("-Infinity"));
    QCOMPARE(ranges.at(0).toObject()[QStringLiteral("maximum")].toString(), QStringLiteral("Infinity"));
    QVERIFY(ranges.at(1).toObject()[QStringLiteral("minimum")].isNull());
    QVERIFY(ranges.at(1).toObject()[QStringLiteral("maximum")].isNull());
}

void InfoCommandTest::saysWhatATextReaderWants()
{
    const ProgramRun run = runOrn({QStringLiteral("info"), path("good.mat")});
    QVERIFY2(run.code == 0, run.all());
    for (const char* line : {"size +60 x 40", "samples +uint16, 1 channel, packed", "depth +14 bits", "mosaic +RGGB",
                             "range +\\d+ \\.\\. 16383", "Common Image Metadata", "exposure +1/250 s",
                             "aperture +f/5\\.6", "Matlab Image Metadata", "rows reversed +yes", "stored planes +4"})
        QVERIFY2(QRegularExpression(QLatin1String(line)).match(run.out).hasMatch(), line + run.all());
}

void InfoCommandTest::saysWhereAndWhenACaptureWasTaken()
{
    const ep::CxScopedBuffer mosaic = cameraMosaic(ep::BayerGridRGGB, 24, 16);
    const ep::CxMetadata metadata = fullMetadata();
    QVERIFY(ep::CxImageFormatManager::saveImageToFile(path("full.mat"), mosaic.image(), &metadata, nullptr, false, {}));
    const ProgramRun run = runOrn({QStringLiteral("info"), path("full.mat")});
    QVERIFY2(run.code == 0, run.all());
    for (const char* line :
         {"sensor +6080 x 4044, image at column 32, row 24", "taken +2021-02-28T23:59:58\\.125\\+05:30",
          "orientation +6", "focal length +35\\.5 mm", "Lens +35mm f/2", "exposure +1/320 s"})
        QVERIFY2(QRegularExpression(QLatin1String(line)).match(run.out).hasMatch(), line + run.all());
    const QJsonObject file = runOrn({QStringLiteral("info"), QStringLiteral("--json"), path("full.mat")})
                                 .json()[QStringLiteral("files")]
                                 .toArray()[0]
                                 .toObject();
    const QByteArray json = QJsonDocument(file).toJson(QJsonDocument::Compact);
    QVERIFY2(json.contains("\"sensor\":{\"height\":4044,\"leftMargin\":32,\"topMargin\":24,\"width\":6080}"), json);
}

QTEST_GUILESS_MAIN(InfoCommandTest)
#include "InfoCommandTest.moc"

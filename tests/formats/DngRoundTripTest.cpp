// Mosaics written as DNG files come back as they were.

#include "DngFiles.h"
#include "FullMetadata.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <tiffio.h>

using namespace testing;

namespace {

/** An 8-bit mosaic in bytes. */
ep::CxScopedBuffer byteMosaic(ep::ExBayerGrid grid, int width, int height)
{
    ep::CxScopedBuffer mosaic = randomImage(describe(ep::DataTypeUInt8, width, height));
    setSample<quint8>(mosaic.image(), 0, 0, 0, 255);
    mosaic->bayerGrid = grid;
    mosaic->patternWidth = mosaic->patternHeight = grid == ep::BayerGridCell ? 6 : 2;
    return mosaic;
}

void compareImages(const ep::SxImageBuf& back, const ep::SxImageBuf& mosaic)
{
    QVERIFY(ep::SameSamples(back, mosaic));
    QCOMPARE(int(back.bayerGrid), int(mosaic.bayerGrid));
    QCOMPARE(back.patternWidth, mosaic.patternWidth);
    QCOMPARE(back.patternHeight, mosaic.patternHeight);
    QCOMPARE(back.bitDepth, mosaic.bitDepth);
    QCOMPARE(int(back.layout), int(ep::LayoutPacked));
    QCOMPARE(back.formatCode, 1);
}

/** True when two lists agree as far as the tags' fractions go. */
bool areClose(const QVector<double>& a, const QVector<double>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](double x, double y) { return std::abs(x - y) < 1e-6 * std::max(1.0, std::abs(y)); });
}

ep::CxCommonImageMetadata* changeableCommon(ep::CxMetadata& metadata)
{
    return qobject_cast<ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
}

}  // namespace

class DngRoundTripTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path() const { return m_folder.filePath(QStringLiteral("capture.dng")); }

private slots:
    void initTestCase() { loadDngPlugins(); }

    void mosaicComesBack_data()
    {
        QTest::addColumn<int>("grid");
        QTest::addColumn<int>("bits");
        QTest::addColumn<QString>("compression");
        for (const ep::ExBayerGrid grid : dngGrids)
            for (const int bits : {8, 10, 12, 14, 16})
                for (const QString& compression : dngCompressions())
                    QTest::addRow("%s of %d bits, %s", gridName(grid), bits, qPrintable(compression))
                        << int(grid) << bits << compression;
    }

    // Odd sizes, one as small as LibRaw takes, and one of several strips or tiles.
    void mosaicComesBack()
    {
        QFETCH(int, grid);
        QFETCH(int, bits);
        QFETCH(QString, compression);
        for (const QSize& size : {QSize(22, 22), QSize(61, 47), QSize(48, 258), QSize(1001, 603)}) {
            const auto data = capture(static_cast<ep::ExBayerGrid>(grid), size.width(), size.height(), bits);
            const ep::SxFileError error = saveDng(path(), *data, compression);
            QVERIFY2(!error, qPrintable(error.reason));
            const LoadedFrame back = loadDng(path(), compression);
            QVERIFY2(back.data, qPrintable(back.loader->lastError().reason));
            compareImages(back.image(), data->image());
            QCOMPARE(back.data->metadata().saveToXml(-1), data->metadata().saveToXml(-1));
        }
    }

    void bytesComeBackAsBytes_data()
    {
        QTest::addColumn<int>("grid");
        QTest::addColumn<QString>("compression");
        for (const ep::ExBayerGrid grid : dngGrids)
            for (const QString& compression : dngCompressions())
                QTest::addRow("%s, %s", gridName(grid), qPrintable(compression)) << int(grid) << compression;
    }

    void bytesComeBackAsBytes()
    {
        QFETCH(int, grid);
        QFETCH(QString, compression);
        ep::CxScopedBuffer mosaic = byteMosaic(static_cast<ep::ExBayerGrid>(grid), 61, 47);
        const ep::CxMetadata metadata = cameraMetadata(mosaic.image());
        const auto data = captureOf(std::move(mosaic), metadata);
        QVERIFY(!saveDng(path(), *data, compression));
        const LoadedFrame back = loadDng(path(), compression);
        QVERIFY2(back.data, qPrintable(back.loader->lastError().reason));
        compareImages(back.image(), data->image());
    }

    void depthOfDarkMosaicComesBack_data()
    {
        QTest::addColumn<QString>("compression");
        for (const QString& compression : dngCompressions())
            QTest::newRow(qPrintable(compression)) << compression;
    }

    // The samples do not show their depth, so the file must tell it.
    void depthOfDarkMosaicComesBack()
    {
        QFETCH(QString, compression);
        ep::CxScopedBuffer mosaic = cameraMosaic(ep::BayerGridGRBG, 40, 30, 5);
        mosaic->bitDepth = 14;
        const auto data = captureOf(std::move(mosaic), ep::CxMetadata());
        QVERIFY(!saveDng(path(), *data, compression));
        const LoadedFrame back = loadDng(path(), compression);
        QVERIFY(back.data);
        QCOMPARE(back.image().bitDepth, 14);
        QVERIFY(ep::SameSamples(back.image(), data->image()));
    }

    void rowsWithPaddingAreWritten()
    {
        ep::CxScopedBuffer mosaic = randomImage(describe(ep::DataTypeUInt16, 41, 33, 1, ep::LayoutPacked, 7));
        mosaic->bayerGrid = ep::BayerGridGBRG;
        const auto data = captureOf(std::move(mosaic), ep::CxMetadata());
        for (const QString& compression : dngCompressions()) {
            QVERIFY(!saveDng(path(), *data, compression));
            const LoadedFrame back = loadDng(path(), compression);
            QVERIFY(back.data);
            QVERIFY(ep::SameSamples(back.image(), data->image()));
        }
    }

    void allMetadataComesBack_data() { bytesComeBackAsBytes_data(); }

    // Every field, in many scripts, as exact as it was.
    void allMetadataComesBack()
    {
        QFETCH(int, grid);
        QFETCH(QString, compression);
        ep::CxScopedBuffer mosaic = cameraMosaic(static_cast<ep::ExBayerGrid>(grid), 36, 24);
        ep::CxMetadata metadata = fullMetadata();
        ep::CxCommonImageMetadata* common = changeableCommon(metadata);
        common->bayerGrid = grid;
        common->patternWidth = mosaic->patternWidth;
        common->patternHeight = mosaic->patternHeight;
        common->patternColors = commonItem(cameraMetadata(mosaic.image()))->patternColors;
        if (grid == ep::BayerGridCell)
            common->blackLevels = {511.5};
        const auto data = captureOf(std::move(mosaic), metadata);
        QVERIFY(!saveDng(path(), *data, compression));
        const LoadedFrame back = loadDng(path(), compression);
        QVERIFY(back.data);
        QCOMPARE(back.data->metadata().saveToXml(1), metadata.saveToXml(1));
    }

    void unknownItemsComeBack()
    {
        const QString xml = QStringLiteral(
            "<metadata><item class=\"a.b.C\"><deep><deeper x=\"1\">text</deeper></deep></item></metadata>");
        ep::CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(xml));
        const auto data = captureOf(cameraMosaic(ep::BayerGridRGGB, 36, 24), metadata);
        QVERIFY(!saveDng(path(), *data));
        const LoadedFrame back = loadDng(path());
        QVERIFY(back.data);
        QVERIFY(back.data->metadata().saveToXml(-1).contains(
            QStringLiteral("<item class=\"a.b.C\"><deep><deeper x=\"1\">text</deeper></deep></item>")));
    }

    void blackLevelsOfEveryPlaneComeBack_data()
    {
        QTest::addColumn<int>("grid");
        QTest::addColumn<QString>("compression");
        QTest::addColumn<bool>("isPacketKnown");
        for (const ep::ExBayerGrid grid : dngGrids)
            for (const QString& compression : dngCompressions())
                for (const bool isPacketKnown : {true, false})
                    QTest::addRow("%s, %s, %s", gridName(grid), qPrintable(compression),
                                  isPacketKnown ? "packet" : "tags")
                        << int(grid) << compression << isPacketKnown;
    }

    // Each plane has its own, and none sits at another's place.
    void blackLevelsOfEveryPlaneComeBack()
    {
        QFETCH(int, grid);
        QFETCH(QString, compression);
        QFETCH(bool, isPacketKnown);
        ep::CxScopedBuffer mosaic = cameraMosaic(static_cast<ep::ExBayerGrid>(grid), 36, 24);
        ep::CxMetadata metadata = cameraMetadata(mosaic.image());
        QVector<double>& levels = changeableCommon(metadata)->blackLevels;
        levels.clear();
        for (int i = 0; i < mosaic->patternWidth * mosaic->patternHeight; ++i)
            levels.append(500 + i);
        const auto data = captureOf(std::move(mosaic), metadata);
        QVERIFY(!saveDng(path(), *data, compression));
        if (!isPacketKnown)
            QVERIFY(forgetPacket(path()));
        const LoadedFrame back = loadDng(path(), compression);
        QVERIFY(back.data);
        QCOMPARE(back.common()->blackLevels, levels);
    }

    void tagsAloneTellAll_data() { bytesComeBackAsBytes_data(); }

    // What other programs see, who do not know the packet.
    void tagsAloneTellAll()
    {
        QFETCH(int, grid);
        QFETCH(QString, compression);
        ep::CxScopedBuffer mosaic = cameraMosaic(static_cast<ep::ExBayerGrid>(grid), 36, 24);
        ep::CxMetadata metadata = cameraMetadata(mosaic.image());
        ep::CxCommonImageMetadata* common = changeableCommon(metadata);
        common->whiteBalance = {2, 1, 1.5};
        common->colorMatrix = {0.5, 0.125, 0.25, -0.25, 1.25, 0.125, 0, 0.25, 0.75};
        common->focalLength = 35;
        common->orientation = 6;
        common->captureTime = QDateTime(QDate(2021, 2, 28), QTime(23, 59, 58), Qt::OffsetFromUTC, -5 * 3600);
        const auto data = captureOf(std::move(mosaic), metadata);
        QVERIFY(!saveDng(path(), *data, compression));
        QVERIFY(forgetPacket(path()));
        const LoadedFrame back = loadDng(path(), compression);
        QVERIFY(back.data);
        compareTags(*back.common(), *commonItem(metadata));
        QCOMPARE(int(back.image().bayerGrid), grid);
        QCOMPARE(back.image().patternWidth, data->image().patternWidth);
        if (compression == QStringLiteral("none"))
            compareImages(back.image(), data->image());
    }

    void editedTagsWin()
    {
        const auto data = capture(ep::BayerGridRGGB, 36, 24);
        QVERIFY(!saveDng(path(), *data));
        TIFF* file = TIFFOpen(QFile::encodeName(path()).constData(), "r+");
        QVERIFY(file);
        TIFFSetField(file, TIFFTAG_MODEL, "Other 9");
        const quint32 white = 9999;
        TIFFSetField(file, TIFFTAG_WHITELEVEL, 1, &white);
        QCOMPARE(TIFFRewriteDirectory(file), 1);
        TIFFClose(file);
        const LoadedFrame back = loadDng(path());
        QVERIFY(back.data);
        QCOMPARE(back.common()->cameraModel, QStringLiteral("Other 9"));
        QCOMPARE(back.common()->whiteLevel, 9999.0);
        QCOMPARE(back.common()->cameraMake, QStringLiteral("Make"));
        QVERIFY(ep::SameSamples(back.image(), data->image()));
    }

private:
    /** Makes the file's own packet a stranger's. */
    static bool forgetPacket(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadWrite))
            return false;
        const QByteArray name("urn:ep:mosaic");
        const int place = file.readAll().indexOf(name);
        return place > 0 && file.seek(place) && file.write("urn:no:mosaic") == name.size();
    }

    static void compareTags(const ep::CxCommonImageMetadata& back, const ep::CxCommonImageMetadata& expected)
    {
        QCOMPARE(back.patternColors, expected.patternColors);
        QCOMPARE(back.blackLevels, expected.blackLevels);
        QCOMPARE(back.whiteLevel, expected.whiteLevel);
        QVERIFY(areClose(back.whiteBalance, expected.whiteBalance));
        QVERIFY(areClose(back.colorMatrix, expected.colorMatrix));
        QCOMPARE(back.cameraMake, expected.cameraMake);
        QCOMPARE(back.cameraModel, expected.cameraModel);
        QVERIFY(std::abs(back.exposureTime - expected.exposureTime) < 1e-9);
        QVERIFY(std::abs(back.aperture - expected.aperture) < 1e-6);
        QCOMPARE(back.iso, expected.iso);
        QCOMPARE(back.focalLength, expected.focalLength);
        QCOMPARE(back.orientation, expected.orientation);
        QCOMPARE(back.captureTime, expected.captureTime);
    }
};

QTEST_GUILESS_MAIN(DngRoundTripTest)
#include "DngRoundTripTest.moc"

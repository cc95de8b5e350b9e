// Images written by the TIFF saver come back from the TIFF loader as they were.

#include "FormatPlugin.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QtTest>

#include <tiffio.h>

using namespace testing;

namespace {

constexpr ep::ExImageDataType writtenTypes[] = {
    ep::DataTypeInt8,   ep::DataTypeUInt8, ep::DataTypeInt16,  ep::DataTypeUInt16, ep::DataTypeInt32,
    ep::DataTypeUInt32, ep::DataTypeFloat, ep::DataTypeDouble, ep::DataTypeInt64,  ep::DataTypeUInt64};

/** Saves and loads; the data are null when one of them fails. */
LoadedFrame throughFile(const QString& path, const ep::CxImageData& data, const QMap<QString, QVariant>& options = {})
{
    const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::tiff::CxTiffImageSaver", "IxImageDataSaver");
    QFile::remove(path);  // see writeFile()
    saver->setFileName(path);
    saver->setOptions(options);
    if (!saver->saveImage(&data)) {
        qWarning() << saver->lastError().reason;
        return {};
    }
    return loadFrame("ep::tiff::CxTiffImageLoader", path);
}

ep::SxImageInfo mosaic(ep::ExBayerGrid grid, int cellWidth, int cellHeight)
{
    ep::SxImageInfo info = describe(ep::DataTypeUInt16, 12, 12);
    info.bitDepth = 14;
    info.bayerGrid = grid;
    info.patternWidth = cellWidth;
    info.patternHeight = cellHeight;
    return info;
}

/** A 14-bit mosaic of the given arrangement. */
ep::CxScopedBuffer randomMosaic(const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image = randomImage(info);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            setSample<quint16>(image.image(), x, y, 0, sampleAt<quint16>(image.image(), x, y) & 0x3fff);
    return image;
}

}  // namespace

class TiffRoundTripTest : public QObject {
    Q_OBJECT

    static void compareAll(const QString& path, const ep::SxImageInfo& info)
    {
        const auto data = imageDataOf(randomImage(info));
        for (const char* compression : {"none", "deflate", "lzw"}) {
            const LoadedFrame back =
                throughFile(path, *data, {{QStringLiteral("compression"), QString::fromLatin1(compression)}});
            QVERIFY(back.data);
            QVERIFY(ep::SameSamples(data->image(), back.image()));
            QCOMPARE(int(back.image().layout), int(info.layout));
            QCOMPARE(back.image().bitDepth, info.bitDepth);
            QCOMPARE(back.image().formatCode, 1);
            QCOMPARE(int(back.image().bayerGrid), int(ep::BayerGridNone));
        }
    }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }

    void samplesComeBack_data()
    {
        QTest::addColumn<int>("type");
        for (ep::ExImageDataType type : writtenTypes)
            QTest::newRow(ep::sampleFacts(type).name) << int(type);
    }

    // 1 to 5 channels, both layouts, sizes that fill no byte or strip evenly, padded rows, every compression.
    void samplesComeBack()
    {
        QFETCH(int, type);
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("image.tif"));
        const QSize sizes[] = {{1, 1}, {7, 5}, {64, 3}, {61, 409}};
        for (int channels = 1; channels <= 5; ++channels)
            for (ep::ExImageLayout layout : allLayouts)
                for (const QSize& size : sizes)
                    for (int padding : {0, 3})
                        compareAll(path, describe(static_cast<ep::ExImageDataType>(type), size.width(), size.height(),
                                                  channels, layout, padding));
    }

    void blueFirstIsWrittenRedFirst_data()
    {
        QTest::addColumn<int>("layout");
        QTest::newRow("packed") << int(ep::LayoutPacked);
        QTest::newRow("planar") << int(ep::LayoutPlanar);
    }

    void blueFirstIsWrittenRedFirst()
    {
        QFETCH(int, layout);
        QTemporaryDir folder;
        ep::SxImageInfo info = describe(ep::DataTypeUInt16, 5, 4, 4, static_cast<ep::ExImageLayout>(layout), 2);
        info.formatCode = ep::FormatCodeReversedColors;
        const auto data = imageDataOf(randomImage(info));
        const LoadedFrame back = throughFile(folder.filePath(QStringLiteral("image.tif")), *data);
        QVERIFY(back.data);
        QCOMPARE(back.image().formatCode, 1);
        for (int c = 0; c < 4; ++c)
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 5; ++x)
                    QVERIFY(sameSample(data->image(), x, y, c == 0 ? 2 : c == 2 ? 0 : c, back.image(), x, y, c));
    }

    void depthComesBack_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("depth");
        QTest::addColumn<int>("depthBack");
        for (ep::ExImageDataType type : writtenTypes) {
            const ep::SxSampleFacts& facts = ep::sampleFacts(type);
            for (int depth = facts.isSigned ? 2 : 1; !facts.isFloat && depth <= qMin(facts.bits, 32); ++depth)
                QTest::addRow("%s of %d bits", facts.name, depth) << int(type) << depth << depth;
            if (facts.bits == 64)
                QTest::addRow("%s of 33 bits counts as 64: the tag has no room", facts.name) << int(type) << 33 << 64;
        }
    }

    void depthComesBack()
    {
        QFETCH(int, type);
        QFETCH(int, depth);
        QFETCH(int, depthBack);
        QTemporaryDir folder;
        ep::SxImageInfo info = describe(static_cast<ep::ExImageDataType>(type), 3, 2);
        info.bitDepth = depth;
        ep::CxScopedBuffer image(info);
        QVERIFY(!ep::failed(image.allocate(true)));
        const LoadedFrame back =
            throughFile(folder.filePath(QStringLiteral("image.tif")), *imageDataOf(std::move(image)));
        QVERIFY(back.data);
        QCOMPARE(back.image().bitDepth, depthBack);
        QCOMPARE(back.common()->colorBitDepth, depthBack);
    }

    void aDepthThatTheSamplesExceedIsNotBelieved()
    {
        QTemporaryDir folder;
        ep::SxImageInfo info = describe(ep::DataTypeUInt16, 3, 2);
        info.bitDepth = 10;
        ep::CxScopedBuffer image(info);
        QVERIFY(!ep::failed(image.allocate(true)));
        setSample<quint16>(image.image(), 1, 1, 0, 1024);
        const LoadedFrame back =
            throughFile(folder.filePath(QStringLiteral("image.tif")), *imageDataOf(std::move(image)));
        QVERIFY(back.data);
        QCOMPARE(back.image().bitDepth, 16);
    }

    void mosaicsStayMosaics_data()
    {
        QTest::addColumn<int>("grid");
        QTest::addColumn<int>("cellWidth");
        QTest::addColumn<int>("cellHeight");
        QTest::newRow("BGGR") << 0 << 0 << 0;
        QTest::newRow("RGGB") << 1 << 2 << 2;
        QTest::newRow("GBRG") << 2 << 0 << 0;
        QTest::newRow("GRBG") << 3 << 2 << 2;
        QTest::newRow("a cell of 6 x 6") << 5 << 6 << 6;
        QTest::newRow("a cell of 3 x 2") << 5 << 3 << 2;
    }

    void mosaicsStayMosaics()
    {
        QFETCH(int, grid);
        QFETCH(int, cellWidth);
        QFETCH(int, cellHeight);
        QTemporaryDir folder;
        const auto data = imageDataOf(randomMosaic(mosaic(static_cast<ep::ExBayerGrid>(grid), cellWidth, cellHeight)));
        const LoadedFrame back = throughFile(folder.filePath(QStringLiteral("image.tif")), *data);
        QVERIFY(back.data);
        QVERIFY(ep::SameSamples(data->image(), back.image()));
        QCOMPARE(int(back.image().bayerGrid), grid);
        // The cell of the four grids is known even where a record does not tell it.
        QCOMPARE(back.image().patternWidth, grid == ep::BayerGridCell ? cellWidth : 2);
        QCOMPARE(back.image().patternHeight, grid == ep::BayerGridCell ? cellHeight : 2);
        QCOMPARE(back.image().bitDepth, 14);
        QCOMPARE(back.common()->bayerGrid, grid);
    }

    void theMosaicStandsInTagsToo()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("image.tif"));
        auto* common = new ep::CxCommonImageMetadata;
        common->patternColors = QStringLiteral("GBRGRB");
        QVERIFY(throughFile(path, *imageDataOf(randomMosaic(mosaic(ep::BayerGridCell, 3, 2)), common)).data);
        TIFF* file = TIFFOpen(path.toUtf8().constData(), "r");
        QVERIFY(file);
        uint16_t* repeat = nullptr;
        uint16_t count = 0;
        uint16_t photometric = 0;
        uint8_t* colors = nullptr;
        QCOMPARE(TIFFGetField(file, TIFFTAG_CFAREPEATPATTERNDIM, &repeat), 1);
        QCOMPARE(TIFFGetField(file, TIFFTAG_CFAPATTERN, &count, &colors), 1);
        QCOMPARE(TIFFGetField(file, TIFFTAG_PHOTOMETRIC, &photometric), 1);
        QCOMPARE(int(repeat[0]), 2);
        QCOMPARE(int(repeat[1]), 3);
        QCOMPARE(QByteArray(reinterpret_cast<char*>(colors), count), QByteArray("\1\2\0\1\0\2", 6));
        QCOMPARE(int(photometric), int(PHOTOMETRIC_MINISBLACK));
        TIFFClose(file);
    }

    void metadataComesBack()
    {
        QTemporaryDir folder;
        auto* common = new ep::CxCommonImageMetadata;
        common->cameraMake = QStringLiteral("Kamerabau Grün & Söhne");
        common->cameraModel = QStringLiteral("K <1>");
        common->exposureTime = 0.1 + 0.2;
        common->aperture = 2.8;
        common->iso = 102400;
        common->focalLength = 35.5;
        common->captureTime = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58, 7), Qt::OffsetFromUTC, 19800);
        common->orientation = 6;
        common->blackLevels = {512, 513.25, 512, 511};
        common->whiteLevel = 16300;
        common->whiteBalance = {2.1, 1, 1.6};
        common->colorBitDepth = 14;
        common->attributes.insert(QStringLiteral("ImageDescription"), QStringLiteral("A <b>view</b>\nof \u5c71"));
        common->attributes.insert(QStringLiteral("Software"), QStringLiteral("tests"));
        common->attributes.insert(QStringLiteral("XResolution"), QStringLiteral("300"));
        common->attributes.insert(QStringLiteral("LensModel"), QStringLiteral("35/2"));
        const auto data = imageDataOf(randomMosaic(mosaic(ep::BayerGridGBRG, 0, 0)), common);
        const LoadedFrame back = throughFile(folder.filePath(QStringLiteral("image.tif")), *data);
        QVERIFY(back.data);
        QCOMPARE(back.data->dateTime(), common->captureTime);
        const auto expected = std::unique_ptr<ep::IxMetadataItem>(common->clone());
        qobject_cast<ep::CxCommonImageMetadata*>(expected.get())->bayerGrid = ep::BayerGridGBRG;
        ep::CxMetadata reference;
        reference.addMetadata(expected->clone());
        QCOMPARE(back.data->metadata().saveToXml(1).split(QLatin1Char('\n')),
                 reference.saveToXml(1).split(QLatin1Char('\n')));
    }

    void itemsThatNobodyKnowsComeBack()
    {
        QTemporaryDir folder;
        const auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt8, 3, 3)));
        ep::CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(
            QStringLiteral("<metadata><item class=\"vendor::Unknown\"><deep>x</deep></item></metadata>")));
        data->setMetadata(metadata);
        const LoadedFrame back = throughFile(folder.filePath(QStringLiteral("image.tif")), *data);
        QVERIFY(back.data);
        QVERIFY(back.data->metadata().saveToXml(-1).contains(
            QStringLiteral("<item class=\"vendor::Unknown\"><deep>x</deep></item>")));
        QCOMPARE(back.data->metadata().items().size(), 2);
        QVERIFY2(data->metadata().items().size() == 1, "the saver works on a copy");
    }

    void inverseGreyStaysInverse()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("image.tif"));
        auto* common = new ep::CxCommonImageMetadata;
        common->attributes.insert(QStringLiteral("PhotometricInterpretation"), QStringLiteral("MinIsWhite"));
        QVERIFY(throughFile(path, *imageDataOf(randomImage(describe(ep::DataTypeUInt8, 3, 3)), common)).data);
        TIFF* file = TIFFOpen(path.toUtf8().constData(), "r");
        QVERIFY(file);
        uint16_t photometric = 0;
        QCOMPARE(TIFFGetField(file, TIFFTAG_PHOTOMETRIC, &photometric), 1);
        QCOMPARE(int(photometric), int(PHOTOMETRIC_MINISWHITE));
        TIFFClose(file);
    }

    void bigTiffOnRequest()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("image.tif"));
        const auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt16, 9, 9)));
        const LoadedFrame back = throughFile(path, *data, {{QStringLiteral("bigtiff"), true}});
        QVERIFY(back.data);
        QVERIFY(ep::SameSamples(data->image(), back.image()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(int(file.read(4)[2]), 43);
    }

    void namesMayHoldAnyCharacter()
    {
        QTemporaryDir folder;
        const auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt16, 9, 9)));
        QVERIFY(throughFile(folder.filePath(QStringLiteral("Bild \u00e4\u5c71 %d.tif")), *data).data);
    }
};

QTEST_GUILESS_MAIN(TiffRoundTripTest)
#include "TiffRoundTripTest.moc"

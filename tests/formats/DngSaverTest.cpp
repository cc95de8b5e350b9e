// What the DNG saver takes, and what it refuses with a reason.

#include "DngFiles.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

namespace {

/** A mosaic of a type and channel count. */
std::unique_ptr<ep::CxImageData> imageOf(ep::ExImageDataType type, int channels, ep::ExBayerGrid grid, int width = 36,
                                         int height = 24)
{
    ep::CxScopedBuffer image(describe(type, width, height, channels));
    if (ep::failed(image.allocate(true)))
        qFatal("cannot allocate a test image");
    image->bayerGrid = grid;
    image->patternWidth = image->patternHeight = grid == ep::BayerGridNone ? 0 : grid == ep::BayerGridCell ? 6 : 2;
    const ep::CxMetadata metadata = cameraMetadata(image.image());
    return captureOf(std::move(image), metadata);
}

/** An X-Trans capture whose cell is something else. */
std::unique_ptr<ep::CxImageData> imageOfCell(int width, int height, const QString& colors)
{
    ep::CxScopedBuffer mosaic = cameraMosaic(ep::BayerGridCell, 36, 24);
    mosaic->patternWidth = width;
    mosaic->patternHeight = height;
    auto* common = new ep::CxCommonImageMetadata;
    common->patternColors = colors;
    return imageDataOf(std::move(mosaic), common);
}

}  // namespace

class DngSaverTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path() const { return m_folder.filePath(QStringLiteral("capture.dng")); }

    void refuses(const ep::CxImageData& data, const QString& part)
    {
        const ep::SxFileError error = saveDng(path(), data);
        QCOMPARE(int(error.kind), int(ep::ExFileError::Refused));
        QVERIFY2(error.reason.contains(part), qPrintable(error.reason));
        QVERIFY(!QFileInfo::exists(path()));
    }

private slots:
    void initTestCase() { loadDngPlugins(); }

    void samplesOfOtherTypesAreRefused_data()
    {
        QTest::addColumn<int>("type");
        for (const ep::ExImageDataType type : allTypes)
            if (type != ep::DataTypeUInt8 && type != ep::DataTypeUInt16)
                QTest::newRow(ep::sampleFacts(type).name) << int(type);
    }

    void samplesOfOtherTypesAreRefused()
    {
        QFETCH(int, type);
        const auto data = imageOf(static_cast<ep::ExImageDataType>(type), 1, ep::BayerGridRGGB);
        refuses(*data, QString::fromLatin1(ep::sampleFacts(static_cast<ep::ExImageDataType>(type)).name));
    }

    void coloursAreRefused()
    {
        refuses(*imageOf(ep::DataTypeUInt16, 3, ep::BayerGridNone), QStringLiteral("3 channels"));
        refuses(*imageOf(ep::DataTypeUInt8, 4, ep::BayerGridRGGB), QStringLiteral("4 channels"));
    }

    void greyIsRefused()
    {
        refuses(*imageOf(ep::DataTypeUInt16, 1, ep::BayerGridNone), QStringLiteral("no colour-filter grid"));
    }

    void otherCellsAreRefused()
    {
        refuses(*imageOfCell(4, 4, QStringLiteral("RGRGGBGBRGRGGBGB")), QStringLiteral("not 4 x 4"));
        refuses(*imageOfCell(6, 3, QStringLiteral("RGRGGBGBRGRGGBGBRG")), QStringLiteral("not 6 x 3"));
        refuses(*imageOfCell(0, 0, QString()), QStringLiteral("not 0 x 0"));
    }

    void cellsOfUnknownColoursAreRefused()
    {
        refuses(*imageOfCell(6, 6, QString()), QStringLiteral("colours of the 6 x 6 cell are not known"));
        refuses(*imageOfCell(6, 6, QStringLiteral("RGB")), QStringLiteral("not 36 of R, G and B"));
        refuses(*imageOfCell(6, 6, xTransColors().replace(7, 1, QLatin1Char('W'))),
                QStringLiteral("not 36 of R, G and B"));
    }

    void sizesThatNoDeveloperTakesAreRefused_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("too narrow") << 21 << 40;
        QTest::newRow("too low") << 40 << 21;
        QTest::newRow("too wide") << 64001 << 22;
        QTest::newRow("too high") << 22 << 64001;
    }

    void sizesThatNoDeveloperTakesAreRefused()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        refuses(*imageOf(ep::DataTypeUInt8, 1, ep::BayerGridRGGB, width, height),
                QStringLiteral("%1 x %2").arg(width).arg(height));
    }

    void theWidestAndTheHighestAreWritten_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("widest") << 64000 << 22;
        QTest::newRow("highest") << 22 << 64000;
    }

    void theWidestAndTheHighestAreWritten()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        for (const QString& compression : dngCompressions()) {
            QVERIFY(!saveDng(path(), *imageOf(ep::DataTypeUInt16, 1, ep::BayerGridRGGB, width, height), compression));
            const LoadedFrame back = loadDng(path(), compression);
            QVERIFY2(back.data, qPrintable(back.loader->lastError().reason));
            QCOMPARE(back.image().width, width);
            QCOMPARE(back.image().height, height);
            QVERIFY(QFile::remove(path()));
        }
    }

    void noImageIsRefused()
    {
        const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::tiff::CxDngImageSaver", "IxImageDataSaver");
        saver->setFileName(path());
        QVERIFY(!saver->saveImage(nullptr));
        QCOMPARE(saver->lastError().reason, QStringLiteral("there is no image"));
        refuses(ep::CxImageData(), QStringLiteral("there is no image"));
    }

    void unknownCompressionIsRefused()
    {
        const ep::SxFileError error = saveDng(path(), *capture(ep::BayerGridRGGB, 36, 24), QStringLiteral("lzw"));
        QCOMPARE(int(error.kind), int(ep::ExFileError::Refused));
        QCOMPARE(error.reason, QStringLiteral("compression is none or deflate, not lzw"));
    }

    void endlessMetadataIsRefused()
    {
        auto* common = new ep::CxCommonImageMetadata;
        common->attributes.insert(QStringLiteral("long"), QString(6000000, QLatin1Char('x')));
        refuses(*imageDataOf(cameraMosaic(ep::BayerGridRGGB, 36, 24), common), QStringLiteral("too long for DNG"));
    }

    void folderThatIsNotThereIsUnwritable()
    {
        const ep::SxFileError error =
            saveDng(m_folder.filePath(QStringLiteral("none/capture.dng")), *capture(ep::BayerGridRGGB, 36, 24));
        QCOMPARE(int(error.kind), int(ep::ExFileError::Unwritable));
        QVERIFY(!error.reason.isEmpty());
    }

    void levelsThatAreNoNumbersAreLeftOut()
    {
        auto* common = new ep::CxCommonImageMetadata;
        common->blackLevels = {qQNaN(), -1, qInf(), 5};
        common->whiteLevel = qInf();
        common->whiteBalance = {0, qQNaN(), -1};
        common->colorMatrix = {qInf(), 0, 0, 0, 1, 0, 0, 0, 1};
        common->exposureTime = qQNaN();
        common->iso = -5;
        common->orientation = 77;
        const auto data = imageDataOf(cameraMosaic(ep::BayerGridRGGB, 36, 24), common);
        for (const QString& compression : dngCompressions()) {
            QVERIFY(!saveDng(path(), *data, compression));
            QVERIFY(loadDng(path(), compression).data);
            QVERIFY(QFile::remove(path()));
        }
    }

    void defaultIsPlain()
    {
        const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::tiff::CxDngImageSaver", "IxImageDataSaver");
        QCOMPARE(saver->defaultOptions().value(QStringLiteral("compression")).toString(), QStringLiteral("none"));
        saver->setFileName(path());
        QVERIFY(saver->saveImage(capture(ep::BayerGridRGGB, 36, 24).get()));
        QVERIFY(loadRaw(path()).data);
        QVERIFY(QFile::remove(path()));
    }
};

QTEST_GUILESS_MAIN(DngSaverTest)
#include "DngSaverTest.moc"

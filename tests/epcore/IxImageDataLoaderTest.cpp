#include <ep/IxImageDataLoader.h>

#include "TestImages.h"

#include <ep/AllocAndCopyBuffer.h>
#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/SameSamples.h>

#include <QtTest>

#include <memory>

using ep::CxCommonImageMetadata;
using ep::CxImageData;
using ep::CxScopedBuffer;

/** Hands out copies of one image, as a loader that implements only what it must. */
class OneImageLoader : public ep::IxImageDataLoader {
    Q_OBJECT
public:
    explicit OneImageLoader(CxScopedBuffer image, const CxCommonImageMetadata& common = CxCommonImageMetadata())
    {
        ep::CxMetadata metadata;
        metadata.addMetadata(common.clone());
        m_data.setImageShallow(image.take(), 0, 5, QDateTime());
        m_data.setMetadata(metadata);
    }
    bool open() override { return m_open = true; }
    bool isOpen() const override { return m_open; }
    void close() override { m_open = false; }
    int frameCount() const override { return 1; }
    QString fileName() const override { return QStringLiteral("image"); }
    void setFileName(const QString&) override {}
    QList<QPair<QString, int>> formats() const override { return {}; }
    CxImageData* imageData(int) override { return qobject_cast<CxImageData*>(m_data.clone(0)); }
    const ep::SxImageBuf& image() const { return m_data.image(); }

private:
    CxImageData m_data;
    bool m_open = true;
};

class IxImageDataLoaderTest : public QObject {
    Q_OBJECT

private:
    using Data = std::unique_ptr<CxImageData>;

    static CxScopedBuffer mosaic(qint32 grid, int width, int height, int cellWidth = 2, int cellHeight = 2)
    {
        ep::SxImageInfo info = testing::describe(ep::DataTypeUInt16, width, height);
        info.bayerGrid = static_cast<ep::ExBayerGrid>(grid);
        info.patternWidth = cellWidth;
        info.patternHeight = cellHeight;
        return testing::randomImage(info);
    }
    static const CxCommonImageMetadata& commonOf(const CxImageData& data)
    {
        return *qobject_cast<CxCommonImageMetadata*>(data.metadata().items().first());
    }
    /** The letter of grid @p grid at (x, y), from the picture in ExBayerGrid.h. */
    static char colour(qint32 grid, int x, int y)
    {
        static const char* const cells[] = {"BGGR", "RGGB", "GBRG", "GRBG"};
        return cells[grid][y % 2 * 2 + x % 2];
    }

private slots:
    void dataIsTheImageOfAnOpenLoader()
    {
        OneImageLoader loader(testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2)));
        const std::unique_ptr<ep::IxData> data(loader.data(0));
        QVERIFY(ep::SameSamples(qobject_cast<CxImageData*>(data.get())->image(), loader.image()));
        QVERIFY(!loader.data(1));
        QVERIFY(!loader.data(-1));
        QCOMPARE(loader.frameRate(), 0.0);
        QVERIFY(loader.hasRandomAccess());
        loader.close();
        QVERIFY(!loader.data(0));
    }

    void closedLoaderGivesNothing()
    {
        OneImageLoader loader(testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2)));
        loader.close();
        ep::CxImageHistogram histogram;
        ep::SxImageBuf image = ep::emptyImage();
        ep::CxMetadata metadata;
        QVERIFY(!loader.dataRoi({0, 0, 1, 1}, 0));
        QVERIFY(!loader.loadThumbnail(0, {1, 1}));
        QVERIFY(!loader.loadHistogram(0, histogram));
        QVERIFY(!loader.loadRoi({0, 0, 1, 1}, 0, image));
        QVERIFY(!image.data);
        QVERIFY(!loader.loadMetadata(0, metadata));
        QVERIFY(!loader.globalMetadata(metadata));
        loader.open();
        QVERIFY(!loader.dataRoi({0, 0, 1, 1}, 1));
        QVERIFY(loader.loadMetadata(0, metadata));
    }

    void roiIsCutToTheImage_data()
    {
        QTest::addColumn<QRect>("roi");
        QTest::addColumn<QRect>("part");
        QTest::newRow("inside") << QRect(1, 2, 3, 2) << QRect(1, 2, 3, 2);
        QTest::newRow("the whole image") << QRect(0, 0, 7, 5) << QRect(0, 0, 7, 5);
        QTest::newRow("past every side") << QRect(-10, -10, 100, 100) << QRect(0, 0, 7, 5);
        QTest::newRow("over the last corner") << QRect(5, 4, 10, 10) << QRect(5, 4, 2, 1);
        QTest::newRow("beside the image") << QRect(7, 0, 5, 5) << QRect();
        QTest::newRow("empty") << QRect(1, 1, 0, 5) << QRect();
        QTest::newRow("turned inside out") << QRect(3, 3, -2, -2) << QRect();
    }

    void roiIsCutToTheImage()
    {
        QFETCH(QRect, roi);
        QFETCH(QRect, part);
        for (const ep::ExImageDataType type : testing::allTypes)
            for (const ep::ExImageLayout layout : testing::allLayouts) {
                OneImageLoader loader(testing::randomImage(testing::describe(type, 7, 5, 3, layout, 5)));
                const Data data(loader.dataRoi(roi, 0));
                CxScopedBuffer alone;
                QCOMPARE(loader.loadRoi(roi, 0, alone.image()), !part.isEmpty());
                QCOMPARE(data != nullptr, !part.isEmpty());
                if (!data)
                    continue;
                const ep::SxImageBuf& image = data->image();
                QCOMPARE(QSize(image.width, image.height), part.size());
                QCOMPARE(image.layout, layout);
                QVERIFY(ep::SameSamples(image, alone.image()));
                for (int c = 0; c < 3; ++c)
                    for (int y = 0; y < part.height(); ++y)
                        for (int x = 0; x < part.width(); ++x)
                            QVERIFY(testing::sameSample(image, x, y, c, loader.image(), part.x() + x, part.y() + y, c));
            }
    }

    void roiOfAMosaicKeepsTheGridTrue()
    {
        for (qint32 grid = 0; grid < 4; ++grid)
            for (int top = 0; top < 3; ++top)
                for (int left = 0; left < 3; ++left) {
                    CxCommonImageMetadata common;
                    common.bayerGrid = grid;
                    common.blackLevels = {1, 2, 3, 4};
                    for (int i = 0; i < 4; ++i)
                        common.patternColors += QLatin1Char(colour(grid, i % 2, i / 2));
                    OneImageLoader loader(mosaic(grid, 8, 6), common);
                    const Data data(loader.dataRoi({left, top, 4, 3}, 0));
                    const CxCommonImageMetadata& part = commonOf(*data);
                    QCOMPARE(part.bayerGrid, qint32(data->image().bayerGrid));
                    for (int i = 0; i < 4; ++i) {
                        const char expected = colour(grid, left + i % 2, top + i / 2);
                        QCOMPARE(colour(data->image().bayerGrid, i % 2, i / 2), expected);
                        QCOMPARE(part.patternColors.at(i).toLatin1(), expected);
                    }
                    QCOMPARE(part.blackLevels, common.blackLevels);  // by colour, wherever the cell begins
                }
    }

    void roiOfALargerCellTurnsWhatIsSaidByPosition()
    {
        CxCommonImageMetadata common;
        common.bayerGrid = 5;
        common.patternColors = QStringLiteral("ABCDEF");
        common.blackLevels = {0, 1, 2, 3, 4, 5};
        common.sensorWidth = 100;
        common.sensorHeight = 100;
        common.leftMargin = 10;
        OneImageLoader loader(mosaic(5, 9, 8, 3, 2), common);
        const Data data(loader.dataRoi({4, 1, 3, 3}, 0));
        const CxCommonImageMetadata& part = commonOf(*data);
        QCOMPARE(part.patternColors, QStringLiteral("EFDBCA"));
        QCOMPARE(part.blackLevels, (QVector<double>{4, 5, 3, 1, 2, 0}));
        QCOMPARE(part.leftMargin, 14);
        QCOMPARE(part.topMargin, 1);
        QCOMPARE(part.bayerGrid, 5);
        QCOMPARE(data->image().patternWidth, 3);
    }

    void thumbnailStepsEvenly_data()
    {
        QTest::addColumn<QSize>("image");
        QTest::addColumn<QSize>("limit");
        QTest::addColumn<QSize>("expected");
        QTest::addColumn<int>("step");
        QTest::newRow("small enough already") << QSize(7, 5) << QSize(7, 5) << QSize(7, 5) << 1;
        QTest::newRow("width decides") << QSize(100, 10) << QSize(30, 30) << QSize(25, 3) << 4;
        QTest::newRow("height decides") << QSize(10, 100) << QSize(30, 30) << QSize(3, 25) << 4;
        QTest::newRow("one too wide") << QSize(31, 20) << QSize(30, 30) << QSize(16, 10) << 2;
        QTest::newRow("a single pixel") << QSize(31, 20) << QSize(1, 1) << QSize(1, 1) << 31;
    }

    void thumbnailStepsEvenly()
    {
        QFETCH(QSize, image);
        QFETCH(QSize, limit);
        QFETCH(QSize, expected);
        QFETCH(int, step);
        for (const ep::ExImageLayout layout : testing::allLayouts) {
            OneImageLoader loader(
                testing::randomImage(testing::describe(ep::DataTypeFloat, image.width(), image.height(), 2, layout)));
            const Data data(loader.loadThumbnail(0, limit));
            QCOMPARE(QSize(data->image().width, data->image().height), expected);
            for (int c = 0; c < 2; ++c)
                for (int y = 0; y < expected.height(); ++y)
                    for (int x = 0; x < expected.width(); ++x)
                        QVERIFY(testing::sameSample(data->image(), x, y, c, loader.image(), x * step, y * step, c));
            QVERIFY(!loader.loadThumbnail(0, {0, 5}));
        }
    }

    void thumbnailOfAMosaicIsAMosaic_data()
    {
        QTest::addColumn<qint32>("grid");
        QTest::addColumn<QSize>("cell");
        QTest::addColumn<QSize>("image");
        QTest::addColumn<QSize>("limit");
        QTest::addColumn<QSize>("expected");
        QTest::newRow("whole cells") << 1 << QSize(2, 2) << QSize(40, 20) << QSize(10, 10) << QSize(10, 6);
        QTest::newRow("odd sizes") << 3 << QSize(2, 2) << QSize(41, 21) << QSize(11, 11) << QSize(10, 6);
        QTest::newRow("a larger cell") << 5 << QSize(6, 6) << QSize(60, 60) << QSize(20, 40) << QSize(18, 18);
        QTest::newRow("less room than a cell") << 5 << QSize(6, 6) << QSize(60, 60) << QSize(4, 3) << QSize(4, 3);
        QTest::newRow("narrower than its cell") << 5 << QSize(6, 6) << QSize(3, 60) << QSize(10, 20) << QSize(3, 18);
        QTest::newRow("small enough already") << 0 << QSize(2, 2) << QSize(5, 3) << QSize(5, 3) << QSize(5, 3);
        QTest::newRow("only a partial cell too large") << 0 << QSize(2, 2) << QSize(5, 3) << QSize(4, 2) << QSize(4, 2);
    }

    void thumbnailOfAMosaicIsAMosaic()
    {
        QFETCH(qint32, grid);
        QFETCH(QSize, cell);
        QFETCH(QSize, image);
        QFETCH(QSize, limit);
        QFETCH(QSize, expected);
        OneImageLoader loader(mosaic(grid, image.width(), image.height(), cell.width(), cell.height()));
        for (int i = 0; i < image.width() * image.height(); ++i)  // each sample says where it stands
            testing::setSample<quint16>(const_cast<ep::SxImageBuf&>(loader.image()), i % image.width(),
                                        i / image.width(), 0, static_cast<quint16>(i));
        const Data data(loader.loadThumbnail(0, limit));
        QCOMPARE(QSize(data->image().width, data->image().height), expected);
        QCOMPARE(qint32(data->image().bayerGrid), grid);
        for (int y = 0; y < expected.height(); ++y)
            for (int x = 0; x < expected.width(); ++x) {
                const int source = testing::sampleAt<quint16>(data->image(), x, y);
                QCOMPARE(source % image.width() % cell.width(), x % cell.width());
                QCOMPARE(source / image.width() % cell.height(), y % cell.height());
            }
    }

    void histogramCountsEveryChannel()
    {
        CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 20, 10, 3));
        OneImageLoader loader(std::move(image));
        ep::CxImageHistogram histogram;
        QVERIFY(loader.loadHistogram(0, histogram));
        QCOMPARE(histogram.channelCount, 3);
        QCOMPARE(histogram.levelCount, 256);
        QVector<int> expected(256);
        for (int i = 0; i < 200; ++i)
            ++expected[testing::sampleAt<quint8>(loader.image(), i % 20, i / 20, 1)];
        for (int level = 0; level < 256; ++level)
            QCOMPARE(histogram.counts[1][level], expected[level]);
    }

    void histogramHasTheLevelsOfTheDepth_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("depth");
        QTest::addColumn<int>("levels");
        QTest::newRow("12 of 16 bits") << int(ep::DataTypeUInt16) << 12 << 4096;
        QTest::newRow("no depth given") << int(ep::DataTypeUInt16) << 0 << 65536;
        QTest::newRow("32 bits, of which 16 are counted") << int(ep::DataTypeUInt32) << 32 << 65536;
        QTest::newRow("floats have no levels") << int(ep::DataTypeFloat) << 32 << 0;
    }

    void histogramHasTheLevelsOfTheDepth()
    {
        QFETCH(int, type);
        QFETCH(int, depth);
        QFETCH(int, levels);
        ep::SxImageInfo info = testing::describe(static_cast<ep::ExImageDataType>(type), 4, 4);
        info.bitDepth = depth;
        OneImageLoader loader(testing::randomImage(info));
        ep::CxImageHistogram histogram;
        QCOMPARE(loader.loadHistogram(0, histogram), levels > 0);
        if (levels > 0)
            QCOMPARE(histogram.levelCount, levels);
    }

    void metadataIsThatOfTheImage()
    {
        CxCommonImageMetadata common;
        common.iso = 400;
        OneImageLoader loader(testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2)), common);
        ep::CxMetadata frame;
        ep::CxMetadata global;
        QVERIFY(loader.loadMetadata(0, frame));
        QVERIFY(loader.globalMetadata(global));
        for (const ep::CxMetadata* metadata : {&frame, &global})
            QCOMPARE(qobject_cast<CxCommonImageMetadata*>(metadata->items().first())->iso, 400.0);
        const Data thumbnail(loader.loadThumbnail(0, {1, 1}));
        QCOMPARE(commonOf(*thumbnail).iso, 400.0);
        QCOMPARE(thumbnail->timestamp(), 5);
    }
};

QTEST_GUILESS_MAIN(IxImageDataLoaderTest)
#include "IxImageDataLoaderTest.moc"

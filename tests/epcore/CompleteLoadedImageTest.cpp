// What the format manager adds to what a loader hands out.

#include <ep/CxImageFormatManager.h>

#include "DumpFormat.h"
#include "FullMetadata.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using ep::CxCommonImageMetadata;
using ep::CxScopedBuffer;
using Manager = ep::CxImageFormatManager;

/** Reads nothing: hands out what the test says. */
class HandingLoader : public ep::IxImageDataLoader {
    Q_OBJECT
public:
    Q_INVOKABLE HandingLoader() = default;
    bool open() override { return true; }
    bool isOpen() const override { return true; }
    void close() override {}
    int frameCount() const override { return 1; }
    QString fileName() const override { return QString(); }
    void setFileName(const QString&) override {}
    QList<QPair<QString, int>> formats() const override { return {{QStringLiteral("Handed out (*.hand)"), 1}}; }
    ep::CxImageData* imageData(int) override { return qobject_cast<ep::CxImageData*>(handed->clone(0)); }

    static inline std::unique_ptr<ep::CxImageData> handed;
};

class CompleteLoadedImageTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    CxScopedBuffer m_read;
    ep::CxMetadata m_metadata;
    ep::SxFileError m_error;

    /** Loads @p image and, when it is given, @p common through the manager. */
    bool load(CxScopedBuffer image, const CxCommonImageMetadata* common)
    {
        HandingLoader::handed = std::make_unique<ep::CxImageData>();
        HandingLoader::handed->setImageShallow(image.take(), 0, 0, QDateTime());
        if (common) {
            ep::CxMetadata metadata;
            metadata.addMetadata(common->clone());
            HandingLoader::handed->setMetadata(metadata);
        }
        m_read.reset();
        m_metadata = ep::CxMetadata();
        return Manager::loadImageFromFile(m_folder.filePath(QStringLiteral("x.hand")), m_read.image(), &m_metadata,
                                          nullptr, &m_error);
    }
    const CxCommonImageMetadata& common() const
    {
        return *qobject_cast<const CxCommonImageMetadata*>(
            m_metadata.findItem(CxCommonImageMetadata::staticMetaObject));
    }
    static ep::SxImageInfo described(int width, int height, int channels, ep::ExImageLayout layout, int grid)
    {
        ep::SxImageInfo info = testing::describe(ep::DataTypeUInt16, width, height, channels, layout);
        info.bayerGrid = ep::ExBayerGrid(grid);
        return info;
    }

private slots:
    void initTestCase()
    {
        testing::registerLoader<HandingLoader>();
        QFile file(m_folder.filePath(QStringLiteral("x.hand")));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    void depthIsWhatTheFileSays_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("ofImage");
        QTest::addColumn<int>("declared");
        QTest::addColumn<int>("depth");
        QTest::addColumn<int>("recorded");
        const int u8 = ep::DataTypeUInt8;
        const int u16 = ep::DataTypeUInt16;
        const int f32 = ep::DataTypeFloat;
        QTest::newRow("nothing known: the sample type's") << u16 << 0 << 0 << 16 << 16;
        QTest::newRow("only the loader knows") << u16 << 14 << 0 << 14 << 14;
        QTest::newRow("only the file says") << u16 << 0 << 14 << 14 << 14;
        QTest::newRow("the loader found less in the samples") << u16 << 11 << 14 << 14 << 14;
        QTest::newRow("the loader found more than was declared") << u16 << 15 << 14 << 15 << 14;
        QTest::newRow("more than the type holds is not believed") << u8 << 0 << 14 << 8 << 14;
        QTest::newRow("a negative depth is not believed") << u8 << -1 << -3 << 8 << -3;
        QTest::newRow("floats have the depth of their type") << f32 << 0 << 14 << 32 << 14;
    }

    void depthIsWhatTheFileSays()
    {
        QFETCH(int, type);
        QFETCH(int, ofImage);
        QFETCH(int, declared);
        QFETCH(int, depth);
        QFETCH(int, recorded);
        ep::SxImageInfo info = testing::describe(ep::ExImageDataType(type), 3, 2);
        info.bitDepth = ofImage;
        CxCommonImageMetadata given;
        given.colorBitDepth = declared;
        QVERIFY(load(testing::randomImage(info), &given));
        QCOMPARE(m_read->bitDepth, depth);
        QCOMPARE(common().colorBitDepth, recorded);
    }

    void commonItemIsAlwaysThere()
    {
        ep::SxImageInfo info = described(4, 2, 1, ep::LayoutPacked, ep::BayerGridCell);
        info.patternWidth = 4;
        info.patternHeight = 1;
        QVERIFY(load(testing::randomImage(info), nullptr));
        QCOMPARE(m_metadata.items().size(), 1);
        QCOMPARE(common().bayerGrid, qint32(ep::BayerGridCell));
        QCOMPARE(common().patternWidth, 4);
        QCOMPARE(common().patternHeight, 1);
        QCOMPARE(common().colorBitDepth, 16);
    }

    void metadataIsHandedOnAsItIs()
    {
        const ep::CxMetadata full = testing::fullMetadata();
        const auto* item = static_cast<const CxCommonImageMetadata*>(full.items().first());
        QVERIFY(load(testing::randomImage(described(4, 2, 3, ep::LayoutPlanar, ep::BayerGridNone)), item));
        QCOMPARE(m_metadata.saveToXml(1), full.saveToXml(1));
    }

    void oneChannelIsPackedAndHasItsCell_data()
    {
        QTest::addColumn<int>("layout");
        QTest::addColumn<int>("grid");
        for (const ep::ExImageLayout layout : testing::allLayouts)
            for (int grid = 0; grid <= 5; ++grid)
                QTest::addRow("%s, grid %d", layout == ep::LayoutPlanar ? "planar" : "packed", grid)
                    << int(layout) << grid;
    }

    void oneChannelIsPackedAndHasItsCell()
    {
        QFETCH(int, layout);
        QFETCH(int, grid);
        ep::SxImageInfo info = described(6, 4, 1, ep::ExImageLayout(layout), grid);
        info.stride = 17;
        if (grid == ep::BayerGridCell) {
            info.patternWidth = 3;
            info.patternHeight = 4;
        }
        CxCommonImageMetadata given;
        given.bayerGrid = grid;
        given.layout = layout;
        QVERIFY(load(testing::randomImage(info), &given));
        QVERIFY(ep::SameSamples(m_read.image(), HandingLoader::handed->image()));
        QCOMPARE(m_read->layout, ep::LayoutPacked);
        QCOMPARE(m_read->stride, 17);
        QCOMPARE(int(m_read->bayerGrid), grid);
        const int width = grid < ep::BayerGridNone ? 2 : info.patternWidth;
        const int height = grid < ep::BayerGridNone ? 2 : info.patternHeight;
        QCOMPARE(QSize(m_read->patternWidth, m_read->patternHeight), QSize(width, height));
        QCOMPARE(common().layout, qint32(ep::LayoutPacked));
    }

    void severalChannelsKeepTheirLayout_data()
    {
        QTest::addColumn<int>("layout");
        QTest::newRow("packed") << int(ep::LayoutPacked);
        QTest::newRow("planar") << int(ep::LayoutPlanar);
    }

    void severalChannelsKeepTheirLayout()
    {
        QFETCH(int, layout);
        QVERIFY(load(testing::randomImage(described(6, 4, 3, ep::ExImageLayout(layout), ep::BayerGridRGGB)), nullptr));
        QCOMPARE(int(m_read->layout), layout);
        QCOMPARE(m_read->patternWidth, 0);
        QCOMPARE(common().layout, layout);
    }

    void planesOfACellBecomeAMosaic_data()
    {
        QTest::addColumn<int>("grid");
        QTest::addColumn<int>("layout");
        QTest::addColumn<QSize>("cell");
        QTest::addColumn<bool>("isMosaic");
        const QSize cell(3, 2);
        const int split = ep::LayoutPacked;  // a mosaic was packed before it was split
        QTest::newRow("as many planes as the cell has samples") << 5 << split << cell << true;
        QTest::newRow("turned") << 5 << split << QSize(2, 3) << true;
        QTest::newRow("another grid") << 4 << split << cell << false;
        QTest::newRow("planes that were planes when saved") << 5 << int(ep::LayoutPlanar) << cell << false;
        QTest::newRow("a larger cell") << 5 << split << QSize(3, 3) << false;
        QTest::newRow("no cell") << 5 << split << QSize(0, 0) << false;
        QTest::newRow("a negative cell of the same count") << 5 << split << QSize(-3, -2) << false;
        QTest::newRow("a cell whose count overflows") << 5 << split << QSize(0x10000, 0x10000) << false;
    }

    void planesOfACellBecomeAMosaic()
    {
        QFETCH(int, grid);
        QFETCH(int, layout);
        QFETCH(QSize, cell);
        QFETCH(bool, isMosaic);
        CxCommonImageMetadata given;
        given.bayerGrid = grid;
        given.layout = layout;
        given.patternWidth = cell.width();
        given.patternHeight = cell.height();
        QVERIFY(load(testing::randomImage(described(4, 5, 6, ep::LayoutPlanar, ep::BayerGridNone)), &given));
        const ep::SxImageBuf& planes = HandingLoader::handed->image();
        if (!isMosaic) {
            QVERIFY(ep::SameSamples(m_read.image(), planes));
            QCOMPARE(m_read->layout, ep::LayoutPlanar);
            return;
        }
        QCOMPARE(QSize(m_read->width, m_read->height), QSize(4 * cell.width(), 5 * cell.height()));
        QCOMPARE(m_read->channels, 1);
        QCOMPARE(m_read->layout, ep::LayoutPacked);
        QCOMPARE(m_read->bayerGrid, ep::BayerGridCell);
        QCOMPARE(QSize(m_read->patternWidth, m_read->patternHeight), cell);
        for (int y = 0; y < m_read->height; ++y)
            for (int x = 0; x < m_read->width; ++x) {
                const int plane = y % cell.height() * cell.width() + x % cell.width();
                QVERIFY(
                    testing::sameSample(m_read.image(), x, y, 0, planes, x / cell.width(), y / cell.height(), plane));
            }
    }
};

QTEST_GUILESS_MAIN(CompleteLoadedImageTest)
#include "CompleteLoadedImageTest.moc"

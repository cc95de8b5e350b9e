// TIFF files through the format manager, which knows the plug-in from its data and loads it when a file needs it.

#include "TestImages.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageFormatManager.h>
#include <ep/CxRtti.h>
#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

using Manager = ep::CxImageFormatManager;

namespace {

/** Who serves the suffix "tif", as the list of formats tells. */
QString providerOfTiff()
{
    for (const ep::SxFormatInfo& format : Manager::instance()->formats())
        if (format.suffixes.contains(QStringLiteral("tif")))
            return format.provider;
    return QString();
}

}  // namespace

class TiffManagerTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

private slots:
    void pluginIsLoadedByTheFirstFile()
    {
        const QString interfaceName = QStringLiteral("IxImageDataLoader");
        QCOMPARE(providerOfTiff(), QStringLiteral("epformat_tiff"));
        QVERIFY(ep::CxRtti::instance()->classes(interfaceName).isEmpty());
        const QString path = m_folder.filePath(QStringLiteral("first.TIFF"));
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 7, 5));
        ep::SxFileError error;
        QVERIFY2(Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error),
                 qPrintable(error.reason));
        QVERIFY(!ep::CxRtti::instance()->classes(interfaceName).isEmpty());
        QVERIFY(providerOfTiff() != QStringLiteral("epformat_tiff"));
        ep::CxScopedBuffer read;
        QVERIFY(Manager::loadImageFromFile(path, read.image(), nullptr));
        QVERIFY(ep::SameSamples(read.image(), image.image()));
    }

    void mosaicOfOnePlaneComesBack_data()
    {
        QTest::addColumn<int>("layout");
        QTest::addColumn<int>("grid");
        for (const ep::ExImageLayout layout : testing::allLayouts)
            for (int grid = ep::BayerGridBGGR; grid <= ep::BayerGridCell; ++grid)
                QTest::addRow("%s, grid %d", layout == ep::LayoutPlanar ? "planar" : "packed", grid)
                    << int(layout) << grid;
    }

    void mosaicOfOnePlaneComesBack()
    {
        QFETCH(int, layout);
        QFETCH(int, grid);
        const QString path = m_folder.filePath(QStringLiteral("mosaic.tif"));
        ep::SxImageInfo info = testing::describe(ep::DataTypeUInt16, 9, 6, 1, ep::ExImageLayout(layout), 3);
        info.bayerGrid = ep::ExBayerGrid(grid);
        info.patternWidth = grid == ep::BayerGridNone ? 0 : grid == ep::BayerGridCell ? 3 : 2;
        info.patternHeight = grid == ep::BayerGridNone ? 0 : 2;
        const ep::CxScopedBuffer image = testing::randomImage(info);
        ep::SxFileError error;
        QVERIFY2(Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString(), &error),
                 qPrintable(error.reason));
        ep::CxScopedBuffer read;
        ep::CxMetadata metadata;
        QVERIFY2(Manager::loadImageFromFile(path, read.image(), &metadata, nullptr, &error), qPrintable(error.reason));
        QVERIFY(ep::SameSamples(read.image(), image.image()));
        QCOMPARE(int(read->layout), int(ep::LayoutPacked));
        QCOMPARE(int(read->bayerGrid), grid);
        QCOMPARE(read->patternWidth, info.patternWidth);
        QCOMPARE(read->patternHeight, info.patternHeight);
        const auto* common = qobject_cast<const ep::CxCommonImageMetadata*>(
            metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
        QVERIFY(common);
        QCOMPARE(common->bayerGrid, grid);
        QCOMPARE(common->layout, qint32(ep::LayoutPacked));
    }

    void imagePastTheMemoryLimitIsRefused()
    {
        const QString path = m_folder.filePath(QStringLiteral("large.tif"));
        const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 200, 100, 3));
        QVERIFY(Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()));
        ep::CxScopedBuffer read;
        ep::SxFileError error;
        Manager::instance()->setMemoryLimit(200 * 100 * 3 * 2 - 1);
        const bool refused = !Manager::loadImageFromFile(path, read.image(), nullptr, nullptr, &error);
        Manager::instance()->setMemoryLimit(0);
        QVERIFY(refused);
        QCOMPARE(error.kind, ep::ExFileError::TooLarge);
        QVERIFY(!read->data);
        QVERIFY(Manager::loadImageFromFile(path, read.image(), nullptr));
    }
};

QTEST_GUILESS_MAIN(TiffManagerTest)
#include "TiffManagerTest.moc"

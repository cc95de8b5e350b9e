#include <orn/matlab/CxMatlabImageSaver.h>

#include <orn/Init.h>
#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/LoadImageFromMat.h>

#include "LogCapture.h"
#include "SavedMat.h"
#include "TestImages.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/SameSamples.h>

#include <QtTest>

using orn::matlab::CxMatlabImageMetadata;
using orn::matlab::CxMatlabImageSaver;

namespace {

using Options = QMap<QString, QVariant>;

/** The first item of a class; it lives as long as @p metadata. */
template <typename Item>
const Item* itemOf(const ep::CxMetadata& metadata)
{
    return qobject_cast<const Item*>(metadata.findItem(Item::staticMetaObject));
}

template <typename Item>
const Item* itemOf(const ep::CxMetadata&& metadata) = delete;

}  // namespace

class CxMatlabImageSaverTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void answers();
    void planes_data();
    void planes();
    void options_data();
    void options();
    void optionsAreReplacedNotMerged();
    void theMetadataIsCompleted();
    void itemsThatAreThereAreUpdatedInPlace();
    void ofSeveralItemsTheFirstIsUpdated();
    void theDataObjectIsNotChanged();
    void savingTwiceRecreatesTheFile();

private:
    QString path(const char* name) const { return m_folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir m_folder;
};

void CxMatlabImageSaverTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    orn::Init();
}

void CxMatlabImageSaverTest::answers()
{
    CxMatlabImageSaver saver;
    const QList<QPair<QString, int>> expected{{QStringLiteral("MATLAB matrix (*.mat)"), 1}};
    QCOMPARE(saver.formats(), expected);
    QCOMPARE(saver.acceptsInterleavedChannels(), false);
    QCOMPARE(saver.defaultOptions(), Options());
    QCOMPARE(saver.fileName(), QString());
    saver.setFileName(QStringLiteral("a.mat"));
    QCOMPARE(saver.fileName(), QStringLiteral("a.mat"));
}

void CxMatlabImageSaverTest::planes_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("grid");
    QTest::addColumn<QSize>("cell");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QSize>("planeSize");

    const auto numbered = [](int count) {
        QStringList names;
        for (int i = 1; i <= count; ++i)
            names << QStringLiteral("ep_image_channel_%1").arg(i);
        return names;
    };
    const int packed = ep::LayoutPacked;
    const int planar = ep::LayoutPlanar;
    const QSize none(0, 0);
    QTest::newRow("a plain packed image is one plane")
        << packed << 5 << 3 << 1 << 4 << none << numbered(1) << QSize(5, 3);
    QTest::newRow("a plain planar image is one plane")
        << planar << 5 << 3 << 1 << 4 << none << numbered(1) << QSize(5, 3);
    QTest::newRow("planes stay planes") << planar << 5 << 3 << 3 << 4 << none << numbered(3) << QSize(5, 3);
    QTest::newRow("a mosaic is split") << packed << 6 << 4 << 1 << 1 << none << numbered(4) << QSize(3, 2);
    QTest::newRow("an odd mosaic loses its last row and column")
        << packed << 7 << 5 << 1 << 1 << none << numbered(4) << QSize(3, 2);
    QTest::newRow("a planar mosaic is told by its grid")
        << planar << 6 << 4 << 1 << 2 << none << QStringList(QStringLiteral("ep_image_GBRG")) << QSize(6, 4);
    QTest::newRow("a cell of 6 x 6 gives 36 planes")
        << packed << 12 << 18 << 1 << 5 << QSize(6, 6) << numbered(36) << QSize(2, 3);
    QTest::newRow("a mosaic that is no multiple of its cell loses the rest")
        << packed << 13 << 11 << 1 << 5 << QSize(3, 2) << numbered(6) << QSize(4, 5);
    QTest::newRow("packed channels are split as though they were a mosaic")
        << packed << 6 << 4 << 3 << 4 << none << numbered(4) << QSize(3, 2);
}

void CxMatlabImageSaverTest::planes()
{
    QFETCH(int, layout);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, grid);
    QFETCH(QSize, cell);
    QFETCH(QStringList, names);
    QFETCH(QSize, planeSize);

    ep::CxScopedBuffer image =
        testing::randomImage(testing::describe(ep::DataTypeUInt16, width, height, channels, ep::ExImageLayout(layout)));
    image->bayerGrid = ep::ExBayerGrid(grid);
    image->patternWidth = cell.width();
    image->patternHeight = cell.height();
    ep::CxImageData data;
    data.setImageShallow(image.take(), 0, 0, QDateTime());

    testing::LogCapture log;
    CxMatlabImageSaver saver;
    saver.setFileName(path("planes.mat"));
    QVERIFY(saver.saveImage(&data));
    QCOMPARE(log.criticals(), QStringList());
    QVERIFY2(!saver.lastError(), qPrintable(saver.lastError().reason));
    QCOMPARE(saver.expectedFileSize(), QFileInfo(path("planes.mat")).size());

    const testing::SavedMat mat(path("planes.mat"));
    QCOMPARE(mat.names(), names + QStringList(QStringLiteral("ep_image_metadata")));
    for (const QString& name : names)
        QCOMPARE(mat.size(name), planeSize);
    const ep::CxMetadata metadata = mat.metadata();
    const auto* item = itemOf<CxMatlabImageMetadata>(metadata);
    QVERIFY(item);
    QCOMPARE(item->origChannels, channels);
    QCOMPARE(item->savedChannels, names.size());
    QCOMPARE(item->reverseRows, true);
}

void CxMatlabImageSaverTest::options_data()
{
    QTest::addColumn<QMap<QString, QVariant>>("options");
    QTest::addColumn<QString>("variable");
    QTest::addColumn<bool>("reverseRows");
    const QString name = QStringLiteral("matname");
    const QString reverse = QStringLiteral("reverse_rows");
    const QString usual = QStringLiteral("ep_image_channel_1");
    QTest::newRow("none: ep_image, reversed") << Options() << usual << true;
    QTest::newRow("an empty name is none") << Options{{name, QString()}} << usual << true;
    QTest::newRow("a name") << Options{{name, QStringLiteral("scene")}} << QStringLiteral("scene_channel_1") << true;
    QTest::newRow("a name that is a number") << Options{{name, 7}} << QStringLiteral("7_channel_1") << true;
    QTest::newRow("rows in order") << Options{{reverse, false}} << usual << false;
    QTest::newRow("rows in order, as text") << Options{{reverse, QStringLiteral("false")}} << usual << false;
    QTest::newRow("rows in order, as a number") << Options{{reverse, 0}} << usual << false;
    QTest::newRow("rows reversed, said") << Options{{reverse, true}} << usual << true;
    QTest::newRow("a value that is no flag is false") << Options{{reverse, QVariant()}} << usual << false;
    QTest::newRow("unknown keys are ignored") << Options{{QStringLiteral("quality"), 90}} << usual << true;
}

void CxMatlabImageSaverTest::options()
{
    QFETCH(Options, options);
    QFETCH(QString, variable);
    QFETCH(bool, reverseRows);
    const ep::SxImageInfo info = testing::describe(ep::DataTypeUInt16, 5, 3, 1, ep::LayoutPacked, 6);
    const ep::CxScopedBuffer image = testing::randomImage(info);
    ep::CxImageData data;
    data.setImageShallow(testing::randomImage(info).take(), 0, 0, QDateTime());
    CxMatlabImageSaver saver;
    saver.setFileName(path("options.mat"));
    saver.setOptions(options);
    QVERIFY(saver.saveImage(&data));
    QVERIFY2(!saver.lastError(), qPrintable(saver.lastError().reason));

    const testing::SavedMat mat(path("options.mat"));
    QCOMPARE(mat.names(), QStringList({variable, QStringLiteral("ep_image_metadata")}));
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            QCOMPARE(mat.element<quint16>(variable, reverseRows ? info.height - 1 - y : y, x),
                     testing::sampleAt<quint16>(image.image(), x, y));
    const QByteArray tag = reverseRows ? "<reverse_rows>true</reverse_rows>" : "<reverse_rows>false</reverse_rows>";
    QVERIFY2(mat.text(QStringLiteral("ep_image_metadata")).contains(tag), "the metadata tells the order of rows");
}

void CxMatlabImageSaverTest::optionsAreReplacedNotMerged()
{
    ep::CxImageData data;
    data.setImageShallow(testing::randomImage(testing::describe(ep::DataTypeUInt8, 2, 2)).take(), 0, 0, QDateTime());
    CxMatlabImageSaver saver;
    saver.setFileName(path("replaced.mat"));
    saver.setOptions({{QStringLiteral("matname"), QStringLiteral("scene")}});
    saver.setOptions({{QStringLiteral("reverse_rows"), false}});
    QVERIFY(saver.saveImage(&data));
    QCOMPARE(testing::SavedMat(path("replaced.mat")).names().first(), QStringLiteral("ep_image_channel_1"));
}

void CxMatlabImageSaverTest::theMetadataIsCompleted()
{
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 6, 4));
    image->bayerGrid = ep::BayerGridCell;
    image->patternWidth = 3;
    image->patternHeight = 2;
    ep::CxImageData data;
    data.setImageShallow(image.take(), 0, 0, QDateTime());
    CxMatlabImageSaver saver;
    saver.setFileName(path("completed.mat"));
    QVERIFY(saver.saveImage(&data));

    const ep::CxMetadata metadata = testing::SavedMat(path("completed.mat")).metadata();
    QCOMPARE(metadata.items().size(), 2);
    const auto* common = qobject_cast<const ep::CxCommonImageMetadata*>(metadata.items().at(0));
    QVERIFY(common);
    QCOMPARE(common->bayerGrid, 5);
    QCOMPARE(common->layout, 0);
    QCOMPARE(common->patternWidth, 3);
    QCOMPARE(common->patternHeight, 2);
    const auto* mat = qobject_cast<const CxMatlabImageMetadata*>(metadata.items().at(1));
    QVERIFY(mat);
    QCOMPARE(mat->origChannels, 1);
    QCOMPARE(mat->savedChannels, 6);
}

void CxMatlabImageSaverTest::itemsThatAreThereAreUpdatedInPlace()
{
    auto* old = new CxMatlabImageMetadata;
    old->origChannels = 9;
    old->savedChannels = 9;
    auto* common = new ep::CxCommonImageMetadata;
    common->bayerGrid = 1;
    common->layout = 0;
    common->patternWidth = 8;
    common->patternHeight = 8;
    common->cameraMake = QStringLiteral("Größe 相機 📷");
    ep::CxMetadata metadata;
    metadata.addMetadata(old);
    metadata.addMetadata(common);
    ep::CxImageData data;
    data.setImageShallow(testing::randomImage(testing::describe(ep::DataTypeFloat, 3, 2, 2, ep::LayoutPlanar)).take(),
                         0, 0, QDateTime());
    data.setMetadata(std::move(metadata));
    CxMatlabImageSaver saver;
    saver.setFileName(path("updated.mat"));
    QVERIFY(saver.saveImage(&data));

    const ep::CxMetadata read = testing::SavedMat(path("updated.mat")).metadata();
    QCOMPARE(read.items().size(), 2);
    const auto* mat = qobject_cast<const CxMatlabImageMetadata*>(read.items().at(0));
    QVERIFY(mat);
    QCOMPARE(mat->origChannels, 2);
    QCOMPARE(mat->savedChannels, 2);
    QCOMPARE(mat->reverseRows, true);
    const auto* readCommon = qobject_cast<const ep::CxCommonImageMetadata*>(read.items().at(1));
    QVERIFY(readCommon);
    QCOMPARE(readCommon->bayerGrid, 4);
    QCOMPARE(readCommon->layout, 1);
    QCOMPARE(readCommon->patternWidth, 0);
    QCOMPARE(readCommon->patternHeight, 0);
    QCOMPARE(readCommon->cameraMake, QStringLiteral("Größe 相機 📷"));
}

void CxMatlabImageSaverTest::ofSeveralItemsTheFirstIsUpdated()
{
    ep::CxMetadata metadata;
    for (int i = 0; i < 2; ++i) {
        metadata.addMetadata(new CxMatlabImageMetadata);
        metadata.addMetadata(new ep::CxCommonImageMetadata);
    }
    ep::CxImageData data;
    data.setImageShallow(testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2, 2, ep::LayoutPlanar)).take(),
                         0, 0, QDateTime());
    data.setMetadata(std::move(metadata));
    CxMatlabImageSaver saver;
    saver.setFileName(path("several.mat"));
    QVERIFY(saver.saveImage(&data));

    const ep::CxMetadata read = testing::SavedMat(path("several.mat")).metadata();
    QCOMPARE(read.items().size(), 4);
    QCOMPARE(qobject_cast<const CxMatlabImageMetadata*>(read.items().at(0))->savedChannels, 2);
    QCOMPARE(qobject_cast<const ep::CxCommonImageMetadata*>(read.items().at(1))->layout, 1);
    QCOMPARE(qobject_cast<const CxMatlabImageMetadata*>(read.items().at(2))->savedChannels, 0);
    QCOMPARE(qobject_cast<const ep::CxCommonImageMetadata*>(read.items().at(3))->layout, 0);
}

void CxMatlabImageSaverTest::theDataObjectIsNotChanged()
{
    const ep::SxImageInfo info = testing::describe(ep::DataTypeInt32, 6, 4);
    ep::CxScopedBuffer image = testing::randomImage(info);
    image->bayerGrid = ep::BayerGridRGGB;
    const ep::SxImageBuf record = image.image();
    auto* item = new CxMatlabImageMetadata;
    item->origChannels = 9;
    ep::CxMetadata metadata;
    metadata.addMetadata(item);
    ep::CxImageData data;
    data.setImageShallow(image.take(), 0, 0, QDateTime());
    data.setMetadata(std::move(metadata));

    CxMatlabImageSaver saver;
    saver.setFileName(path("unchanged.mat"));
    QVERIFY(saver.saveImage(&data));
    QCOMPARE(std::memcmp(&data.image(), &record, sizeof(record)), 0);
    QVERIFY(ep::SameSamples(data.image(), testing::randomImage(info).image()));
    QCOMPARE(data.metadata().items(), QList<ep::IxMetadataItem*>{item});
    QCOMPARE(item->origChannels, 9);
    QCOMPARE(item->savedChannels, 0);
    QCOMPARE(item->reverseRows, false);
}

void CxMatlabImageSaverTest::savingTwiceRecreatesTheFile()
{
    CxMatlabImageSaver saver;
    saver.setFileName(path("twice.mat"));
    ep::CxImageData large;
    large.setImageShallow(
        testing::randomImage(testing::describe(ep::DataTypeDouble, 30, 20, 3, ep::LayoutPlanar)).take(), 0, 0,
        QDateTime());
    QVERIFY(saver.saveImage(&large));
    const qint64 largeSize = saver.expectedFileSize();
    ep::CxImageData small;
    const ep::SxImageInfo info = testing::describe(ep::DataTypeUInt8, 3, 2);
    small.setImageShallow(testing::randomImage(info).take(), 0, 0, QDateTime());
    QVERIFY(saver.saveImage(&small));
    QVERIFY(!saver.lastError());
    QVERIFY(saver.expectedFileSize() < largeSize);
    QCOMPARE(QFileInfo(path("twice.mat")).size(), saver.expectedFileSize());
    QCOMPARE(testing::SavedMat(path("twice.mat")).names().size(), 2);

    ep::CxScopedBuffer read;
    bool isEntropy = true;
    QVERIFY(orn::matlab::LoadImageFromMat(path("twice.mat"), read.image(), isEntropy, nullptr));
    QVERIFY(ep::SameSamples(read.image(), testing::randomImage(info).image()));
}

QTEST_GUILESS_MAIN(CxMatlabImageSaverTest)
#include "CxMatlabImageSaverTest.moc"

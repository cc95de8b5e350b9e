// Images saved as MAT files through the format manager come back as they were.

#include <orn/Init.h>
#include <orn/matlab/CxMatlabImageMetadata.h>

#include "FullMetadata.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QtTest>

using Manager = ep::CxImageFormatManager;

namespace {

bool save(const QString& path, const ep::SxImageBuf& image, const ep::CxMetadata* metadata, bool reverseRows,
          ep::SxFileError& error)
{
    const QMap<QString, QVariant> options{{QStringLiteral("reverse_rows"), reverseRows}};
    return Manager::saveImageToFile(path, image, metadata, &options, false, QString(), &error);
}

bool load(const QString& path, ep::CxScopedBuffer& image, ep::CxMetadata* metadata, ep::SxFileError& error)
{
    return Manager::loadImageFromFile(path, image.image(), metadata, nullptr, &error);
}

QByteArray rowName(int type, int layout, int channels, bool reverseRows)
{
    return QByteArray(ep::sampleFacts(type).name) + (layout == ep::LayoutPlanar ? " planar x" : " packed x")
           + QByteArray::number(channels) + (reverseRows ? " reversed" : "");
}

}  // namespace

class MatRoundTripTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init() { m_path = m_folder.filePath(QStringLiteral("image.mat")); }
    void cleanup() { QFile::remove(m_path); }
    void plainImages_data();
    void plainImages();
    void mosaics_data();
    void mosaics();
    void cells_data();
    void cells();
    void gridSaidAfterLoadingIsSaved_data();
    void gridSaidAfterLoadingIsSaved();
    void sampleTypesThatAreNotReadBack_data();
    void sampleTypesThatAreNotReadBack();
    void mosaicsWithAPartialCellAreNotSaved_data();
    void mosaicsWithAPartialCellAreNotSaved();
    void pathsOutsideAscii();
    void fullMetadataSurvives_data();
    void fullMetadataSurvives();
    void depths_data();
    void depths();

private:
    QTemporaryDir m_folder;
    QString m_path;
};

void MatRoundTripTest::initTestCase()
{
    QVERIFY(m_folder.isValid());
    orn::Init();
}

void MatRoundTripTest::plainImages_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("reverseRows");
    for (int type = ep::DataTypeInt8; type <= ep::DataTypeDouble; ++type)
        for (const int layout : {ep::LayoutPacked, ep::LayoutPlanar})
            for (const int channels : {1, 2, 3, 4, 5})
                for (const bool reverseRows : {false, true})
                    QTest::newRow(rowName(type, layout, channels, reverseRows).constData())
                        << type << layout << channels << reverseRows;
}

void MatRoundTripTest::plainImages()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channels);
    QFETCH(bool, reverseRows);
    const ep::CxScopedBuffer image = testing::randomImage(
        testing::describe(ep::ExImageDataType(type), 7, 5, channels, ep::ExImageLayout(layout), 3));
    ep::SxFileError error;
    QVERIFY2(save(m_path, image.image(), nullptr, reverseRows, error), qPrintable(error.reason));
    ep::CxScopedBuffer read;
    ep::CxMetadata metadata;
    QVERIFY2(load(m_path, read, &metadata, error), qPrintable(error.reason));
    QVERIFY(ep::SameSamples(read.image(), image.image()));
    // Each channel is a variable of its own, so that channels come back as planes; a single one is called packed.
    QCOMPARE(int(read->layout), int(channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked));
    QCOMPARE(int(read->bayerGrid), int(ep::BayerGridNone));
    const auto* item = qobject_cast<const orn::matlab::CxMatlabImageMetadata*>(
        metadata.findItem(orn::matlab::CxMatlabImageMetadata::staticMetaObject));
    QVERIFY(item);
    QCOMPARE(item->origChannels, channels);
    QCOMPARE(item->savedChannels, channels);
    QCOMPARE(item->reverseRows, reverseRows);
}

void MatRoundTripTest::mosaics_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("grid");
    QTest::addColumn<bool>("reverseRows");
    static const char* const grids[] = {"BGGR ", "RGGB ", "GBRG ", "GRBG "};
    for (int type = ep::DataTypeInt8; type <= ep::DataTypeDouble; ++type)
        for (const int layout : {ep::LayoutPacked, ep::LayoutPlanar})
            for (int grid = ep::BayerGridBGGR; grid <= ep::BayerGridGRBG; ++grid)
                for (const bool reverseRows : {false, true})
                    QTest::newRow((grids[grid] + rowName(type, layout, 1, reverseRows)).constData())
                        << type << layout << grid << reverseRows;
}

void MatRoundTripTest::mosaics()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, grid);
    QFETCH(bool, reverseRows);
    ep::CxScopedBuffer image =
        testing::randomImage(testing::describe(ep::ExImageDataType(type), 8, 6, 1, ep::ExImageLayout(layout), 5));
    image->bayerGrid = ep::ExBayerGrid(grid);
    ep::SxFileError error;
    QVERIFY2(save(m_path, image.image(), nullptr, reverseRows, error), qPrintable(error.reason));
    ep::CxScopedBuffer read;
    QVERIFY2(load(m_path, read, nullptr, error), qPrintable(error.reason));
    QVERIFY(ep::SameSamples(read.image(), image.image()));
    QCOMPARE(int(read->layout), int(ep::LayoutPacked));
    QCOMPARE(int(read->bayerGrid), grid);
}

void MatRoundTripTest::cells_data()
{
    QTest::addColumn<QSize>("cell");
    QTest::addColumn<int>("layout");
    QTest::addColumn<bool>("reverseRows");
    QTest::newRow("6 x 6") << QSize(6, 6) << int(ep::LayoutPacked) << false;
    QTest::newRow("6 x 6 reversed") << QSize(6, 6) << int(ep::LayoutPacked) << true;
    QTest::newRow("3 x 2 reversed") << QSize(3, 2) << int(ep::LayoutPacked) << true;
    QTest::newRow("3 x 2 planar") << QSize(3, 2) << int(ep::LayoutPlanar) << false;
    QTest::newRow("3 x 2 planar and reversed") << QSize(3, 2) << int(ep::LayoutPlanar) << true;
}

void MatRoundTripTest::cells()
{
    QFETCH(QSize, cell);
    QFETCH(int, layout);
    QFETCH(bool, reverseRows);
    ep::CxScopedBuffer image = testing::randomImage(
        testing::describe(ep::DataTypeUInt16, 3 * cell.width(), 2 * cell.height(), 1, ep::ExImageLayout(layout), 3));
    image->bayerGrid = ep::BayerGridCell;
    image->patternWidth = cell.width();
    image->patternHeight = cell.height();
    ep::SxFileError error;
    QVERIFY2(save(m_path, image.image(), nullptr, reverseRows, error), qPrintable(error.reason));
    ep::CxScopedBuffer read;
    QVERIFY2(load(m_path, read, nullptr, error), qPrintable(error.reason));
    QVERIFY(ep::SameSamples(read.image(), image.image()));
    QCOMPARE(int(read->layout), int(ep::LayoutPacked));
    QCOMPARE(int(read->bayerGrid), int(ep::BayerGridCell));
    QCOMPARE(QSize(read->patternWidth, read->patternHeight), cell);
}

void MatRoundTripTest::gridSaidAfterLoadingIsSaved_data()
{
    QTest::addColumn<int>("grid");
    for (int grid = ep::BayerGridBGGR; grid <= ep::BayerGridCell; ++grid)
        if (grid != ep::BayerGridNone)
            QTest::newRow(qPrintable(QStringLiteral("grid %1").arg(grid))) << grid;
}

void MatRoundTripTest::gridSaidAfterLoadingIsSaved()
{
    QFETCH(int, grid);
    const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 6, 4));
    ep::SxFileError error;
    QVERIFY2(save(m_path, image.image(), nullptr, true, error), qPrintable(error.reason));
    ep::CxScopedBuffer first;
    ep::CxMetadata metadata;
    QVERIFY2(load(m_path, first, &metadata, error), qPrintable(error.reason));
    first->bayerGrid = ep::ExBayerGrid(grid);
    first->patternWidth = grid == ep::BayerGridCell ? 3 : 2;
    first->patternHeight = 2;
    QVERIFY2(save(m_path, first.image(), &metadata, true, error), qPrintable(error.reason));
    ep::CxScopedBuffer second;
    QVERIFY2(load(m_path, second, nullptr, error), qPrintable(error.reason));
    QVERIFY(ep::SameSamples(second.image(), image.image()));
    QCOMPARE(int(second->bayerGrid), grid);
    QCOMPARE(second->patternWidth, first->patternWidth);
}

void MatRoundTripTest::sampleTypesThatAreNotReadBack_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("isSaved");
    QTest::addColumn<int>("kind");
    QTest::newRow("signed 64-bit integers are saved, and refused on loading")
        << int(ep::DataTypeInt64) << true << int(ep::ExFileError::Unsupported);
    QTest::newRow("unsigned 64-bit integers are saved, and refused on loading")
        << int(ep::DataTypeUInt64) << true << int(ep::ExFileError::Unsupported);
    QTest::newRow("complex samples are not saved")
        << int(ep::DataTypeComplex) << false << int(ep::ExFileError::Refused);
}

void MatRoundTripTest::sampleTypesThatAreNotReadBack()
{
    QFETCH(int, type);
    QFETCH(bool, isSaved);
    QFETCH(int, kind);
    const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::ExImageDataType(type), 7, 5));
    ep::SxFileError error;
    QCOMPARE(save(m_path, image.image(), nullptr, true, error), isSaved);
    QCOMPARE(QFileInfo::exists(m_path), isSaved);
    if (isSaved) {
        ep::CxScopedBuffer read;
        QVERIFY(!load(m_path, read, nullptr, error));
        QVERIFY(!read->data);
    }
    QCOMPARE(int(error.kind), kind);
    QVERIFY(!error.reason.isEmpty());
}

void MatRoundTripTest::mosaicsWithAPartialCellAreNotSaved_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("grid");
    QTest::newRow("an odd width") << QSize(7, 6) << int(ep::BayerGridRGGB);
    QTest::newRow("an odd height") << QSize(8, 5) << int(ep::BayerGridGBRG);
    QTest::newRow("a width that is no multiple of the cell") << QSize(8, 6) << int(ep::BayerGridCell);
}

void MatRoundTripTest::mosaicsWithAPartialCellAreNotSaved()
{
    QFETCH(QSize, size);
    QFETCH(int, grid);
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt16, size.width(), size.height()));
    image->bayerGrid = ep::ExBayerGrid(grid);
    image->patternWidth = grid == ep::BayerGridCell ? 3 : 2;
    image->patternHeight = 2;
    ep::SxFileError error;
    QVERIFY(!save(m_path, image.image(), nullptr, true, error));
    QVERIFY(error);
    QVERIFY(!error.reason.isEmpty());
    QVERIFY(QDir(m_folder.path()).isEmpty());
}

void MatRoundTripTest::pathsOutsideAscii()
{
    m_path = m_folder.filePath(QStringLiteral("Größe 相機 📷.mat"));
    const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 7, 5));
    ep::SxFileError error;
    QVERIFY2(save(m_path, image.image(), nullptr, true, error), qPrintable(error.reason));
    QVERIFY(QFileInfo::exists(m_path));
    ep::CxScopedBuffer read;
    QVERIFY2(load(m_path, read, nullptr, error), qPrintable(error.reason));
    QVERIFY(ep::SameSamples(read.image(), image.image()));
}

void MatRoundTripTest::fullMetadataSurvives_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("grid");
    QTest::newRow("with a mosaic") << int(ep::LayoutPacked) << 1 << int(ep::BayerGridRGGB);
    QTest::newRow("with planes") << int(ep::LayoutPlanar) << 3 << int(ep::BayerGridNone);
    QTest::newRow("with a packed photograph") << int(ep::LayoutPacked) << 3 << int(ep::BayerGridNone);
}

void MatRoundTripTest::fullMetadataSurvives()
{
    QFETCH(int, layout);
    QFETCH(int, channels);
    QFETCH(int, grid);
    ep::CxScopedBuffer image =
        testing::randomImage(testing::describe(ep::DataTypeUInt16, 8, 6, channels, ep::ExImageLayout(layout)));
    image->bayerGrid = ep::ExBayerGrid(grid);
    const ep::CxMetadata metadata = testing::fullMetadata();
    ep::SxFileError error;
    QVERIFY2(save(m_path, image.image(), &metadata, true, error), qPrintable(error.reason));
    ep::CxScopedBuffer read;
    ep::CxMetadata readMetadata;
    QVERIFY2(load(m_path, read, &readMetadata, error), qPrintable(error.reason));
    QVERIFY(ep::SameSamples(read.image(), image.image()));

    ep::CxMetadata expected = metadata;
    auto* common = static_cast<ep::CxCommonImageMetadata*>(expected.items().first());
    common->bayerGrid = grid;
    common->layout = channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked;
    auto* mat = new orn::matlab::CxMatlabImageMetadata;
    mat->reverseRows = true;
    mat->origChannels = channels;
    mat->savedChannels = channels > 1 ? channels : 4;
    expected.addMetadata(mat);
    QCOMPARE(readMetadata.saveToXml(1), expected.saveToXml(1));
    QVERIFY(readMetadata.saveToXml(1).contains(QStringLiteral("Gr&#")));
}

void MatRoundTripTest::depths_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("largest");
    QTest::addColumn<int>("ofImage");
    QTest::addColumn<int>("recorded");
    QTest::addColumn<int>("depth");
    QTest::newRow("12 bits found, nothing known") << int(ep::DataTypeUInt16) << 4095 << 0 << 0 << 12;
    QTest::newRow("12 bits found, image of 14") << int(ep::DataTypeUInt16) << 4095 << 14 << 0 << 14;
    QTest::newRow("12 bits found, 14 recorded") << int(ep::DataTypeUInt16) << 4095 << 0 << 14 << 14;
    QTest::newRow("16 bits found, 14 recorded") << int(ep::DataTypeUInt16) << 65535 << 0 << 14 << 16;
}

void MatRoundTripTest::depths()
{
    QFETCH(int, type);
    QFETCH(int, largest);
    QFETCH(int, ofImage);
    QFETCH(int, recorded);
    QFETCH(int, depth);
    ep::CxScopedBuffer image(testing::describe(ep::ExImageDataType(type), 4, 4));
    image->bitDepth = ofImage;
    QVERIFY(!ep::failed(image.allocate(true)));
    std::memcpy(image->data, &largest, size_t(ep::sampleFacts(type).bytes));
    auto* common = new ep::CxCommonImageMetadata;
    common->colorBitDepth = recorded;
    ep::CxMetadata metadata;
    metadata.addMetadata(common);
    ep::SxFileError error;
    QVERIFY2(save(m_path, image.image(), &metadata, true, error), qPrintable(error.reason));
    ep::CxScopedBuffer read;
    QVERIFY2(load(m_path, read, nullptr, error), qPrintable(error.reason));
    QCOMPARE(read->bitDepth, depth);
}

QTEST_GUILESS_MAIN(MatRoundTripTest)
#include "MatRoundTripTest.moc"

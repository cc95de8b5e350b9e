// What loading restores of an image beyond its planes: the mosaic and the bit depth.

#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>

#include "LogCapture.h"
#include "OwnMat.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

using testing::MatWriter;
using testing::OwnMetadata;

class LoadMosaicFromMatTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::CxScopedBuffer m_image;
    QString path() const { return m_folder.filePath(QStringLiteral("image.mat")); }
    bool store(const ep::SxImageBuf& image, const OwnMetadata& metadata)
    {
        MatWriter file(path());
        return file.add(image, metadata.reverseRows) && file.addMetadata(metadata.xml());
    }
    bool load()
    {
        bool isEntropy = true;
        return orn::matlab::LoadImageFromMat(path(), m_image.image(), isEntropy, nullptr) && !isEntropy;
    }

private slots:
    void initTestCase() { orn::Init(); }
    void init() { m_image.reset(); }
    void mosaicsAreRebuilt_data();
    void mosaicsAreRebuilt();
    void planesStayPlanes_data();
    void planesStayPlanes();
    void impossibleGridIsToldAndThePlanesAreKept();
    void bitDepth_data();
    void bitDepth();
};

void LoadMosaicFromMatTest::mosaicsAreRebuilt_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<bool>("reverseRows");
    for (int grid = 0; grid <= 3; ++grid)
        for (const bool reverse : {false, true})
            QTest::addRow("grid %d%s", grid, reverse ? ", reversed" : "") << grid << reverse;
}

void LoadMosaicFromMatTest::mosaicsAreRebuilt()
{
    QFETCH(int, grid);
    QFETCH(bool, reverseRows);
    ep::CxScopedBuffer mosaic = testing::randomImage(testing::describe(ep::DataTypeUInt16, 8, 6));
    mosaic->bayerGrid = ep::ExBayerGrid(grid);
    QVERIFY(store(mosaic.image(), {4, reverseRows, grid, 0, 0}));
    QVERIFY(load());
    QVERIFY(ep::SameSamples(m_image.image(), mosaic.image()));
    QCOMPARE(m_image->channels, 1);
    QCOMPARE(int(m_image->layout), int(ep::LayoutPacked));
    QCOMPARE(int(m_image->bayerGrid), grid);
    QCOMPARE(m_image->width, 8);
    QCOMPARE(m_image->height, 6);
}

void LoadMosaicFromMatTest::planesStayPlanes_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("layout");
    QTest::newRow("four planes without a grid") << 4 << 4 << 0;
    QTest::newRow("four planes of a cell") << 4 << 5 << 0;
    QTest::newRow("four planes of an image that was planar") << 4 << 1 << 1;
    QTest::newRow("three planes of a grid") << 3 << 1 << 0;
    QTest::newRow("five planes of a grid") << 5 << 1 << 0;
    QTest::newRow("one plane of a grid") << 1 << 1 << 0;
}

void LoadMosaicFromMatTest::planesStayPlanes()
{
    QFETCH(int, channels);
    QFETCH(int, grid);
    QFETCH(int, layout);
    const ep::CxScopedBuffer planes =
        testing::randomImage(testing::describe(ep::DataTypeFloat, 4, 3, channels, ep::LayoutPlanar));
    QVERIFY(store(planes.image(), {channels, false, grid, layout, 0}));
    testing::LogCapture log;
    QVERIFY(load());
    QVERIFY(ep::SameSamples(m_image.image(), planes.image()));
    QCOMPARE(int(m_image->layout), int(ep::LayoutPlanar));
    QCOMPARE(log.criticals(), QStringList());
}

void LoadMosaicFromMatTest::impossibleGridIsToldAndThePlanesAreKept()
{
    const ep::CxScopedBuffer planes =
        testing::randomImage(testing::describe(ep::DataTypeUInt8, 4, 3, 4, ep::LayoutPlanar));
    const ep::CxMetadata spoiled = OwnMetadata{4, false, 3, 0, 0}.metadata();
    for (ep::IxMetadataItem* item : spoiled.items())
        if (auto* common = qobject_cast<ep::CxCommonImageMetadata*>(item))
            common->bayerGrid = -1;
    {
        MatWriter file(path());
        QVERIFY(file.add(planes.image()) && file.addMetadata(spoiled.saveToXml(-1)));
    }
    testing::LogCapture log;
    QVERIFY(load());
    QCOMPARE(log.criticals(),
             QStringList{testing::LogCapture::errorLine(QStringLiteral("Failed to convert the image to RAW."))});
    QVERIFY(!log.namesSources());
    QVERIFY(ep::SameSamples(m_image.image(), planes.image()));
    QCOMPARE(int(m_image->layout), int(ep::LayoutPlanar));
}

void LoadMosaicFromMatTest::bitDepth_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("largest");
    QTest::addColumn<int>("recorded");
    QTest::addColumn<int>("depth");
    const int u8 = ep::DataTypeUInt8, u16 = ep::DataTypeUInt16;
    QTest::newRow("16 bits: as many as the samples need") << u16 << 4095 << 0 << 12;
    QTest::newRow("16 bits, all black: one") << u16 << 0 << 0 << 1;
    QTest::newRow("16 bits, full") << u16 << 65535 << 0 << 16;
    QTest::newRow("16 bits: the recorded depth when it is larger") << u16 << 4095 << 14 << 14;
    QTest::newRow("16 bits: not when it is smaller") << u16 << 4095 << 10 << 12;
    QTest::newRow("16 bits: 9 is recorded depth enough") << u16 << 3 << 9 << 9;
    QTest::newRow("16 bits: 8 is not") << u16 << 3 << 8 << 2;
    QTest::newRow("16 bits: 16 is the most") << u16 << 3 << 16 << 16;
    QTest::newRow("16 bits: 17 is none") << u16 << 3 << 17 << 2;
    QTest::newRow("8 bits are not looked at") << u8 << 3 << 0 << 8;
    QTest::newRow("8 bits: a recorded depth is never larger") << u8 << 3 << 5 << 8;
    QTest::newRow("8 bits: 12 is no depth of theirs") << u8 << 3 << 12 << 8;
    QTest::newRow("signed 8 bits stay") << int(ep::DataTypeInt8) << 3 << 5 << 8;
    QTest::newRow("signed 16 bits stay") << int(ep::DataTypeInt16) << 3 << 12 << 16;
    QTest::newRow("signed 32 bits stay") << int(ep::DataTypeInt32) << 3 << 12 << 32;
    QTest::newRow("32 bits stay") << int(ep::DataTypeUInt32) << 3 << 12 << 32;
    QTest::newRow("floats stay") << int(ep::DataTypeFloat) << 3 << 12 << 32;
    QTest::newRow("doubles stay") << int(ep::DataTypeDouble) << 3 << 12 << 64;
}

void LoadMosaicFromMatTest::bitDepth()
{
    QFETCH(int, type);
    QFETCH(int, largest);
    QFETCH(int, recorded);
    ep::CxScopedBuffer image(testing::describe(ep::ExImageDataType(type), 4, 3, 2, ep::LayoutPlanar));
    QVERIFY(!ep::failed(image.allocate(true)));
    const qint64 bytes = largest;
    std::memcpy(testing::address(image.image(), 3, 2, 1), &bytes, size_t(ep::sampleFacts(type).bytes));
    QVERIFY(store(image.image(), {2, true, -1, 0, recorded}));
    QVERIFY(load());
    QTEST(m_image->bitDepth, "depth");
}

QTEST_GUILESS_MAIN(LoadMosaicFromMatTest)
#include "LoadMosaicFromMatTest.moc"

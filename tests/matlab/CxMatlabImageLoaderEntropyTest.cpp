// Entropy images through the MAT image loader: how their planes are put into a layout that can be shown.

#include <orn/matlab/CxMatlabImageLoader.h>

#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include "TestImages.h"

#include <ep/CxImageData.h>
#include <ep/SameSamples.h>

#include <QtTest>

#include <memory>

namespace {

using ImageData = std::unique_ptr<ep::CxImageData>;

/** Every number tells its place. */
double number(int x, int y, int plane)
{
    return 1000.0 * plane + 10.0 * y + x + 0.5;
}

ep::CxScopedBuffer numberedPlanes(int width, int height, int planes)
{
    ep::CxScopedBuffer image(testing::describe(ep::DataTypeDouble, width, height, planes, ep::LayoutPlanar));
    if (ep::failed(image.allocate()))
        qFatal("cannot allocate a test image");
    for (int plane = 0; plane < planes; ++plane)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                testing::setSample(image.image(), x, y, plane, number(x, y, plane));
    return image;
}

/** Plane @p plane of @p planes, without copying. */
ep::SxImageBuf planeOf(const ep::SxImageBuf& planes, int plane)
{
    ep::SxImageBuf image = planes;
    image.channels = 1;
    image.data = testing::address(planes, 0, 0, plane);
    return image;
}

/** Stores the planes under @p prefix, by the names of their colours or by number. */
bool save(const QString& path, const QString& prefix, const ep::SxImageBuf& planes, bool byColor)
{
    static const char* const colors[] = {"_channel_R", "_channel_G1", "_channel_B", "_channel_G2"};
    void* mat = orn::matlab::MatOpenWrite(path);
    bool written = mat != nullptr;
    for (int plane = 0; plane < planes.channels; ++plane) {
        const QString suffix =
            byColor ? QString::fromLatin1(colors[plane]) : QStringLiteral("_channel_%1").arg(plane + 1);
        std::vector<double> columns;
        for (int x = 0; x < planes.width; ++x)
            for (int y = 0; y < planes.height; ++y)
                columns.push_back(testing::sampleAt<double>(planeOf(planes, plane), x, y));
        written = written && orn::matlab::AddVar(mat, columns.data(), planes.height, planes.width, prefix + suffix);
    }
    return orn::matlab::MatClose(mat) && written;
}

}  // namespace

class CxMatlabImageLoaderEntropyTest : public QObject {
    Q_OBJECT
private slots:
    void fourPlanesBecomeAMosaic_data();
    void fourPlanesBecomeAMosaic();
    void threePlanesBecomePackedWithTheLastOneFirst_data();
    void threePlanesBecomePackedWithTheLastOneFirst();
    void otherCountsStayAsTheyAre_data();
    void otherCountsStayAsTheyAre();
    void anEarlierImageIsReplaced();
    void planesPastTheMemoryLimitLeaveTheEarlierImage();

private:
    ImageData load(const ep::SxImageBuf& planes, bool byColor, const QString& prefix = QStringLiteral("PIG"));

    QTemporaryDir m_folder;
};

ImageData CxMatlabImageLoaderEntropyTest::load(const ep::SxImageBuf& planes, bool byColor, const QString& prefix)
{
    const QString path = m_folder.filePath(QStringLiteral("entropy.mat"));
    if (!save(path, prefix, planes, byColor))
        return nullptr;
    orn::matlab::CxMatlabImageLoader loader;
    loader.setFileName(path);
    return ImageData(loader.open() && !loader.lastError() ? loader.imageData(0) : nullptr);
}

void CxMatlabImageLoaderEntropyTest::fourPlanesBecomeAMosaic_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("6 x 4") << QStringLiteral("PIG") << 6 << 4;
    QTest::newRow("the other prefix") << QStringLiteral("PDG") << 6 << 4;
    QTest::newRow("odd sizes") << QStringLiteral("PIG") << 3 << 7;
    QTest::newRow("one sample") << QStringLiteral("PIG") << 1 << 1;
}

void CxMatlabImageLoaderEntropyTest::fourPlanesBecomeAMosaic()
{
    QFETCH(QString, prefix);
    QFETCH(int, width);
    QFETCH(int, height);
    const ep::CxScopedBuffer planes = numberedPlanes(width, height, 4);
    const ImageData data = load(planes.image(), true, prefix);
    QVERIFY(data);
    const ep::SxImageBuf& image = data->image();
    QCOMPARE(image.width, 2 * width);
    QCOMPARE(image.height, 2 * height);
    QCOMPARE(image.channels, 1);
    QCOMPARE(image.bitDepth, 64);
    QCOMPARE(int(image.dataType), int(ep::DataTypeDouble));
    QCOMPARE(int(image.layout), int(ep::LayoutPacked));
    QCOMPARE(image.formatCode, 1);
    QCOMPARE(int(image.bayerGrid), 0);
    QCOMPARE(image.reserved, 0);
    QCOMPARE(image.patternWidth, 2);
    QCOMPARE(image.patternHeight, 2);

    //   B  G2
    //   G1 R      of the planes R, G1, B, G2
    const int planeOfCell[2][2] = {{2, 3}, {1, 0}};
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            QCOMPARE(testing::sampleAt<double>(image, x, y), number(x / 2, y / 2, planeOfCell[y % 2][x % 2]));
    QVERIFY(data->metadata().isEmpty());
}

void CxMatlabImageLoaderEntropyTest::threePlanesBecomePackedWithTheLastOneFirst_data()
{
    QTest::addColumn<bool>("byColor");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("numbered planes") << false << 5 << 4;
    QTest::newRow("planes R, G1 and B") << true << 5 << 4;
    QTest::newRow("one sample") << false << 1 << 1;
}

void CxMatlabImageLoaderEntropyTest::threePlanesBecomePackedWithTheLastOneFirst()
{
    QFETCH(bool, byColor);
    QFETCH(int, width);
    QFETCH(int, height);
    const ep::CxScopedBuffer planes = numberedPlanes(width, height, 3);
    const ImageData data = load(planes.image(), byColor);
    QVERIFY(data);
    const ep::SxImageBuf& image = data->image();
    QCOMPARE(image.width, width);
    QCOMPARE(image.height, height);
    QCOMPARE(image.channels, 3);
    QCOMPARE(image.bitDepth, 64);
    QCOMPARE(int(image.dataType), int(ep::DataTypeDouble));
    QCOMPARE(int(image.layout), int(ep::LayoutPacked));
    QCOMPARE(image.formatCode, 1);
    QCOMPARE(int(image.bayerGrid), int(ep::BayerGridNone));
    QCOMPARE(image.reserved, 0);
    QCOMPARE(image.patternWidth, 0);
    QCOMPARE(image.patternHeight, 0);

    // Every plane goes to the place of the first channel; the others stay zero.
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            QCOMPARE(testing::sampleAt<double>(image, x, y, 0), number(x, y, 2));
            QCOMPARE(testing::sampleAt<double>(image, x, y, 1), 0.0);
            QCOMPARE(testing::sampleAt<double>(image, x, y, 2), 0.0);
        }
}

void CxMatlabImageLoaderEntropyTest::otherCountsStayAsTheyAre_data()
{
    QTest::addColumn<int>("planes");
    QTest::addColumn<bool>("byColor");
    QTest::addColumn<int>("layout");
    QTest::newRow("one plane is packed") << 1 << false << int(ep::LayoutPacked);
    QTest::newRow("one plane R is packed") << 1 << true << int(ep::LayoutPacked);
    QTest::newRow("two planes stay planar") << 2 << false << int(ep::LayoutPlanar);
    QTest::newRow("two planes R and G1 stay planar") << 2 << true << int(ep::LayoutPlanar);
}

void CxMatlabImageLoaderEntropyTest::otherCountsStayAsTheyAre()
{
    QFETCH(int, planes);
    QFETCH(bool, byColor);
    QFETCH(int, layout);
    const ep::CxScopedBuffer stored = numberedPlanes(5, 4, planes);
    const ImageData data = load(stored.image(), byColor);
    QVERIFY(data);
    QCOMPARE(int(data->image().layout), layout);
    QCOMPARE(int(data->image().bayerGrid), int(ep::BayerGridNone));
    QVERIFY(ep::SameSamples(data->image(), stored.image()));
}

void CxMatlabImageLoaderEntropyTest::anEarlierImageIsReplaced()
{
    const QString mosaic = m_folder.filePath(QStringLiteral("mosaic.mat"));
    const QString packed = m_folder.filePath(QStringLiteral("packed.mat"));
    QVERIFY(save(mosaic, QStringLiteral("PIG"), numberedPlanes(5, 4, 4).image(), true));
    QVERIFY(save(packed, QStringLiteral("PDG"), numberedPlanes(3, 2, 3).image(), false));
    orn::matlab::CxMatlabImageLoader loader;
    loader.setFileName(mosaic);
    QVERIFY(loader.open());
    loader.setFileName(packed);
    QVERIFY(loader.open());
    const ImageData data(loader.imageData(0));
    QCOMPARE(data->image().width, 3);
    QCOMPARE(data->image().channels, 3);
}

void CxMatlabImageLoaderEntropyTest::planesPastTheMemoryLimitLeaveTheEarlierImage()
{
    const QString large = m_folder.filePath(QStringLiteral("large.mat"));
    const QString small = m_folder.filePath(QStringLiteral("small.mat"));
    QVERIFY(save(large, QStringLiteral("PIG"), numberedPlanes(50, 40, 4).image(), true));
    QVERIFY(save(small, QStringLiteral("PDG"), numberedPlanes(3, 2, 3).image(), false));
    orn::matlab::CxMatlabImageLoader loader;
    loader.setMemoryLimit(50 * 40 * 4 * 8 - 1);
    loader.setFileName(large);
    QCOMPARE(loader.open(), true);
    QVERIFY(!loader.isOpen());
    QVERIFY(loader.lastError().kind == ep::ExFileError::TooLarge);
    loader.setFileName(small);
    QVERIFY(loader.open() && loader.isOpen());
    loader.setFileName(large);
    QCOMPARE(loader.open(), true);
    QCOMPARE(ImageData(loader.imageData(0))->image().width, 3);
}

QTEST_GUILESS_MAIN(CxMatlabImageLoaderEntropyTest)
#include "CxMatlabImageLoaderEntropyTest.moc"

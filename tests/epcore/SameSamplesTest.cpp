#include <ep/SameSamples.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

#include <cmath>
#include <limits>

class SameSamplesTest : public QObject {
    Q_OBJECT

private slots:
    void comparesAcrossLayoutsAndStrides_data() { testing::addImageKinds(); }
    void comparesAcrossLayoutsAndStrides();
    void seesEveryBit_data() { testing::addImageKinds(); }
    void seesEveryBit();
    void comparesBitsNotNumbers();
    void wantsTheSameShape_data();
    void wantsTheSameShape();
    void takesTwoEmptyImagesForTheSame();
    void refuses_data() { testing::addUnsoundImages(); }
    void refuses();
};

void SameSamplesTest::comparesAcrossLayoutsAndStrides()
{
    const testing::ImageKind kind = testing::currentImageKind();
    testing::forEachShape(kind.type, [&](int width, int height, int padding) {
        for (const ep::ExImageLayout layout : testing::allLayouts) {
            const ep::CxScopedBuffer a = testing::randomImage(kind.describe(width, height, padding), 1);
            ep::CxScopedBuffer b = testing::randomImage(
                testing::describe(kind.type, width, height, kind.channels, layout, (padding * 3) % 7), 2);
            for (int c = 0; c < kind.channels; ++c)
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x)
                        testing::copySample(a.image(), x, y, c, b.image(), x, y, c);
            b->bitDepth = 1;  // descriptions beside the shape do not matter
            b->formatCode = 9;
            b->bayerGrid = ep::BayerGridBGGR;
            QVERIFY2(ep::SameSamples(a.image(), b.image()), testing::shapeName(width, height, padding));
            QVERIFY2(ep::SameSamples(b.image(), a.image()), testing::shapeName(width, height, padding));
            unsigned char& last = *testing::address(b.image(), width - 1, height - 1, kind.channels - 1);
            last = static_cast<unsigned char>(last ^ 1);
            QVERIFY2(!ep::SameSamples(a.image(), b.image()), testing::shapeName(width, height, padding));
        }
    });
}

void SameSamplesTest::seesEveryBit()
{
    const testing::ImageKind kind = testing::currentImageKind();
    const int bytes = ep::sampleFacts(kind.type).bytes;
    for (const ep::ExImageLayout layout : testing::allLayouts) {
        const ep::CxScopedBuffer a = testing::randomImage(kind.describe(5, 3, 1), 1);
        ep::CxScopedBuffer b = testing::randomImage(testing::describe(kind.type, 5, 3, kind.channels, layout), 2);
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 5; ++x)
                    testing::copySample(a.image(), x, y, c, b.image(), x, y, c);
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 5; ++x)
                    for (int bit = 0; bit < 8 * bytes; ++bit) {
                        unsigned char& byte = testing::address(b.image(), x, y, c)[bit / 8];
                        byte = static_cast<unsigned char>(byte ^ (1 << (bit % 8)));
                        QVERIFY(!ep::SameSamples(a.image(), b.image()));
                        byte = static_cast<unsigned char>(byte ^ (1 << (bit % 8)));
                    }
        QVERIFY(ep::SameSamples(a.image(), b.image()));
    }
}

void SameSamplesTest::comparesBitsNotNumbers()
{
    ep::CxScopedBuffer a = testing::randomImage(testing::describe(ep::DataTypeDouble, 1, 1));
    ep::CxScopedBuffer b = testing::randomImage(testing::describe(ep::DataTypeDouble, 1, 1));
    testing::setSample(a.image(), 0, 0, 0, 0.0);
    testing::setSample(b.image(), 0, 0, 0, -0.0);
    QVERIFY(!ep::SameSamples(a.image(), b.image()));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    testing::setSample(a.image(), 0, 0, 0, nan);
    testing::setSample(b.image(), 0, 0, 0, nan);
    QVERIFY(ep::SameSamples(a.image(), b.image()));
    testing::setSample(b.image(), 0, 0, 0, std::copysign(nan, -1.0));
    QVERIFY(!ep::SameSamples(a.image(), b.image()));
}

void SameSamplesTest::wantsTheSameShape_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("type");
    QTest::newRow("another width") << 3 << 2 << 3 << 4;
    QTest::newRow("another height") << 4 << 1 << 3 << 4;
    QTest::newRow("width and height exchanged") << 2 << 4 << 3 << 4;
    QTest::newRow("another number of channels") << 4 << 2 << 1 << 4;
    QTest::newRow("another sample type of the same size") << 4 << 2 << 3 << 3;
    QTest::newRow("another sample size") << 4 << 2 << 3 << 2;
}

void SameSamplesTest::wantsTheSameShape()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, type);
    ep::CxScopedBuffer a(testing::describe(ep::DataTypeUInt16, 4, 2, 3));
    ep::CxScopedBuffer b(testing::describe(ep::ExImageDataType(type), width, height, channels));
    QCOMPARE(a.allocate(true), 0u);
    QCOMPARE(b.allocate(true), 0u);
    QVERIFY(!ep::SameSamples(a.image(), b.image()));
    QVERIFY(!ep::SameSamples(b.image(), a.image()));
}

void SameSamplesTest::takesTwoEmptyImagesForTheSame()
{
    const ep::CxScopedBuffer filled = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 2));
    ep::SxImageBuf empty = filled.image();
    empty.data = nullptr;  // whatever the other fields say
    QVERIFY(ep::SameSamples(ep::emptyImage(), empty));
    QVERIFY(!ep::SameSamples(filled.image(), empty));
    QVERIFY(!ep::SameSamples(empty, filled.image()));
}

void SameSamplesTest::refuses()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    ep::SxImageBuf image = sound.image();
    unsound.spoil(image);
    QVERIFY(!ep::SameSamples(sound.image(), image));
    QVERIFY(!ep::SameSamples(image, sound.image()));
    QCOMPARE(ep::SameSamples(image, image), image.data == nullptr);
}

QTEST_GUILESS_MAIN(SameSamplesTest)
#include "SameSamplesTest.moc"

#include <ep/ReverseRowOrder.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

class ReverseRowOrderTest : public QObject {
    Q_OBJECT

private slots:
    void turnsUpsideDown_data() { testing::addImageKinds(); }
    void turnsUpsideDown();
    void keepsTheGridOfAMosaic();
    void refuses_data() { testing::addUnsoundImages(); }
    void refuses();
};

void ReverseRowOrderTest::turnsUpsideDown()
{
    const testing::ImageKind kind = testing::currentImageKind();
    testing::forEachShape(kind.type, [&](int width, int height, int padding) {
        ep::CxScopedBuffer image = testing::randomImage(kind.describe(width, height, padding));
        ep::CxScopedBuffer expected = testing::copyOf(image.image());  // its padding stays
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    testing::copySample(image.image(), x, y, c, expected.image(), x, height - 1 - y, c);
        QCOMPARE(ep::ReverseRowOrder(image.image()), 0u);
        QVERIFY2(testing::sameStorage(image.image(), expected.image()), testing::shapeName(width, height, padding));
    });
}

void ReverseRowOrderTest::keepsTheGridOfAMosaic()
{
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    image->bayerGrid = ep::BayerGridRGGB;
    const ep::SxImageInfo before = image.image();
    QCOMPARE(ep::ReverseRowOrder(image.image()), 0u);
    QCOMPARE(std::memcmp(&image.image(), &before, sizeof(before)), 0);
}

void ReverseRowOrderTest::refuses()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    const ep::CxScopedBuffer before = testing::copyOf(sound.image());
    ep::SxImageBuf image = sound.image();
    unsound.spoil(image);
    QCOMPARE(ep::ReverseRowOrder(image), unsound.status);
    QVERIFY(testing::sameStorage(sound.image(), before.image()));
}

QTEST_GUILESS_MAIN(ReverseRowOrderTest)
#include "ReverseRowOrderTest.moc"

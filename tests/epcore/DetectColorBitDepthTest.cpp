#include <ep/DetectColorBitDepth.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

namespace {

bool isServed(ep::ExImageDataType type)
{
    return type == ep::DataTypeUInt8 || type == ep::DataTypeUInt16 || type == ep::DataTypeUInt32;
}

}  // namespace

class DetectColorBitDepthTest : public QObject {
    Q_OBJECT

private slots:
    void findsTheWidthOfTheLargestSample_data();
    void findsTheWidthOfTheLargestSample();
    void findsOneSampleAnywhere_data() { testing::addImageKinds(); }
    void findsOneSampleAnywhere();
    void agreesWithTheNaiveReference_data() { testing::addImageKinds(); }
    void agreesWithTheNaiveReference();
    void writesToTheImagesOwnField();
    void refuses_data() { testing::addUnsoundImages(); }
    void refuses();
};

void DetectColorBitDepthTest::findsTheWidthOfTheLargestSample_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<quint32>("largest");
    QTest::addColumn<int>("depth");
    QTest::newRow("an all-zero image has depth 1") << 4 << 0u << 1;
    QTest::newRow("1 has depth 1") << 4 << 1u << 1;
    QTest::newRow("2 has depth 2") << 4 << 2u << 2;
    QTest::newRow("1023 has depth 10") << 4 << 1023u << 10;
    QTest::newRow("1024 has depth 11") << 4 << 1024u << 11;
    QTest::newRow("4095 has depth 12") << 4 << 4095u << 12;
    QTest::newRow("16383 has depth 14") << 4 << 16383u << 14;
    QTest::newRow("65535 has depth 16") << 4 << 65535u << 16;
    QTest::newRow("8 bits: 0 has depth 1") << 2 << 0u << 1;
    QTest::newRow("8 bits: 127 has depth 7") << 2 << 127u << 7;
    QTest::newRow("8 bits: 255 has depth 8") << 2 << 255u << 8;
    QTest::newRow("32 bits: 0x10000 has depth 17") << 6 << 0x10000u << 17;
    QTest::newRow("32 bits: the largest has depth 32") << 6 << 0xffffffffu << 32;
}

void DetectColorBitDepthTest::findsTheWidthOfTheLargestSample()
{
    QFETCH(int, type);
    QFETCH(quint32, largest);
    for (const ep::ExImageLayout layout : testing::allLayouts) {
        ep::CxScopedBuffer image(testing::describe(ep::ExImageDataType(type), 9, 5, 2, layout));
        QCOMPARE(image.allocate(true), 0u);
        std::memcpy(testing::address(image.image(), 4, 3, 1), &largest,
                    size_t(ep::sampleFacts(type).bytes));  // the low bytes come first
        qint32 depth = -1;
        QCOMPARE(ep::DetectColorBitDepth(image.image(), depth), 0u);
        QTEST(depth, "depth");
    }
}

// Padding is full of ones: it must not count. Every place of a sample must.
void DetectColorBitDepthTest::findsOneSampleAnywhere()
{
    const testing::ImageKind kind = testing::currentImageKind();
    for (const int padding : {0, 1, 3, 8}) {
        ep::CxScopedBuffer image(kind.describe(19, 3, padding));
        QCOMPARE(image.allocate(), 0u);
        std::memset(image->data, 0xff, testing::storageBytes(image.image()));
        const size_t bytes = size_t(ep::sampleFacts(kind.type).bytes);
        const auto forEachSample = [&](auto&& work) {
            for (int c = 0; c < kind.channels; ++c)
                for (int y = 0; y < 3; ++y)
                    for (int x = 0; x < 19; ++x)
                        work(testing::address(image.image(), x, y, c));
        };
        forEachSample([&](unsigned char* sample) { std::memset(sample, 0, bytes); });
        qint32 depth = -1;
        if (!isServed(kind.type)) {
            QCOMPARE(ep::DetectColorBitDepth(image.image(), depth), quint32(ep::StatusUnsupportedType));
            QCOMPARE(depth, -1);
            continue;
        }
        forEachSample([&](unsigned char* sample) {
            sample[bytes - 1] = 0x10;
            QCOMPARE(ep::DetectColorBitDepth(image.image(), depth), 0u);
            QCOMPARE(depth, int(8 * bytes) - 3);
            sample[bytes - 1] = 0;
        });
        QCOMPARE(ep::DetectColorBitDepth(image.image(), depth), 0u);
        QCOMPARE(depth, 1);
    }
}

void DetectColorBitDepthTest::agreesWithTheNaiveReference()
{
    const testing::ImageKind kind = testing::currentImageKind();
    if (!isServed(kind.type))
        return;  // refused, see above
    const int bytes = ep::sampleFacts(kind.type).bytes;
    testing::forEveryShape([&](int width, int height, int padding) {
        ep::CxScopedBuffer image = testing::randomImage(kind.describe(width, height, padding));
        const quint32 mask = 0xffffffffu >> ((width + height) % 32);
        quint32 largest = 0;
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    quint32 sample = 0;
                    unsigned char* const address = testing::address(image.image(), x, y, c);
                    std::memcpy(&sample, address, size_t(bytes));  // the low bytes come first
                    sample &= mask;
                    std::memcpy(address, &sample, size_t(bytes));
                    largest = std::max(largest, sample);
                }
        qint32 depth = -1;
        QCOMPARE(ep::DetectColorBitDepth(image.image(), depth), 0u);
        QVERIFY2(depth >= 1 && depth <= 8 * bytes, testing::shapeName(width, height, padding));
        QVERIFY2(quint64(largest) < quint64(1) << depth, testing::shapeName(width, height, padding));
        QVERIFY2(depth == 1 || largest >= 1u << (depth - 1), testing::shapeName(width, height, padding));
    });
}

void DetectColorBitDepthTest::writesToTheImagesOwnField()
{
    ep::CxScopedBuffer image(testing::describe(ep::DataTypeUInt16, 5, 5));
    QCOMPARE(image.allocate(true), 0u);
    testing::setSample<quint16>(image.image(), 4, 4, 0, 4000);
    QCOMPARE(ep::DetectColorBitDepth(image.image(), image->bitDepth), 0u);
    QCOMPARE(image->bitDepth, 12);
}

void DetectColorBitDepthTest::refuses()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    ep::SxImageBuf image = sound.image();
    unsound.spoil(image);
    qint32 depth = 77;
    QCOMPARE(ep::DetectColorBitDepth(image, depth), unsound.status);
    QCOMPARE(depth, 77);
}

QTEST_GUILESS_MAIN(DetectColorBitDepthTest)
#include "DetectColorBitDepthTest.moc"

#include <orn/MarkPixels.h>

#include "TestImages.h"

#include <QtTest>

using namespace testing;

namespace {

ep::CxScopedBuffer flat(int width, int height, int channels, ep::ExImageLayout layout = ep::LayoutPacked)
{
    ep::CxScopedBuffer image(describe(ep::DataTypeUInt8, width, height, channels, layout));
    if (ep::failed(image.allocate()))
        qFatal("cannot allocate a test image");
    std::memset(image->data, 90, storageBytes(image.image()));
    return image;
}

bool isColor(const ep::SxImageBuf& image, int x, int y, int red, int green, int blue)
{
    return sampleAt<quint8>(image, x, y, 0) == red && sampleAt<quint8>(image, x, y, 1) == green
           && sampleAt<quint8>(image, x, y, 2) == blue;
}

int count(const ep::SxImageBuf& image, int red, int green, int blue)
{
    int pixels = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            pixels += isColor(image, x, y, red, green, blue);
    return pixels;
}

}  // namespace

class MarkPixelsTest : public QObject {
    Q_OBJECT
private slots:
    void aPixelIsPaintedAndRinged_data();
    void aPixelIsPaintedAndRinged();
    void withoutPixelsThePictureStays();
    void theRestOfThePictureStays();
    void pixelsOutsideArePassedOver();
    void closePixelsShareARing();
    void refuses_data();
    void refuses();
};

void MarkPixelsTest::aPixelIsPaintedAndRinged_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("enlargement");
    QTest::newRow("grey") << 100 << 60 << 1 << 0 << 1;
    QTest::newRow("colours") << 100 << 60 << 3 << 0 << 1;
    QTest::newRow("planar colours") << 100 << 60 << 3 << 1 << 1;
    QTest::newRow("a large picture") << 5000 << 3000 << 1 << 0 << 1;
    QTest::newRow("an enlarged picture") << 512 << 384 << 1 << 0 << 32;
    QTest::newRow("one row") << 700 << 1 << 3 << 0 << 1;
}

void MarkPixelsTest::aPixelIsPaintedAndRinged()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, layout);
    QFETCH(int, enlargement);
    const auto picture = flat(width, height, channels, static_cast<ep::ExImageLayout>(layout));
    const QPoint pixel(width / enlargement / 2, height / enlargement / 2);
    ep::CxScopedBuffer marked;
    QVERIFY(!ep::failed(orn::MarkPixels(picture.image(), {pixel}, enlargement, marked)));
    QCOMPARE(marked->width, width);
    QCOMPARE(marked->height, height);
    QCOMPARE(marked->channels, 3);
    const QRect painted(pixel * enlargement, QSize(enlargement, enlargement));
    for (const QPoint& corner : {painted.topLeft(), painted.bottomRight()})
        QVERIFY(isColor(marked.image(), corner.x(), corner.y(), 255, 0, 255));
    // Of the ring there is enough to be seen when the whole picture has a thousand pixels.
    const int area = count(marked.image(), 255, 0, 255) - enlargement * enlargement;
    const int longest = qMax(width, height);
    QVERIFY2(area >= (height == 1 ? 2 : qMax(20, longest / 1000 * longest / 100)), qPrintable(QString::number(area)));
    QVERIFY(count(marked.image(), 0, 0, 0) > 0);
    if (painted.left() > 0 && enlargement == 1)
        QVERIFY(isColor(marked.image(), painted.left() - 1, painted.top(), 90, 90, 90));
}

void MarkPixelsTest::withoutPixelsThePictureStays()
{
    const auto grey = randomImage(describe(ep::DataTypeUInt8, 40, 30));
    ep::CxScopedBuffer marked;
    QVERIFY(!ep::failed(orn::MarkPixels(grey.image(), {}, 1, marked)));
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
            const int value = sampleAt<quint8>(grey.image(), x, y);
            QVERIFY(isColor(marked.image(), x, y, value, value, value));
        }
    const auto colors = randomImage(describe(ep::DataTypeUInt8, 40, 30, 3));
    QVERIFY(!ep::failed(orn::MarkPixels(colors.image(), {}, 1, marked)));
    QVERIFY(sameStorage(colors.image(), marked.image()));
}

void MarkPixelsTest::theRestOfThePictureStays()
{
    const auto picture = flat(900, 600, 3);
    ep::CxScopedBuffer marked;
    QVERIFY(!ep::failed(orn::MarkPixels(picture.image(), {{0, 0}, {899, 599}, {450, 300}}, 1, marked)));
    for (const QPoint& pixel : {QPoint(0, 0), QPoint(899, 599), QPoint(450, 300)})
        QVERIFY(isColor(marked.image(), pixel.x(), pixel.y(), 255, 0, 255));
    QVERIFY(count(marked.image(), 90, 90, 90) > 900 * 600 * 99 / 100);
}

void MarkPixelsTest::pixelsOutsideArePassedOver()
{
    constexpr int most = 2147483647;
    const auto picture = flat(64, 64, 1);
    ep::CxScopedBuffer marked;
    for (int enlargement : {1, 3, 64}) {
        const int end = (64 - 1) / enlargement + 1;
        QVERIFY(!ep::failed(orn::MarkPixels(picture.image(),
                                            {{-1, 0}, {0, -1}, {end, 0}, {0, end}, {most, most}, {-most - 1, 5}},
                                            enlargement, marked)));
        QCOMPARE(count(marked.image(), 90, 90, 90), 64 * 64);
    }
    // The last pixel of an enlarged picture may be cut.
    QVERIFY(!ep::failed(orn::MarkPixels(picture.image(), {{12, 12}}, 5, marked)));
    QVERIFY(isColor(marked.image(), 63, 63, 255, 0, 255));
}

void MarkPixelsTest::closePixelsShareARing()
{
    const auto picture = flat(1000, 800, 1);
    ep::CxScopedBuffer one;
    ep::CxScopedBuffer two;
    QVERIFY(!ep::failed(orn::MarkPixels(picture.image(), {{502, 402}}, 1, one)));
    QVERIFY(!ep::failed(orn::MarkPixels(picture.image(), {{502, 402}, {503, 402}}, 1, two)));
    QCOMPARE(count(two.image(), 255, 0, 255), count(one.image(), 255, 0, 255) + 1);
    QCOMPARE(count(two.image(), 0, 0, 0), count(one.image(), 0, 0, 0));
}

void MarkPixelsTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("enlargement");
    QTest::newRow("16 bits") << 4 << 1 << 1;
    QTest::newRow("two channels") << 2 << 2 << 1;
    QTest::newRow("four channels") << 2 << 4 << 1;
    QTest::newRow("no enlargement") << 2 << 1 << 0;
    QTest::newRow("an enlargement past the picture") << 2 << 1 << 9;
    QTest::newRow("the largest enlargement") << 2 << 1 << 2147483647;
    QTest::newRow("a negative enlargement") << 2 << 1 << -3;
}

void MarkPixelsTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(int, enlargement);
    const auto picture = randomImage(describe(static_cast<ep::ExImageDataType>(type), 8, 8, channels));
    ep::CxScopedBuffer marked;
    QVERIFY(ep::failed(orn::MarkPixels(picture.image(), {{1, 1}}, enlargement, marked)));
    QVERIFY(!marked->data);
    QVERIFY(ep::failed(orn::MarkPixels(ep::emptyImage(), {}, 1, marked)));
}

QTEST_GUILESS_MAIN(MarkPixelsTest)
#include "MarkPixelsTest.moc"

#include <orn/ImageModel.h>

#include <QtTest>

#include <limits>

class ImageModelTest : public QObject {
    Q_OBJECT

private slots:
    void tellsBytesPerSample_data();
    void tellsBytesPerSample();
    void tellsImageByteSize_data();
    void tellsImageByteSize();
};

void ImageModelTest::tellsBytesPerSample_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("bytes");
    QTest::newRow("0, no samples") << 0 << 0;
    QTest::newRow("1, signed 8-bit") << 1 << 1;
    QTest::newRow("2, unsigned 8-bit") << 2 << 1;
    QTest::newRow("3, signed 16-bit") << 3 << 2;
    QTest::newRow("4, unsigned 16-bit") << 4 << 2;
    QTest::newRow("5, signed 32-bit") << 5 << 4;
    QTest::newRow("6, unsigned 32-bit") << 6 << 4;
    QTest::newRow("7, 32-bit float") << 7 << 4;
    QTest::newRow("8, 64-bit float") << 8 << 8;
    QTest::newRow("9, the 16-byte type") << 9 << 16;
    QTest::newRow("10, signed 64-bit") << 10 << 8;
    QTest::newRow("11, unsigned 64-bit") << 11 << 8;
    QTest::newRow("12, unknown") << 12 << 0;
    QTest::newRow("-1, unknown") << -1 << 0;
    QTest::newRow("the largest code, unknown") << std::numeric_limits<int>::max() << 0;
}

void ImageModelTest::tellsBytesPerSample()
{
    QFETCH(int, code);
    QTEST(orn::bytesPerSample(ep::ExImageDataType(code)), "bytes");
}

void ImageModelTest::tellsImageByteSize_data()
{
    QTest::addColumn<int>("stride");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("layout");
    QTest::addColumn<qint64>("bytes");
    const qint64 large = qint64(2000000000) * 2000000000;
    QTest::newRow("planar, three channels") << 12 << 10 << 3 << 1 << qint64(360);
    QTest::newRow("the same image packed") << 12 << 10 << 3 << 0 << qint64(120);
    QTest::newRow("every layout but packed counts channels") << 12 << 10 << 3 << 2 << qint64(360);
    QTest::newRow("a size past 32 bits") << 2000000000 << 2000000000 << 2 << 0 << large;
    QTest::newRow("planes past 32 bits") << 2000000000 << 2000000000 << 2 << 1 << 2 * large;
    QTest::newRow("an empty description") << 0 << 0 << 0 << 0 << qint64(0);
}

void ImageModelTest::tellsImageByteSize()
{
    QFETCH(int, stride);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, layout);
    ep::SxImageInfo image{};
    image.stride = stride;
    image.height = height;
    image.channels = channels;
    image.layout = ep::ExImageLayout(layout);
    QTEST(orn::imageByteSize(image), "bytes");
}

QTEST_GUILESS_MAIN(ImageModelTest)
#include "ImageModelTest.moc"

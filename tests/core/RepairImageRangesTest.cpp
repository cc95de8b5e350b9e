#include "RepairReference.h"

#include <orn/RepairImage.h>

#include <QtTest>

using namespace testing;

namespace {

using Ints = QVector<int>;

/** A row of samples in one channel. */
ep::CxScopedBuffer rowOf(ep::ExImageDataType type, int bitDepth, const Ints& samples)
{
    auto image = randomImage(describe(type, samples.size(), 1));
    image->bitDepth = bitDepth;
    for (int x = 0; x < samples.size(); ++x)
        if (ep::sampleFacts(type).bytes == 1)
            setSample(image.image(), x, 0, 0, quint8(samples[x]));
        else
            setSample(image.image(), x, 0, 0, quint16(samples[x]));
    return image;
}

Ints samplesOf(const ep::SxImageBuf& image)
{
    Ints samples;
    for (int x = 0; x < image.width; ++x)
        samples << (ep::sampleFacts(image.dataType).bytes == 1 ? sampleAt<quint8>(image, x, 0)
                                                               : sampleAt<quint16>(image, x, 0));
    return samples;
}

}  // namespace

/** The repair by ranges of valid levels. */
class RepairImageRangesTest : public QObject {
    Q_OBJECT

private slots:
    void repairsOutsideOfTheRange_data();
    void repairsOutsideOfTheRange();
    void hasARangePerChannel();
    void refuses_data();
    void refuses();
};

void RepairImageRangesTest::repairsOutsideOfTheRange_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("bitDepth");
    QTest::addColumn<int>("low");
    QTest::addColumn<int>("high");
    QTest::addColumn<Ints>("samples");
    QTest::addColumn<Ints>("expected");

    const int u8 = ep::DataTypeUInt8;
    const int u16 = ep::DataTypeUInt16;
    QTest::newRow("from 0 to the last level everything is valid")
        << u8 << 8 << 0 << 255 << Ints{0, 255, 7} << Ints{0, 255, 7};
    QTest::newRow("both ends of the range are valid") << u16 << 16 << 3 << 5 << Ints{3, 5, 4} << Ints{3, 5, 4};
    QTest::newRow("below the range is invalid") << u8 << 8 << 3 << 255 << Ints{2, 3} << Ints{3, 3};
    QTest::newRow("above the range is invalid") << u16 << 16 << 0 << 60000 << Ints{60000, 60001} << Ints{60000, 60000};
    QTest::newRow("the highest value of a type is invalid") << u16 << 16 << 0 << 65534 << Ints{65535, 9} << Ints{9, 9};
    QTest::newRow("a range past the type's values") << u8 << 8 << 0 << 300 << Ints{255, 0} << Ints{255, 0};
    QTest::newRow("a range that lies past the type's values leaves no source")
        << u8 << 8 << 256 << 300 << Ints{255, 0} << Ints{255, 0};
    QTest::newRow("a value past the depth is invalid, although it lies in the range")
        << u16 << 10 << 0 << 65535 << Ints{1024, 1023} << Ints{1023, 1023};
    QTest::newRow("a value far past the depth") << u16 << 10 << 0 << 65535 << Ints{65535, 5} << Ints{5, 5};
    QTest::newRow("a depth past the type's values limits nothing")
        << u8 << 12 << 0 << 254 << Ints{255, 254} << Ints{254, 254};
    QTest::newRow("a depth of 60 bits limits nothing")
        << u16 << 60 << 1 << 65535 << Ints{0, 65535} << Ints{65535, 65535};
    QTest::newRow("a depth of no bits leaves level 0") << u8 << 0 << 0 << 255 << Ints{1, 0} << Ints{0, 0};
    QTest::newRow("a negative depth leaves no source") << u8 << -3 << 0 << 255 << Ints{1, 0} << Ints{1, 0};
    QTest::newRow("a range that ends before it begins leaves no source")
        << u8 << 8 << 9 << 5 << Ints{1, 7, 200} << Ints{1, 7, 200};
    QTest::newRow("signed samples are ranged as unsigned ones")
        << int(ep::DataTypeInt8) << 8 << 0 << 127 << Ints{255, 127} << Ints{127, 127};
    QTest::newRow("samples without a type are 16-bit ones")
        << int(ep::DataTypeNone) << 16 << 0 << 1000 << Ints{1001, 1000} << Ints{1000, 1000};
}

void RepairImageRangesTest::repairsOutsideOfTheRange()
{
    QFETCH(int, type);
    QFETCH(int, bitDepth);
    QFETCH(int, low);
    QFETCH(int, high);
    QFETCH(Ints, samples);
    QFETCH(Ints, expected);
    const auto stored = type == ep::DataTypeNone ? ep::DataTypeUInt16 : ep::ExImageDataType(type);
    auto image = rowOf(stored, bitDepth, samples);
    image->dataType = ep::ExImageDataType(type);
    const unsigned short range[] = {static_cast<unsigned short>(low), static_cast<unsigned short>(high)};
    const unsigned short* ranges[] = {range};
    QVector<orn::InvalidPixel> records;
    QVERIFY(orn::RepairImage(image.image(), ranges, records));
    image->dataType = stored;
    QCOMPARE(samplesOf(image.image()), expected);
    int changed = 0;
    for (int i = 0; i < samples.size(); ++i)
        changed += samples[i] != expected[i];
    QCOMPARE(records.size(), changed);
}

void RepairImageRangesTest::hasARangePerChannel()
{
    auto image = randomImage(describe(ep::DataTypeUInt16, 2, 1, 4, ep::LayoutPlanar));
    for (int c = 0; c < 4; ++c) {
        setSample<quint16>(image.image(), 0, 0, c, quint16(10 * c + 5));
        setSample<quint16>(image.image(), 1, 0, c, quint16(10 * c + 6));
    }
    const unsigned short limits[4][2] = {{0, 5}, {16, 100}, {0, 65535}, {36, 36}};
    const unsigned short* ranges[] = {limits[0], limits[1], limits[2], limits[3]};
    QVector<orn::InvalidPixel> records;
    QVERIFY(orn::RepairImage(image.image(), ranges, records));
    const int expected[4][2] = {{5, 5}, {16, 16}, {25, 26}, {36, 36}};
    for (int c = 0; c < 4; ++c)
        for (int x = 0; x < 2; ++x)
            QCOMPARE(int(sampleAt<quint16>(image.image(), x, 0, c)), expected[c][x]);
    QCOMPARE(records.size(), 3);
}

void RepairImageRangesTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<int>("ranges");

    QTest::newRow("an image without data") << int(ep::DataTypeUInt8) << 0 << 1 << false << 2;
    QTest::newRow("samples of four bytes") << int(ep::DataTypeFloat) << 0 << 1 << true << 2;
    QTest::newRow("five channels") << int(ep::DataTypeUInt8) << 0 << 5 << true << 2;
    QTest::newRow("no ranges") << int(ep::DataTypeUInt8) << 0 << 1 << true << 0;
    QTest::newRow("a channel without a range") << int(ep::DataTypeUInt8) << 0 << 1 << true << 1;
    QTest::newRow("layout 2") << int(ep::DataTypeUInt8) << 2 << 1 << true << 2;
}

void RepairImageRangesTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channels);
    QFETCH(bool, hasData);
    QFETCH(int, ranges);
    const auto storage = randomImage(describe(ep::ExImageDataType(type), 8, 8, channels));
    const auto before = copyOf(storage.image());
    ep::SxImageBuf image = storage.image();
    image.layout = ep::ExImageLayout(layout);
    if (!hasData)
        image.data = nullptr;
    const unsigned short range[] = {10, 20};
    const unsigned short* all[] = {range, range, range, range, range};
    const unsigned short* none[] = {nullptr};
    QVector<orn::InvalidPixel> records;
    QVERIFY(!orn::RepairImage(image, ranges == 0 ? nullptr : ranges == 1 ? none : all, records));
    QVERIFY(records.isEmpty());
    QVERIFY(sameStorage(storage.image(), before.image()));
}

QTEST_GUILESS_MAIN(RepairImageRangesTest)
#include "RepairImageRangesTest.moc"

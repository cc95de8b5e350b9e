#include <orn/HistogramChannel.h>

#include "ImageKinds.h"
#include "SampleNumbers.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <numeric>

using namespace testing;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/** One row of samples of a C++ type. */
template <typename Sample>
ep::CxScopedBuffer rowOf(ep::ExImageDataType type, const QVector<double>& values)
{
    auto image = randomImage(describe(type, values.size(), 1));
    for (int x = 0; x < values.size(); ++x)
        setSample<Sample>(image.image(), x, 0, 0, static_cast<Sample>(values[x]));
    return image;
}

orn::SxHistogramBins binsOf(const ep::SxImageBuf& image, int most)
{
    orn::SxHistogramBins bins;
    return ep::failed(orn::HistogramBins(image, most, bins)) ? orn::SxHistogramBins{0, 0, -1} : bins;
}

qint64 total(const orn::SxChannelHistogram& histogram)
{
    return std::accumulate(histogram.counts.begin(), histogram.counts.end(), qint64(0)) + histogram.below
           + histogram.above + histogram.notNumbers;
}

}  // namespace

class HistogramChannelTest : public QObject {
    Q_OBJECT
private slots:
    void chooses_data();
    void chooses();
    void everyRealValueLiesInABin_data();
    void everyRealValueLiesInABin();
    void countsEveryLevel();
    void countsSamplesOfEveryKind_data() { addImageKinds(); }
    void countsSamplesOfEveryKind();
    void widerBinsHoldTheSumOfTheirLevels();
    void addsUpOverCalls();
    void strayValuesAreCountedApart();
    void oneColorOfAMosaicIsAChannel();
    void refuses_data();
    void refuses();
};

void HistogramChannelTest::chooses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<int>("most");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("width");
    QTest::addColumn<int>("count");
    QTest::newRow("all levels of the bits in use")
        << int(ep::DataTypeUInt16) << QVector<double>{3, 700} << 1024 << 0.0 << 1.0 << 1024;
    QTest::newRow("bins of a power of two of levels")
        << int(ep::DataTypeUInt16) << QVector<double>{0, 16000} << 512 << 0.0 << 32.0 << 512;
    QTest::newRow("fewer bins rather than uneven ones")
        << int(ep::DataTypeUInt16) << QVector<double>{0, 16000} << 70 << 0.0 << 256.0 << 64;
    QTest::newRow("a black image has two levels")
        << int(ep::DataTypeUInt16) << QVector<double>{0, 0} << 512 << 0.0 << 1.0 << 2;
    QTest::newRow("signed integers have their range")
        << int(ep::DataTypeInt16) << QVector<double>{-100, 155} << 64 << -100.0 << 4.0 << 64;
    QTest::newRow("a last bin that is not full")
        << int(ep::DataTypeInt16) << QVector<double>{-5, 4} << 4 << -5.0 << 4.0 << 3;
    QTest::newRow("one real value") << int(ep::DataTypeDouble) << QVector<double>{2.5, 2.5} << 64 << 2.5 << 1.0 << 1;
    QTest::newRow("no finite value at all")
        << int(ep::DataTypeDouble) << QVector<double>{notANumber, infinity} << 64 << 0.0 << 1.0 << 1;
}

void HistogramChannelTest::chooses()
{
    QFETCH(int, type);
    QFETCH(QVector<double>, values);
    QFETCH(int, most);
    QFETCH(double, low);
    QFETCH(double, width);
    QFETCH(int, count);
    const auto image = type == ep::DataTypeUInt16  ? rowOf<quint16>(ep::DataTypeUInt16, values)
                       : type == ep::DataTypeInt16 ? rowOf<qint16>(ep::DataTypeInt16, values)
                                                   : rowOf<double>(ep::DataTypeDouble, values);
    const orn::SxHistogramBins bins = binsOf(image.image(), most);
    QCOMPARE(bins.low, low);
    QCOMPARE(bins.width, width);
    QCOMPARE(bins.count, count);
}

void HistogramChannelTest::everyRealValueLiesInABin_data()
{
    QTest::addColumn<QVector<double>>("values");
    QTest::newRow("between zero and one") << QVector<double>{0, 0.1, 0.5, 1};
    QTest::newRow("negative ones") << QVector<double>{-3, -2.999, -1e-9};
    QTest::newRow("the largest doubles") << QVector<double>{-1.7976931348623157e308, 0, 1.7976931348623157e308};
    QTest::newRow("the smallest doubles") << QVector<double>{0, 5e-324};
    QTest::newRow("neighbours far from zero") << QVector<double>{1e16, 1e16 + 2};
    QTest::newRow("neighbours very far from zero") << QVector<double>{1e300, std::nextafter(1e300, 2e300)};
    QTest::newRow("a narrow range far from zero") << QVector<double>{1e6, 1e6 + 1e-5, 1e6 + 2e-5};
    QTest::newRow("beside values that are not finite") << QVector<double>{1, 2};
}

void HistogramChannelTest::everyRealValueLiesInABin()
{
    QFETCH(QVector<double>, values);
    const auto image = rowOf<double>(ep::DataTypeDouble, values);
    const auto withStrays =
        rowOf<double>(ep::DataTypeDouble, values + QVector<double>{notANumber, infinity, -infinity});
    for (int most : {4, 7, 64, 512}) {
        const orn::SxHistogramBins bins = binsOf(withStrays.image(), most);
        QVERIFY(bins.count >= 1 && bins.count <= most);
        orn::SxChannelHistogram histogram;
        QCOMPARE(orn::HistogramChannel(image.image(), 0, bins, histogram), unsigned(ep::StatusOk));
        QCOMPARE(histogram.below + histogram.above + histogram.notNumbers, qint64(0));
        QCOMPARE(total(histogram), qint64(values.size()));
        QVERIFY(histogram.counts.first() > 0);
        QVERIFY(histogram.counts.last() > 0);
    }
}

void HistogramChannelTest::countsEveryLevel()
{
    for (ep::ExImageLayout layout : allLayouts) {
        const auto image = randomImage(describe(ep::DataTypeUInt8, 67, 41, 3, layout, 5));
        for (int channel = 0; channel < 3; ++channel) {
            QVector<qint64> expected(256, 0);
            for (int y = 0; y < 41; ++y)
                for (int x = 0; x < 67; ++x)
                    ++expected[sampleAt<quint8>(image.image(), x, y, channel)];
            orn::SxChannelHistogram histogram;
            QCOMPARE(orn::HistogramChannel(image.image(), channel, {0, 1, 256}, histogram), unsigned(ep::StatusOk));
            QCOMPARE(histogram.counts, expected);
        }
    }
}

void HistogramChannelTest::countsSamplesOfEveryKind()
{
    const ImageKind kind = currentImageKind();
    if (kind.type == ep::DataTypeComplex)
        QSKIP("these are refused");
    forEachShape(kind.type, [&](int width, int height, int padding) {
        const auto image = numbers(kind.describe(width, height, padding));
        const orn::SxHistogramBins bins = binsOf(image.image(), 16);
        QVERIFY(bins.count > 0 && bins.count <= 16);
        for (int channel = 0; channel < kind.channels; ++channel) {
            QVector<qint64> expected(bins.count, 0);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    const auto sample = static_cast<double>(numberOf(image.image(), x, y, channel));
                    ++expected[static_cast<int>(std::floor((sample - bins.low) / bins.width))];
                }
            orn::SxChannelHistogram histogram;
            QCOMPARE(orn::HistogramChannel(image.image(), channel, bins, histogram), unsigned(ep::StatusOk));
            QVERIFY2(histogram.counts == expected, shapeName(width, height, padding));
            QCOMPARE(histogram.below + histogram.above + histogram.notNumbers, qint64(0));
        }
    });
}

void HistogramChannelTest::widerBinsHoldTheSumOfTheirLevels()
{
    const auto image = randomImage(describe(ep::DataTypeUInt16, 97, 61));
    orn::SxChannelHistogram levels;
    orn::SxChannelHistogram bins;
    QCOMPARE(orn::HistogramChannel(image.image(), 0, {0, 1, 65536}, levels), unsigned(ep::StatusOk));
    QCOMPARE(orn::HistogramChannel(image.image(), 0, {0, 128, 512}, bins), unsigned(ep::StatusOk));
    for (int bin = 0; bin < 512; ++bin)
        QCOMPARE(bins.counts[bin], std::accumulate(levels.counts.begin() + bin * 128,
                                                   levels.counts.begin() + (bin + 1) * 128, qint64(0)));
}

void HistogramChannelTest::addsUpOverCalls()
{
    const auto image = rowOf<quint8>(ep::DataTypeUInt8, {0, 1, 1, 3});
    orn::SxChannelHistogram histogram;
    for (int call = 0; call < 2; ++call)
        QCOMPARE(orn::HistogramChannel(image.image(), 0, {0, 1, 3}, histogram), unsigned(ep::StatusOk));
    QCOMPARE(histogram.counts, (QVector<qint64>{2, 4, 0}));
    QCOMPARE(histogram.above, qint64(2));
}

void HistogramChannelTest::strayValuesAreCountedApart()
{
    const auto image =
        rowOf<double>(ep::DataTypeDouble, {notANumber, infinity, -infinity, -0.25, 0, 1.999, 2, notANumber});
    orn::SxChannelHistogram histogram;
    QCOMPARE(orn::HistogramChannel(image.image(), 0, {0, 1, 2}, histogram), unsigned(ep::StatusOk));
    QCOMPARE(histogram.counts, (QVector<qint64>{1, 1}));
    QCOMPARE(histogram.below, qint64(2));
    QCOMPARE(histogram.above, qint64(2));
    QCOMPARE(histogram.notNumbers, qint64(2));
}

void HistogramChannelTest::oneColorOfAMosaicIsAChannel()
{
    auto mosaic = randomImage(describe(ep::DataTypeUInt8, 6, 4));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 6; ++x)
            setSample<quint8>(mosaic.image(), x, y, 0, quint8(y % 2 * 2 + x % 2));
    ep::SxImageBuf rows = mosaic.image();
    rows.width = 3;
    rows.height = 2;
    rows.channels = 2;
    rows.stride *= 2;
    for (int channel = 0; channel < 2; ++channel) {
        orn::SxChannelHistogram histogram;
        QCOMPARE(orn::HistogramChannel(rows, channel, {0, 1, 4}, histogram), unsigned(ep::StatusOk));
        QVector<qint64> expected(4, 0);
        expected[channel] = 6;
        QCOMPARE(histogram.counts, expected);
    }
}

void HistogramChannelTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channel");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("width");
    QTest::addColumn<int>("count");
    QTest::addColumn<unsigned>("status");
    const auto number = int(ep::DataTypeUInt8);
    const auto invalid = unsigned(ep::StatusInvalidArgument);
    QTest::newRow("a channel that is not there") << number << 1 << 0.0 << 1.0 << 5 << invalid;
    QTest::newRow("a negative channel") << number << -1 << 0.0 << 1.0 << 5 << invalid;
    QTest::newRow("no bins") << number << 0 << 0.0 << 1.0 << 0 << invalid;
    QTest::newRow("bins without width") << number << 0 << 0.0 << 0.0 << 5 << invalid;
    QTest::newRow("bins of a width that is no number") << number << 0 << 0.0 << notANumber << 5 << invalid;
    QTest::newRow("endless bins") << number << 0 << 0.0 << infinity << 5 << invalid;
    QTest::newRow("bins that begin nowhere") << number << 0 << notANumber << 1.0 << 5 << invalid;
    QTest::newRow("another number of counts") << number << 0 << 0.0 << 1.0 << 6 << invalid;
    QTest::newRow("samples that are no numbers")
        << int(ep::DataTypeComplex) << 0 << 0.0 << 1.0 << 5 << unsigned(ep::StatusUnsupportedType);
}

void HistogramChannelTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, channel);
    QFETCH(double, low);
    QFETCH(double, width);
    QFETCH(int, count);
    QFETCH(unsigned, status);
    const auto image = randomImage(describe(ep::ExImageDataType(type), 4, 4));
    orn::SxChannelHistogram histogram;
    histogram.counts = {1, 2, 3, 4, 5};
    QCOMPARE(orn::HistogramChannel(image.image(), channel, {low, width, count}, histogram), status);
    QCOMPARE(histogram.counts, (QVector<qint64>{1, 2, 3, 4, 5}));
    orn::SxHistogramBins bins{7, 7, 7};
    QVERIFY(ep::failed(orn::HistogramBins(ep::emptyImage(), 8, bins)));
    QVERIFY(ep::failed(orn::HistogramBins(image.image(), 3, bins)));
    QCOMPARE(bins.count, 7);
    QCOMPARE(ep::failed(orn::HistogramBins(image.image(), 8, bins)), type == ep::DataTypeComplex);
}

QTEST_GUILESS_MAIN(HistogramChannelTest)
#include "HistogramChannelTest.moc"

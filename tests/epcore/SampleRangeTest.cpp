#include <ep/SampleRange.h>

#include <ep/internal/SampleVisitor.h>

#include "ImageKinds.h"

#include <QtTest>

#include <cmath>
#include <limits>

using namespace testing;

namespace {

/** The plain way: sample after sample, by the address rule of the record. */
template <typename T>
QPair<double, double> naiveRange(const ep::SxImageBuf& image, int channel)
{
    bool found = false;
    T low{};
    T high{};
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const T value = sampleAt<T>(image, x, y, channel);
            if (value != value)
                continue;
            low = !found || value < low ? value : low;
            high = !found || value > high ? value : high;
            found = true;
        }
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return found ? qMakePair(static_cast<double>(low), static_cast<double>(high)) : qMakePair(nan, nan);
}

bool same(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

}  // namespace

class SampleRangeTest : public QObject {
    Q_OBJECT
private slots:
    void agreesWithTheNaiveReference_data() { addImageKinds(); }
    void agreesWithTheNaiveReference();
    void passesNansOver_data();
    void passesNansOver();
    void seesOneColourOfAMosaic();
    void refuses_data();
    void refuses();
};

void SampleRangeTest::agreesWithTheNaiveReference()
{
    const ImageKind kind = currentImageKind();
    if (kind.type == ep::DataTypeComplex)
        return;  // refused, see below
    const auto check = [&](int width, int height, int padding) {
        const auto image = randomImage(kind.describe(width, height, padding), static_cast<quint32>(width));
        const int channel = (width + height) % kind.channels;
        QPair<double, double> expected;
        QVERIFY(ep::internal::visitSampleType(
            kind.type, [&](auto tag) { expected = naiveRange<typename decltype(tag)::Type>(image.image(), channel); }));
        double minimum = -1;
        double maximum = -1;
        QCOMPARE(ep::SampleRange(image.image(), channel, minimum, maximum), unsigned(ep::StatusOk));
        QVERIFY2(same(minimum, expected.first), shapeName(width, height, padding));
        QVERIFY2(same(maximum, expected.second), shapeName(width, height, padding));
    };
    forEveryShape(check);
    check(131, 5, 3);
}

void SampleRangeTest::passesNansOver_data()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    QTest::addColumn<QVector<double>>("samples");
    QTest::addColumn<double>("minimum");
    QTest::addColumn<double>("maximum");
    QTest::newRow("a NaN among numbers is passed over") << QVector<double>{nan, 2, -1, nan, 5} << -1.0 << 5.0;
    QTest::newRow("nothing but NaNs gives NaN") << QVector<double>{nan, nan} << nan << nan;
    QTest::newRow("infinities count") << QVector<double>{1, infinity, nan, -infinity} << -infinity << infinity;
    QTest::newRow("nothing but one infinity gives it twice") << QVector<double>{infinity} << infinity << infinity;
}

void SampleRangeTest::passesNansOver()
{
    QFETCH(QVector<double>, samples);
    QFETCH(double, minimum);
    QFETCH(double, maximum);
    auto image = randomImage(describe(ep::DataTypeDouble, samples.size(), 1));
    for (int x = 0; x < samples.size(); ++x)
        setSample(image.image(), x, 0, 0, samples[x]);
    double low = 0;
    double high = 0;
    QCOMPARE(ep::SampleRange(image.image(), 0, low, high), unsigned(ep::StatusOk));
    QVERIFY(same(low, minimum));
    QVERIFY(same(high, maximum));
}

void SampleRangeTest::seesOneColourOfAMosaic()
{
    auto mosaic = randomImage(describe(ep::DataTypeUInt16, 8, 6));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x)
            setSample<quint16>(mosaic.image(), x, y, 0, quint16(1000 * (2 * (y % 2) + x % 2) + y * 8 + x));
    ep::SxImageBuf cells = mosaic.image();
    cells.channels = 2;
    cells.width /= 2;
    cells.height /= 2;
    cells.stride *= 2;
    cells.data = address(mosaic.image(), 0, 1, 0);
    double minimum = 0;
    double maximum = 0;
    QCOMPARE(ep::SampleRange(cells, 1, minimum, maximum), unsigned(ep::StatusOk));
    QCOMPARE(minimum, 3009.0);
    QCOMPARE(maximum, 3047.0);
}

void SampleRangeTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channel");
    QTest::addColumn<bool>("empty");
    QTest::newRow("an empty image") << int(ep::DataTypeUInt8) << 0 << 0 << true;
    QTest::newRow("a negative channel") << int(ep::DataTypeUInt8) << 0 << -1 << false;
    QTest::newRow("a channel past the last") << int(ep::DataTypeUInt8) << 0 << 2 << false;
    QTest::newRow("an unknown layout") << int(ep::DataTypeUInt8) << 2 << 0 << false;
    QTest::newRow("the 16-byte type") << int(ep::DataTypeComplex) << 0 << 0 << false;
    QTest::newRow("an unknown type") << 12 << 0 << 0 << false;
}

void SampleRangeTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channel);
    QFETCH(bool, empty);
    const auto storage = randomImage(describe(ep::DataTypeComplex, 4, 4, 2));
    ep::SxImageBuf image = storage.image();
    image.dataType = static_cast<ep::ExImageDataType>(type);
    image.layout = static_cast<ep::ExImageLayout>(layout);
    if (empty)
        image.data = nullptr;
    double minimum = 4;
    double maximum = 2;
    QVERIFY(ep::failed(ep::SampleRange(image, channel, minimum, maximum)));
    QCOMPARE(minimum, 4.0);
    QCOMPARE(maximum, 2.0);
}

QTEST_GUILESS_MAIN(SampleRangeTest)
#include "SampleRangeTest.moc"

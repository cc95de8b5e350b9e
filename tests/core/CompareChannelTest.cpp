#include <orn/CompareChannel.h>

#include "SampleNumbers.h"

#include <QtTest>

#include <cmath>
#include <limits>

using namespace testing;

namespace {

orn::SxChannelComparison naive(const ep::SxImageBuf& a, const ep::SxImageBuf& b, int channel, double tolerance)
{
    orn::SxChannelComparison result{static_cast<qint64>(a.width) * a.height, 0, 0, 0, -1, -1, 0, 0};
    long double squares = 0;
    for (int y = 0; y < a.height; ++y) {
        for (int x = 0; x < a.width; ++x) {
            const long double left = numberOf(a, x, y, channel);
            const long double right = numberOf(b, x, y, channel);
            const long double error = std::fabs(left - right);
            squares += error * error;
            result.maximumError = std::max(result.maximumError, static_cast<double>(error));
            if (error > static_cast<long double>(tolerance) && result.differing++ == 0) {
                result.firstColumn = x;
                result.firstRow = y;
                result.firstA = static_cast<double>(left);
                result.firstB = static_cast<double>(right);
            }
        }
    }
    result.rmsError = static_cast<double>(std::sqrt(squares / static_cast<long double>(result.samples)));
    return result;
}

bool close(double a, double b)
{
    return a == b || std::fabs(a - b) <= 1e-12 * std::fmax(std::fabs(a), std::fabs(b));
}

bool sameResult(const orn::SxChannelComparison& a, const orn::SxChannelComparison& b)
{
    return a.samples == b.samples && a.differing == b.differing && close(a.maximumError, b.maximumError)
           && close(a.rmsError, b.rmsError) && a.firstColumn == b.firstColumn && a.firstRow == b.firstRow
           && a.firstA == b.firstA && a.firstB == b.firstB;
}

}  // namespace

class CompareChannelTest : public QObject {
    Q_OBJECT

private slots:
    void agreesWithTheNaiveLoop_data();
    void agreesWithTheNaiveLoop();
    void servesEverySize();
    void toleranceIsInclusive();
    void largeIntegersAreComparedExactly();
    void treatsNotANumberAsFarAway();
    void refuses_data();
    void refuses();
    void peakSignalToNoiseInDecibels();
};

void CompareChannelTest::agreesWithTheNaiveLoop_data()
{
    QTest::addColumn<int>("typeA");
    QTest::addColumn<int>("typeB");
    for (ep::ExImageDataType a : allTypes)
        for (ep::ExImageDataType b : allTypes)
            if (a != ep::DataTypeComplex && b != ep::DataTypeComplex)
                QTest::addRow("%s against %s", ep::sampleFacts(a).name, ep::sampleFacts(b).name) << int(a) << int(b);
}

void CompareChannelTest::agreesWithTheNaiveLoop()
{
    QFETCH(int, typeA);
    QFETCH(int, typeB);
    for (ep::ExImageLayout layoutA : allLayouts) {
        for (ep::ExImageLayout layoutB : allLayouts) {
            const auto a = numbers(describe(ep::ExImageDataType(typeA), 13, 7, 3, layoutA, 5), 1);
            const auto b = numbers(describe(ep::ExImageDataType(typeB), 13, 7, 3, layoutB, 0), 9);
            for (int channel = 0; channel < 3; ++channel) {
                orn::SxChannelComparison result{};
                QCOMPARE(orn::CompareChannel(a.image(), b.image(), channel, 100, result), unsigned(ep::StatusOk));
                QVERIFY(sameResult(result, naive(a.image(), b.image(), channel, 100)));
            }
        }
    }
}

void CompareChannelTest::servesEverySize()
{
    for (int width = 1; width <= 67; ++width) {
        const int height = 68 - width;
        const auto a = numbers(describe(ep::DataTypeUInt16, width, height, 1, ep::LayoutPacked, 0), quint32(width));
        auto b = copyOf(a.image());
        orn::SxChannelComparison result{};
        QCOMPARE(orn::CompareChannel(a.image(), b.image(), 0, 0, result), unsigned(ep::StatusOk));
        QCOMPARE(result.differing, 0);
        QCOMPARE(result.firstColumn, -1);
        QCOMPARE(result.rmsError, 0.0);
        // The very last sample counts as well.
        const quint16 last = sampleAt<quint16>(b.image(), width - 1, height - 1);
        setSample<quint16>(b.image(), width - 1, height - 1, 0, last ^ 1);
        QCOMPARE(orn::CompareChannel(a.image(), b.image(), 0, 0, result), unsigned(ep::StatusOk));
        QCOMPARE(result.differing, 1);
        QCOMPARE(result.firstColumn, width - 1);
        QCOMPARE(result.firstRow, height - 1);
        QVERIFY(sameResult(result, naive(a.image(), b.image(), 0, 0)));
    }
}

void CompareChannelTest::toleranceIsInclusive()
{
    auto a = randomImage(describe(ep::DataTypeUInt8, 2, 1));
    auto b = copyOf(a.image());
    setSample<quint8>(a.image(), 0, 0, 0, 10);
    setSample<quint8>(b.image(), 0, 0, 0, 13);
    orn::SxChannelComparison result{};
    orn::CompareChannel(a.image(), b.image(), 0, 3, result);
    QCOMPARE(result.differing, 0);
    QCOMPARE(result.maximumError, 3.0);
    orn::CompareChannel(a.image(), b.image(), 0, 2.5, result);
    QCOMPARE(result.differing, 1);
}

void CompareChannelTest::largeIntegersAreComparedExactly()
{
    auto a = randomImage(describe(ep::DataTypeUInt64, 1, 1));
    auto b = copyOf(a.image());
    setSample<quint64>(a.image(), 0, 0, 0, std::numeric_limits<quint64>::max());
    setSample<quint64>(b.image(), 0, 0, 0, std::numeric_limits<quint64>::max() - 1);
    orn::SxChannelComparison result{};
    orn::CompareChannel(a.image(), b.image(), 0, 0, result);
    QCOMPARE(result.differing, 1);
    QCOMPARE(result.maximumError, 1.0);
}

void CompareChannelTest::treatsNotANumberAsFarAway()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const auto compare = [](double left, double right) {
        auto a = randomImage(describe(ep::DataTypeDouble, 1, 1));
        auto b = copyOf(a.image());
        setSample<double>(a.image(), 0, 0, 0, left);
        setSample<double>(b.image(), 0, 0, 0, right);
        orn::SxChannelComparison result{};
        orn::CompareChannel(a.image(), b.image(), 0, 1e9, result);
        return result.maximumError;
    };
    QCOMPARE(compare(nan, nan), 0.0);
    QCOMPARE(compare(infinity, infinity), 0.0);
    QCOMPARE(compare(nan, 1), infinity);
    QCOMPARE(compare(1, nan), infinity);
    QCOMPARE(compare(-infinity, infinity), infinity);
}

void CompareChannelTest::refuses_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<unsigned>("status");
    QTest::newRow("an empty image") << "empty" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("another width") << "width" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("another height") << "height" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("a channel that is not there") << "channel" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("a negative channel") << "negative channel" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("a negative tolerance") << "tolerance" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("a tolerance that is no number") << "nan" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("an unknown layout") << "layout" << unsigned(ep::StatusUnsupportedLayout);
    QTest::newRow("samples that are no numbers") << "type" << unsigned(ep::StatusUnsupportedType);
}

void CompareChannelTest::refuses()
{
    QFETCH(QString, what);
    QFETCH(unsigned, status);
    const auto type = what == QLatin1String("type") ? ep::DataTypeComplex : ep::DataTypeUInt16;
    const auto a = randomImage(describe(type, 4, 4));
    const auto storage = copyOf(a.image());
    ep::SxImageBuf b = storage.image();
    if (what == QLatin1String("empty"))
        b.data = nullptr;
    if (what == QLatin1String("width"))
        b.width = 3;
    if (what == QLatin1String("height"))
        b.height = 3;
    if (what == QLatin1String("layout"))
        b.layout = ep::ExImageLayout(7);
    const int channel = what == QLatin1String("channel") ? 1 : what == QLatin1String("negative channel") ? -1 : 0;
    const double tolerance = what == QLatin1String("tolerance") ? -1.0
                             : what == QLatin1String("nan")     ? std::numeric_limits<double>::quiet_NaN()
                                                                : 0.0;
    orn::SxChannelComparison result{};
    result.differing = 77;
    QCOMPARE(orn::CompareChannel(a.image(), b, channel, tolerance, result), status);
    QCOMPARE(result.differing, 77);
}

void CompareChannelTest::peakSignalToNoiseInDecibels()
{
    QCOMPARE(orn::peakSignalToNoise(1, 255), 20 * std::log10(255.0));
    QCOMPARE(orn::peakSignalToNoise(0, 255), std::numeric_limits<double>::infinity());
}

QTEST_GUILESS_MAIN(CompareChannelTest)
#include "CompareChannelTest.moc"

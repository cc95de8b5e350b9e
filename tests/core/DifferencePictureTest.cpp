#include <orn/DifferencePicture.h>

#include "ImageKinds.h"
#include "SampleNumbers.h"

#include <QtTest>

#include <cmath>
#include <limits>

using namespace testing;

namespace {

/** An image of zeros. */
ep::CxScopedBuffer zeros(ep::ExImageDataType type, int width, int height, int channels = 1,
                         ep::ExImageLayout layout = ep::LayoutPacked, int padding = 0)
{
    ep::CxScopedBuffer image(describe(type, width, height, channels, layout, padding));
    if (ep::failed(image.allocate(true)))
        qFatal("cannot allocate a test image");
    return image;
}

/** The picture of a row of doubles against zeros. */
QVector<int> greysOf(const QVector<double>& values)
{
    const auto a = zeros(ep::DataTypeDouble, values.size(), 1);
    auto b = copyOf(a.image());
    for (int x = 0; x < values.size(); ++x)
        setSample<double>(b.image(), x, 0, 0, values[x]);
    ep::CxScopedBuffer picture;
    QVector<int> greys;
    if (!ep::failed(orn::DifferencePicture(a.image(), b.image(), picture)))
        for (int x = 0; x < values.size(); ++x)
            greys << sampleAt<quint8>(picture.image(), x, 0);
    return greys;
}

}  // namespace

class DifferencePictureTest : public QObject {
    Q_OBJECT
private slots:
    void theLargestDifferenceIsWhiteAndNoneIsBlack();
    void oddDifferencesAreDrawn_data();
    void oddDifferencesAreDrawn();
    void everyPixelShowsItsLargestChannel_data();
    void everyPixelShowsItsLargestChannel();
    void samplesOfEveryKindAreCompared_data() { addImageKinds(); }
    void samplesOfEveryKindAreCompared();
    void largeIntegersAreToldApart();
    void typesMayDiffer();
    void refuses_data();
    void refuses();
};

void DifferencePictureTest::theLargestDifferenceIsWhiteAndNoneIsBlack()
{
    QCOMPARE(greysOf({0, 50, 100, -100, 25, 0}), (QVector<int>{0, 128, 255, 255, 64, 0}));
    QCOMPARE(greysOf({0, 0, 0}), (QVector<int>{0, 0, 0}));
}

void DifferencePictureTest::oddDifferencesAreDrawn_data()
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<QVector<int>>("greys");
    QTest::newRow("a tiny difference is not black") << QVector<double>{1e-9, 1, 0} << QVector<int>{1, 255, 0};
    QTest::newRow("a NaN is white and leaves the scale alone")
        << QVector<double>{nan, 2, 1, 0} << QVector<int>{255, 255, 128, 0};
    QTest::newRow("infinity is white and leaves the scale alone")
        << QVector<double>{-infinity, 4, 1, 0} << QVector<int>{255, 255, 64, 0};
    QTest::newRow("infinity alone is white") << QVector<double>{infinity, 0} << QVector<int>{255, 0};
    QTest::newRow("the largest of all doubles") << QVector<double>{1.7e308, 8.5e307, 0} << QVector<int>{255, 128, 0};
}

void DifferencePictureTest::oddDifferencesAreDrawn()
{
    QFETCH(QVector<double>, values);
    QFETCH(QVector<int>, greys);
    QCOMPARE(greysOf(values), greys);
}

void DifferencePictureTest::everyPixelShowsItsLargestChannel_data()
{
    QTest::addColumn<int>("layoutA");
    QTest::addColumn<int>("layoutB");
    for (ep::ExImageLayout a : allLayouts)
        for (ep::ExImageLayout b : allLayouts)
            QTest::addRow("layout %d against %d", int(a), int(b)) << int(a) << int(b);
}

void DifferencePictureTest::everyPixelShowsItsLargestChannel()
{
    QFETCH(int, layoutA);
    QFETCH(int, layoutB);
    constexpr int width = 9;
    constexpr int height = 5;
    constexpr int channels = 3;
    const auto a = randomImage(describe(ep::DataTypeUInt16, width, height, channels, ep::ExImageLayout(layoutA), 6), 1);
    const auto b = randomImage(describe(ep::DataTypeUInt16, width, height, channels, ep::ExImageLayout(layoutB)), 2);
    const auto difference = [&](int x, int y) {
        int largest = 0;
        for (int c = 0; c < channels; ++c)
            largest = std::max(largest, std::abs(int(sampleAt<quint16>(a.image(), x, y, c))
                                                 - int(sampleAt<quint16>(b.image(), x, y, c))));
        return largest;
    };
    int white = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            white = std::max(white, difference(x, y));
    ep::CxScopedBuffer picture;
    QCOMPARE(orn::DifferencePicture(a.image(), b.image(), picture), unsigned(ep::StatusOk));
    QCOMPARE(picture->channels, 1);
    QCOMPARE(picture->bitDepth, 8);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            QCOMPARE(int(sampleAt<quint8>(picture.image(), x, y)), int(difference(x, y) * 255.0 / white + 0.5));
}

void DifferencePictureTest::samplesOfEveryKindAreCompared()
{
    const ImageKind kind = currentImageKind();
    if (kind.type == ep::DataTypeComplex)
        QSKIP("these are refused");
    forEachShape(kind.type, [&](int width, int height, int padding) {
        const auto a = numbers(kind.describe(width, height, padding), 1);
        const auto b = numbers(kind.describe(width, height, 0), 2);
        std::vector<long double> distances;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                long double largest = 0;
                for (int c = 0; c < kind.channels; ++c)
                    largest = std::max(largest, std::fabs(numberOf(a.image(), x, y, c) - numberOf(b.image(), x, y, c)));
                distances.push_back(largest);
            }
        const long double white = *std::max_element(distances.begin(), distances.end());
        ep::CxScopedBuffer picture;
        QCOMPARE(orn::DifferencePicture(a.image(), b.image(), picture), unsigned(ep::StatusOk));
        for (int i = 0; i < width * height; ++i) {
            const long double distance = distances[size_t(i)];
            const int expected = distance == 0 ? 0 : std::max(1, int(double(distance / white) * 255 + 0.5));
            const int drawn = sampleAt<quint8>(picture.image(), i % width, i / width);
            QVERIFY2(std::abs(drawn - expected) <= 1 && (drawn == 0) == (distance == 0),
                     shapeName(width, height, padding));
        }
    });
}

void DifferencePictureTest::largeIntegersAreToldApart()
{
    auto a = zeros(ep::DataTypeUInt64, 2, 1);
    auto b = copyOf(a.image());
    for (int x = 0; x < 2; ++x)
        setSample<quint64>(a.image(), x, 0, 0, std::numeric_limits<quint64>::max());
    setSample<quint64>(b.image(), 0, 0, 0, std::numeric_limits<quint64>::max() - 1);
    setSample<quint64>(b.image(), 1, 0, 0, std::numeric_limits<quint64>::max());
    ep::CxScopedBuffer picture;
    QCOMPARE(orn::DifferencePicture(a.image(), b.image(), picture), unsigned(ep::StatusOk));
    QCOMPARE(int(sampleAt<quint8>(picture.image(), 0, 0)), 255);
    QCOMPARE(int(sampleAt<quint8>(picture.image(), 1, 0)), 0);
}

void DifferencePictureTest::typesMayDiffer()
{
    auto a = zeros(ep::DataTypeUInt8, 2, 1);
    auto b = zeros(ep::DataTypeFloat, 2, 1);
    setSample<quint8>(a.image(), 0, 0, 0, 200);
    setSample<float>(b.image(), 0, 0, 0, 200);
    setSample<float>(b.image(), 1, 0, 0, 0.5f);
    ep::CxScopedBuffer picture;
    QCOMPARE(orn::DifferencePicture(a.image(), b.image(), picture), unsigned(ep::StatusOk));
    QCOMPARE(int(sampleAt<quint8>(picture.image(), 0, 0)), 0);
    QCOMPARE(int(sampleAt<quint8>(picture.image(), 1, 0)), 255);
}

void DifferencePictureTest::refuses_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<unsigned>("status");
    QTest::newRow("an empty image") << "empty" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("another width") << "width" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("another height") << "height" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("another number of channels") << "channels" << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("an unknown layout") << "layout" << unsigned(ep::StatusUnsupportedLayout);
    QTest::newRow("samples that are no numbers") << "type" << unsigned(ep::StatusUnsupportedType);
}

void DifferencePictureTest::refuses()
{
    QFETCH(QString, what);
    QFETCH(unsigned, status);
    const auto type = what == QLatin1String("type") ? ep::DataTypeComplex : ep::DataTypeUInt16;
    const auto a = zeros(type, 4, 4, 2);
    const auto storage = copyOf(a.image());
    ep::SxImageBuf b = storage.image();
    if (what == QLatin1String("empty"))
        b.data = nullptr;
    if (what == QLatin1String("width"))
        b.width = 3;
    if (what == QLatin1String("height"))
        b.height = 3;
    if (what == QLatin1String("channels"))
        b.channels = 1;
    if (what == QLatin1String("layout"))
        b.layout = ep::ExImageLayout(7);
    auto picture = zeros(ep::DataTypeUInt8, 1, 1);
    const void* before = picture->data;
    QCOMPARE(orn::DifferencePicture(a.image(), b, picture), status);
    QCOMPARE(picture->data, before);
}

QTEST_GUILESS_MAIN(DifferencePictureTest)
#include "DifferencePictureTest.moc"

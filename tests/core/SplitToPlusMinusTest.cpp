#include <orn/SplitToPlusMinus.h>

#include "TestImages.h"

#include <QtTest>

#include <limits>

using namespace testing;

namespace {

using Doubles = QVector<double>;

constexpr int packed = ep::LayoutPacked;
constexpr int planar = ep::LayoutPlanar;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

ep::CxScopedBuffer imageOf(int layout, int width, int channels, const Doubles& samples, int padding = 0)
{
    const int height = samples.size() / width / channels;
    auto image = randomImage(describe(ep::DataTypeDouble, width, height, channels, ep::ExImageLayout(layout), padding));
    for (int i = 0; i < samples.size(); ++i)
        setSample(image.image(), i / channels % width, i / channels / width, i % channels, samples[i]);
    return image;
}

Doubles samplesOf(const ep::SxImageBuf& image)
{
    Doubles samples;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c)
                samples << sampleAt<double>(image, x, y, c);
    return samples;
}

/** True when every byte that is no sample is 0. */
bool hasZeroPadding(const ep::SxImageBuf& image)
{
    auto copy = copyOf(image);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c)
                setSample(copy.image(), x, y, c, 0.0);
    const auto* bytes = static_cast<const unsigned char*>(copy->data);
    return std::all_of(bytes, bytes + storageBytes(image), [](unsigned char byte) { return byte == 0; });
}

}  // namespace

class SplitToPlusMinusTest : public QObject {
    Q_OBJECT

private slots:
    void splits_data();
    void splits();
    void splitsAnySize_data();
    void splitsAnySize();
    void clearsBothBeforeItReads();
    void clearsAnUnknownLayout_data();
    void clearsAnUnknownLayout();
    void takesImagesWithoutSamples_data();
    void takesImagesWithoutSamples();
    void refuses_data();
    void refuses();
};

void SplitToPlusMinusTest::splits_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("isInverted");
    QTest::addColumn<Doubles>("samples");
    QTest::addColumn<Doubles>("plus");
    QTest::addColumn<Doubles>("minus");

    QTest::newRow("planar, the minus as magnitudes")
        << planar << 2 << 1 << true << Doubles{1.5, -2, 0, -0.25} << Doubles{1.5, 0, 0, 0} << Doubles{0, 2, 0, 0.25};
    QTest::newRow("planar, the minus as it is")
        << planar << 2 << 1 << false << Doubles{1.5, -2, 0, -0.25} << Doubles{1.5, 0, 0, 0} << Doubles{0, -2, 0, -0.25};
    QTest::newRow("planar channels") << planar << 1 << 2 << false << Doubles{1, -2, -3, 4} << Doubles{1, 0, 0, 4}
                                     << Doubles{0, -2, -3, 0};
    QTest::newRow("no numbers and zeros are in neither")
        << planar << 4 << 1 << true << Doubles{notANumber, -0.0, 0, 1} << Doubles{0, 0, 0, 1} << Doubles{0, 0, 0, 0};
    QTest::newRow("infinities and the smallest numbers")
        << planar << 4 << 1 << true << Doubles{infinity, -infinity, 5e-324, -5e-324} << Doubles{infinity, 0, 5e-324, 0}
        << Doubles{0, infinity, 0, 5e-324};
    QTest::newRow("a packed image of one row")
        << packed << 2 << 2 << true << Doubles{1, -2, -3, 4} << Doubles{1, 0, 0, 4} << Doubles{0, 2, 3, 0};
    QTest::newRow("the second packed row lands in both rows of the minus")
        << packed << 2 << 1 << true << Doubles{0, 0, 3, -4} << Doubles{0, 0, 0, 0} << Doubles{0, 4, 3, 0};
    QTest::newRow("the same without inversion")
        << packed << 2 << 1 << false << Doubles{0, 0, 3, -4} << Doubles{0, 0, 0, 0} << Doubles{0, -4, 3, 0};
    QTest::newRow("later packed rows overwrite the earlier ones, where they are not zero")
        << packed << 2 << 1 << false << Doubles{-1, 2, 3, -4, 5, -6, -7, 0} << Doubles{0, 2, 0, 0, 0, 0, 0, 0}
        << Doubles{-7, -6, 5, 0, 0, 0, 0, 0};
}

void SplitToPlusMinusTest::splits()
{
    QFETCH(int, layout);
    QFETCH(int, width);
    QFETCH(int, channels);
    QFETCH(bool, isInverted);
    QFETCH(Doubles, samples);
    QFETCH(Doubles, plus);
    QFETCH(Doubles, minus);
    for (int padding : {0, 3, 40}) {
        const auto src = imageOf(layout, width, channels, samples, padding);
        const auto before = copyOf(src.image());
        auto positive = imageOf(layout, width, channels, samples, 2 * padding);
        auto negative = imageOf(layout, width, channels, samples, padding / 3);
        QVERIFY(orn::SplitToPlusMinus(src.image(), positive.image(), negative.image(), isInverted));
        QCOMPARE(samplesOf(positive.image()), plus);
        QCOMPARE(samplesOf(negative.image()), minus);
        QVERIFY(hasZeroPadding(positive.image()));
        QVERIFY(hasZeroPadding(negative.image()));
        QVERIFY(sameStorage(src.image(), before.image()));
    }
}

void SplitToPlusMinusTest::splitsAnySize_data()
{
    QTest::addColumn<int>("layout");
    for (int layout : {packed, planar})
        QTest::addRow("layout %d", layout) << layout;
}

/** Every size, against the rule sample by sample. */
void SplitToPlusMinusTest::splitsAnySize()
{
    QFETCH(int, layout);
    std::mt19937 random(5);
    for (int width = 1; width <= 67; ++width) {
        const int height = layout == packed ? 1 : 1 + width % 5;
        const int channels = 1 + width % 4;
        Doubles samples;
        for (int i = 0; i < width * height * channels; ++i)
            samples << (random() % 4 == 0 ? 0.0 : (double(random()) - 2e9) / 7);
        const auto src = imageOf(layout, width, channels, samples, width % 11);
        auto plus = imageOf(layout, width, channels, samples, width % 7);
        auto minus = imageOf(layout, width, channels, samples, width % 3);
        QVERIFY(orn::SplitToPlusMinus(src.image(), plus.image(), minus.image(), width % 2 == 0));
        const Doubles positive = samplesOf(plus.image());
        const Doubles negative = samplesOf(minus.image());
        for (int i = 0; i < samples.size(); ++i) {
            QCOMPARE(positive[i], samples[i] > 0 ? samples[i] : 0.0);
            QCOMPARE(negative[i], samples[i] < 0 ? (width % 2 == 0 ? -samples[i] : samples[i]) : 0.0);
        }
    }
}

/** What images that share memory come to: all is cleared first, and then there is nothing to split. */
void SplitToPlusMinusTest::clearsBothBeforeItReads()
{
    const Doubles samples{1, -2, -3, 4};
    auto src = imageOf(planar, 1, 2, samples);
    auto other = imageOf(planar, 1, 2, samples);
    QVERIFY(orn::SplitToPlusMinus(src.image(), src.image(), other.image(), true));
    QCOMPARE(samplesOf(src.image()), (Doubles{0, 0, 0, 0}));
    QCOMPARE(samplesOf(other.image()), (Doubles{0, 0, 0, 0}));

    src = imageOf(planar, 1, 2, samples);
    QVERIFY(orn::SplitToPlusMinus(src.image(), other.image(), other.image(), true));
    QCOMPARE(samplesOf(other.image()), (Doubles{1, 2, 3, 4}));

    // The rows of the second output begin one below those of the first: none is cleared after it was written.
    auto storage = imageOf(planar, 1, 1, Doubles{9, 9, 9, 9, 9});
    src = imageOf(planar, 1, 1, samples);
    ep::SxImageBuf plus = storage.image();
    plus.height = 4;
    ep::SxImageBuf minus = plus;
    minus.data = static_cast<char*>(plus.data) + plus.stride;
    QVERIFY(orn::SplitToPlusMinus(src.image(), plus, minus, true));
    QCOMPARE(samplesOf(storage.image()), (Doubles{1, 0, 2, 4, 0}));
}

void SplitToPlusMinusTest::clearsAnUnknownLayout_data()
{
    QTest::addColumn<int>("layout");
    QTest::newRow("layout 2") << 2;
    QTest::newRow("a negative layout") << -1;
}

void SplitToPlusMinusTest::clearsAnUnknownLayout()
{
    QFETCH(int, layout);
    // Three planes in all of them: an unknown layout takes stride x height x channels bytes.
    auto src = imageOf(planar, 2, 3, Doubles(12, -1));
    auto plus = imageOf(planar, 2, 3, Doubles(12, 5));
    auto minus = imageOf(planar, 2, 3, Doubles(12, 5));
    for (ep::CxScopedBuffer* image : {&src, &plus, &minus})
        image->image().layout = ep::ExImageLayout(layout);
    QVERIFY(orn::SplitToPlusMinus(src.image(), plus.image(), minus.image(), true));
    for (ep::CxScopedBuffer* image : {&plus, &minus}) {
        image->image().layout = ep::LayoutPlanar;
        QCOMPARE(samplesOf(image->image()), Doubles(12, 0));
    }
}

void SplitToPlusMinusTest::takesImagesWithoutSamples_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("isCleared");
    for (int layout : {packed, planar}) {
        QTest::addRow("no columns, layout %d", layout) << layout << 0 << 2 << 1 << true;
        QTest::addRow("no rows, layout %d", layout) << layout << 2 << 0 << 1 << false;
        QTest::addRow("a negative height, layout %d", layout) << layout << 2 << -2 << 1 << false;
        QTest::addRow("no channels, layout %d", layout) << layout << 2 << 2 << 0 << (layout == packed);
    }
}

void SplitToPlusMinusTest::takesImagesWithoutSamples()
{
    QFETCH(int, layout);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(bool, isCleared);
    const auto src = imageOf(layout, 2, 1, Doubles(4, 3));
    const auto plus = imageOf(layout, 2, 1, Doubles(4, 3));
    const auto minus = imageOf(layout, 2, 1, Doubles(4, 3));
    ep::SxImageBuf records[] = {src.image(), plus.image(), minus.image()};
    for (ep::SxImageBuf& record : records) {
        record.width = width;
        record.height = height;
        record.channels = channels;
    }
    QVERIFY(orn::SplitToPlusMinus(records[0], records[1], records[2], false));
    QCOMPARE(samplesOf(plus.image()), Doubles(4, isCleared ? 0 : 3));
    QCOMPARE(samplesOf(minus.image()), Doubles(4, isCleared ? 0 : 3));
}

using Change = void (*)(ep::SxImageBuf& src, ep::SxImageBuf& plus, ep::SxImageBuf& minus);
Q_DECLARE_METATYPE(Change)

void SplitToPlusMinusTest::refuses_data()
{
    QTest::addColumn<Change>("change");
    const auto refused = [](const char* name, Change change) { QTest::newRow(name) << change; };
    using Image = ep::SxImageBuf;

    refused("a source without data", [](Image& src, Image&, Image&) { src.data = nullptr; });
    refused("a source of floats", [](Image& src, Image&, Image&) { src.dataType = ep::DataTypeFloat; });
    refused("images of floats", [](Image& src, Image& plus, Image& minus) {
        src.dataType = plus.dataType = minus.dataType = ep::DataTypeFloat;
    });
    refused("a plus without data", [](Image&, Image& plus, Image&) { plus.data = nullptr; });
    refused("a plus of another width", [](Image&, Image& plus, Image&) { --plus.width; });
    refused("a plus of another height", [](Image&, Image& plus, Image&) { --plus.height; });
    refused("a plus of other channels", [](Image&, Image& plus, Image&) { --plus.channels; });
    refused("a plus of another depth", [](Image&, Image& plus, Image&) { --plus.bitDepth; });
    refused("a plus of another grid", [](Image&, Image& plus, Image&) { plus.bayerGrid = ep::ExBayerGrid(1); });
    refused("a plus of another type", [](Image&, Image& plus, Image&) { plus.dataType = ep::DataTypeInt64; });
    refused("a plus of another layout", [](Image&, Image& plus, Image&) { plus.layout = ep::LayoutPacked; });
    refused("a plus of another order", [](Image&, Image& plus, Image&) { plus.formatCode = 2; });
    refused("a minus without data", [](Image&, Image&, Image& minus) { minus.data = nullptr; });
    refused("a minus of another width", [](Image&, Image&, Image& minus) { --minus.width; });
    refused("a minus of another height", [](Image&, Image&, Image& minus) { --minus.height; });
    refused("a minus of other channels", [](Image&, Image&, Image& minus) { --minus.channels; });
    refused("a minus of another depth", [](Image&, Image&, Image& minus) { --minus.bitDepth; });
    refused("a minus of another grid", [](Image&, Image&, Image& minus) { minus.bayerGrid = ep::ExBayerGrid(1); });
    refused("a minus of another type", [](Image&, Image&, Image& minus) { minus.dataType = ep::DataTypeInt64; });
    refused("a minus of another layout", [](Image&, Image&, Image& minus) { minus.layout = ep::LayoutPacked; });
    refused("a minus of another order", [](Image&, Image&, Image& minus) { minus.formatCode = 2; });
    refused("source rows longer than their stride", [](Image& src, Image&, Image&) { --src.stride; });
    refused("plus rows longer than their stride", [](Image&, Image& plus, Image&) { plus.stride = 0; });
    refused("minus rows longer than their stride", [](Image&, Image&, Image& minus) { minus.stride = -16; });
    refused("packed rows longer than their stride",
            [](Image& src, Image& plus, Image& minus) { src.layout = plus.layout = minus.layout = ep::LayoutPacked; });
    refused("sizes past the address space", [](Image& src, Image& plus, Image& minus) {
        for (Image* image : {&src, &plus, &minus})
            image->height = image->channels = image->stride = std::numeric_limits<qint32>::max();
    });
}

void SplitToPlusMinusTest::refuses()
{
    QFETCH(Change, change);
    const auto src = imageOf(planar, 2, 2, Doubles(8, 3));
    const auto plus = imageOf(planar, 2, 2, Doubles(8, 4));
    const auto minus = imageOf(planar, 2, 2, Doubles(8, 5));
    ep::SxImageBuf records[] = {src.image(), plus.image(), minus.image()};
    change(records[0], records[1], records[2]);
    QVERIFY(!orn::SplitToPlusMinus(records[0], records[1], records[2], false));
    QCOMPARE(samplesOf(src.image()), Doubles(8, 3));
    QCOMPARE(samplesOf(plus.image()), Doubles(8, 4));
    QCOMPARE(samplesOf(minus.image()), Doubles(8, 5));
}

QTEST_GUILESS_MAIN(SplitToPlusMinusTest)
#include "SplitToPlusMinusTest.moc"

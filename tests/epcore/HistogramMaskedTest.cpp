#include <ep/HistogramMasked.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

#include <iterator>
#include <limits>

namespace {

bool isServed(ep::ExImageDataType type)
{
    return type == ep::DataTypeInt8 || type == ep::DataTypeUInt8 || type == ep::DataTypeInt16
           || type == ep::DataTypeUInt16 || type == ep::DataTypeInt32 || type == ep::DataTypeUInt32;
}

// The level of a sample: its bytes, the lowest first, as an unsigned number.
quint32 levelAt(const ep::SxImageBuf& image, int x, int y, int c)
{
    quint32 level = 0;
    std::memcpy(&level, testing::address(image, x, y, c), size_t(ep::sampleFacts(image.dataType).bytes));
    return level;
}

// Sets every sample to a random level, half of them below the number of levels, the others past it.
void fillWithLevels(ep::SxImageBuf& image, quint32 seed, quint32 levels)
{
    std::mt19937 random(seed);
    const size_t bytes = size_t(ep::sampleFacts(image.dataType).bytes);
    for (int c = 0; c < image.channels; ++c)
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                const quint32 level = quint32(random()) % (2 * levels);
                std::memcpy(testing::address(image, x, y, c), &level, bytes);
            }
}

// A 2 x 2 image of two channels, an all-ones mask and a histogram that fits.
struct SmallCase {
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 2, 2, 2));
    ep::CxScopedBuffer mask = testing::randomImage(testing::describe(ep::DataTypeUInt8, 2, 2));
    ep::CxImageHistogram histogram;

    SmallCase()
    {
        std::memset(mask->data, 1, 4);
        histogram.resize(2, 256);
    }
};

qint64 total(const ep::CxImageHistogram& histogram)
{
    qint64 sum = 0;
    for (int c = 0; c < histogram.channelCount; ++c)
        for (int level = 0; level < histogram.levelCount; ++level)
            sum += histogram.counts[c][level];
    return sum;
}

struct Misfit {
    const char* name;
    unsigned int status;
    void (*change)(SmallCase& small);
};

const Misfit misfits[] = {
    {"a narrower mask", ep::StatusGeometryMismatch, [](SmallCase& small) { small.mask->width = 1; }},
    {"a lower mask", ep::StatusGeometryMismatch, [](SmallCase& small) { small.mask->height = 1; }},
    {"a mask of two channels", ep::StatusGeometryMismatch,
     [](SmallCase& small) { small.mask = testing::randomImage(testing::describe(ep::DataTypeUInt8, 2, 2, 2)); }},
    {"a 16-bit mask", ep::StatusUnsupportedType,
     [](SmallCase& small) { small.mask = testing::randomImage(testing::describe(ep::DataTypeUInt16, 2, 2)); }},
    {"an empty histogram", ep::StatusGeometryMismatch, [](SmallCase& small) { small.histogram.clear(); }},
    {"a histogram of fewer channels", ep::StatusGeometryMismatch,
     [](SmallCase& small) { small.histogram.resize(1, 256); }},
    {"a histogram of more channels", ep::StatusGeometryMismatch,
     [](SmallCase& small) { small.histogram.resize(3, 256); }},
};

struct Mask {
    const char* name;
    quint8 (*valueAt)(int index);
};

quint32 scattered(int index)
{
    return quint32(index) * 2654435761u >> 16;
}

const Mask masks[] = {
    {"all admitted by one number", [](int) { return quint8(1); }},
    {"all admitted by many numbers", [](int index) { return quint8(scattered(index) | 0x10); }},
    {"none admitted", [](int) { return quint8(0); }},
    {"half of all admitted", [](int index) { return quint8(scattered(index) % 2 * 255); }},
    {"most admitted", [](int index) { return quint8(scattered(index) % 50 == 0 ? 0 : 0x80); }},
    {"runs of eight", [](int index) { return quint8(index / 8 % 3); }},
};

}  // namespace

class HistogramMaskedTest : public QObject {
    Q_OBJECT

private slots:
    void countsUnderTheMask_data() { testing::addImageKinds(); }
    void countsUnderTheMask();
    void countsLargeImages_data();
    void countsLargeImages();
    void readsSamplesAsUnsigned();
    void ignoresLevelsPastTheHistogram();
    void addsToWhatIsThere();
    void stopsAtTheLargestCount();
    void looksOnlyAtTheImagesPartOfALargerMask();
    void refusesWhatDoesNotFit_data();
    void refusesWhatDoesNotFit();
    void refusesAnImage_data() { testing::addUnsoundImages(); }
    void refusesAnImage();
    void refusesAMask_data() { testing::addUnsoundImages(); }
    void refusesAMask();
};

void HistogramMaskedTest::countsUnderTheMask()
{
    const testing::ImageKind kind = testing::currentImageKind();
    testing::forEveryShape([&](int width, int height, int padding) {
        constexpr int levels = 100;
        ep::CxScopedBuffer image = testing::randomImage(kind.describe(width, height, padding), 1);
        const ep::SxImageInfo maskInfo =
            testing::describe(ep::DataTypeUInt8, width, height, 1, ep::LayoutPacked, (padding * 3) % 7);
        ep::CxScopedBuffer mask = testing::randomImage(maskInfo, 2);
        ep::CxImageHistogram histogram;
        histogram.resize(kind.channels, levels);
        if (!isServed(kind.type)) {
            QCOMPARE(ep::HistogramMasked(image.image(), mask.image(), histogram), quint32(ep::StatusUnsupportedType));
            QCOMPARE(total(histogram), qint64(0));
            return;
        }
        fillWithLevels(image.image(), 3, levels);
        fillWithLevels(mask.image(), 4, 1);  // zeros and ones
        ep::CxImageHistogram expected;
        expected.resize(kind.channels, levels);
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    if (testing::sampleAt<quint8>(mask.image(), x, y) != 0 && levelAt(image.image(), x, y, c) < levels)
                        ++expected.counts[c][levelAt(image.image(), x, y, c)];
        QCOMPARE(ep::HistogramMasked(image.image(), mask.image(), histogram), 0u);
        for (int c = 0; c < kind.channels; ++c)
            QVERIFY2(std::equal(expected.counts[c], expected.counts[c] + levels, histogram.counts[c]),
                     testing::shapeName(width, height, padding));
    });
}

void HistogramMaskedTest::countsLargeImages_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("mask");
    for (const auto type : {ep::DataTypeInt8, ep::DataTypeUInt8, ep::DataTypeInt16, ep::DataTypeUInt16})
        for (const auto layout : testing::allLayouts)
            for (const int channels : {1, 3, 17})
                for (size_t mask = 0; mask < std::size(masks); ++mask)
                    QTest::addRow("%s, %s, %d channels, %s", ep::sampleFacts(type).name,
                                  layout == ep::LayoutPacked ? "packed" : "planar", channels, masks[mask].name)
                        << int(type) << int(layout) << channels << int(mask);
}

// Images of more samples than there are values, which are counted in tables first.
void HistogramMaskedTest::countsLargeImages()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channels);
    QFETCH(int, mask);
    constexpr int width = 397;
    constexpr int levels = 5000;
    const bool isByte = ep::sampleFacts(ep::ExImageDataType(type)).bytes == 1;
    const int height = isByte ? 5 : 331;
    const ep::CxScopedBuffer image = testing::randomImage(
        testing::describe(ep::ExImageDataType(type), width, height, channels, ep::ExImageLayout(layout), 3));
    ep::CxScopedBuffer admitted = testing::randomImage(testing::describe(ep::DataTypeUInt8, width, height, 1));
    for (int i = 0; i < width * height; ++i)
        static_cast<quint8*>(admitted->data)[i] = masks[mask].valueAt(i);
    ep::CxImageHistogram histogram;
    histogram.resize(channels, levels);
    histogram.counts[0][77] = std::numeric_limits<qint32>::max() - 1;  // full after one more
    ep::CxImageHistogram expected;
    expected.resize(channels, levels);
    expected.counts[0][77] = histogram.counts[0][77];
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const quint32 level = levelAt(image.image(), x, y, c);
                if (testing::sampleAt<quint8>(admitted.image(), x, y) != 0 && level < levels
                    && expected.counts[c][level] != std::numeric_limits<qint32>::max())
                    ++expected.counts[c][level];
            }
    QCOMPARE(ep::HistogramMasked(image.image(), admitted.image(), histogram), 0u);
    for (int c = 0; c < channels; ++c)
        QVERIFY(std::equal(expected.counts[c], expected.counts[c] + levels, histogram.counts[c]));
}

void HistogramMaskedTest::readsSamplesAsUnsigned()
{
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeInt16, 2, 1));
    testing::setSample<qint16>(image.image(), 0, 0, 0, -1);
    testing::setSample<qint16>(image.image(), 1, 0, 0, -32768);
    ep::CxScopedBuffer mask = testing::randomImage(testing::describe(ep::DataTypeUInt8, 2, 1));
    std::memset(mask->data, 255, 2);
    ep::CxImageHistogram histogram;
    histogram.resize(1, 65536);
    QCOMPARE(ep::HistogramMasked(image.image(), mask.image(), histogram), 0u);
    QCOMPARE(histogram.counts[0][65535], 1);
    QCOMPARE(histogram.counts[0][32768], 1);
    QCOMPARE(total(histogram), qint64(2));
}

void HistogramMaskedTest::ignoresLevelsPastTheHistogram()
{
    SmallCase small;
    small.histogram.resize(2, 10);
    std::memset(small.image->data, 9, 8);
    testing::setSample<quint8>(small.image.image(), 0, 0, 0, 10);
    testing::setSample<quint8>(small.image.image(), 1, 1, 1, 255);
    QCOMPARE(ep::HistogramMasked(small.image.image(), small.mask.image(), small.histogram), 0u);
    QCOMPARE(small.histogram.counts[0][9], 3);
    QCOMPARE(small.histogram.counts[1][9], 3);
    QCOMPARE(total(small.histogram), qint64(6));
}

void HistogramMaskedTest::addsToWhatIsThere()
{
    SmallCase small;
    std::memset(small.image->data, 9, 8);
    QCOMPARE(ep::HistogramMasked(small.image.image(), small.mask.image(), small.histogram), 0u);
    QCOMPARE(ep::HistogramMasked(small.image.image(), small.mask.image(), small.histogram), 0u);
    QCOMPARE(small.histogram.counts[0][9], 8);
    QCOMPARE(small.histogram.counts[1][9], 8);
}

void HistogramMaskedTest::stopsAtTheLargestCount()
{
    SmallCase small;
    std::memset(small.image->data, 9, 8);
    small.histogram.counts[0][9] = std::numeric_limits<qint32>::max() - 2;
    QCOMPARE(ep::HistogramMasked(small.image.image(), small.mask.image(), small.histogram), 0u);
    QCOMPARE(small.histogram.counts[0][9], std::numeric_limits<qint32>::max());
}

void HistogramMaskedTest::looksOnlyAtTheImagesPartOfALargerMask()
{
    SmallCase small;
    std::memset(small.image->data, 9, 8);
    small.mask = testing::randomImage(testing::describe(ep::DataTypeInt8, 5, 4));
    std::memset(small.mask->data, 255, 20);
    testing::setSample<qint8>(small.mask.image(), 1, 1, 0, 0);
    QCOMPARE(ep::HistogramMasked(small.image.image(), small.mask.image(), small.histogram), 0u);
    QCOMPARE(small.histogram.counts[0][9], 3);
}

void HistogramMaskedTest::refusesWhatDoesNotFit_data()
{
    QTest::addColumn<int>("misfit");
    int index = 0;
    for (const Misfit& misfit : misfits)
        QTest::newRow(misfit.name) << index++;
}

void HistogramMaskedTest::refusesWhatDoesNotFit()
{
    QFETCH(int, misfit);
    SmallCase small;
    misfits[misfit].change(small);
    QCOMPARE(ep::HistogramMasked(small.image.image(), small.mask.image(), small.histogram), misfits[misfit].status);
    QCOMPARE(total(small.histogram), qint64(0));
}

void HistogramMaskedTest::refusesAnImage()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    SmallCase small;
    ep::SxImageBuf image = small.image.image();
    unsound.spoil(image);
    QCOMPARE(ep::HistogramMasked(image, small.mask.image(), small.histogram), unsound.status);
    QCOMPARE(total(small.histogram), qint64(0));
}

void HistogramMaskedTest::refusesAMask()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    SmallCase small;
    ep::SxImageBuf mask = small.mask.image();
    unsound.spoil(mask);
    QCOMPARE(ep::HistogramMasked(small.image.image(), mask, small.histogram), unsound.status);
    QCOMPARE(total(small.histogram), qint64(0));
}

QTEST_GUILESS_MAIN(HistogramMaskedTest)
#include "HistogramMaskedTest.moc"

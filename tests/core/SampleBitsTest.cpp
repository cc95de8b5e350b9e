#include <orn/SampleBits.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

namespace {

/** An image of one sample type with the numbers @p values, and zeros around them. */
ep::CxScopedBuffer imageOf(ep::ExImageDataType type, const QVector<qint64>& values, ep::ExImageLayout layout)
{
    ep::CxScopedBuffer image(testing::describe(type, 9, 5, 2, layout, 3));
    if (ep::failed(image.allocate()))
        qFatal("no memory for a test image");
    // Ones between the rows, which must not count.
    std::memset(image->data, 0xff, testing::storageBytes(image.image()));
    for (int c = 0; c < 2; ++c)
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 9; ++x) {
                const int i = (c * 5 + y) * 9 + x - 20;
                const qint64 value = i >= 0 && i < values.size() ? values[i] : 0;
                std::memcpy(testing::address(image.image(), x, y, c), &value,
                            size_t(ep::sampleFacts(type).bytes));  // the low bytes come first
            }
    return image;
}

bool isInteger(ep::ExImageDataType type)
{
    return type != ep::DataTypeFloat && type != ep::DataTypeDouble && type != ep::DataTypeComplex;
}

}  // namespace

Q_DECLARE_METATYPE(QVector<qint64>)

class SampleBitsTest : public QObject {
    Q_OBJECT

private slots:
    void findsTheBits_data();
    void findsTheBits();
    void everyBitOfEveryType_data() { testing::addImageKinds(); }
    void everyBitOfEveryType();
    void agreesWithTheNaiveReference_data() { testing::addImageKinds(); }
    void agreesWithTheNaiveReference();
    void saysWhereSamplesLie_data();
    void saysWhereSamplesLie();
    void refuses_data() { testing::addUnsoundImages(); }
    void refuses();
    void refusesWhatIsNoInteger();
};

void SampleBitsTest::findsTheBits_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QVector<qint64>>("values");
    QTest::addColumn<int>("container");
    QTest::addColumn<int>("highest");
    QTest::addColumn<int>("unusedLow");
    using Values = QVector<qint64>;
    const auto row = [](const char* name, int type, const Values& values, int container, int highest, int unusedLow) {
        QTest::newRow(name) << type << values << container << highest << unusedLow;
    };
    row("all zero", 4, {}, 16, 0, 0);
    row("12 bits at the low end", 4, {4095, 17}, 16, 12, 0);
    row("12 bits shifted by 4", 4, {4095 << 4, 17 << 4}, 16, 16, 4);
    row("a dark image of 12 bits shifted by 4", 4, {512 << 4, 1 << 4}, 16, 14, 4);
    row("all 16 bits", 4, {65535}, 16, 16, 0);
    row("the two ends come from two samples", 4, {32768, 1}, 16, 16, 0);
    row("8 bits", 2, {200, 3}, 8, 8, 0);
    row("32 bits", 6, {0x7fffffff}, 32, 31, 0);
    row("64 bits", 11, {-1}, 64, 64, 0);
    row("64 bits at the high end", 11, {qint64(0x3fff) << 50}, 64, 64, 50);
    row("positive numbers of a signed type need no sign", 3, {4095, 1}, 16, 12, 0);
    row("a sign is a bit", 3, {4095, -1}, 16, 13, 0);
    row("-1 alone", 3, {-1}, 16, 1, 0);
    row("-4096 has 12 digits and a sign", 3, {-4096}, 16, 13, 12);
    row("the lowest signed number", 3, {-32768}, 16, 16, 15);
    row("signed numbers shifted by 4", 3, {-2048 * 16, 2047 * 16}, 16, 16, 4);
    row("64 bits with a sign", 10, {-5, 3}, 64, 4, 0);
}

void SampleBitsTest::findsTheBits()
{
    QFETCH(int, type);
    QFETCH(QVector<qint64>, values);
    for (const ep::ExImageLayout layout : testing::allLayouts) {
        const auto image = imageOf(ep::ExImageDataType(type), values, layout);
        orn::SxSampleBits bits{-1, -1, -1};
        QCOMPARE(orn::SampleBits(image.image(), bits), 0u);
        QTEST(bits.container, "container");
        QTEST(bits.highest, "highest");
        QTEST(bits.unusedLow, "unusedLow");
    }
}

void SampleBitsTest::everyBitOfEveryType()
{
    const testing::ImageKind kind = testing::currentImageKind();
    if (!isInteger(kind.type))
        return;  // refused, see below
    const ep::SxSampleFacts& facts = ep::sampleFacts(kind.type);
    for (int bit = 0; bit < facts.bits - (facts.isSigned ? 1 : 0); ++bit) {
        const auto image = imageOf(kind.type, {qint64(quint64(1) << bit)}, kind.layout);
        orn::SxSampleBits bits{};
        QCOMPARE(orn::SampleBits(image.image(), bits), 0u);
        QCOMPARE(bits.highest, bit + 1);
        QCOMPARE(bits.unusedLow, bit);
        QCOMPARE(bits.used(), 1);
    }
}

void SampleBitsTest::agreesWithTheNaiveReference()
{
    const testing::ImageKind kind = testing::currentImageKind();
    if (!isInteger(kind.type))
        return;  // refused, see below
    const ep::SxSampleFacts& facts = ep::sampleFacts(kind.type);
    testing::forEveryShape([&](int width, int height, int padding) {
        ep::CxScopedBuffer image = testing::randomImage(kind.describe(width, height, padding));
        qint32 digits = 0;
        bool hasNegatives = false;
        qint32 unusedLow = 64;
        for (int c = 0; c < kind.channels; ++c)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    // Sign extended to 64 bits by hand: the high bytes of a negative number are ones.
                    quint64 sample = 0;
                    const unsigned char* address = testing::address(image.image(), x, y, c);
                    std::memcpy(&sample, address, size_t(facts.bytes));
                    const bool isNegative = facts.isSigned && (address[facts.bytes - 1] & 0x80) != 0;
                    if (isNegative && facts.bits < 64)
                        sample |= ~quint64(0) << facts.bits;
                    hasNegatives = hasNegatives || isNegative;
                    for (int bit = 0; bit < 64; ++bit) {
                        const bool isSet = (sample >> bit & 1) != 0;
                        if (isSet != isNegative)
                            digits = std::max(digits, bit + 1);
                        if (isSet)
                            unusedLow = std::min(unusedLow, bit);
                    }
                }
        const qint32 highest = digits + (hasNegatives ? 1 : 0);
        orn::SxSampleBits bits{};
        QCOMPARE(orn::SampleBits(image.image(), bits), 0u);
        QCOMPARE(bits.container, facts.bits);
        QVERIFY2(bits.highest == highest, testing::shapeName(width, height, padding));
        QVERIFY2(bits.unusedLow == (highest == 0 ? 0 : unusedLow), testing::shapeName(width, height, padding));
    });
}

void SampleBitsTest::saysWhereSamplesLie_data()
{
    QTest::addColumn<int>("highest");
    QTest::addColumn<int>("unusedLow");
    QTest::addColumn<int>("declared");
    QTest::addColumn<int>("place");
    const auto row = [](const char* name, int highest, int unusedLow, int declared, orn::ExSamplePlace place) {
        QTest::newRow(name) << highest << unusedLow << declared << int(place);
    };
    row("nothing", 0, 0, 12, orn::SamplesAllZero);
    row("12 bits as declared", 12, 0, 12, orn::SamplesAtLowEnd);
    row("12 bits of 16", 12, 0, 16, orn::SamplesAtLowEnd);
    row("all 16 bits", 16, 0, 16, orn::SamplesFill);
    row("all 16 bits, more than declared", 16, 0, 12, orn::SamplesFill);
    row("12 bits shifted by 4", 16, 4, 16, orn::SamplesAtHighEnd);
    row("12 bits shifted by 4, declared as 12", 16, 4, 12, orn::SamplesAtHighEnd);
    row("a dark image shifted by 4", 14, 4, 16, orn::SamplesAtHighEnd);
    row("a dark image shifted by 4, declared as 12", 14, 4, 12, orn::SamplesAtHighEnd);
    row("a very dark one, declared as 12, is taken for even numbers", 10, 4, 12, orn::SamplesAtLowEnd);
    row("even numbers of 12 bits", 12, 1, 12, orn::SamplesAtLowEnd);
}

void SampleBitsTest::saysWhereSamplesLie()
{
    QFETCH(int, highest);
    QFETCH(int, unusedLow);
    QFETCH(int, declared);
    QTEST(int(orn::placeOfSamples({16, highest, unusedLow}, declared)), "place");
}

void SampleBitsTest::refuses()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    ep::SxImageBuf image = sound.image();
    unsound.spoil(image);
    orn::SxSampleBits bits{77, 78, 79};
    QCOMPARE(orn::SampleBits(image, bits), unsound.status);
    QVERIFY(bits.container == 77 && bits.highest == 78 && bits.unusedLow == 79);
}

void SampleBitsTest::refusesWhatIsNoInteger()
{
    for (const ep::ExImageDataType type : {ep::DataTypeFloat, ep::DataTypeDouble, ep::DataTypeComplex}) {
        const auto image = testing::randomImage(testing::describe(type, 4, 4));
        orn::SxSampleBits bits{77, 78, 79};
        QCOMPARE(orn::SampleBits(image.image(), bits), quint32(ep::StatusUnsupportedType));
        QCOMPARE(bits.container, 77);
    }
}

QTEST_GUILESS_MAIN(SampleBitsTest)
#include "SampleBitsTest.moc"

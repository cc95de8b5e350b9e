#include <orn/GetLevelsToRepair.h>

#include "../../core/PixelShare.h"
#include "RepairReference.h"

#include <QtTest>

#include <cmath>
#include <limits>

using namespace testing;

namespace {

using Ints = QVector<int>;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

/** An 8-bit image of 100 pixels: level 0 three times, 1 twice, 3 once, 200 ninety times, 254 once, 255 three times. */
ep::CxScopedBuffer hundredPixels(int bitDepth = 8)
{
    auto image = randomImage(describe(ep::DataTypeUInt8, 10, 10, 1, ep::LayoutPacked, 3));
    image->bitDepth = bitDepth;
    Ints samples = Ints{0, 0, 0, 1, 1, 3, 254, 255, 255, 255} + Ints(90, 200);
    for (int i = 0; i < 100; ++i)
        setSample(image.image(), i % 10, i / 10, 0, quint8(samples[i]));
    return image;
}

Ints flaggedLevels(const bool* table, int levels)
{
    Ints flagged;
    for (int level = 0; level < levels; ++level)
        if (table[level])
            flagged << level;
    return flagged;
}

/** What both overloads do with a channel, written as plainly as it is told. */
void plainLevels(const QVector<qint64>& counts, int low, double lowLimit, int high, double highLimit, bool* table)
{
    const int levels = counts.size();
    for (int k = 0; k < levels; ++k)
        table[k] = false;
    qint64 sum = 0;
    for (int k = 0; low >= 0 && lowLimit >= 0 && k < levels; ++k) {
        sum += counts[k];
        if (double(sum) > std::floor(lowLimit) || k > low)
            break;
        table[k] = counts[k] > 0;
    }
    sum = 0;
    for (int k = levels - 1; high >= 0 && highLimit >= 0 && k >= 0; --k) {
        sum += counts[k];
        if (double(sum) > std::floor(highLimit) || k < high)
            break;
        table[k] = counts[k] > 0;
    }
}

}  // namespace

class GetLevelsToRepairTest : public QObject {
    Q_OBJECT

private slots:
    void flags_data();
    void flags();
    void flagsByShare_data();
    void flagsByShare();
    void agreesWithTheReference_data();
    void agreesWithTheReference();
    void leavesLevelsOutThatAreMasked();
    void refuses_data();
    void refuses();
    void countsPixelsIn32Bits_data();
    void countsPixelsIn32Bits();
};

void GetLevelsToRepairTest::flags_data()
{
    QTest::addColumn<int>("bitDepth");
    QTest::addColumn<int>("low");
    QTest::addColumn<int>("high");
    QTest::addColumn<Ints>("flagged");

    const int least = std::numeric_limits<int>::min();
    const int most = std::numeric_limits<int>::max();
    QTest::newRow("negative levels switch both bands off") << 8 << -1 << -1 << Ints();
    QTest::newRow("the most negative levels do so too") << 8 << least << least << Ints();
    QTest::newRow("low 0 flags level 0 alone") << 8 << 0 << -1 << Ints{0};
    QTest::newRow("a low band flags the levels that occur") << 8 << 3 << -1 << Ints{0, 1, 3};
    QTest::newRow("a low level that does not occur") << 8 << 2 << -1 << Ints{0, 1};
    QTest::newRow("a low level past the last one") << 8 << most << -1 << Ints{0, 1, 3, 200, 254, 255};
    QTest::newRow("the last level alone") << 8 << -1 << 255 << Ints{255};
    QTest::newRow("a high band flags the levels that occur") << 8 << -1 << 190 << Ints{200, 254, 255};
    QTest::newRow("high 0 flags all levels that occur") << 8 << -1 << 0 << Ints{0, 1, 3, 200, 254, 255};
    QTest::newRow("a high level past the last one flags nothing") << 8 << -1 << 256 << Ints();
    QTest::newRow("the largest high level flags nothing") << 8 << -1 << most << Ints();
    QTest::newRow("both bands") << 8 << 1 << 254 << Ints{0, 1, 254, 255};
    QTest::newRow("bands that overlap") << 8 << 200 << 1 << Ints{0, 1, 3, 200, 254, 255};
    QTest::newRow("fewer levels than the samples have") << 2 << 0 << 1 << Ints{0, 1, 3};
    QTest::newRow("one level") << 0 << 0 << 0 << Ints{0};
    QTest::newRow("more levels than the samples can have") << 20 << 1 << 255 << Ints{0, 1, 255};
    QTest::newRow("a high level that no sample can have") << 20 << -1 << 70000 << Ints();
}

void GetLevelsToRepairTest::flags()
{
    QFETCH(int, bitDepth);
    QFETCH(int, low);
    QFETCH(int, high);
    QFETCH(Ints, flagged);
    const auto image = hundredPixels(bitDepth);
    const auto mask = maskOf(image.image());
    LevelTables tables(1, 1 << bitDepth);
    std::fill_n(tables[0], tables.levels(), true);  // what a table held before does not matter
    QVERIFY(orn::GetLevelsToRepair(image.image(), mask.image(), &low, &high, tables.data()));
    QCOMPARE(flaggedLevels(tables[0], tables.levels()), flagged);
}

void GetLevelsToRepairTest::flagsByShare_data()
{
    QTest::addColumn<int>("low");
    QTest::addColumn<double>("lowPercent");
    QTest::addColumn<int>("high");
    QTest::addColumn<double>("highPercent");
    QTest::addColumn<Ints>("flagged");
    QTest::addColumn<double>("clampedLow");
    QTest::addColumn<double>("clampedHigh");

    // Of 100 pixels, a percent is a pixel.
    QTest::newRow("no share switches the low band off") << 255 << 0.0 << -1 << 50.0 << Ints() << 0.0 << 50.0;
    QTest::newRow("no share switches the high band off") << -1 << 50.0 << 0 << 0.0 << Ints() << 50.0 << 0.0;
    QTest::newRow("a negative share is 0") << 255 << -7.0 << 0 << -1e300 << Ints() << 0.0 << 0.0;
    QTest::newRow("a share of 150 is 100") << 255 << 150.0 << -1 << 0.0 << Ints{0, 1, 3, 200, 254, 255} << 100.0 << 0.0;
    QTest::newRow("an infinite share is 100")
        << -1 << 0.0 << 0 << HUGE_VAL << Ints{0, 1, 3, 200, 254, 255} << 0.0 << 100.0;
    QTest::newRow("a share that is no number switches its band off")
        << 255 << notANumber << 0 << notANumber << Ints() << notANumber << notANumber;
    QTest::newRow("a full share still ends at the level")
        << 1 << 100.0 << 254 << 100.0 << Ints{0, 1, 254, 255} << 100.0 << 100.0;
    QTest::newRow("a level that just fills the share is flagged") << 255 << 3.0 << -1 << 0.0 << Ints{0} << 3.0 << 0.0;
    QTest::newRow("the level that passes the share is not flagged") << 255 << 4.0 << -1 << 0.0 << Ints{0} << 4.0 << 0.0;
    QTest::newRow("a share is truncated to pixels") << 255 << 2.999 << -1 << 0.0 << Ints() << 2.999 << 0.0;
    QTest::newRow("levels that do not occur cost no share") << 255 << 6.0 << -1 << 0.0 << Ints{0, 1, 3} << 6.0 << 0.0;
    QTest::newRow("less than a pixel flags nothing") << 255 << 0.5 << 0 << 0.5 << Ints() << 0.5 << 0.5;
    QTest::newRow("a high share that is just filled") << -1 << 0.0 << 0 << 3.0 << Ints{255} << 0.0 << 3.0;
    QTest::newRow("a high share that the next level passes") << -1 << 0.0 << 0 << 3.9 << Ints{255} << 0.0 << 3.9;
    QTest::newRow("a high share of two levels") << -1 << 0.0 << 0 << 4.0 << Ints{254, 255} << 0.0 << 4.0;
    QTest::newRow("a high band ends at its level") << -1 << 0.0 << 255 << 50.0 << Ints{255} << 0.0 << 50.0;
    QTest::newRow("negative levels switch both bands off") << -1 << 50.0 << -1 << 50.0 << Ints() << 50.0 << 50.0;
    QTest::newRow("a full share does not switch on a band") << -1 << 100.0 << -1 << 100.0 << Ints() << 100.0 << 100.0;
}

void GetLevelsToRepairTest::flagsByShare()
{
    QFETCH(int, low);
    QFETCH(double, lowPercent);
    QFETCH(int, high);
    QFETCH(double, highPercent);
    QFETCH(Ints, flagged);
    QFETCH(double, clampedLow);
    QFETCH(double, clampedHigh);
    const auto image = hundredPixels();
    const auto mask = maskOf(image.image());
    LevelTables tables(1, 256);
    std::fill_n(tables[0], 256, true);
    QVERIFY(orn::GetLevelsToRepair(image.image(), mask.image(), &lowPercent, &low, &highPercent, &high, tables.data()));
    QCOMPARE(flaggedLevels(tables[0], 256), flagged);
    QCOMPARE(lowPercent, clampedLow);
    QCOMPARE(highPercent, clampedHigh);
}

void GetLevelsToRepairTest::agreesWithTheReference_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    for (int type : {ep::DataTypeInt8, ep::DataTypeUInt8, ep::DataTypeInt16, ep::DataTypeUInt16})
        for (ep::ExImageLayout layout : allLayouts)
            for (int channels = 1; channels <= 4; ++channels)
                QTest::addRow("%s, %s, channels: %d", ep::sampleFacts(type).name,
                              layout == ep::LayoutPacked ? "packed" : "planar", channels)
                    << type << int(layout) << channels;
}

void GetLevelsToRepairTest::agreesWithTheReference()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, channels);
    const bool isNarrow = ep::sampleFacts(type).bytes == 1;
    const int levels = isNarrow ? 256 : 65536;
    std::mt19937 random(quint32(100 * type + 10 * layout + channels));
    for (int round = 0; round < 40; ++round) {
        const auto image = randomImage(describe(ep::ExImageDataType(type), 1 + int(random() % 67),
                                                1 + int(random() % 67), channels, ep::ExImageLayout(layout), round % 4),
                                       random());
        auto mask = maskOf(image.image(), 0, round % 3);
        if (round % 5 != 0)
            fillRandom(mask.image(), random());
        LevelTables plain(channels, levels);
        LevelTables plainShares(channels, levels);
        QVector<int> low(channels), high(channels);
        QVector<double> lowPercents(channels), highPercents(channels);
        for (int c = 0; c < channels; ++c) {
            low[c] = int(random() % unsigned(levels + 20)) - 10;
            high[c] = int(random() % unsigned(levels + 20)) - 10;
            lowPercents[c] = random() % 1000 / 10.0;
            highPercents[c] = random() % 1000 / 10.0;
            QVector<qint64> counts(levels);
            for (int y = 0; y < image->height; ++y)
                for (int x = 0; x < image->width; ++x)
                    if (sampleAt<quint8>(mask.image(), x, y) != 0)
                        ++counts[isNarrow ? sampleAt<quint8>(image.image(), x, y, c)
                                          : sampleAt<quint16>(image.image(), x, y, c)];
            const double pixels = image->width * image->height;
            plainLevels(counts, low[c], HUGE_VAL, high[c], HUGE_VAL, plain[c]);
            plainLevels(counts, low[c], lowPercents[c] > 0 ? pixels * lowPercents[c] / 100 : -1, high[c],
                        highPercents[c] > 0 ? pixels * highPercents[c] / 100 : -1, plainShares[c]);
        }
        LevelTables found(channels, levels);
        QVERIFY(orn::GetLevelsToRepair(image.image(), mask.image(), low.data(), high.data(), found.data()));
        for (int c = 0; c < channels; ++c)
            QVERIFY(std::equal(found[c], found[c] + levels, plain[c]));
        QVERIFY(orn::GetLevelsToRepair(image.image(), mask.image(), lowPercents.data(), low.data(), highPercents.data(),
                                       high.data(), found.data()));
        for (int c = 0; c < channels; ++c)
            QVERIFY(std::equal(found[c], found[c] + levels, plainShares[c]));
    }
}

void GetLevelsToRepairTest::leavesLevelsOutThatAreMasked()
{
    const auto image = hundredPixels();
    auto mask = maskOf(image.image());
    setSample<quint8>(mask.image(), 5, 0, 0, 0);  // the only sample of level 3
    LevelTables tables(1, 256);
    int low = 3;
    int high = 0;
    QVERIFY(orn::GetLevelsToRepair(image.image(), mask.image(), &low, &high, tables.data()));
    QCOMPARE(flaggedLevels(tables[0], 256), (Ints{0, 1, 200, 254, 255}));
}

void GetLevelsToRepairTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("bitDepth");
    QTest::addColumn<QString>("missing");
    QTest::addColumn<bool>("isClamped");  // the refusal comes after the shares were clamped

    const auto refused = [](const char* name, int type, int bitDepth, const char* missing, bool isClamped) {
        QTest::newRow(name) << type << bitDepth << QString::fromLatin1(missing) << isClamped;
    };
    const int u8 = ep::DataTypeUInt8;
    refused("an image without data", u8, 8, "data", false);
    refused("samples of four bytes", ep::DataTypeInt32, 8, "", false);
    refused("floats", ep::DataTypeFloat, 8, "", false);
    refused("no low levels", u8, 8, "low", false);
    refused("no high levels", u8, 8, "high", false);
    refused("no tables", u8, 8, "tables", false);
    refused("a channel without a table", u8, 8, "table", false);
    refused("a depth of 31 bits", u8, 31, "", false);
    refused("a depth of 60 bits", ep::DataTypeUInt16, 60, "", false);
    refused("the largest depth", u8, std::numeric_limits<int>::max(), "", false);
    refused("a negative depth", u8, -1, "", true);
    refused("the least depth", u8, std::numeric_limits<int>::min(), "", true);
    refused("an unknown type", 77, 8, "", true);
    refused("samples without a type", ep::DataTypeNone, 8, "", true);
    refused("a mask without data", u8, 8, "mask", true);
    refused("a mask that is too small", u8, 8, "row", true);
    refused("an unknown layout", u8, 8, "layout", true);
}

void GetLevelsToRepairTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, bitDepth);
    QFETCH(QString, missing);
    QFETCH(bool, isClamped);
    const auto lacks = [&](const char* what) { return missing == QLatin1String(what); };
    const auto storage = randomImage(describe(ep::DataTypeUInt32, 4, 4));
    ep::SxImageBuf image = storage.image();
    image.dataType = ep::ExImageDataType(type);
    image.bitDepth = bitDepth;
    image.data = lacks("data") ? nullptr : image.data;
    image.layout = lacks("layout") ? ep::ExImageLayout(2) : image.layout;
    const auto maskStorage = maskOf(image);
    ep::SxImageBuf mask = maskStorage.image();
    mask.data = lacks("mask") ? nullptr : mask.data;
    mask.height -= lacks("row") ? 1 : 0;
    LevelTables tables(1, 256);
    tables.flag({17});
    bool* none[] = {nullptr};
    bool** given = lacks("tables") ? nullptr : lacks("table") ? none : tables.data();
    int level = 100;
    int* low = lacks("low") ? nullptr : &level;
    int* high = lacks("high") ? nullptr : &level;
    QVERIFY(!orn::GetLevelsToRepair(image, mask, low, high, given));
    QCOMPARE(flaggedLevels(tables[0], 256), Ints{17});

    double lowPercent = 50;
    double highPercent = 101;
    QVERIFY(!orn::GetLevelsToRepair(image, mask, nullptr, low, &highPercent, high, given));
    QVERIFY(!orn::GetLevelsToRepair(image, mask, &lowPercent, low, nullptr, high, given));
    QCOMPARE(highPercent, 101.0);
    QVERIFY(!orn::GetLevelsToRepair(image, mask, &lowPercent, low, &highPercent, high, given));
    QCOMPARE(highPercent, isClamped ? 100.0 : 101.0);
    // A full share leaves everything flagged when the levels cannot be counted.
    QCOMPARE(flaggedLevels(tables[0], 256).size(), isClamped && bitDepth == 8 ? 256 : 1);
    // Otherwise the tables are left alone.
    std::fill_n(tables[0], 256, false);
    highPercent = 99;
    QVERIFY(!orn::GetLevelsToRepair(image, mask, &lowPercent, low, &highPercent, high, given));
    QCOMPARE(flaggedLevels(tables[0], 256), Ints());
}

void GetLevelsToRepairTest::countsPixelsIn32Bits_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<double>("percent");
    QTest::addColumn<qint64>("share");

    QTest::newRow("the share of a plain image") << 6000 << 4000 << 0.1 << qint64(24000);
    QTest::newRow("a share is truncated") << 10 << 10 << 33.99 << qint64(33);
    QTest::newRow("the largest product") << 46340 << 46340 << 100.0 << qint64(2147395600);
    QTest::newRow("from 2^31 pixels on the product is negative") << 65536 << 32768 << 50.0 << qint64(-1073741824);
    QTest::newRow("from 2^32 pixels on the product starts again") << 65536 << 65537 << 100.0 << qint64(65536);
}

void GetLevelsToRepairTest::countsPixelsIn32Bits()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(double, percent);
    QFETCH(qint64, share);
    QCOMPARE(orn::pixelShare(describe(ep::DataTypeUInt8, width, height), percent), share);
}

QTEST_GUILESS_MAIN(GetLevelsToRepairTest)
#include "GetLevelsToRepairTest.moc"

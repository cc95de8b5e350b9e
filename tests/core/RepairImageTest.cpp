#include <orn/RepairImage.h>

#include "RepairReference.h"

#include <QTime>
#include <QtTest>

using namespace testing;

namespace {

using Ints = QVector<int>;

/** An image whose samples are given pixel by pixel. */
ep::CxScopedBuffer imageOf(int type, int layout, int width, int height, int channels, const Ints& samples)
{
    const bool isNarrow = type == ep::DataTypeInt8 || type == ep::DataTypeUInt8;
    const auto stored = isNarrow ? ep::DataTypeUInt8 : ep::DataTypeUInt16;
    auto image = randomImage(describe(stored, width, height, channels, ep::ExImageLayout(layout)));
    int next = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c, ++next) {
                if (isNarrow)
                    setSample(image.image(), x, y, c, quint8(samples[next]));
                else
                    setSample(image.image(), x, y, c, quint16(samples[next]));
            }
    image->dataType = ep::ExImageDataType(type);
    return image;
}

/** Sets the bytes of a mask row by row. */
void setMask(ep::SxImageBuf& mask, const Ints& values)
{
    for (int i = 0; i < values.size(); ++i)
        setSample(mask, i % mask.width, i / mask.width, 0, quint8(values[i]));
}

/** {x, y, old values, new values} of each record. */
QVector<Ints> listOf(const QVector<orn::InvalidPixel>& records)
{
    QVector<Ints> list;
    for (const orn::InvalidPixel& record : records) {
        Ints values{record.x, record.y};
        for (int value : record.oldValues)
            values << value;
        for (int value : record.newValues)
            values << value;
        list << values;
    }
    return list;
}

constexpr int packed = ep::LayoutPacked;
constexpr int planar = ep::LayoutPlanar;
constexpr int u8 = ep::DataTypeUInt8;
constexpr int u16 = ep::DataTypeUInt16;

}  // namespace

class RepairImageTest : public QObject {
    Q_OBJECT

private slots:
    void repairs_data();
    void repairs();
    void refuses_data();
    void refuses();
    void repairsWithoutRecords();
    void addsToTheRecords();
    void endsWithoutAnySource_data();
    void endsWithoutAnySource();
    void admitsWhatTheMaskDoesNotReach_data();
    void admitsWhatTheMaskDoesNotReach();
    void drawsFromTheClock();
    void repeatsItselfInOneMillisecond();
};

void RepairImageTest::repairs_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("formatCode");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("channels");
    QTest::addColumn<Ints>("samples");
    QTest::addColumn<Ints>("mask");
    QTest::addColumn<Ints>("expected");
    QTest::addColumn<QVector<Ints>>("records");

    for (int type : {u8, u16})
        for (int layout : {packed, planar})
            QTest::addRow("nothing flagged, nothing changed: type %d, layout %d", type, layout)
                << type << layout << 1 << 2 << 2 << Ints{1, 2, 3, 4, 5, 6, 7, 8} << Ints{1, 1, 1, 1}
                << Ints{1, 2, 3, 4, 5, 6, 7, 8} << QVector<Ints>();
    QTest::newRow("a sample takes its only neighbour") << u16 << packed << 1 << 2 << 1 << Ints{255, 7} << Ints{1, 1}
                                                       << Ints{7, 7} << QVector<Ints>{{0, 0, 255, 0, 0, 0, 7, 0, 0, 0}};
    QTest::newRow("a first ring outside and masked out leaves the second")
        << u8 << packed << 1 << 5 << 1 << Ints{9, 8, 255, 8, 9} << Ints{1, 0, 1, 0, 1} << Ints{9, 8, 9, 8, 9}
        << QVector<Ints>{{2, 0, 255, 0, 0, 0, 9, 0, 0, 0}};
    QTest::newRow("a first ring outside and invalid leaves the second")
        << u8 << planar << 1 << 3 << 1 << Ints{255, 254, 6} << Ints{1, 0, 1} << Ints{6, 254, 6}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 6, 0, 0, 0}};
    QTest::newRow("four rings in vain, then the fifth")
        << u16 << planar << 1 << 6 << 1 << Ints{255, 1, 2, 3, 4, 5} << Ints{1, 0, 0, 0, 0, 1} << Ints{5, 1, 2, 3, 4, 5}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 5, 0, 0, 0}};
    QTest::newRow("a repaired sample serves as a source")
        << u8 << packed << 1 << 1 << 1 << Ints{4, 255, 255, 255} << Ints{1, 1, 1, 1} << Ints{4, 4, 4, 4}
        << QVector<Ints>{
               {0, 1, 255, 0, 0, 0, 4, 0, 0, 0}, {0, 2, 255, 0, 0, 0, 4, 0, 0, 0}, {0, 3, 255, 0, 0, 0, 4, 0, 0, 0}};
    QTest::newRow("a masked sample is not repaired")
        << u8 << planar << 1 << 2 << 1 << Ints{255, 7} << Ints{0, 1} << Ints{255, 7} << QVector<Ints>();
    QTest::newRow("three packed samples give records of one, two and three pairs")
        << u8 << packed << 1 << 2 << 3 << Ints{255, 254, 255, 1, 2, 3} << Ints{1, 1} << Ints{1, 2, 3, 1, 2, 3}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 1, 0, 0, 0},
                         {0, 0, 255, 254, 0, 0, 1, 2, 0, 0},
                         {0, 0, 255, 254, 255, 0, 1, 2, 3, 0}};
    QTest::newRow("packed samples of reversed colours fill the slots from the third")
        << u16 << packed << 2 << 2 << 3 << Ints{255, 254, 255, 1, 2, 3} << Ints{1, 1} << Ints{1, 2, 3, 1, 2, 3}
        << QVector<Ints>{{0, 0, 0, 0, 255, 0, 0, 0, 1, 0},
                         {0, 0, 0, 254, 255, 0, 0, 2, 1, 0},
                         {0, 0, 255, 254, 255, 0, 3, 2, 1, 0}};
    QTest::newRow("a record starts anew with every packed pixel")
        << u8 << packed << 1 << 1 << 2 << Ints{255, 2, 254, 255, 5, 2} << Ints{1, 1, 1} << Ints{5, 2, 5, 2, 5, 2}
        << QVector<Ints>{
               {0, 0, 255, 0, 0, 0, 5, 0, 0, 0}, {0, 1, 254, 0, 0, 0, 5, 0, 0, 0}, {0, 1, 254, 255, 0, 0, 5, 2, 0, 0}};
    QTest::newRow("three planar samples give three records of one pair")
        << u8 << planar << 1 << 2 << 3 << Ints{255, 254, 255, 1, 2, 3} << Ints{1, 1} << Ints{1, 2, 3, 1, 2, 3}
        << QVector<Ints>{
               {0, 0, 255, 0, 0, 0, 1, 0, 0, 0}, {0, 0, 0, 254, 0, 0, 0, 2, 0, 0}, {0, 0, 0, 0, 255, 0, 0, 0, 3, 0}};
    QTest::newRow("planar slots are those of the planes, whatever the colour order")
        << u16 << planar << 2 << 2 << 3 << Ints{255, 5, 6, 1, 2, 3} << Ints{1, 1} << Ints{1, 5, 6, 1, 2, 3}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 1, 0, 0, 0}};
    QTest::newRow("the last sample of a plane and the first of the next share no record")
        << u8 << planar << 1 << 1 << 2 << Ints{1, 255, 255, 2} << Ints{1, 1} << Ints{1, 2, 1, 2}
        << QVector<Ints>{{0, 1, 255, 0, 0, 0, 1, 0, 0, 0}, {0, 0, 0, 255, 0, 0, 0, 2, 0, 0}};
    QTest::newRow("a packed sample is admitted by the mask byte of its own number in the row")
        << u8 << packed << 1 << 2 << 2 << Ints{255, 255, 1, 2} << Ints{0, 1} << Ints{255, 2, 1, 2}
        << QVector<Ints>{{0, 0, 0, 255, 0, 0, 0, 2, 0, 0}};
    QTest::newRow("a packed source is admitted by the mask byte of its pixel")
        << u8 << packed << 1 << 3 << 2 << Ints{1, 2, 255, 254, 5, 6} << Ints{0, 0, 1} << Ints{1, 2, 5, 6, 5, 6}
        << QVector<Ints>{{1, 0, 255, 0, 0, 0, 5, 0, 0, 0}, {1, 0, 255, 254, 0, 0, 5, 6, 0, 0}};
    QTest::newRow("the mask byte of a packed sample can lie in the next row of the mask")
        << u8 << packed << 1 << 2 << 2 << Ints{1, 2, 255, 255, 1, 2, 3, 2} << Ints{1, 0, 0, 1}
        << Ints{1, 2, 255, 2, 1, 2, 3, 2} << QVector<Ints>{{1, 0, 0, 255, 0, 0, 0, 2, 0, 0}};
    QTest::newRow("a fifth channel is repaired and not recorded")
        << u8 << packed << 1 << 2 << 5 << Ints{1, 2, 3, 255, 254, 1, 2, 3, 4, 5} << Ints{1, 1}
        << Ints{1, 2, 3, 4, 5, 1, 2, 3, 4, 5} << QVector<Ints>{{0, 0, 0, 0, 0, 255, 0, 0, 0, 4}};
    QTest::newRow("samples without a type are 16-bit ones")
        << int(ep::DataTypeNone) << packed << 1 << 2 << 1 << Ints{255, 259} << Ints{1, 1} << Ints{259, 259}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 259, 0, 0, 0}};
    QTest::newRow("planar samples of an unknown type are 16-bit ones")
        << 99 << planar << 1 << 2 << 2 << Ints{255, 259, 4, 254} << Ints{1, 1} << Ints{4, 259, 4, 259}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 4, 0, 0, 0}, {1, 0, 0, 254, 0, 0, 0, 259, 0, 0}};
    QTest::newRow("signed samples are read as unsigned ones")
        << int(ep::DataTypeInt16) << packed << 1 << 2 << 1 << Ints{255, 65535} << Ints{1, 1} << Ints{65535, 65535}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 65535, 0, 0, 0}};
    QTest::newRow("signed bytes are read as unsigned ones")
        << int(ep::DataTypeInt8) << packed << 1 << 2 << 1 << Ints{255, 200} << Ints{1, 1} << Ints{200, 200}
        << QVector<Ints>{{0, 0, 255, 0, 0, 0, 200, 0, 0, 0}};
}

/** The levels 254 and 255 are invalid. */
void RepairImageTest::repairs()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(int, formatCode);
    QFETCH(int, width);
    QFETCH(int, channels);
    QFETCH(Ints, samples);
    QFETCH(Ints, mask);
    QFETCH(Ints, expected);
    QFETCH(QVector<Ints>, records);
    const int height = mask.size() / width;
    auto image = imageOf(type, layout, width, height, channels, samples);
    image->formatCode = formatCode;
    const auto wanted = imageOf(type, layout, width, height, channels, expected);
    auto admitted = maskOf(image.image());
    setMask(admitted.image(), mask);
    LevelTables tables(channels, 1 << 16);
    tables.flag({254, 255});
    QVector<orn::InvalidPixel> found;
    QVERIFY(orn::RepairImage(image.image(), admitted.image(), tables.constData(), &found));
    const size_t bytes = size_t(image->stride) * size_t(height) * size_t(layout == planar ? channels : 1);
    QCOMPARE(listOf(found), records);
    QVERIFY(std::memcmp(image->data, wanted->data, bytes) == 0);
}

void RepairImageTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<int>("tables");  // 0 none, 1 one without flags, 2 all

    QTest::newRow("an image without data") << u8 << packed << false << 2;
    QTest::newRow("samples of four bytes") << int(ep::DataTypeUInt32) << packed << true << 2;
    QTest::newRow("doubles") << int(ep::DataTypeDouble) << planar << true << 2;
    QTest::newRow("no tables") << u16 << packed << true << 0;
    QTest::newRow("a channel without a table") << u16 << packed << true << 1;
    QTest::newRow("layout 2") << u8 << 2 << true << 2;
    QTest::newRow("a negative layout") << u16 << -1 << true << 2;
}

void RepairImageTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    QFETCH(bool, hasData);
    QFETCH(int, tables);
    auto storage = randomImage(describe(ep::ExImageDataType(type), 8, 8));
    const auto before = copyOf(storage.image());
    ep::SxImageBuf image = storage.image();
    image.layout = ep::ExImageLayout(layout);
    if (!hasData)
        image.data = nullptr;
    const auto mask = maskOf(image);
    LevelTables flags(1, 1 << 16);
    flags.flag({0, 1, 2, 3});
    const bool* without[] = {nullptr};
    const bool** given = tables == 0 ? nullptr : tables == 1 ? without : flags.constData();
    QVector<orn::InvalidPixel> records;
    QVERIFY(!orn::RepairImage(image, mask.image(), given, &records));
    QVERIFY(records.isEmpty());
    QVERIFY(sameStorage(storage.image(), before.image()));
}

void RepairImageTest::repairsWithoutRecords()
{
    auto image = imageOf(u8, packed, 2, 1, 1, {255, 3});
    LevelTables tables(1, 256);
    tables.flag({255});
    QVERIFY(orn::RepairImage(image.image(), maskOf(image.image()).image(), tables.constData(), nullptr));
    QCOMPARE(int(sampleAt<quint8>(image.image(), 0, 0)), 3);
}

void RepairImageTest::addsToTheRecords()
{
    auto image = imageOf(u8, packed, 2, 1, 1, {255, 3});
    LevelTables tables(1, 256);
    tables.flag({255});
    QVector<orn::InvalidPixel> records{{8, 9, {1}, {2}}};
    QVERIFY(orn::RepairImage(image.image(), maskOf(image.image()).image(), tables.constData(), &records));
    QCOMPARE(listOf(records), (QVector<Ints>{{8, 9, 1, 0, 0, 0, 2, 0, 0, 0}, {0, 0, 255, 0, 0, 0, 3, 0, 0, 0}}));
}

void RepairImageTest::endsWithoutAnySource_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<bool>("isMasked");  // the valid samples lie outside of the mask
    for (int layout : {packed, planar}) {
        QTest::addRow("a single sample, layout %d", layout) << layout << 1 << 1 << 1 << false;
        QTest::addRow("three channels, layout %d", layout) << layout << 3 << 5 << 3 << false;
        QTest::addRow("4 megapixels, layout %d", layout) << layout << 2000 << 2000 << 1 << false;
        QTest::addRow("an image without pixels, layout %d", layout) << layout << 0 << 4 << 1 << false;
        QTest::addRow("an image of negative size, layout %d", layout) << layout << 4 << -4 << 1 << false;
        QTest::addRow("an image without channels, layout %d", layout) << layout << 4 << 4 << 0 << false;
        QTest::addRow("valid samples that are masked out, layout %d", layout) << layout << 40 << 40 << 1 << true;
    }
}

void RepairImageTest::endsWithoutAnySource()
{
    QFETCH(int, layout);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(bool, isMasked);
    auto storage =
        randomImage(describe(ep::DataTypeUInt16, std::max(width, 4), std::max(height, 4), std::max(channels, 1)));
    std::memset(storage->data, 255, storageBytes(storage.image()));
    ep::SxImageBuf image = storage.image();
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.layout = ep::ExImageLayout(layout);
    image.stride = width * 2 * (layout == packed ? channels : 1);
    auto mask = maskOf(storage.image());
    if (isMasked) {
        setSample<quint16>(image, 3, 3, 0, 1);
        setSample<quint8>(mask.image(), 3, 3, 0, 0);
    }
    const auto before = copyOf(storage.image());
    LevelTables tables(1, 1 << 16);
    tables.flag({65535});
    std::vector<const bool*> pointers(size_t(std::max(channels, 1)), tables[0]);
    QVector<orn::InvalidPixel> records;
    QVERIFY(orn::RepairImage(image, mask.image(), pointers.data(), &records));
    QVERIFY(records.isEmpty());
    QVERIFY(sameStorage(storage.image(), before.image()));
}

void RepairImageTest::admitsWhatTheMaskDoesNotReach_data()
{
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<int>("stride");
    QTest::addColumn<int>("repaired");

    // 4 x 4 pixels of the levels 255 and 1 in turn; the bytes that the mask has are all zero.
    QTest::newRow("a mask that reaches everything excludes everything") << true << 4 << 0;
    QTest::newRow("a mask without data admits everything") << false << 4 << 8;
    QTest::newRow("rows of two bytes end within the last row") << true << 2 << 1;
    QTest::newRow("rows of no bytes") << true << 0 << 8;
    QTest::newRow("rows of negative length") << true << -4 << 8;
}

void RepairImageTest::admitsWhatTheMaskDoesNotReach()
{
    QFETCH(bool, hasData);
    QFETCH(int, stride);
    QFETCH(int, repaired);
    Ints samples;
    for (int i = 0; i < 16; ++i)
        samples << (i % 2 == 0 ? 255 : 1);
    auto image = imageOf(u8, planar, 4, 4, 1, samples);
    std::vector<quint8> bytes(size_t(std::max(stride, 0)) * 4, 0);  // not a byte more: memory checkers see the rest
    ep::SxImageBuf mask = ep::emptyImage();
    static_cast<ep::SxImageInfo&>(mask) = describe(ep::DataTypeUInt8, 4, 4);
    mask.stride = stride;
    mask.data = !hasData ? nullptr : bytes.empty() ? static_cast<void*>(&mask) : bytes.data();
    LevelTables tables(1, 256);
    tables.flag({255});
    QVector<orn::InvalidPixel> records;
    QVERIFY(orn::RepairImage(image.image(), mask, tables.constData(), &records));
    QCOMPARE(records.size(), repaired);
}

/** The public function does what some millisecond of the clock begins. */
void RepairImageTest::drawsFromTheClock()
{
    const auto image = randomImage(describe(ep::DataTypeUInt8, 67, 41, 3));
    const auto mask = maskOf(image.image());
    LevelTables tables(3, 256);
    for (int level = 0; level < 200; ++level)
        tables.flag({level});
    auto repaired = copyOf(image.image());
    QVector<orn::InvalidPixel> records;
    QVERIFY(orn::RepairImage(repaired.image(), mask.image(), tables.constData(), &records));
    int matches = 0;
    for (uint seed = 0; seed < 1000; ++seed) {
        auto expected = copyOf(image.image());
        orn::seedRandom(seed);
        const auto wanted = RepairReference<quint8>(expected.image(), mask.image(), tables.data()).repair();
        matches += sameStorage(repaired.image(), expected.image()) && wanted == records;
    }
    QVERIFY(matches > 0);
    QVERIFY(matches < 10);  // else the draws would not matter
}

void RepairImageTest::repeatsItselfInOneMillisecond()
{
    const auto image = randomImage(describe(ep::DataTypeUInt16, 9, 9));
    const auto mask = maskOf(image.image());
    LevelTables tables(1, 1 << 16);
    for (int level = 0; level < 1 << 15; ++level)
        tables.flag({level});
    for (int attempt = 0; attempt < 100000; ++attempt) {
        auto first = copyOf(image.image());
        auto second = copyOf(image.image());
        const QTime before = QTime::currentTime();
        orn::RepairImage(first.image(), mask.image(), tables.constData(), nullptr);
        orn::RepairImage(second.image(), mask.image(), tables.constData(), nullptr);
        if (QTime::currentTime() != before)
            continue;
        QVERIFY(sameStorage(first.image(), second.image()));
        return;
    }
    QFAIL("no two calls fell into one millisecond");
}

QTEST_GUILESS_MAIN(RepairImageTest)
#include "RepairImageTest.moc"

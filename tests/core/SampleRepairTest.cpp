#include "../../core/SampleRepair.h"

#include "RepairReference.h"

#include <QtTest>

#include <numeric>

using namespace testing;

namespace {

enum Damage { Sparse, Dense, Blob };

QString damageName(Damage damage)
{
    return damage == Sparse  ? QStringLiteral("sparse")
           : damage == Dense ? QStringLiteral("dense")
                             : QStringLiteral("blobs of 50 x 50");
}

/** One image with its mask, made from a number. */
struct Case {
    ep::CxScopedBuffer image;
    ep::CxScopedBuffer mask;
};

/** Random samples, a hole of 50 x 50 of the highest level that may lie over the border, and one of four masks. */
template <typename T>
Case makeCase(ep::ExImageLayout layout, int channels, Damage damage, quint32 number)
{
    const bool isSigned = number % 2 == 0;
    const auto type = sizeof(T) == 1 ? (isSigned ? ep::DataTypeInt8 : ep::DataTypeUInt8)
                                     : (isSigned ? ep::DataTypeInt16 : ep::DataTypeUInt16);
    const bool isLarge = damage == Blob || number % 50 == 0;
    const int width = 1 + static_cast<int>(isLarge ? 55 + number % 12 : number % 23);
    const int height = 1 + static_cast<int>(isLarge ? 52 + number % 15 : number / 3 % 19);
    Case made{randomImage(describe(type, width, height, channels, layout, static_cast<int>(number % 4)), number),
              ep::CxScopedBuffer()};
    made.image->formatCode = static_cast<int>(1 + number / 2 % 2);
    std::mt19937 random(number);
    const int left = static_cast<int>(random() % 60) - 25;
    const int top = static_cast<int>(random() % 60) - 25;
    if (damage == Blob)
        for (int c = 0; c < channels; ++c)
            for (int y = std::max(top, 0); y < std::min(top + 50, height); ++y)
                for (int x = std::max(left, 0); x < std::min(left + 50, width); ++x)
                    setSample<T>(made.image.image(), x, y, c, std::numeric_limits<T>::max());
    made.mask = maskOf(made.image.image(), 1, static_cast<int>(number % 3));
    const unsigned excluded[] = {0, 10, 50, 95};  // percent
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            setSample<quint8>(made.mask.image(), x, y, 0,
                              random() % 100 < excluded[number / 4 % 4] ? 0 : static_cast<quint8>(1 + random() % 255));
    return made;
}

/** Other levels in every channel; always the highest. */
LevelTables makeTables(int channels, int levels, Damage damage)
{
    LevelTables tables(channels, levels);
    std::mt19937 random(static_cast<quint32>(damage));
    const unsigned flagged[] = {2, 70, 0};  // percent
    for (int c = 0; c < channels; ++c)
        for (int level = 0; level < levels; ++level)
            tables[c][level] = level == levels - 1 || random() % 100 < flagged[damage];
    return tables;
}

/** How many samples were repaired; -1 when repair and reference part. */
template <typename T>
int judge(const Case& made, LevelTables& tables, uint seed)
{
    ep::CxScopedBuffer repaired = copyOf(made.image.image());
    ep::CxScopedBuffer expected = copyOf(made.image.image());
    QVector<orn::InvalidPixel> records;
    orn::seedRandom(seed);
    orn::SampleRepair<T>(repaired.image(), made.mask.image(), tables.data(), &records).run();
    const int nextDraw = orn::drawRandom();
    orn::seedRandom(seed);
    const auto expectedRecords = RepairReference<T>(expected.image(), made.mask.image(), tables.data()).repair();
    const bool isSame =
        sameStorage(repaired.image(), expected.image()) && records == expectedRecords && nextDraw == orn::drawRandom();
    return isSame ? records.size() : -1;
}

}  // namespace

class SampleRepairTest : public QObject {
    Q_OBJECT

private slots:
    void agreesWithTheReference_data();
    void agreesWithTheReference();
    void repairsLongRows_data();
    void repairsLongRows();
    void takesTheLevelsAtTheEndsOfTheTable_data();
    void takesTheLevelsAtTheEndsOfTheTable();
    void numbersTheCellsOfARing_data();
    void numbersTheCellsOfARing();
};

void SampleRepairTest::agreesWithTheReference_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("damage");
    for (int bytes : {1, 2})
        for (ep::ExImageLayout layout : allLayouts)
            for (int channels : {1, 2, 3, 4, 5})
                for (Damage damage : {Sparse, Dense, Blob})
                    QTest::addRow("%d-bit %s, channels: %d, %s", 8 * bytes,
                                  layout == ep::LayoutPacked ? "packed" : "planar", channels,
                                  qPrintable(damageName(damage)))
                        << bytes << int(layout) << channels << int(damage);
}

void SampleRepairTest::agreesWithTheReference()
{
    QFETCH(int, bytes);
    QFETCH(int, layout);
    QFETCH(int, channels);
    QFETCH(int, damage);
    LevelTables tables = makeTables(channels, 1 << (8 * bytes), Damage(damage));
    // Every seed that the clock can give; of the large images, a share in every row.
    const uint step = damage == Blob ? 11 : 1;
    qint64 repaired = 0;
    for (uint seed = damage == Blob ? uint(4 * bytes + 2 * layout + channels) % step : 0; seed < 1000; seed += step) {
        const int count =
            bytes == 1 ? judge<quint8>(makeCase<quint8>(ep::ExImageLayout(layout), channels, Damage(damage), seed),
                                       tables, seed)
                       : judge<quint16>(makeCase<quint16>(ep::ExImageLayout(layout), channels, Damage(damage), seed),
                                        tables, seed);
        QVERIFY2(count >= 0, qPrintable(QStringLiteral("seed %1").arg(seed)));
        repaired += count;
    }
    QVERIFY(repaired > 1000);
}

void SampleRepairTest::repairsLongRows_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("channels");
    for (ep::ExImageLayout layout : allLayouts) {
        QTest::addRow("30,000 pixels, layout %d", layout) << int(layout) << 30000 << 1;
        QTest::addRow("7,000 pixels of 3 channels, layout %d", layout) << int(layout) << 7000 << 3;
        QTest::addRow("90 pixels of 300 channels, layout %d", layout) << int(layout) << 90 << 300;
    }
}

/** Rows of more samples than are looked through at a time. */
void SampleRepairTest::repairsLongRows()
{
    QFETCH(int, layout);
    QFETCH(int, width);
    QFETCH(int, channels);
    LevelTables tables = makeTables(channels, 1 << 16, Sparse);
    Case made{randomImage(describe(ep::DataTypeUInt16, width, 3, channels, ep::ExImageLayout(layout), 3)),
              ep::CxScopedBuffer()};
    made.mask = maskOf(made.image.image());
    QVERIFY(judge<quint16>(made, tables, 7) > 10);
}

void SampleRepairTest::takesTheLevelsAtTheEndsOfTheTable_data()
{
    QTest::addColumn<QVector<int>>("valid");
    QTest::newRow("nothing is valid") << QVector<int>{};
    QTest::newRow("the first level alone is valid") << QVector<int>{0};
    QTest::newRow("the last level alone is valid") << QVector<int>{255};
    QTest::newRow("the valid run ends with the table") << QVector<int>{3, 253, 254, 255};
    QTest::newRow("the valid run begins with the table") << QVector<int>{0, 1, 2, 200};
    QVector<int> all(256);
    std::iota(all.begin(), all.end(), 0);
    QTest::newRow("everything is valid") << all;
}

void SampleRepairTest::takesTheLevelsAtTheEndsOfTheTable()
{
    QFETCH(QVector<int>, valid);
    LevelTables tables(1, 256);
    for (int level = 0; level < 256; ++level)
        tables[0][level] = !valid.contains(level);
    Case made{randomImage(describe(ep::DataTypeUInt8, 200, 40)), ep::CxScopedBuffer()};
    made.mask = maskOf(made.image.image());
    const int repaired = judge<quint8>(made, tables, 7);
    QVERIFY(repaired >= 0);
    QCOMPARE(repaired > 0, !valid.isEmpty() && valid.size() < 256);
}

void SampleRepairTest::numbersTheCellsOfARing_data()
{
    QTest::addColumn<int>("radius");
    for (int radius = 1; radius <= 40; ++radius)
        QTest::addRow("radius %d", radius) << radius;
}

void SampleRepairTest::numbersTheCellsOfARing()
{
    QFETCH(int, radius);
    qint64 slot = 0;
    for (int dx = -radius; dx <= radius; ++dx)
        for (int dy = -radius; dy <= radius; ++dy) {
            if (std::max(std::abs(dx), std::abs(dy)) != radius)
                continue;
            const orn::RingCell cell = orn::ringCell(radius, slot++);
            QCOMPARE(cell.dx, qint64(dx));
            QCOMPARE(cell.dy, qint64(dy));
        }
    QCOMPARE(slot, orn::ringCellCount(radius));
}

QTEST_GUILESS_MAIN(SampleRepairTest)
#include "SampleRepairTest.moc"

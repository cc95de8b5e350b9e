#include <ep/internal/TransposePlane.h>

#include <QByteArray>
#include <QtTest>

#include <cstring>
#include <random>

using ep::internal::PlaneView;

namespace {

constexpr int allSizes[] = {1, 2, 3, 4, 6, 8, 12, 16, 24, 32};

/** How a plane lies in its memory. */
struct Lay {
    int lead;     ///< bytes before it, so that nothing is aligned
    int padding;  ///< bytes between its rows
    bool lastRowFirst;
};

/** A plane of samples that stand side by side, with bytes around it and between its rows that nobody may touch. */
class GuardedPlane {
public:
    GuardedPlane(int sampleBytes, int width, int height, const Lay& lay)
        : m_rowBytes(std::ptrdiff_t(width) * sampleBytes + lay.padding),
          m_bytes(int(guard + lay.lead + height * m_rowBytes + guard), '\x5a')
    {
        auto* first = reinterpret_cast<unsigned char*>(m_bytes.data()) + guard + lay.lead;
        m_view = {first, m_rowBytes, sampleBytes, width, height};
        if (lay.lastRowFirst)
            m_view = m_view.reversedRows();
    }

    void fill(quint32 seed)
    {
        std::mt19937_64 random(seed);
        for (int i = 0; i + 8 <= m_bytes.size(); i += 8) {
            const quint64 word = random();
            std::memcpy(m_bytes.data() + i, &word, sizeof(word));
        }
    }

    const PlaneView& view() const { return m_view; }
    const QByteArray& bytes() const { return m_bytes; }

private:
    static constexpr int guard = 80;  // more than a line of the cache
    std::ptrdiff_t m_rowBytes;
    QByteArray m_bytes;
    PlaneView m_view;
};

void transposeNaively(const PlaneView& source, const PlaneView& destination)
{
    for (int y = 0; y < source.height; ++y)
        for (int x = 0; x < source.width; ++x)
            std::memcpy(destination.sample(y, x), source.sample(x, y), size_t(source.pixelStep));
}

bool isTransposedAsNaively(int sampleBytes, int width, int height, const Lay& from, const Lay& to)
{
    GuardedPlane source(sampleBytes, width, height, from);
    source.fill(quint32(width * 131 + height));
    const GuardedPlane turned(sampleBytes, height, width, to);
    const GuardedPlane expected(sampleBytes, height, width, to);
    transposeNaively(source.view(), expected.view());
    ep::internal::transposePlane(sampleBytes, source.view(), turned.view());
    return turned.bytes() == expected.bytes();
}

}  // namespace

/** Planes of samples that stand side by side, which are moved in blocks: every size, and what lies around them. */
class TransposePlaneTest : public QObject {
    Q_OBJECT

private slots:
    void turnsEverySmallSize_data();
    void turnsEverySmallSize();
    void turnsLargePlanes_data();
    void turnsLargePlanes();
};

void TransposePlaneTest::turnsEverySmallSize_data()
{
    QTest::addColumn<int>("sampleBytes");
    QTest::addColumn<bool>("lastRowFirst");
    for (const int bytes : allSizes)
        for (const bool reversed : {false, true})
            QTest::addRow("%d bytes%s", bytes, reversed ? ", last row first" : "") << bytes << reversed;
}

void TransposePlaneTest::turnsEverySmallSize()
{
    QFETCH(int, sampleBytes);
    QFETCH(bool, lastRowFirst);
    for (int width = 1; width <= 67; ++width)
        for (int height = 1; height <= 67; ++height) {
            const Lay from = {width % 5, height % 3, lastRowFirst};
            const Lay to = {height % 7, width % 2 * 3, false};
            QVERIFY2(isTransposedAsNaively(sampleBytes, width, height, from, to),
                     qPrintable(QStringLiteral("%1 x %2").arg(width).arg(height)));
        }
}

void TransposePlaneTest::turnsLargePlanes_data()
{
    QTest::addColumn<int>("sampleBytes");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<bool>("lastRowFirst");
    // Just above what is written past the cache.
    for (const int bytes : allSizes)
        for (const bool reversed : {false, true}) {
            const int samples = (4 << 20) / bytes;
            const char* order = reversed ? ", last row first" : "";
            QTest::addRow("%d bytes, powers of two%s", bytes, order)
                << bytes << 2048 << (samples + 2047) / 2048 << reversed;
            QTest::addRow("%d bytes, odd%s", bytes, order) << bytes << 1531 << samples / 1531 + 3 << reversed;
            QTest::addRow("%d bytes, wide%s", bytes, order) << bytes << samples / 33 + 1 << 33 << reversed;
            QTest::addRow("%d bytes, high%s", bytes, order) << bytes << 17 << samples / 17 + 1 << reversed;
        }
}

void TransposePlaneTest::turnsLargePlanes()
{
    QFETCH(int, sampleBytes);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(bool, lastRowFirst);
    const Lay lays[] = {{0, 0, false}, {5, 7, false}, {48, 64, true}};
    for (const Lay& to : lays)
        QVERIFY(isTransposedAsNaively(sampleBytes, width, height, {to.padding % 4, 1, lastRowFirst}, to));
}

QTEST_GUILESS_MAIN(TransposePlaneTest)
#include "TransposePlaneTest.moc"

#include "TestImages.h"

#include <ep/internal/CopyPlane.h>

#include <QByteArray>
#include <QtTest>

#include <vector>

using ep::internal::PlanePair;
using ep::internal::PlaneView;

namespace {

constexpr int margin = 67;  // bytes before and behind a picture, which nobody may touch

// What holds the planes of a picture: pixels of some samples, in cells of some rows.
struct Pixels {
    int samples;
    int rows;

    int planes() const { return samples * rows; }
};

// Memory with planes in it: apart from each other, or as samples of pixels.
class Picture {
public:
    Picture(int sampleBytes, Pixels pixels, int width, int height, bool isPacked, int padding, quint32 seed)
        : m_sampleBytes(sampleBytes), m_pixels(pixels), m_width(width), m_height(height), m_isPacked(isPacked),
          m_stride((isPacked ? pixels.samples : 1) * width * sampleBytes + padding),
          m_bytes(int(m_stride * height * (isPacked ? pixels.rows : pixels.planes())) + 2 * margin, Qt::Uninitialized)
    {
        for (char& byte : m_bytes) {
            seed = seed * 1664525 + 1013904223;
            byte = static_cast<char>(seed >> 24);
        }
    }

    PlaneView plane(int k)
    {
        unsigned char* first = reinterpret_cast<unsigned char*>(m_bytes.data()) + margin;
        if (!m_isPacked)
            return {first + k * m_stride * m_height, m_stride, m_sampleBytes, m_width, m_height};
        return {first + k / m_pixels.samples * m_stride + k % m_pixels.samples * m_sampleBytes,
                m_stride * m_pixels.rows, m_pixels.samples * m_sampleBytes, m_width, m_height};
    }
    const QByteArray& bytes() const { return m_bytes; }

private:
    std::ptrdiff_t m_sampleBytes;
    Pixels m_pixels;
    int m_width;
    int m_height;
    bool m_isPacked;
    std::ptrdiff_t m_stride;
    QByteArray m_bytes;
};

// An order of planes that is neither theirs nor its reverse.
std::vector<int> shuffled(int planes)
{
    std::vector<int> order;
    for (int k = 0; k < planes; ++k)
        order.push_back(k);
    std::shuffle(order.begin(), order.end(), std::mt19937(5));
    return order;
}

void copyNaively(int sampleBytes, const PlaneView& from, const PlaneView& to)
{
    for (int y = 0; y < from.height; ++y)
        for (int x = 0; x < from.width; ++x)
            std::memcpy(to.sample(x, y), from.sample(x, y), size_t(sampleBytes));
}

// Copies one picture of random bytes to another, plane order[k] to plane k, and compares all of its memory.
bool copiesRight(int sampleBytes, Pixels pixels, int width, int height, bool isSplit, int padding)
{
    Picture source(sampleBytes, pixels, width, height, isSplit, padding, 1);
    Picture copy(sampleBytes, pixels, width, height, !isSplit, padding, 2);
    Picture expected(sampleBytes, pixels, width, height, !isSplit, padding, 2);
    const std::vector<int> order = shuffled(pixels.planes());
    const auto planeOf = [&](int k) { return source.plane(order[size_t(k)]); };
    for (int k = 0; k < pixels.planes(); ++k)
        copyNaively(sampleBytes, planeOf(k), expected.plane(k));
    ep::internal::copyPlanes(sampleBytes, pixels.planes(), [&](int k) { return PlanePair{planeOf(k), copy.plane(k)}; });
    return copy.bytes() == expected.bytes();
}

}  // namespace

/** Planes that share pixels, in every order, and images that are too large for the cache. */
class CopyPlaneTest : public QObject {
    Q_OBJECT

private slots:
    void copiesPlanesOfAnyWidth_data();
    void copiesPlanesOfAnyWidth();
    void copiesLargeImages_data();
    void copiesLargeImages();
    void copiesMorePlanesThanAtOnce();
    void copiesOnePlaneToSeveral();
    void copiesLargeTightPlanes_data();
    void copiesLargeTightPlanes();
};

void CopyPlaneTest::copiesPlanesOfAnyWidth_data()
{
    QTest::addColumn<int>("sampleBytes");
    QTest::addColumn<int>("samples");
    QTest::addColumn<int>("rows");
    for (const int bytes : {1, 2, 4, 8, 16})
        for (const Pixels pixels : {Pixels{2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 6}, {2, 2}, {3, 2}, {1, 2}})
            QTest::addRow("%d bytes, cells of %d x %d", bytes, pixels.samples, pixels.rows)
                << bytes << pixels.samples << pixels.rows;
}

void CopyPlaneTest::copiesPlanesOfAnyWidth()
{
    QFETCH(int, sampleBytes);
    QFETCH(int, samples);
    QFETCH(int, rows);
    for (int width = 1; width <= 67; ++width)
        for (const int padding : {0, 5})
            for (const bool isSplit : {true, false})
                QVERIFY2(copiesRight(sampleBytes, {samples, rows}, width, 2, isSplit, padding),
                         qPrintable(QStringLiteral("width %1, padding %2, %3")
                                        .arg(width)
                                        .arg(padding)
                                        .arg(isSplit ? QStringLiteral("split") : QStringLiteral("merged"))));
}

void CopyPlaneTest::copiesLargeImages_data()
{
    QTest::addColumn<int>("sampleBytes");
    QTest::addColumn<int>("samples");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("padding");
    for (const int bytes : {1, 2, 4, 8, 16})
        for (const Pixels pixels : {Pixels{2, 2}, {3, 1}, {4, 1}})
            for (const int padding : {0, 3})
                QTest::addRow("%d bytes, cells of %d x %d, padding %d", bytes, pixels.samples, pixels.rows, padding)
                    << bytes << pixels.samples << pixels.rows << padding;
}

// From four MiB on samples go past the cache. Rows are a bit longer than some pieces of a row that are staged at once.
void CopyPlaneTest::copiesLargeImages()
{
    QFETCH(int, sampleBytes);
    QFETCH(int, samples);
    QFETCH(int, rows);
    QFETCH(int, padding);
    const int width = 2 * 1024 / sampleBytes + 7;
    const int height = (4 << 20) / (width * sampleBytes * samples * rows) + 1;
    for (const bool isSplit : {true, false})
        QVERIFY(copiesRight(sampleBytes, {samples, rows}, width, height, isSplit, padding));
}

void CopyPlaneTest::copiesMorePlanesThanAtOnce()
{
    for (const bool isSplit : {true, false})
        QVERIFY(copiesRight(2, {13, 11}, 9, 2, isSplit, 0));
}

void CopyPlaneTest::copiesOnePlaneToSeveral()
{
    Picture gray(1, {1, 1}, 41, 3, false, 0, 1);
    Picture color(1, {3, 1}, 41, 3, true, 2, 2);
    Picture expected(1, {3, 1}, 41, 3, true, 2, 2);
    for (int k = 0; k < 3; ++k)
        copyNaively(1, gray.plane(0), expected.plane(k));
    ep::internal::copyPlanes(1, 3, [&](int k) { return PlanePair{gray.plane(0), color.plane(k)}; });
    QCOMPARE(color.bytes(), expected.bytes());
}

void CopyPlaneTest::copiesLargeTightPlanes_data()
{
    QTest::addColumn<int>("fromPadding");
    QTest::addColumn<int>("toPadding");
    QTest::newRow("rows without a gap") << 0 << 0;
    QTest::newRow("rows with a gap in the source") << 3 << 0;
    QTest::newRow("rows with a gap in the destination") << 0 << 70;
    QTest::newRow("rows that begin at any address") << 1 << 5;
}

void CopyPlaneTest::copiesLargeTightPlanes()
{
    QFETCH(int, fromPadding);
    QFETCH(int, toPadding);
    Picture source(2, {1, 1}, 1001, 2100, false, fromPadding, 1);
    Picture copy(2, {1, 1}, 1001, 2100, false, toPadding, 2);
    Picture expected(2, {1, 1}, 1001, 2100, false, toPadding, 2);
    copyNaively(2, source.plane(0).reversedRows(), expected.plane(0));
    ep::internal::copyPlane(2, source.plane(0).reversedRows(), copy.plane(0));
    QCOMPARE(copy.bytes(), expected.bytes());
}

QTEST_GUILESS_MAIN(CopyPlaneTest)
#include "CopyPlaneTest.moc"

#include <ep/CxImageHistogram.h>

#include <QtTest>

#include <utility>

using ep::CxImageHistogram;

namespace {

bool allZero(const CxImageHistogram& histogram)
{
    for (int c = 0; c < histogram.channelCount; ++c)
        for (int level = 0; level < histogram.levelCount; ++level)
            if (histogram.counts[c][level] != 0)
                return false;
    return true;
}

bool isEmpty(const CxImageHistogram& histogram)
{
    return !histogram.counts && histogram.channelCount == 0 && histogram.levelCount == 0;
}

}  // namespace

class CxImageHistogramTest : public QObject {
    Q_OBJECT

private slots:
    void startsEmpty();
    void hasZeroedCounters_data();
    void hasZeroedCounters();
    void keepsItsArraysAtTheSameSize();
    void changesSize();
    void becomesEmpty_data();
    void becomesEmpty();
    void moves();
};

void CxImageHistogramTest::startsEmpty()
{
    CxImageHistogram histogram;
    QVERIFY(isEmpty(histogram));
    histogram.clear();
    QVERIFY(isEmpty(histogram));
}

void CxImageHistogramTest::hasZeroedCounters_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("levels");
    QTest::newRow("one counter") << 1 << 1;
    QTest::newRow("8-bit colour") << 3 << 256;
    QTest::newRow("16-bit mosaic") << 1 << 65536;
    QTest::newRow("many channels") << 36 << 2;
}

void CxImageHistogramTest::hasZeroedCounters()
{
    QFETCH(int, channels);
    QFETCH(int, levels);
    CxImageHistogram histogram;
    histogram.resize(channels, levels);
    QCOMPARE(histogram.channelCount, channels);
    QCOMPARE(histogram.levelCount, levels);
    QVERIFY(allZero(histogram));
}

void CxImageHistogramTest::keepsItsArraysAtTheSameSize()
{
    CxImageHistogram histogram;
    histogram.resize(2, 16);
    qint32* const first = histogram.counts[0];
    qint32* const second = histogram.counts[1];
    histogram.counts[0][0] = 1;
    histogram.counts[1][15] = 2;
    histogram.resize(2, 16);
    QCOMPARE(histogram.counts[0], first);
    QCOMPARE(histogram.counts[1], second);
    QVERIFY(allZero(histogram));
}

void CxImageHistogramTest::changesSize()
{
    CxImageHistogram histogram;
    histogram.resize(2, 16);
    histogram.counts[1][15] = 2;
    histogram.resize(1, 16);
    QCOMPARE(histogram.channelCount, 1);
    QVERIFY(allZero(histogram));
    histogram.resize(1, 300);
    QCOMPARE(histogram.levelCount, 300);
    QVERIFY(allZero(histogram));
}

void CxImageHistogramTest::becomesEmpty_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("levels");
    QTest::newRow("no channels") << 0 << 256;
    QTest::newRow("no levels") << 3 << 0;
    QTest::newRow("neither") << 0 << 0;
    QTest::newRow("negative channels") << -1 << 256;
    QTest::newRow("negative levels") << 3 << -256;
}

void CxImageHistogramTest::becomesEmpty()
{
    QFETCH(int, channels);
    QFETCH(int, levels);
    CxImageHistogram histogram;
    histogram.resize(channels, levels);
    QVERIFY(isEmpty(histogram));
    histogram.resize(3, 256);
    histogram.resize(channels, levels);
    QVERIFY(isEmpty(histogram));
}

void CxImageHistogramTest::moves()
{
    CxImageHistogram histogram;
    histogram.resize(1, 4);
    histogram.counts[0][3] = 9;
    CxImageHistogram taken(std::move(histogram));
    QVERIFY(isEmpty(histogram));
    QCOMPARE(taken.counts[0][3], 9);
    CxImageHistogram assigned;
    assigned.resize(2, 2);
    assigned = std::move(taken);
    QVERIFY(isEmpty(taken));
    QCOMPARE(assigned.channelCount, 1);
    QCOMPARE(assigned.counts[0][3], 9);
    CxImageHistogram& itself = assigned;
    assigned = std::move(itself);
    QCOMPARE(assigned.counts[0][3], 9);
}

QTEST_GUILESS_MAIN(CxImageHistogramTest)
#include "CxImageHistogramTest.moc"

#include <ep/RawChannelsOffsets.h>

#include <QtTest>

#include <limits>

class RawChannelsOffsetsTest : public QObject {
    Q_OBJECT

private slots:
    void tellsWhereEachPlaneLies_data();
    void tellsWhereEachPlaneLies();
    void refuses_data();
    void refuses();
};

void RawChannelsOffsetsTest::tellsWhereEachPlaneLies_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("stride");
    QTest::addColumn<QVector<int>>("offsets");  // R, G1, B, G2
    QTest::newRow("BGGR, 16 bits") << 0 << 4 << 100 << QVector<int>{102, 100, 0, 2};
    QTest::newRow("RGGB, 16 bits") << 1 << 4 << 100 << QVector<int>{0, 2, 102, 100};
    QTest::newRow("GBRG, 16 bits") << 2 << 4 << 100 << QVector<int>{100, 102, 2, 0};
    QTest::newRow("GRBG, 16 bits") << 3 << 4 << 100 << QVector<int>{2, 0, 100, 102};
    QTest::newRow("RGGB, 8 bits, odd stride") << 1 << 2 << 33 << QVector<int>{0, 1, 34, 33};
    QTest::newRow("BGGR, double") << 0 << 8 << 64 << QVector<int>{72, 64, 0, 8};
    QTest::newRow("GRBG, the 16-byte type") << 3 << 9 << 64 << QVector<int>{16, 0, 64, 80};
    QTest::newRow("the largest stride whose offsets can be told")
        << 1 << 2 << std::numeric_limits<int>::max() - 1
        << QVector<int>{0, 1, std::numeric_limits<int>::max(), std::numeric_limits<int>::max() - 1};
}

void RawChannelsOffsetsTest::tellsWhereEachPlaneLies()
{
    QFETCH(int, grid);
    QFETCH(int, type);
    QFETCH(int, stride);
    ep::SxImageBuf mosaic{};  // without samples: the data pointer is not looked at
    mosaic.channels = 1;
    mosaic.bayerGrid = ep::ExBayerGrid(grid);
    mosaic.dataType = ep::ExImageDataType(type);
    mosaic.stride = stride;
    QVector<int> offsets(4, -1);
    QVERIFY(ep::RawChannelsOffsets(mosaic, offsets[0], offsets[1], offsets[2], offsets[3]));
    QTEST(offsets, "offsets");
}

void RawChannelsOffsetsTest::refuses_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("stride");
    QTest::newRow("no grid") << 4 << 4 << 1 << 100;
    QTest::newRow("a cell of another size") << 5 << 4 << 1 << 100;
    QTest::newRow("an unknown grid") << 6 << 4 << 1 << 100;
    QTest::newRow("a negative grid") << -1 << 4 << 1 << 100;
    QTest::newRow("several channels") << 1 << 4 << 3 << 100;
    QTest::newRow("no channels") << 1 << 4 << 0 << 100;
    QTest::newRow("sample type none") << 1 << 0 << 1 << 100;
    QTest::newRow("sample type 12") << 1 << 12 << 1 << 100;
    QTest::newRow("an offset past 32 bits") << 1 << 2 << 1 << std::numeric_limits<int>::max();
}

void RawChannelsOffsetsTest::refuses()
{
    QFETCH(int, grid);
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(int, stride);
    ep::SxImageBuf mosaic{};
    mosaic.channels = channels;
    mosaic.bayerGrid = ep::ExBayerGrid(grid);
    mosaic.dataType = ep::ExImageDataType(type);
    mosaic.stride = stride;
    QVector<int> offsets{-1, -2, -3, -4};
    QVERIFY(!ep::RawChannelsOffsets(mosaic, offsets[0], offsets[1], offsets[2], offsets[3]));
    QCOMPARE(offsets, (QVector<int>{-1, -2, -3, -4}));
}

QTEST_GUILESS_MAIN(RawChannelsOffsetsTest)
#include "RawChannelsOffsetsTest.moc"

#include <ep/ChannelIndexLogicalToPhysical.h>

#include <QtTest>

class ChannelIndexLogicalToPhysicalTest : public QObject {
    Q_OBJECT

private slots:
    void mapsEachChannel_data();
    void mapsEachChannel();
};

void ChannelIndexLogicalToPhysicalTest::mapsEachChannel_data()
{
    QTest::addColumn<int>("formatCode");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QVector<int>>("physical");
    QTest::newRow("code 1 keeps three channels in order") << 1 << 3 << QVector<int>{0, 1, 2};
    QTest::newRow("code 0 keeps the order") << 0 << 3 << QVector<int>{0, 1, 2};
    QTest::newRow("code 3 keeps the order") << 3 << 4 << QVector<int>{0, 1, 2, 3};
    QTest::newRow("a negative code keeps the order") << -2 << 3 << QVector<int>{0, 1, 2};
    QTest::newRow("code 2 reverses three channels") << 2 << 3 << QVector<int>{2, 1, 0};
    QTest::newRow("code 2 leaves a fourth channel") << 2 << 4 << QVector<int>{2, 1, 0, 3};
    QTest::newRow("code 2 leaves a fifth channel") << 2 << 5 << QVector<int>{2, 1, 0, 3, 4};
    QTest::newRow("code 2 leaves two channels") << 2 << 2 << QVector<int>{0, 1};
    QTest::newRow("code 2 leaves one channel") << 2 << 1 << QVector<int>{0};
    QTest::newRow("code 2 without channels") << 2 << 0 << QVector<int>{0, 1, 2};
}

void ChannelIndexLogicalToPhysicalTest::mapsEachChannel()
{
    QFETCH(int, formatCode);
    QFETCH(int, channels);
    QFETCH(QVector<int>, physical);
    ep::SxImageBuf image = ep::emptyImage();
    image.formatCode = formatCode;
    image.channels = channels;
    QVector<int> mapped;
    for (int channel = 0; channel < physical.size(); ++channel)
        mapped << ep::ChannelIndexLogicalToPhysical(channel, image);
    QCOMPARE(mapped, physical);
    QCOMPARE(ep::ChannelIndexLogicalToPhysical(-1, image), -1);
    QCOMPARE(ep::ChannelIndexLogicalToPhysical(7, image), 7);
}

QTEST_GUILESS_MAIN(ChannelIndexLogicalToPhysicalTest)
#include "ChannelIndexLogicalToPhysicalTest.moc"

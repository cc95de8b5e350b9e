#include <orn/NonZeroPixels.h>

#include "TestImages.h"

#include <QtTest>

using namespace testing;

class NonZeroPixelsTest : public QObject {
    Q_OBJECT
private slots:
    void listsThemRowByRow_data();
    void listsThemRowByRow();
    void refuses_data();
    void refuses();
};

void NonZeroPixelsTest::listsThemRowByRow_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::newRow("packed") << 2 << 0;
    QTest::newRow("planar") << 2 << 1;
    QTest::newRow("signed") << 1 << 0;
}

void NonZeroPixelsTest::listsThemRowByRow()
{
    QFETCH(int, type);
    QFETCH(int, layout);
    auto image = randomImage(describe(static_cast<ep::ExImageDataType>(type), 7, 5, 1,
                                      static_cast<ep::ExImageLayout>(layout), 3));  // padding is not looked at
    const QVector<QPoint> marked{{6, 0}, {0, 2}, {3, 2}, {6, 4}};
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            setSample(image.image(), x, y, 0, static_cast<quint8>(marked.contains({x, y}) ? 1 + 127 * (x / 3) : 0));
    QVector<QPoint> pixels{{9, 9}};
    QVERIFY(!ep::failed(orn::NonZeroPixels(image.image(), pixels)));
    QCOMPARE(pixels, marked);
}

void NonZeroPixelsTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::newRow("16 bits") << 4 << 1;
    QTest::newRow("three channels") << 2 << 3;
    QTest::newRow("no channels") << 2 << 0;
}

void NonZeroPixelsTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, channels);
    auto image = randomImage(describe(static_cast<ep::ExImageDataType>(type), 7, 5, qMax(1, channels)));
    image->channels = channels;
    QVector<QPoint> pixels{{9, 9}};
    QVERIFY(ep::failed(orn::NonZeroPixels(image.image(), pixels)));
    QVERIFY(pixels.isEmpty());
    QVERIFY(ep::failed(orn::NonZeroPixels(ep::emptyImage(), pixels)));
}

QTEST_GUILESS_MAIN(NonZeroPixelsTest)
#include "NonZeroPixelsTest.moc"

#include <orn/OrientImage.h>

#include "TestImages.h"

#include <QtTest>

using namespace testing;

class OrientImageTest : public QObject {
    Q_OBJECT

private slots:
    void appliesAnOrientation_data();
    void appliesAnOrientation();
    void refuses_data();
    void refuses();
};

void OrientImageTest::appliesAnOrientation_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QString>("turned");
    // Of   a b c
    //      d e f
    QTest::newRow("0, not known") << 0 << "abc def";
    QTest::newRow("1, as it is") << 1 << "abc def";
    QTest::newRow("2, columns mirrored") << 2 << "cba fed";
    QTest::newRow("3, turned by 180 degrees") << 3 << "fed cba";
    QTest::newRow("4, rows mirrored") << 4 << "def abc";
    QTest::newRow("5, transposed") << 5 << "ad be cf";
    QTest::newRow("6, turned by 90 degrees clockwise") << 6 << "da eb fc";
    QTest::newRow("7, transposed along the other diagonal") << 7 << "fc eb da";
    QTest::newRow("8, turned by 270 degrees clockwise") << 8 << "cf be ad";
}

void OrientImageTest::appliesAnOrientation()
{
    QFETCH(int, orientation);
    QFETCH(QString, turned);
    for (ep::ExImageLayout layout : allLayouts) {
        auto image = randomImage(describe(ep::DataTypeUInt16, 3, 2, 2, layout, 4));
        for (int i = 0; i < 6; ++i)
            for (int c = 0; c < 2; ++c)
                setSample<quint16>(image.image(), i % 3, i / 3, c, quint16('a' + i + 1000 * c));
        QCOMPARE(orn::OrientImage(image, orientation), unsigned(ep::StatusOk));
        const QStringList rows = turned.split(QLatin1Char(' '));
        QCOMPARE(QSize(image->width, image->height), QSize(rows[0].size(), rows.size()));
        for (int y = 0; y < image->height; ++y)
            for (int x = 0; x < image->width; ++x)
                for (int c = 0; c < 2; ++c)
                    QCOMPARE(int(sampleAt<quint16>(image.image(), x, y, c)), rows[y][x].unicode() + 1000 * c);
    }
}

void OrientImageTest::refuses_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<bool>("empty");
    QTest::newRow("an orientation below 0") << -1 << false;
    QTest::newRow("an orientation above 8") << 9 << false;
    QTest::newRow("an empty image") << 3 << true;
}

void OrientImageTest::refuses()
{
    QFETCH(int, orientation);
    QFETCH(bool, empty);
    auto image = empty ? ep::CxScopedBuffer() : randomImage(describe(ep::DataTypeUInt8, 3, 2));
    const auto before = empty ? ep::CxScopedBuffer() : copyOf(image.image());
    QVERIFY(ep::failed(orn::OrientImage(image, orientation)));
    QVERIFY(empty || sameStorage(image.image(), before.image()));
}

QTEST_GUILESS_MAIN(OrientImageTest)
#include "OrientImageTest.moc"

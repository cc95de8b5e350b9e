#include <orn/PointsDistance.h>

#include <QtTest>

#include <cmath>
#include <limits>
#include <random>

class PointsDistanceTest : public QObject {
    Q_OBJECT

private slots:
    void isEuclidean_data();
    void isEuclidean();
    void agreesWithHypot();
};

void PointsDistanceTest::isEuclidean_data()
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    QTest::addColumn<QPointF>("a");
    QTest::addColumn<QPointF>("b");
    QTest::addColumn<double>("distance");
    QTest::newRow("3, 4, 5") << QPointF(1, 2) << QPointF(4, 6) << 5.0;
    QTest::newRow("backwards") << QPointF(4, 6) << QPointF(1, 2) << 5.0;
    QTest::newRow("a point and itself") << QPointF(0.1, 0.2) << QPointF(0.1, 0.2) << 0.0;
    QTest::newRow("level") << QPointF(-1, 7) << QPointF(1.5, 7) << 2.5;
    QTest::newRow("upright") << QPointF(7, -1) << QPointF(7, 1.5) << 2.5;
    QTest::newRow("a square past all numbers is infinite") << QPointF(0, 0) << QPointF(1e200, 0) << infinity;
    QTest::newRow("a square below all numbers is nothing") << QPointF(0, 0) << QPointF(1e-200, 0) << 0.0;
}

void PointsDistanceTest::isEuclidean()
{
    QFETCH(QPointF, a);
    QFETCH(QPointF, b);
    QFETCH(double, distance);
    QVERIFY2(orn::PointsDistance(a, b) == distance, qPrintable(QString::number(orn::PointsDistance(a, b))));
}

void PointsDistanceTest::agreesWithHypot()
{
    std::mt19937 random(1);
    const auto number = [&random] { return random() / 65536.0 - 32768; };
    for (int i = 0; i < 10000; ++i) {
        const QPointF a(number(), number());
        const QPointF b(number(), number());
        const double expected = std::hypot(b.x() - a.x(), b.y() - a.y());
        QVERIFY(std::fabs(orn::PointsDistance(a, b) - expected) <= 1e-15 * expected);
    }
}

QTEST_GUILESS_MAIN(PointsDistanceTest)
#include "PointsDistanceTest.moc"

// The library does not export it.
#include "../../core/StuckChance.cpp"

#include <QtTest>

#include <random>

class StuckChanceTest : public QObject {
    Q_OBJECT
private slots:
    void rangesAreThoseOfTheTables_data();
    void rangesAreThoseOfTheTables();
    void chanceIsThatOfTrials_data();
    void chanceIsThatOfTrials();
    void sumAndIntegralMeet();
    void noiseKeepsChanceSmall_data();
    void noiseKeepsChanceSmall();
    void withoutNoiseNothingIsTold();
};

/** The constant d2 of control charts. */
void StuckChanceTest::rangesAreThoseOfTheTables_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("range");
    QTest::newRow("one number") << 1 << 0.0;
    QTest::newRow("2 numbers") << 2 << 1.128;
    QTest::newRow("3 numbers") << 3 << 1.693;
    QTest::newRow("5 numbers") << 5 << 2.326;
    QTest::newRow("10 numbers") << 10 << 3.078;
    QTest::newRow("25 numbers") << 25 << 3.931;
}

void StuckChanceTest::rangesAreThoseOfTheTables()
{
    QFETCH(int, count);
    QFETCH(double, range);
    QVERIFY(std::fabs(orn::expectedRange(count) - range) < 0.0006);
}

void StuckChanceTest::chanceIsThatOfTrials_data()
{
    QTest::addColumn<double>("noise");
    QTest::addColumn<int>("frames");
    QTest::newRow("noise below a step") << 0.4 << 4;
    QTest::newRow("noise of a step") << 1.0 << 4;
    QTest::newRow("noise of two steps") << 2.0 << 3;
    QTest::newRow("two frames") << 3.0 << 2;
}

void StuckChanceTest::chanceIsThatOfTrials()
{
    QFETCH(double, noise);
    QFETCH(int, frames);
    constexpr int trials = 300000;
    std::mt19937 random(1);
    std::normal_distribution<double> normal(0, noise);
    int same = 0;
    for (int trial = 0; trial < trials; ++trial) {
        const long first = std::lround(normal(random));
        bool isSame = true;
        for (int frame = 1; frame < frames; ++frame)
            isSame = std::lround(normal(random)) == first && isSame;
        same += isSame;
    }
    const double expected = orn::sameByChance(noise, frames) * trials;
    QVERIFY2(std::fabs(same - expected) < 4 * std::sqrt(expected),
             qPrintable(QStringLiteral("%1 of %2 expected").arg(same).arg(expected)));
}

void StuckChanceTest::sumAndIntegralMeet()
{
    // From a noise of 111 steps on, the sum is taken for an integral.
    const double below = orn::sameByChance(110.9, 5);
    const double above = orn::sameByChance(111.1, 5);
    QVERIFY(std::fabs(below / above / std::pow(111.1 / 110.9, 4) - 1) < 1e-3);
}

void StuckChanceTest::noiseKeepsChanceSmall_data()
{
    QTest::addColumn<int>("frames");
    for (int frames : {3, 5, 8, 16, 100, 65535})
        QTest::newRow(qPrintable(QStringLiteral("%1 frames").arg(frames))) << frames;
}

void StuckChanceTest::noiseKeepsChanceSmall()
{
    QFETCH(int, frames);
    const double noise = orn::noiseThatTellsStuck(frames, 24e6, 0.01);
    QVERIFY(orn::sameByChance(noise, frames) * 24e6 <= 0.01);
    QVERIFY(orn::sameByChance(noise * 0.99, frames) * 24e6 > 0.01);
}

void StuckChanceTest::withoutNoiseNothingIsTold()
{
    QCOMPARE(orn::sameByChance(0, 16), 1.0);
    QCOMPARE(orn::sameByChance(5, 1), 1.0);
    QVERIFY(std::isinf(orn::noiseThatTellsStuck(1, 24e6, 0.01)));
}

QTEST_GUILESS_MAIN(StuckChanceTest)
#include "StuckChanceTest.moc"

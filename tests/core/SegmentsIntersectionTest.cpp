#include <orn/SegmentsIntersection.h>

#include <QtTest>

#include <cmath>
#include <limits>
#include <random>

namespace {

/** A point with whole coordinates. */
struct Place {
    qint64 x;
    qint64 y;
};

qint64 cross(const Place& a, const Place& b)
{
    return a.x * b.y - a.y * b.x;
}

/** Segments with whole coordinates, judged in whole numbers: a point a1 + t (a2 - a1) with t = numerator / determinant.
 */
struct Judge {
    Judge(const Place& a1, const Place& a2, const Place& b1, const Place& b2)
    {
        const Place a{a2.x - a1.x, a2.y - a1.y};
        const Place b{b2.x - b1.x, b2.y - b1.y};
        const Place between{b1.x - a1.x, b1.y - a1.y};
        const qint64 determinant = cross(a, b);
        if (determinant == 0)
            return;
        const auto isShare = [determinant](qint64 numerator) {
            return determinant > 0 ? numerator >= 0 && numerator <= determinant
                                   : numerator <= 0 && numerator >= determinant;
        };
        meets = isShare(cross(between, b)) && isShare(cross(between, a));
        const double share = double(cross(between, b)) / double(determinant);
        point = {double(a1.x) + share * double(a.x), double(a1.y) + share * double(a.y)};
    }
    bool meets = false;
    QPointF point;
};

QPointF real(const Place& place)
{
    return {double(place.x), double(place.y)};
}

}  // namespace

class SegmentsIntersectionTest : public QObject {
    Q_OBJECT

private slots:
    void meets_data();
    void meets();
    void doesNotMeet_data();
    void doesNotMeet();
    void tooSteepSlopesPassAsMeeting_data();
    void tooSteepSlopesPassAsMeeting();
    void agreesWithWholeNumbers();
};

static void addSegments()
{
    QTest::addColumn<QPointF>("a1");
    QTest::addColumn<QPointF>("a2");
    QTest::addColumn<QPointF>("b1");
    QTest::addColumn<QPointF>("b2");
}

void SegmentsIntersectionTest::meets_data()
{
    addSegments();
    QTest::addColumn<QPointF>("point");
    using P = QPointF;
    const auto row = [](const char* name, P a1, P a2, P b1, P b2, P point) {
        QTest::newRow(name) << a1 << a2 << b1 << b2 << point;
    };
    row("the diagonals of a square", P(0, 0), P(2, 2), P(0, 2), P(2, 0), P(1, 1));
    row("touching at an end", P(0, 0), P(1, 0), P(1, 0), P(1, 5), P(1, 0));
    row("level against upright", P(0, 1), P(4, 1), P(3, 0), P(3, 2), P(3, 1));
    row("upright against level", P(3, 0), P(3, 2), P(0, 1), P(4, 1), P(3, 1));
    row("level against slanting", P(0, 1), P(4, 1), P(0, 0), P(4, 4), P(1, 1));
    row("slanting against level", P(0, 0), P(4, 4), P(0, 1), P(4, 1), P(1, 1));
    row("upright against slanting", P(3, 0), P(3, 9), P(0, 1), P(4, 5), P(3, 4));
    row("slanting against upright", P(0, 1), P(4, 5), P(3, 0), P(3, 9), P(3, 4));
    row("two slanting ones", P(0, 0), P(4, 8), P(0, 3), P(6, 0), P(1.2, 2.4));
    row("given backwards", P(2, 2), P(0, 0), P(2, 0), P(0, 2), P(1, 1));
    row("touching in a corner", P(0, 0), P(2, 2), P(2, 2), P(5, 0), P(2, 2));
    row("a point on a level segment", P(1, 1), P(1, 1), P(0, 1), P(2, 1), P(1, 1));
    row("a slanting segment through a point", P(0, 0), P(2, 2), P(1, 1), P(1, 1), P(1, 1));
    row("an end a little off, within 1e-6", P(0, 0), P(1 - 4e-7, 0), P(1, -1), P(1, 1), P(1, 0));
}

void SegmentsIntersectionTest::meets()
{
    QFETCH(QPointF, a1);
    QFETCH(QPointF, a2);
    QFETCH(QPointF, b1);
    QFETCH(QPointF, b2);
    QFETCH(QPointF, point);
    QPointF found(-77, -77);
    QVERIFY(orn::SegmentsIntersection(a1, a2, b1, b2, found));
    QVERIFY2(std::hypot(found.x() - point.x(), found.y() - point.y()) <= 1e-12,
             qPrintable(QStringLiteral("%1 %2").arg(found.x()).arg(found.y())));
}

void SegmentsIntersectionTest::doesNotMeet_data()
{
    addSegments();
    using P = QPointF;
    const auto row = [](const char* name, P a1, P a2, P b1, P b2) { QTest::newRow(name) << a1 << a2 << b1 << b2; };
    row("the lines meet off the first", P(0, 0), P(1, 0), P(2, -1), P(2, 1));
    row("the lines meet off the second", P(2, -1), P(2, 1), P(0, 0), P(1, 0));
    row("parallel ones", P(0, 0), P(2, 2), P(0, 1), P(2, 3));
    row("on one line, overlapping", P(0, 0), P(2, 2), P(1, 1), P(3, 3));
    row("on one line, touching", P(0, 0), P(2, 2), P(2, 2), P(3, 3));
    row("the same one twice", P(0, 0), P(2, 1), P(0, 0), P(2, 1));
    row("two level ones", P(0, 0), P(2, 0), P(1, 0), P(3, 0));
    row("two upright ones", P(0, 0), P(0, 2), P(1, 0), P(1, 2));
    row("two upright ones that overlap", P(0, 0), P(0, 2), P(0, 1), P(0, 3));
    row("a point and itself count as upright", P(1, 1), P(1, 1), P(1, 1), P(1, 1));
    row("a point on an upright segment counts as parallel", P(1, 1), P(1, 1), P(1, 0), P(1, 2));
    row("a point beside a level segment", P(1, 1.5), P(1, 1.5), P(0, 1), P(2, 1));
    row("an end off by more than 1e-6", P(0, 0), P(1 - 1e-6, 0), P(1, -1), P(1, 1));
}

void SegmentsIntersectionTest::doesNotMeet()
{
    QFETCH(QPointF, a1);
    QFETCH(QPointF, a2);
    QFETCH(QPointF, b1);
    QFETCH(QPointF, b2);
    QPointF untouched(-77, -77);
    QVERIFY(!orn::SegmentsIntersection(a1, a2, b1, b2, untouched));
    QVERIFY(untouched.x() == -77 && untouched.y() == -77);
}

void SegmentsIntersectionTest::tooSteepSlopesPassAsMeeting_data()
{
    addSegments();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    using P = QPointF;
    const auto row = [](const char* name, P a1, P a2, P b1, P b2) { QTest::newRow(name) << a1 << a2 << b1 << b2; };
    row("a slope past all numbers, far from the other", P(0, 0), P(1e-320, 1), P(5, 5), P(6, 7));
    row("coordinates that are no numbers", P(nan, 0), P(1, 1), P(5, 5), P(6, 7));
}

void SegmentsIntersectionTest::tooSteepSlopesPassAsMeeting()
{
    QFETCH(QPointF, a1);
    QFETCH(QPointF, a2);
    QFETCH(QPointF, b1);
    QFETCH(QPointF, b2);
    QPointF found;
    QVERIFY(orn::SegmentsIntersection(a1, a2, b1, b2, found));
    QVERIFY(std::isnan(found.x()) || std::isnan(found.y()));
}

void SegmentsIntersectionTest::agreesWithWholeNumbers()
{
    std::mt19937 random(1);
    const auto place = [&random] { return Place{qint64(random() % 17) - 8, qint64(random() % 17) - 8}; };
    int meeting = 0;
    constexpr int cases = 100000;
    for (int i = 0; i < cases; ++i) {
        const Place a1 = place();
        const Place a2 = place();
        const Place b1 = place();
        const Place b2 = place();
        if ((a1.x == a2.x && a1.y == a2.y) || (b1.x == b2.x && b1.y == b2.y))
            continue;
        const Judge judge(a1, a2, b1, b2);
        QPointF found(-77, -77);
        const bool meets = orn::SegmentsIntersection(real(a1), real(a2), real(b1), real(b2), found);
        const QString segments = QStringLiteral("(%1,%2)-(%3,%4) (%5,%6)-(%7,%8)")
                                     .arg(a1.x)
                                     .arg(a1.y)
                                     .arg(a2.x)
                                     .arg(a2.y)
                                     .arg(b1.x)
                                     .arg(b1.y)
                                     .arg(b2.x)
                                     .arg(b2.y);
        QVERIFY2(meets == judge.meets, qPrintable(segments));
        if (meets)
            QVERIFY2(std::hypot(found.x() - judge.point.x(), found.y() - judge.point.y()) < 1e-9, qPrintable(segments));
        meeting += meets;
    }
    QVERIFY(meeting > cases / 10);
}

QTEST_GUILESS_MAIN(SegmentsIntersectionTest)
#include "SegmentsIntersectionTest.moc"

#include <orn/SegmentsIntersection.h>

#include <orn/PointsDistance.h>

#include <cmath>
#include <limits>

namespace orn {

namespace {

/** The slope that stands for an upright line. */
constexpr double upright = std::numeric_limits<double>::max();

double slope(const QPointF& from, const QPointF& to)
{
    if (to.x() == from.x())
        return upright;
    if (to.y() == from.y())
        return 0.0;
    return (to.y() - from.y()) / (to.x() - from.x());
}

/** The point of two lines of different slopes, each given by a point and its slope. The cases go from the exact ones to
 * the general one, so that level and upright segments lose no digit. */
QPointF meetingPoint(const QPointF& a, double slopeA, const QPointF& b, double slopeB)
{
    if (slopeA == 0.0 && slopeB == upright)
        return {b.x(), a.y()};
    if (slopeB == 0.0 && slopeA == upright)
        return {a.x(), b.y()};
    if (slopeA == 0.0)
        return {(a.y() - b.y() + b.x() * slopeB) / slopeB, a.y()};
    if (slopeB == 0.0)
        return {(b.y() - a.y() + a.x() * slopeA) / slopeA, b.y()};
    if (slopeA == upright)
        return {a.x(), a.x() * slopeB + b.y() - b.x() * slopeB};
    if (slopeB == upright)
        return {b.x(), b.x() * slopeA + a.y() - a.x() * slopeA};
    const double x = (b.y() - b.x() * slopeB - a.y() + a.x() * slopeA) / (slopeA - slopeB);
    return {x, x * slopeA + a.y() - a.x() * slopeA};
}

/** True when @p point, which lies on the line through the ends, does not lie between them. A NaN is off nothing. */
bool isOff(const QPointF& point, const QPointF& first, const QPointF& second)
{
    constexpr double tolerance = 1e-6;
    const double detour = PointsDistance(point, second) + PointsDistance(point, first) - PointsDistance(first, second);
    return std::fabs(detour) > tolerance;
}

}  // namespace

bool SegmentsIntersection(const QPointF& a1, const QPointF& a2, const QPointF& b1, const QPointF& b2,
                          QPointF& intersection)
{
    const double slopeA = slope(a1, a2);
    const double slopeB = slope(b1, b2);
    if (slopeA == slopeB)
        return false;
    const QPointF point = meetingPoint(a1, slopeA, b1, slopeB);
    if (isOff(point, a1, a2) || isOff(point, b1, b2))
        return false;
    intersection = point;
    return true;
}

}  // namespace orn

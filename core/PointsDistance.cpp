#include <orn/PointsDistance.h>

#include <cmath>

namespace orn {

double PointsDistance(const QPointF& a, const QPointF& b)
{
    const double dy = b.y() - a.y();
    const double dx = b.x() - a.x();
    return std::sqrt(dy * dy + dx * dx);
}

}  // namespace orn

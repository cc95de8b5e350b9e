/**
 * @file
 * The distance of two points.
 */
#pragma once

#include <orn/Export.h>

#include <QPointF>

namespace orn {

/** The Euclidean distance of @p a and @p b: the root of the sum of the squares, which is infinite where a square is. */
ORN_EXPORT double PointsDistance(const QPointF& a, const QPointF& b);

}  // namespace orn

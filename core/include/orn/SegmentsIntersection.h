/**
 * @file
 * Where two line segments meet.
 */
#pragma once

#include <orn/Export.h>

#include <QPointF>

namespace orn {

/**
 * True when the segment from @p a1 to @p a2 and the one from @p b1 to @p b2 meet in one point, which is then written to
 * @p intersection; else false, with @p intersection left alone.
 * @verbatim
 *     b1                            a1 ----------- a2
 *       \                                 b1 ----------- b2
 *   a1 --X-- a2      true                                     false: parallel ones never meet, not even those
 *         \                                                   that lie on one line and overlap
 *          b2
 * @endverbatim
 * Ends belong to their segment. The point where the lines meet counts as on a segment when its distances to both ends
 * add up to the segment's length within 1e-6 in the units of the coordinates, however long the segment is.
 * A segment whose ends coincide is taken as an upright one.
 *
 * The lines are computed by their slopes. A slope that is too steep for a number makes coordinates that are none, and
 * those pass for a meeting point: check them where segments can be that steep.
 */
ORN_EXPORT bool SegmentsIntersection(const QPointF& a1, const QPointF& a2, const QPointF& b1, const QPointF& b2,
                                     QPointF& intersection);

}  // namespace orn

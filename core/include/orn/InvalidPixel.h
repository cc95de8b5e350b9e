/**
 * @file
 * What a repair changed.
 */
#pragma once

#include <QVector>
#include <QtGlobal>

namespace orn {

/**
 * One repaired pixel. A plain value that starts zeroed by `{}`; slots of channels that were not repaired hold 0.
 *
 * Samples are unsigned here, whatever the sign of the image's type.
 */
struct InvalidPixel {
    qint32 x;             ///< column
    qint32 y;             ///< row
    qint32 oldValues[4];  ///< samples before the repair, one slot per channel
    qint32 newValues[4];  ///< samples written, in the same slots
};

}  // namespace orn

Q_DECLARE_TYPEINFO(orn::InvalidPixel, Q_PRIMITIVE_TYPE);

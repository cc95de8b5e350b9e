/**
 * @file
 * The XML elements of a CxMatlabImageMetadata.
 */
#pragma once

#include <QString>

namespace orn {
namespace matlab {
namespace tags {

inline QString reverseRows()
{
    return QStringLiteral("reverse_rows");
}

inline QString origChannels()
{
    return QStringLiteral("orig_channels");
}

inline QString savedChannels()
{
    return QStringLiteral("saved_channels");
}

}  // namespace tags
}  // namespace matlab
}  // namespace orn

/**
 * @file
 * What OpenImageIO does not check of the headers of JPEG 2000 files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/** Why OpenImageIO must not see the JPEG 2000 file @p path, in a container or without: more tiles than it can have, for
 * each of which the reader takes kilobytes, or channels that have fewer samples than the image, of which it takes the
 * rest from elsewhere. Empty when it may. */
QString jpeg2000Flaw(const QString& path);

}  // namespace oiio
}  // namespace ep

/**
 * @file
 * What OpenImageIO does not check of the headers of WebP files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/** Why OpenImageIO must not see the WebP file @p path: a first frame that does not cover the picture, the rest of which
 * it takes from memory that nobody wrote. Empty when it may. */
QString webpFlaw(const QString& path);

}  // namespace oiio
}  // namespace ep

/**
 * @file
 * What OpenImageIO does not check of the metadata of JPEG files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/** Why OpenImageIO must not see the JPEG file @p path: a size in its metadata, which it believes and reads on behind
 * the end. Empty when it may. */
QString jpegFlaw(const QString& path);

}  // namespace oiio
}  // namespace ep

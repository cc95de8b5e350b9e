/**
 * @file
 * What libheif does not check of the headers of HEIF files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/** Why libheif must not see the HEIF file @p path: pictures that are made of themselves, or of very many others, which
 * it would follow until the stack is used up. Empty when it may. */
QString heifFlaw(const QString& path);

}  // namespace oiio
}  // namespace ep

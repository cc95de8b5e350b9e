/**
 * @file
 * What OpenImageIO does not tell, or not check, of the headers of files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

struct OiioFormat;

/** Why OpenImageIO must not see the file @p path: a size in its header that it would believe, or not check. Empty when
 * it may. */
QString headerFlaw(const OiioFormat& format, const QString& path);

/** Bits per grey sample as the header of the PNG file @p path says; 0 when it is no grey image. */
int pngGrayBits(const QString& path);

}  // namespace oiio
}  // namespace ep

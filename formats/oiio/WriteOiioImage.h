/**
 * @file
 * Writing samples through OpenImageIO.
 */
#pragma once

#include <ep/SxFileError.h>
#include <ep/SxImageBuf.h>

#include <OpenImageIO/imageio.h>

namespace ep {
namespace oiio {

struct OiioFormat;

/**
 * Writes @p image, packed or planar, into the file @p path with the attributes of @p attributes, colours red first.
 * Refuses what would be written in another sample type. The reason of a failure, else none.
 */
SxFileError writeOiioImage(const QString& path, const OiioFormat& format, const SxImageBuf& image,
                           const OIIO::ImageSpec& attributes);

}  // namespace oiio
}  // namespace ep

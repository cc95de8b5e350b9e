/**
 * @file
 * The samples of an image that OpenImageIO reads.
 */
#pragma once

#include <ep/CxScopedBuffer.h>
#include <ep/SxFileError.h>

#include <OpenImageIO/imageio.h>

namespace ep {
namespace oiio {

struct OiioFormat;

/**
 * Reads the subimage at which @p input stands into @p image, as the numbers that are in the file @p path. Its size is
 * checked against @p memoryLimit and the length of the file before memory is taken. The reason of a failure, else none.
 */
SxFileError readOiioSamples(OIIO::ImageInput& input, const OiioFormat& format, const QString& path, qint64 memoryLimit,
                            CxScopedBuffer& image);

}  // namespace oiio
}  // namespace ep

/**
 * @file
 * How many bits the samples of an image really use.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Writes to @p bitDepth the bit width of the largest sample of @p image, at least 1 (an all-zero image has depth 1).
 * Serves unsigned 8-, 16- and 32-bit images, packed and planar; padding is not looked at.
 *
 * @p bitDepth may be the image's own field.
 *
 * @return ExStatus; any other sample type, an empty image or an unknown layout is a failure that leaves
 *         @p bitDepth alone.
 */
EP_EXPORT unsigned int DetectColorBitDepth(const SxImageBuf& image, qint32& bitDepth);

}  // namespace ep

/**
 * @file
 * Bit-for-bit comparison of two images.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * True when both images have the same width, height, channels and sample type and every sample has the same bits,
 * whatever their layouts and strides. NaNs of the same bits are equal, 0.0 and -0.0 are not. Two empty images
 * are the same; an empty and a filled one are not.
 */
EP_EXPORT bool SameSamples(const SxImageBuf& a, const SxImageBuf& b);

}  // namespace ep

/**
 * @file
 * Where two images differ.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxScopedBuffer.h>
#include <ep/SxImageBuf.h>

namespace orn {

/**
 * Draws |a - b| into a new 8-bit image of one channel: of every pixel the largest difference over the channels, scaled
 * so that the largest one of the picture is white.
 * @verbatim
 *   |a - b|     0       tiny ...       largest       infinite
 *   drawn       0       1 ...          255           255
 * @endverbatim
 * So a pixel is black exactly where the images are equal. Samples are compared as CompareChannel() does: by value, in
 * any types and layouts; infinitely far samples (a NaN and a number) are white and leave the scale alone.
 *
 * Thread-safe for images that nobody writes to.
 *
 * @param picture  gets the picture; what it held before is released. Left alone on failure
 * @return an ep::ExStatus: fails on an empty image, images of another width, height or number of channels, samples that
 * are no numbers, and no memory
 */
ORN_EXPORT unsigned int DifferencePicture(const ep::SxImageBuf& a, const ep::SxImageBuf& b,
                                          ep::CxScopedBuffer& picture);

}  // namespace orn

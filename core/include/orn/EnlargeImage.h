/**
 * @file
 * Making pixels large enough to be seen.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxScopedBuffer.h>
#include <ep/SxImageBuf.h>

namespace orn {

/**
 * Draws every pixel of @p image as a square of @p factor x @p factor pixels, in a new image of the same layout.
 *
 * @param enlarged  gets the new image; what it held before is released. Left alone on failure
 * @return an ep::ExStatus: fails on an empty image, a factor below 1, a size that no record can say, and no memory
 */
ORN_EXPORT unsigned int EnlargeImage(const ep::SxImageBuf& image, int factor, ep::CxScopedBuffer& enlarged);

}  // namespace orn

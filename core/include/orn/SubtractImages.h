/**
 * @file
 * The signed difference of two images.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxScopedBuffer.h>
#include <ep/SxImageBuf.h>

namespace orn {

/**
 * Makes the planar image of doubles a - b, sample by sample, as SplitToPlusMinus() takes it.
 *
 * The images may have any sample types that are numbers, and layouts and strides of their own; channels are paired as
 * they are stored. Samples are read exactly, also 64-bit integers; a difference that a double cannot hold is rounded.
 * The difference has the colour-filter grid and the order of channels of @p a, and a bitDepth of 64.
 *
 * Thread-safe for images that nobody writes to.
 *
 * @param difference  gets the difference; what it held before is released. Left alone on failure
 * @return an ep::ExStatus: ep::StatusInvalidArgument for an empty image; ep::StatusGeometryMismatch for images of
 * another width, height or number of channels; ep::StatusUnsupportedLayout; ep::StatusUnsupportedType for samples that
 * are no numbers; also fails without memory
 */
ORN_EXPORT unsigned int SubtractImages(const ep::SxImageBuf& a, const ep::SxImageBuf& b,
                                       ep::CxScopedBuffer& difference);

}  // namespace orn

/**
 * @file
 * Deep copies of images.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Allocates @p destination like @p source and copies description and samples. The copy has the source's
 * stride and, where the source was made with allocator functions of its own, is made with the same ones.
 * Memory that @p destination held before is not released.
 *
 * @return ExStatus; on failure @p destination is empty. Fails on an empty source and wherever AllocBuffer() does.
 */
EP_EXPORT unsigned int AllocAndCopyBuffer(const SxImageBuf& source, SxImageBuf& destination);

}  // namespace ep

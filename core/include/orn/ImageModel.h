/**
 * @file
 * Sizes of images, as orn_core computes them.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

namespace orn {

/** Bytes of one sample of type @p type; 0 for none and for unknown codes. */
ORN_EXPORT qint32 bytesPerSample(ep::ExImageDataType type);

/** Bytes of the storage of @p image: stride x height, times channels when the layout is not packed. No field is
 * checked. */
ORN_EXPORT qint64 imageByteSize(const ep::SxImageInfo& image);

}  // namespace orn

/**
 * @file
 * Storage for an image that is read from a MAT file.
 */
#pragma once

#include "MatDirectory.h"

#include <ep/CxScopedBuffer.h>

namespace orn {
namespace matlab {

/**
 * Gives @p image the size of the matrix @p first and the sample type @p type, with the channels and the layout that it
 * has already, and tight rows. False, with @p error set, past the @p limit of bytes or where it has no samples.
 */
bool describeImage(const MatEntry& first, ep::ExImageDataType type, qint64 limit, ep::SxImageInfo& image,
                   ep::SxFileError& error);

/** Gives @p image the storage that its description asks for. */
bool allocateImage(ep::CxScopedBuffer& image, ep::SxFileError& error);

}  // namespace matlab
}  // namespace orn

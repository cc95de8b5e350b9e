/**
 * @file
 * The samples of one page of a TIFF file.
 */
#pragma once

#include "TiffPage.h"

#include <ep/CxScopedBuffer.h>

namespace ep {
namespace tiff {

/**
 * Decodes the current directory of @p file, which @p page describes and whose size was checked, into @p image, which
 * must be empty. False, with @p image empty and the reason in @p error, unless every sample was read: an image is never
 * handed out with samples that the file does not hold.
 */
bool readTiffSamples(TiffFile& file, const TiffPage& page, qint64 memoryLimit, CxScopedBuffer& image,
                     SxFileError& error);

}  // namespace tiff
}  // namespace ep

/**
 * @file
 * The metadata of one page of a TIFF file.
 */
#pragma once

#include "TiffPage.h"

#include <ep/CxMetadata.h>

namespace ep {
namespace tiff {

/**
 * The metadata of the current directory of @p file, which @p page describes. A description that CxTiffImageSaver wrote
 * gives every item back; what it leaves open is taken from the tags of TIFF, of Exif and of colour-filter arrays. There
 * is always a common item. Damaged tags are passed over.
 *
 * Afterwards the current directory of @p file may be another one.
 */
CxMetadata readTiffMetadata(TiffFile& file, const TiffPage& page);

}  // namespace tiff
}  // namespace ep

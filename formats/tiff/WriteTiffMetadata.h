/**
 * @file
 * Metadata as tags of a TIFF file.
 */
#pragma once

#include "TiffFile.h"

#include <ep/CxCommonImageMetadata.h>

namespace ep {
namespace tiff {

/**
 * Writes what Exif knows of @p common as a directory of its own and gives its place for TIFFTAG_EXIFIFD in @p offset; 0
 * when there is nothing to say. Call it on a new file, before anything is set: the page's directory is an empty one
 * afterwards. False when libtiff could not write it.
 */
bool writeExifDirectory(TiffFile& file, const CxCommonImageMetadata& common, quint64& offset);

/** Sets the tags of the page that say what @p common knows: make, model, time, orientation and the attributes that are
 * TIFF tags. False when libtiff took one of them amiss. */
bool setCommonTags(TiffFile& file, const CxCommonImageMetadata& common);

}  // namespace tiff
}  // namespace ep

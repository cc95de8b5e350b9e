/**
 * @file
 * The tags of a DNG file.
 */
#pragma once

#include "DngMosaic.h"
#include "TiffFile.h"

namespace ep {
namespace tiff {

/**
 * Sets every tag of a new DNG file but those of the storage of the samples: the colour-filter cell, levels, colours,
 * how the picture was taken (Exif's in a directory of their own) and the packet that holds the metadata whole. False
 * when libtiff took one of them amiss.
 */
bool writeDngTags(TiffFile& file, const DngMosaic& mosaic);

}  // namespace tiff
}  // namespace ep

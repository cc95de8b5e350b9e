/**
 * @file
 * The samples of a DNG file.
 */
#pragma once

#include "DngMosaic.h"
#include "TiffFile.h"

namespace ep {
namespace tiff {

/** Sets the tags of the storage and writes the samples. False when libtiff could not write them, or memory is short. */
bool writeDngSamples(TiffFile& file, const DngMosaic& mosaic);

}  // namespace tiff
}  // namespace ep

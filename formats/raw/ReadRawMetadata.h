/**
 * @file
 * The metadata of a RAW file.
 */
#pragma once

#include "RawCell.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/SxImageBuf.h>

#include <memory>

namespace ep {
namespace raw {

class RawFile;

/** What is commonly known of the mosaic @p image of @p cell that was read from an open file. */
std::unique_ptr<CxCommonImageMetadata> readRawMetadata(const RawFile& file, const RawCell& cell,
                                                       const SxImageInfo& image);

}  // namespace raw
}  // namespace ep

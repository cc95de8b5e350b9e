/**
 * @file
 * The samples of a RAW file.
 */
#pragma once

#include "RawCell.h"

#include <ep/CxScopedBuffer.h>
#include <ep/SxFileError.h>

namespace ep {
namespace raw {

class RawFile;

/** Copies the visible area of an open file into @p image, a mosaic of @p cell with its true depth. False, with the
 * reason in @p error, when there is not enough memory. */
bool readRawSamples(const RawFile& file, const RawCell& cell, CxScopedBuffer& image, SxFileError& error);

}  // namespace raw
}  // namespace ep

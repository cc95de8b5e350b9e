/**
 * @file
 * The samples of a portable map, from its file.
 */
#pragma once

#include "PnmHeader.h"

#include <ep/SxImageBuf.h>

namespace ep {
namespace pnm {

class PnmScanner;

/**
 * True when the rest of the file is long enough for the raster of @p header and its image takes at most @p memoryLimit
 * bytes; else false with the reason in @p error. Ask it before memory is taken.
 */
bool checkRasterSize(const PnmScanner& scanner, const PnmHeader& header, qint64 memoryLimit, SxFileError& error);

/**
 * Reads every sample into @p image, a packed image with the sizes and the sample type of @p header. Samples are not
 * scaled. False, with the reason in @p error, when samples are missing, are no numbers or pass the announced maximum.
 */
bool readRaster(PnmScanner& scanner, const PnmHeader& header, SxImageBuf& image, SxFileError& error);

}  // namespace pnm
}  // namespace ep

/**
 * @file
 * How an image goes into a portable map.
 */
#pragma once

#include "PnmHeader.h"

#include <ep/SxImageBuf.h>

#include <QString>

namespace ep {
namespace pnm {

/**
 * Chooses the kind and the largest sample for @p image in a file of suffix @p suffix, so that reading the file brings
 * back every sample in the image's own type. A suffix that names no kind takes the first that fits of graymap, pixmap,
 * float map and arbitrary map. The tuple type and the comments are left empty.
 *
 * The largest sample is 2^bitDepth - 1. It becomes that of the sample type when the image holds a larger one, and at
 * least 511 for 16-bit samples, which would else be read as 8-bit ones.
 *
 * False, with the reason in @p error, when no such file can hold the image.
 */
bool choosePnmHeader(const SxImageBuf& image, const QString& suffix, bool ascii, PnmHeader& header, SxFileError& error);

}  // namespace pnm
}  // namespace ep

/**
 * @file
 * The compressed tiles of the image in a FITS file.
 */
#pragma once

#include "FitsFile.h"
#include "FitsImage.h"

namespace ep {
namespace fits {

/**
 * True when cfitsio can decode the tiles of @p source, whose table is the current unit of @p file; else false with the
 * reason in @p error. cfitsio asks for memory without end when a deflated tile ends too early, reads past the end of a
 * Rice-coded one, and writes past its buffer when a plain one is too long: so what it will decode is looked at first,
 * and deflated tiles are inflated twice.
 */
bool checkFitsTiles(const FitsFile& file, const FitsImage& source, SxFileError& error);

}  // namespace fits
}  // namespace ep

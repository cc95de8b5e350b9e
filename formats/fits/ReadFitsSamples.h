/**
 * @file
 * The samples of the image in a FITS file.
 */
#pragma once

#include "FitsImage.h"

#include <ep/CxScopedBuffer.h>

#include <QFile>

namespace ep {
namespace fits {

/**
 * Reads the samples of @p source, which findFitsImage() found in @p file, into @p image, top row first. False, with the
 * reason in @p error, unless every sample was read.
 */
bool readFitsSamples(const QFile& file, const FitsImage& source, CxScopedBuffer& image, SxFileError& error);

}  // namespace fits
}  // namespace ep

/**
 * @file
 * The tags of a DNG file that TIFF does not know.
 */
#pragma once

#include "TiffPage.h"

#include <ep/CxMetadata.h>

#include <QByteArray>
#include <QRect>

namespace ep {
namespace tiff {

/** False, with the reason in @p error, when the current directory holds no plain mosaic of the sensor's own samples. */
bool isPlainMosaic(const TiffFile& file, const TiffPage& page, SxFileError& error);

/** The part of the mosaic of the current directory that belongs to the picture. */
QRect readActiveArea(const TiffFile& file, const TiffPage& page);

/** The XMP packet of the current directory; empty when there is none. */
QByteArray readXmp(const TiffFile& file);

/**
 * As readTiffMetadata(), with the levels and colours that DNG's own tags tell of a mosaic. Afterwards the current
 * directory of @p file may be another one.
 */
CxMetadata readDngMetadata(TiffFile& file, const TiffPage& page);

}  // namespace tiff
}  // namespace ep

/**
 * @file
 * Colour-filter patterns in the header of a FITS file.
 */
#pragma once

#include "FitsImage.h"

#include <QString>

namespace ep {
namespace fits {

/**
 * Puts the mosaic that the header of @p source tells into @p image, the one-channel image of that file, and its colours
 * into @p colors. False when it tells none that is understood.
 *
 * BAYERPAT names the colours of a cell row by row (4 letters, or 36 for 6 x 6), and XBAYROFF and YBAYROFF where in the
 * cell the image begins. Where ROWORDER is stated, the rows count from the top of the upright image. Where it is not,
 * they count in the order of the file: capture programs that know no ROWORDER write the sensor's first row first.
 */
bool readFitsMosaic(const FitsImage& source, SxImageInfo& image, QString& colors);

/** The letters of the cell of @p image, in which @p colors are those that metadata tell; empty when they are not known.
 */
QByteArray patternOf(const SxImageInfo& image, const QString& colors);

}  // namespace fits
}  // namespace ep

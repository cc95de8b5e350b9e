/**
 * @file
 * The image in a FITS file.
 */
#pragma once

#include "FitsHeader.h"

#include <ep/SxImageBuf.h>

namespace ep {
namespace fits {

/** Where the image of a file stands, and what it becomes. */
struct FitsImage {
    int unit = 1;               ///< number of its header and data unit, from 1
    qint64 offset = 0;          ///< first byte of that unit in the file
    FitsHeader header;          ///< its header
    SxImageInfo info = {};      ///< the image record without storage, as if nothing were known of a mosaic
    qint32 bitpix = 0;          ///< FITS's code of the stored samples
    bool isCompressed = false;  ///< it stands in a table, as compressed tiles
    QVector<qint64> axes;       ///< lengths of the axes of the image
    QVector<qint64> tile;       ///< compressed: lengths of a tile along them
    qint64 stored = 0;          ///< bytes of data in the file
    double scale = 1;           ///< a sample is scale * stored number + zero
    double zero = 0;            ///< also when it only shifts unsigned integers
    bool isScaled = false;      ///< the samples are computed, as doubles
    bool isTopDown = false;     ///< the first row of the file is the top one
};

/**
 * Finds the first image of a file: the primary one, or the first extension that holds one. Everything that cfitsio will
 * meet on the way to its samples is checked, and its size against the size of the file and @p memoryLimit. False, with
 * the reason in @p error, when there is no image that is served.
 */
bool findFitsImage(QIODevice& device, qint64 memoryLimit, FitsImage& image, SxFileError& error);

}  // namespace fits
}  // namespace ep

/**
 * @file
 * What the format manager adds to what a loader hands out.
 */
#pragma once

#include <ep/SxFileError.h>

namespace ep {

class CxImageData;

/**
 * Makes the image of @p data complete, whatever format it came from:
 * - planes that are the cell positions of a grid 5 mosaic, as its common metadata tells, become that mosaic again;
 * - an image of one plane is called packed, which is the layout of mosaics;
 * - a mosaic of grids 0 to 3 gets its cell of 2 x 2;
 * - bitDepth is the depth that the file declared, else what the loader set, else that of the sample type;
 * - the common metadata item is there and knows the depth.
 *
 * @return the reason when there is no memory for that
 */
SxFileError completeLoadedImage(CxImageData& data);

}  // namespace ep

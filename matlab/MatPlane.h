/**
 * @file
 * From the data of a variable to a plane of an image.
 */
#pragma once

#include "MatDirectory.h"

#include <ep/SxImageBuf.h>

namespace orn {
namespace matlab {

/**
 * Copies the data of @p entry, taken as samples of @p image's type in columns of the image's height, into plane
 * @p plane of the allocated @p image. Where it ends early the rest of the plane becomes zero:
 * @verbatim
 *    variable, 2 x 2       as columns of height 3      plane, 3 x 3
 *       a c                     a d .                     a d 0
 *       b d                     b . .                     b 0 0
 *                               c . .                     c 0 0
 * @endverbatim
 * An uncompressed variable is read piece by piece, so that it is never in memory beside the image as a whole.
 * @param limit most bytes that a variable may take that has to be read whole
 */
bool readIntoPlane(MatDirectory& directory, MatEntry& entry, qint64 limit, ep::SxImageBuf& image, qint32 plane,
                   ep::SxFileError& error);

/**
 * As readIntoPlane(), from the data that @p variable holds, beginning with its element @p first.
 */
void copyIntoPlane(const matvar_t& variable, ep::SxImageBuf& image, qint32 plane, qint64 first = 0);

}  // namespace matlab
}  // namespace orn

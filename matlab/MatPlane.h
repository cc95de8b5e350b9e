/**
 * @file
 * From the data of a variable to a plane of an image.
 */
#pragma once

#include <ep/SxImageBuf.h>

#include <matio.h>

namespace orn {
namespace matlab {

/**
 * Copies the bytes that @p variable holds, taken as samples of @p image's type in columns of the image's height, into
 * plane @p plane of the allocated @p image. Where they end early the rest of the plane becomes zero:
 * @verbatim
 *    variable, 2 x 2       as columns of height 3      plane, 3 x 3
 *       a c                     a d .                     a d 0
 *       b d                     b . .                     b 0 0
 *                               c . .                     c 0 0
 * @endverbatim
 */
void copyIntoPlane(const matvar_t& variable, ep::SxImageBuf& image, qint32 plane);

}  // namespace matlab
}  // namespace orn

/**
 * @file
 * Turning an image upside down.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Reverses the order of the rows of @p image in place, in each plane of a planar image.
 * @verbatim
 *     a b c        g h i
 *     d e f   ->   d e f
 *     g h i        a b c
 * @endverbatim
 * Padding between rows is left alone. A mosaic keeps its bayerGrid field, although reversing an even number
 * of rows changes what its first row begins with: the field is the caller's.
 *
 * @return ExStatus; fails on an empty image, an unknown sample type or layout.
 */
EP_EXPORT unsigned int ReverseRowOrder(SxImageBuf& image);

}  // namespace ep

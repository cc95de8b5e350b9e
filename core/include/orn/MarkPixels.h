/**
 * @file
 * Showing where in a picture something is.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxScopedBuffer.h>
#include <ep/SxImageBuf.h>

#include <QPoint>
#include <QVector>

namespace orn {

/**
 * Draws @p picture, 8-bit grey or packed red, green and blue, in colours, with the pixels at @p pixels painted in
 * magenta. A ring around each, in proportion to the picture, shows the way to it where the picture is looked at as a
 * whole; pixels close to each other share one.
 * @verbatim
 *       o o o         o  ring, magenta between black lines
 *     o       o       #  pixel
 *     o   #   o
 *     o       o
 *       o o o
 * @endverbatim
 *
 * @param enlargement  edge of a pixel in samples of the picture, for a picture by EnlargeImage(); else 1
 * @param pixels  column and row in pixels of that size; those outside are passed over
 * @param marked  gets the new image of three channels; what it held before is released. Left alone on failure
 * @return an ep::ExStatus: fails on an empty picture, one of another kind, an enlargement below 1 or past the
 * picture's longer side, and no memory
 */
ORN_EXPORT unsigned int MarkPixels(const ep::SxImageBuf& picture, const QVector<QPoint>& pixels, int enlargement,
                                   ep::CxScopedBuffer& marked);

}  // namespace orn

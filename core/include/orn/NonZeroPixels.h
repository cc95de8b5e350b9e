/**
 * @file
 * Which pixels of an image are marked.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

#include <QPoint>
#include <QVector>

namespace orn {

/**
 * Lists the pixels of the one-channel image @p image, of 8-bit samples, that are not zero, row by row: the places that
 * a mask or a map of defective pixels marks.
 *
 * @param pixels  gets column and row of each; what it held before goes
 * @return an ep::ExStatus: fails on an empty image, several channels, other samples, and no memory
 */
ORN_EXPORT unsigned int NonZeroPixels(const ep::SxImageBuf& image, QVector<QPoint>& pixels);

}  // namespace orn

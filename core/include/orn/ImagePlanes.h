/**
 * @file
 * What the samples of an image have in common: a channel, or a colour of its mosaic.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

#include <QPoint>
#include <QVector>

namespace orn {

/**
 * The samples of one channel at every stepX-th column from left on and every stepY-th row from top on. Sample x, y of
 * the plane lies at left + x * stepX, top + y * stepY of the image.
 */
struct SxImagePlane {
    qint32 channel = 0;  ///< counted from 0
    qint32 left = 0;     ///< first column
    qint32 top = 0;      ///< first row
    qint32 stepX = 1;    ///< columns from one sample to the next
    qint32 stepY = 1;    ///< rows from one sample to the next

    /** Samples in a row of the plane of @p image; the last one may stand in a partial cell. */
    qint32 width(const ep::SxImageInfo& image) const { return count(image.width, left, stepX); }
    /** Rows of the plane of @p image. */
    qint32 height(const ep::SxImageInfo& image) const { return count(image.height, top, stepY); }
    /** True when the plane has a sample at column @p x, row @p y of the image. */
    bool covers(qint32 x, qint32 y) const { return x % stepX == left && y % stepY == top; }
    /** Where sample @p x, @p y of the plane lies in the image. */
    QPoint inImage(qint32 x, qint32 y) const { return {left + x * stepX, top + y * stepY}; }

private:
    static qint32 count(qint32 size, qint32 first, qint32 step)
    {
        return size > first ? (size - first - 1) / step + 1 : 0;
    }
};

/**
 * The planes of @p image, which together are all of its samples: its channels in stored order, or, of one channel under
 * a colour-filter grid, the places of the cell.
 * @verbatim
 *   grids 0 to 3      R, G1, B, G2       as ep::ConvertPackPixelToPlanar() orders them, but with partial cells
 *   grid 5            places row by row
 * @endverbatim
 * In an image smaller than its cell some planes have no sample.
 *
 * @return nothing for a description that is not sound, and for a cell of more than 1,024 samples
 */
ORN_EXPORT QVector<SxImagePlane> ImagePlanes(const ep::SxImageInfo& image);

}  // namespace orn

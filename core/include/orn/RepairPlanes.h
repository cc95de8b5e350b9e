/**
 * @file
 * Repairing an image plane by plane, as a person expects it.
 */
#pragma once

#include <orn/Export.h>
#include <orn/ImagePlanes.h>

#include <ep/SxImageBuf.h>

#include <QPoint>
#include <QVector>

#include <limits>

namespace orn {

/**
 * Levels of a plane that count as invalid: those up to low and those from high on, in the numbers that the samples are
 * (signed types have negative ones). A number below every level of the type switches its band off. The bands end where
 * they would cover more than their share of the plane's samples; see GetLevelsToRepair().
 */
struct SxInvalidLevels {
    static constexpr qint32 off = std::numeric_limits<qint32>::min();

    qint32 low = off;          ///< the highest level of the low band
    qint32 high = off;         ///< the lowest level of the high band
    double lowPercent = 100;   ///< share of the plane that the low band may cover
    double highPercent = 100;  ///< share of the plane that the high band may cover
};

/** What is to be repaired. */
struct SxRepairRequest {
    QVector<SxInvalidLevels> levels;  ///< one per plane, in their order; or one that serves all; or none
    QVector<QPoint> places;           ///< pixels that are invalid whatever their level, in all of their channels
};

/** One repaired sample, in coordinates of the image. */
struct SxRepairedSample {
    qint32 x;         ///< column
    qint32 y;         ///< row
    qint32 plane;     ///< index in ImagePlanes()
    qint32 oldValue;  ///< the number that the sample was
    qint32 newValue;  ///< the number that it became
};

/**
 * Repairs every plane (see ImagePlanes()) of @p image, of 8- or 16-bit samples, by itself with RepairImage(), so that a
 * red sample of a mosaic takes a red neighbour. Layout and everything else of the image stay.
 *
 * Places outside of the image are passed over. In a 16-bit plane that holds all 65,536 levels, places are told apart by
 * the rarest level of the other samples: these stay as they are, and are no source in this call.
 *
 * @param mask  one channel of 8-bit samples, of the image's size and per pixel in every layout: zero excludes a pixel
 * from being repaired and from being a source. Without data it admits everything
 * @param repaired  gets what was repaired, plane by plane; what it held before goes
 * @param planeWithoutSource  index of the first plane that has samples to repair and none to take, else -1
 * @return an ep::ExStatus; on failure the image is as it was. Fails on an empty image, samples that are not of 8 or 16
 * bits (StatusUnsupportedType), another number of levels, a mask that does not fit (StatusGeometryMismatch), a plane
 * without a source (StatusInvalidArgument), and no memory.
 */
ORN_EXPORT unsigned int RepairPlanes(ep::SxImageBuf& image, const ep::SxImageBuf& mask, const SxRepairRequest& request,
                                     QVector<SxRepairedSample>& repaired, qint32& planeWithoutSource);

}  // namespace orn

Q_DECLARE_TYPEINFO(orn::SxRepairedSample, Q_PRIMITIVE_TYPE);

/**
 * @file
 * The common metadata item of an image on its way from or to a file.
 */
#pragma once

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>
#include <ep/internal/MosaicCell.h>

namespace ep {
namespace internal {

/** The first common item of @p metadata; null when there is none. It belongs to @p metadata. */
inline CxCommonImageMetadata* findCommonItem(const CxMetadata& metadata)
{
    return qobject_cast<CxCommonImageMetadata*>(metadata.findItem(CxCommonImageMetadata::staticMetaObject));
}

/** The first common item of @p metadata, made when there is none. */
inline CxCommonImageMetadata& commonItem(CxMetadata& metadata)
{
    CxCommonImageMetadata* common = findCommonItem(metadata);
    if (!common) {
        common = new CxCommonImageMetadata;
        metadata.addMetadata(common);
    }
    return *common;
}

/** Writes how the samples of @p image are arranged into @p common. */
inline void tellArrangement(const SxImageInfo& image, CxCommonImageMetadata& common)
{
    common.bayerGrid = image.bayerGrid;
    common.layout = image.layout;
    common.patternWidth = image.patternWidth;
    common.patternHeight = image.patternHeight;
}

/** Takes the grid that @p common tells, which may come from any file, into @p image where that can have it. */
inline void takeGrid(const CxCommonImageMetadata& common, SxImageInfo& image)
{
    const bool isCell = common.bayerGrid == BayerGridCell;
    if (image.channels != 1 || !(isCell || isBayerGrid(common.bayerGrid)))
        return;
    constexpr qint32 bayerCell = 2;
    const qint32 width = isCell ? common.patternWidth : bayerCell;
    const qint32 height = isCell ? common.patternHeight : bayerCell;
    if (width < 1 || height < 1 || (isCell && (width > image.width || height > image.height)))
        return;
    image.bayerGrid = static_cast<ExBayerGrid>(common.bayerGrid);
    image.patternWidth = width;
    image.patternHeight = height;
}

}  // namespace internal
}  // namespace ep

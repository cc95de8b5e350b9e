/**
 * @file
 * The colour-filter cell of a mosaic, and how it looks from another corner.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

#include <QPoint>
#include <QSize>

namespace ep {

/** The size of the repeating cell of @p image; 1 x 1 when it is no mosaic. */
QSize mosaicCell(const SxImageInfo& image);

/** The grid code of a part of a mosaic of grid @p grid that begins at @p corner; other codes are given back. */
ExBayerGrid gridSeenFrom(ExBayerGrid grid, const QPoint& corner);

/**
 * Makes the common item of @p metadata, where there is one, say of the part of @p image that begins at @p corner what
 * it said of the whole: grid, colours of the cell, black levels by cell position and margins.
 */
void moveMosaicOrigin(CxMetadata& metadata, const SxImageInfo& image, const QPoint& corner);

}  // namespace ep

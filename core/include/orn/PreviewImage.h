/**
 * @file
 * An image as a person wants to see it.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxScopedBuffer.h>
#include <ep/SxImageBuf.h>

#include <QRect>

namespace orn {

/** What to show of an image. */
struct SxPreviewOptions {
    QRect region;                  ///< part of the image, in its own pixels; empty: all of it
    int channel = -1;              ///< one channel in grey; -1: colours where there are any
    double lowPercentile = 0.1;    ///< share of the samples, in percent, that may be drawn black
    double highPercentile = 99.9;  ///< share of the samples, in percent, above which they may be drawn white
};

/** How samples became grey levels. */
struct SxPreviewFacts {
    int reductionX = 1;           ///< columns of the image per column of the preview
    int reductionY = 1;           ///< rows of the image per row of the preview
    double black = 0;             ///< the level drawn black; of mosaics, above the black level
    double white = 0;             ///< the level drawn white
    bool scaled = false;          ///< the two levels come from the percentiles, not from the range of 8-bit samples
    bool whiteBalanced = false;   ///< the metadata's white balance was applied
    bool colorsOfScreen = false;  ///< the metadata's colour matrix was applied: colours are those of sRGB
    bool gammaApplied = false;    ///< samples are linear (mosaic or real numbers) and went through the sRGB curve
};

/**
 * Draws @p image into a new 8-bit image of one or three channels.
 *
 * A mosaic is reduced by the smallest block in which every colour occurs: a pixel of the preview holds, for each
 * colour, the mean of that colour's samples in the block, less the black level and times the white balance.
 * @verbatim
 *   R G | R G        one pixel per block:
 *   G B | G B        (R, (G + G) / 2, B)
 *   ----+----
 *   R G | R G
 *   G B | G B
 * @endverbatim
 * Where the metadata has both a white balance and a colour matrix, the camera's colours then become those of sRGB.
 * Blocks that are cut by the edge are left out; a region is widened to whole cells. A mosaic of unknown colours is
 * drawn in grey. Of other images with three or more channels the first three are red, green and blue.
 *
 * 8-bit unsigned images are drawn as they are, all others between two percentiles of their own values.
 *
 * Orientation is not applied: rows and columns stay where they are. Thread-safe for images that nobody writes to.
 *
 * @param common  metadata of the image; may be null
 * @param preview  gets the picture; what it held before is released. Left alone on failure
 * @return an ep::ExStatus: fails on an empty image, a region outside of it, a channel that it does not have, samples
 * that are no numbers, and no memory
 */
ORN_EXPORT unsigned int PreviewImage(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common,
                                     const SxPreviewOptions& options, ep::CxScopedBuffer& preview,
                                     SxPreviewFacts& facts);

}  // namespace orn

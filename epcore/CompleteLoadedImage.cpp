#include "CompleteLoadedImage.h"

#include <ep/ConvertPlanarRawToRaw.h>
#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/CheckedSize.h>

#include "CommonMetadataItem.h"
#include "SinglePlane.h"

#include <limits>
#include <utility>

namespace ep {

namespace {

using internal::CheckedSize;

/** True when @p image holds the cell positions of what was a mosaic of grid 5. */
bool isSplitMosaic(const SxImageInfo& image, const CxCommonImageMetadata& common)
{
    return image.layout == LayoutPlanar && image.channels > 1 && common.bayerGrid == BayerGridCell
           && common.layout == LayoutPacked && common.patternWidth > 0 && common.patternHeight > 0
           && qint64(common.patternWidth) * common.patternHeight == image.channels;
}

/** Puts the planes of @p image together by the cell that @p common gives; false when there is no memory. */
bool rebuildMosaic(CxScopedBuffer& image, const CxCommonImageMetadata& common)
{
    constexpr qint64 longest = std::numeric_limits<qint32>::max();
    const CheckedSize width = CheckedSize(image->width) * common.patternWidth;
    const CheckedSize height = CheckedSize(image->height) * common.patternHeight;
    if (!width.fits(longest) || !height.fits(longest))
        return false;
    CxScopedBuffer mosaic(image.image());
    mosaic->width = static_cast<qint32>(width.value());
    mosaic->height = static_cast<qint32>(height.value());
    mosaic->stride = 0;
    mosaic->channels = 1;
    mosaic->layout = LayoutPacked;
    mosaic->bayerGrid = BayerGridCell;
    mosaic->patternWidth = common.patternWidth;
    mosaic->patternHeight = common.patternHeight;
    if (failed(mosaic.allocate()) || failed(ConvertPlanarRawToRaw(image.image(), mosaic.image(), BayerGridCell)))
        return false;
    image = std::move(mosaic);
    return true;
}

void setCell(SxImageInfo& image)
{
    constexpr qint32 bayerCell = 2;
    if (image.channels != 1 || image.bayerGrid < BayerGridBGGR || image.bayerGrid > BayerGridGRBG)
        return;
    image.patternWidth = bayerCell;
    image.patternHeight = bayerCell;
}

/** The depth of @p image, given that the file declared @p declared bits. */
qint32 trueDepth(const SxImageInfo& image, qint32 declared)
{
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    // What a loader finds in the samples can be less than what the file declares, never more of what is true.
    if (!facts.isFloat && declared >= image.bitDepth && declared > 0 && declared <= facts.bits)
        return declared;
    return image.bitDepth > 0 ? image.bitDepth : facts.bits;
}

}  // namespace

SxFileError completeLoadedImage(CxImageData& data)
{
    CxScopedBuffer image;
    image.reset(data.takeImage());
    CxMetadata metadata = data.metadata();
    CxCommonImageMetadata& common = commonItem(metadata, image.image());
    if (isSplitMosaic(image.image(), common) && !rebuildMosaic(image, common))
        return {ExFileError::TooLarge, QStringLiteral("there is not enough memory for its mosaic")};
    if (relabelSinglePlane(image.image()))
        common.layout = image->layout;
    setCell(image.image());
    image->bitDepth = trueDepth(image.image(), common.colorBitDepth);
    if (common.colorBitDepth == 0)
        common.colorBitDepth = image->bitDepth;
    data.setMetadata(std::move(metadata));
    data.setImageShallow(image.take(), data.frame(), data.timestamp(), data.dateTime());
    return {};
}

}  // namespace ep

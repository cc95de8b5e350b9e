#include "MatRestoration.h"

#include "CriticalLog.h"
#include "MatMetadata.h"
#include "MatNames.h"

#include <orn/matlab/CxMatlabImageMetadata.h>

#include <ep/ConvertPlanarRawToRaw.h>
#include <ep/CxCommonImageMetadata.h>
#include <ep/CxScopedBuffer.h>
#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/ReverseRowOrder.h>
#include <ep/internal/UnionOfSamples.h>

#include <algorithm>
#include <limits>

namespace orn {
namespace matlab {

namespace {

void rebuildMosaic(qint32 grid, ep::SxImageBuf& image)
{
    ep::CxScopedBuffer mosaic;
    const bool isMade = describeMosaic(image, grid, mosaic.image()) && !ep::failed(mosaic.allocate())
                        && !ep::failed(ep::ConvertPlanarRawToRaw(image, mosaic.image(), mosaic->bayerGrid));
    if (!isMade) {
        logCritical(QStringLiteral("Failed to convert the image to RAW."));
        return;
    }
    ep::FreeBuffer(image);
    image = mosaic.take();
}

// The depth that the source declared counts where it is larger than what the samples show and fits their type.
void raiseBitDepth(qint32 declared, ep::SxImageBuf& image)
{
    const bool fits8 = image.dataType == ep::DataTypeUInt8 && declared >= 1 && declared <= 8;
    const bool fits16 = image.dataType == ep::DataTypeUInt16 && declared >= 9 && declared <= 16;
    if (fits8 || fits16)
        image.bitDepth = std::max(image.bitDepth, declared);
}

}  // namespace

bool describeMosaic(const ep::SxImageInfo& planes, qint32 grid, ep::SxImageInfo& mosaic)
{
    constexpr qint32 largestPlane = std::numeric_limits<qint32>::max() / 2;
    if (planes.width > largestPlane || planes.height > largestPlane)
        return false;
    mosaic = planes;
    mosaic.width *= 2;
    mosaic.height *= 2;
    mosaic.stride = 0;
    mosaic.channels = 1;
    mosaic.layout = ep::LayoutPacked;
    mosaic.bayerGrid = static_cast<ep::ExBayerGrid>(grid);
    return true;
}

MatRestoration::MatRestoration(const ep::CxMetadata& metadata)
{
    if (const auto* layout = findItem<CxMatlabImageMetadata>(metadata))
        reversesRows = layout->reverseRows;
    if (const auto* common = findItem<ep::CxCommonImageMetadata>(metadata)) {
        mergesPlanes = common->bayerGrid <= ep::BayerGridGRBG && common->layout == ep::LayoutPacked;
        grid = common->bayerGrid;
        colorBitDepth = common->colorBitDepth;
    }
}

bool MatRestoration::isMosaic(const ep::SxImageInfo& planes) const
{
    return mergesPlanes && planes.channels == colourPlanes && planes.layout == ep::LayoutPlanar;
}

void MatRestoration::mergeAndRaise(ep::SxImageBuf& image) const
{
    if (isMosaic(image))
        rebuildMosaic(grid, image);
    raiseBitDepth(colorBitDepth, image);
}

void MatRestoration::apply(ep::SxImageBuf& image) const
{
    if (image.dataType == ep::DataTypeUInt16)
        ep::DetectColorBitDepth(image, image.bitDepth);
    if (reversesRows)
        ep::ReverseRowOrder(image);
    mergeAndRaise(image);
}

void MatRestoration::finish(ep::SxImageBuf& image, quint16 bits) const
{
    if (image.dataType == ep::DataTypeUInt16)
        image.bitDepth = std::max(1, ep::internal::bitWidth(bits));
    mergeAndRaise(image);
}

}  // namespace matlab
}  // namespace orn

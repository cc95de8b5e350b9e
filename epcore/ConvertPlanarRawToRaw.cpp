#include <ep/ConvertPlanarRawToRaw.h>

#include <ep/ExStatus.h>
#include <ep/internal/CopyPlane.h>
#include <ep/internal/MosaicCell.h>

namespace ep {

namespace {

bool isMerge(const SxImageBuf& source, const internal::MosaicCell& cell, const SxImageBuf& destination)
{
    return source.dataType == destination.dataType && source.channels == cell.planes() && destination.channels == 1
           && destination.width == static_cast<qint64>(source.width) * cell.width
           && destination.height == static_cast<qint64>(source.height) * cell.height;
}

}  // namespace

unsigned int ConvertPlanarRawToRaw(const SxImageBuf& source, SxImageBuf& destination, ExBayerGrid grid)
{
    for (const SxImageBuf* image : {&source, static_cast<const SxImageBuf*>(&destination)}) {
        const ExStatus status = internal::checkImage(*image);
        if (failed(status))
            return status;
    }
    if (source.layout != LayoutPlanar)
        return StatusUnsupportedLayout;
    const internal::MosaicCell cell = internal::MosaicCell::of(destination, grid);
    if (!cell.isValid() || !(internal::isBayerGrid(grid) || grid == BayerGridCell))
        return StatusInvalidArgument;
    if (!isMerge(source, cell, destination))
        return StatusGeometryMismatch;

    const internal::PlaneView mosaic = internal::planeView(destination, 0);
    internal::copyPlanes(sampleFacts(source.dataType).bytes, source.channels, [&](qint32 plane) {
        return internal::PlanePair{internal::planeView(source, plane), cell.planeOf(mosaic, plane)};
    });
    return StatusOk;
}

}  // namespace ep

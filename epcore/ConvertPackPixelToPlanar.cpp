#include <ep/ConvertPackPixelToPlanar.h>

#include <ep/ExStatus.h>
#include <ep/internal/CopyPlane.h>
#include <ep/internal/MosaicCell.h>

namespace ep {

namespace {

bool sameGeometry(const SxImageBuf& source, const SxImageBuf& destination)
{
    return source.width == destination.width && source.height == destination.height
           && source.channels == destination.channels;
}

bool isSplit(const SxImageBuf& source, const internal::MosaicCell& cell, const SxImageBuf& destination)
{
    return cell.isValid() && destination.channels == cell.planes() && destination.width == source.width / cell.width
           && destination.height == source.height / cell.height;
}

}  // namespace

unsigned int ConvertPackPixelToPlanar(const SxImageBuf& source, SxImageBuf& destination)
{
    for (const SxImageBuf* image : {&source, static_cast<const SxImageBuf*>(&destination)}) {
        const ExStatus status = internal::checkImage(*image);
        if (failed(status))
            return status;
    }
    if (source.layout != LayoutPacked || destination.layout != LayoutPlanar)
        return StatusUnsupportedLayout;
    if (source.dataType != destination.dataType)
        return StatusGeometryMismatch;

    const internal::MosaicCell cell = internal::MosaicCell::ofPacked(source);
    const qint32 bytes = sampleFacts(source.dataType).bytes;
    if (sameGeometry(source, destination)) {
        internal::copyPlanes(bytes, source.channels, [&](qint32 channel) {
            return internal::PlanePair{internal::planeView(source, channel), internal::planeView(destination, channel)};
        });
        return StatusOk;
    }
    if (isSplit(source, cell, destination)) {
        const internal::ConstPlaneView mosaic = internal::planeView(source, 0);
        internal::copyPlanes(bytes, destination.channels, [&](qint32 plane) {
            return internal::PlanePair{cell.planeOf(mosaic, plane), internal::planeView(destination, plane)};
        });
        return StatusOk;
    }
    return StatusGeometryMismatch;
}

}  // namespace ep

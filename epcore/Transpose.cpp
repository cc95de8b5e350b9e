#include <ep/Transpose.h>

#include <ep/ExStatus.h>
#include <ep/internal/TransposePlane.h>

namespace ep {

namespace {

bool isTransposed(const SxImageBuf& source, const SxImageBuf& destination)
{
    return source.width == destination.height && source.height == destination.width
           && source.channels == destination.channels && source.dataType == destination.dataType
           && source.layout == destination.layout;
}

}  // namespace

unsigned int Transpose(const SxImageBuf& source, SxImageBuf& destination)
{
    for (const SxImageBuf* image : {&source, static_cast<const SxImageBuf*>(&destination)}) {
        const ExStatus status = internal::checkImage(*image);
        if (failed(status))
            return status;
    }
    if (!isTransposed(source, destination))
        return StatusGeometryMismatch;

    const qint32 bytes = sampleFacts(source.dataType).bytes;
    if (source.layout == LayoutPlanar) {
        for (qint32 channel = 0; channel < source.channels; ++channel)
            internal::transposePlane(bytes, internal::planeView(source, channel),
                                     internal::planeView(destination, channel));
    } else {
        internal::transposePlanes(
            bytes, source.channels, [&](qint32 channel) { return internal::planeView(source, channel); },
            [&](qint32 channel) { return internal::planeView(destination, channel); });
    }
    return StatusOk;
}

}  // namespace ep

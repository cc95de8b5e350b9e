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

    // A packed pixel is moved as one; pixels of sizes that no kernel has are moved channel by channel.
    const qint32 bytes = sampleFacts(source.dataType).bytes;
    const bool asPixels = source.layout == LayoutPacked && internal::canTranspose(bytes * source.channels);
    for (qint32 channel = 0; channel < (asPixels ? 1 : source.channels); ++channel)
        internal::transposePlane(asPixels ? bytes * source.channels : bytes, internal::planeView(source, channel),
                                 internal::planeView(destination, channel));
    return StatusOk;
}

}  // namespace ep

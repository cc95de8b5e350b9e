#include <ep/SetChannel.h>

#include <ep/ExStatus.h>
#include <ep/internal/ForEachSample.h>
#include <ep/internal/SampleVisitor.h>

namespace ep {

unsigned int SetChannel(SxImageBuf& image, int channel, quint64 value)
{
    const ExStatus status = internal::checkImage(image);
    if (failed(status))
        return status;
    if (channel < 0 || channel >= image.channels)
        return StatusInvalidArgument;
    const internal::PlaneView plane = internal::planeView(image, channel);
    const bool served = internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        const auto sample = static_cast<Sample>(value);
        internal::forEachSample<sizeof(Sample)>(
            plane, [sample](unsigned char* address) { internal::storeSample(address, sample); });
    });
    return served ? StatusOk : StatusUnsupportedType;
}

}  // namespace ep

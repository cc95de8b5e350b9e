#include <ep/DetectColorBitDepth.h>

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/SampleVisitor.h>
#include <ep/internal/UnionOfSamples.h>

#include <type_traits>

namespace ep {

unsigned int DetectColorBitDepth(const SxImageBuf& image, qint32& bitDepth)
{
    ExStatus status = internal::checkImage(image);
    if (failed(status))
        return status;
    status = StatusUnsupportedType;
    internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (std::is_unsigned_v<Sample> && sizeof(Sample) <= sizeof(quint32)) {
            bitDepth = qMax(1, internal::bitWidth(internal::unionOfSamples<Sample>(image)));
            status = StatusOk;
        }
    });
    return status;
}

}  // namespace ep

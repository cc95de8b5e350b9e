#include <ep/DetectColorBitDepth.h>

#include <ep/ExStatus.h>
#include <ep/internal/ForEachSample.h>
#include <ep/internal/SampleVisitor.h>

#include <type_traits>

namespace ep {

namespace {

// The union of all samples has the bit width of the largest one, and needs no comparison per sample.
template <typename Sample>
quint32 unionOfSamples(const SxImageBuf& image)
{
    Sample bits = 0;
    for (qint32 i = 0; i < internal::storedPlaneCount(image); ++i)
        internal::forEachSample<sizeof(Sample)>(internal::storedPlane(image, i), [&bits](const unsigned char* address) {
            bits = static_cast<Sample>(bits | internal::loadSample<Sample>(address));
        });
    return bits;
}

qint32 bitWidth(quint32 value)
{
    qint32 width = 0;
    for (; value != 0; value >>= 1)
        ++width;
    return width;
}

}  // namespace

unsigned int DetectColorBitDepth(const SxImageBuf& image, qint32& bitDepth)
{
    ExStatus status = internal::checkImage(image);
    if (failed(status))
        return status;
    status = StatusUnsupportedType;
    internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (std::is_unsigned_v<Sample> && sizeof(Sample) <= sizeof(quint32)) {
            bitDepth = qMax(1, bitWidth(unionOfSamples<Sample>(image)));
            status = StatusOk;
        }
    });
    return status;
}

}  // namespace ep

#include <orn/SampleBits.h>

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/SampleVisitor.h>
#include <ep/internal/UnionOfSamples.h>

#include <type_traits>

namespace orn {

namespace {

using ep::internal::bitWidth;
using ep::internal::unionOfSamples;

/** Bits that the samples of @p image need, whose union is @p any. */
template <typename Sample>
qint32 neededBits(const ep::SxImageBuf& image, std::make_unsigned_t<Sample> any)
{
    if constexpr (std::is_unsigned_v<Sample>) {
        return bitWidth(any);
    } else {
        // -1 needs as many digits as 0, -2 as 1: those of the complement.
        const auto digits = unionOfSamples<Sample>(
            image, [](Sample sample) { return static_cast<Sample>(sample < 0 ? ~sample : sample); });
        const bool hasNegatives = bitWidth(any) == ep::sampleFacts(image.dataType).bits;
        return bitWidth(digits) + (hasNegatives ? 1 : 0);
    }
}

qint32 trailingZeros(quint64 value)
{
    return value == 0 ? 0 : bitWidth(value & (~value + 1)) - 1;
}

}  // namespace

unsigned int SampleBits(const ep::SxImageBuf& image, SxSampleBits& bits)
{
    if (const ep::ExStatus status = ep::internal::checkImage(image))
        return status;
    ep::ExStatus status = ep::StatusUnsupportedType;
    ep::internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (std::is_integral_v<Sample>) {
            const auto any = unionOfSamples<Sample>(image);
            bits = {ep::sampleFacts(image.dataType).bits, neededBits<Sample>(image, any), trailingZeros(any)};
            status = ep::StatusOk;
        }
    });
    return status;
}

ExSamplePlace placeOfSamples(const SxSampleBits& bits, qint32 declaredBits)
{
    if (bits.highest == 0)
        return SamplesAllZero;
    const bool fitsBelow = declaredBits < bits.container && bits.highest <= declaredBits;
    if (bits.unusedLow > 0 && !fitsBelow)
        return SamplesAtHighEnd;
    return bits.highest == bits.container ? SamplesFill : SamplesAtLowEnd;
}

}  // namespace orn

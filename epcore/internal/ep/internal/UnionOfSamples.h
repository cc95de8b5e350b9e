/**
 * @file
 * Which bits occur in an image.
 */
#pragma once

#include <ep/internal/ForEachSample.h>
#include <ep/internal/SampleVisitor.h>

#include <type_traits>

namespace ep {
namespace internal {

/**
 * The bits that are set in any of @p map(sample) of the samples of @p image, which are integers of the type of the
 * image. A union takes no comparison per sample, and has the bit width of the largest one.
 */
template <typename Sample, typename Map>
std::make_unsigned_t<Sample> unionOfSamples(const SxImageBuf& image, Map&& map)
{
    using Bits = std::make_unsigned_t<Sample>;
    Bits bits = 0;
    for (qint32 i = 0; i < storedPlaneCount(image); ++i)
        forEachSample<sizeof(Sample)>(storedPlane(image, i), [&bits, &map](const unsigned char* address) {
            bits = static_cast<Bits>(bits | static_cast<Bits>(map(loadSample<Sample>(address))));
        });
    return bits;
}

/** How many bits it takes to write @p value; 0 for 0. */
inline qint32 bitWidth(quint64 value)
{
    qint32 width = 0;
    for (; value != 0; value >>= 1)
        ++width;
    return width;
}

}  // namespace internal
}  // namespace ep

#include <ep/HistogramMasked.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <limits>
#include <type_traits>

namespace ep {

namespace {

ExStatus checkArguments(const SxImageBuf& image, const SxImageBuf& mask, const CxImageHistogram& histogram)
{
    for (const SxImageBuf* record : {&image, &mask}) {
        const ExStatus status = internal::checkImage(*record);
        if (failed(status))
            return status;
    }
    if (sampleFacts(mask.dataType).bytes != 1)
        return StatusUnsupportedType;
    const bool fits = mask.channels == 1 && mask.width >= image.width && mask.height >= image.height && histogram.counts
                      && histogram.channelCount == image.channels && histogram.levelCount > 0;
    return fits ? StatusOk : StatusGeometryMismatch;
}

/** True when none of 8 bytes is zero. */
bool allAdmitted(const unsigned char* admitted)
{
    constexpr quint64 lowBits = 0x0101010101010101;
    const auto bytes = internal::loadSample<quint64>(admitted);
    return ((bytes - lowBits) & ~bytes & (lowBits << 7)) == 0;
}

/** Counters of one channel, for samples and numbers of samples of any size. */
struct GuardedCounters {
    qint32* counts;
    quint32 levels;

    void add(quint32 level) const
    {
        if (level < levels && counts[level] != std::numeric_limits<qint32>::max())
            ++counts[level];
    }
};

/** Counters that have one for every value of the samples, and room for all samples of the image. */
struct PlainCounters {
    qint32* counts;
    quint32 levels;

    void add(quint32 level) const { ++counts[level]; }
};

template <typename Sample, typename Counters>
void countRow(const internal::ConstPlaneView& plane, qint32 y, const unsigned char* admitted, const Counters& counters)
{
    constexpr std::ptrdiff_t block = 8;
    const unsigned char* row = plane.row(y);
    const std::ptrdiff_t step = plane.pixelStep;
    const auto add = [&](std::ptrdiff_t x) { counters.add(internal::loadSample<Sample>(row + x * step)); };
    std::ptrdiff_t x = 0;
    for (; plane.width - x >= block; x += block) {
        // Most masks admit nearly everything, in one piece.
        const bool all = allAdmitted(admitted + x);
        for (std::ptrdiff_t i = x; i < x + block; ++i)
            if (all || admitted[i] != 0)
                add(i);
    }
    for (; x < plane.width; ++x)
        if (admitted[x] != 0)
            add(x);
}

/** Row by row, so that the channels of a packed row are counted while it is near. */
template <typename Sample, typename Counters>
void countImage(const SxImageBuf& image, const SxImageBuf& mask, CxImageHistogram& histogram)
{
    const internal::ConstPlaneView admitted = internal::planeView(mask, 0);
    const auto levels = static_cast<quint32>(histogram.levelCount);
    for (qint32 y = 0; y < image.height; ++y)
        for (qint32 channel = 0; channel < image.channels; ++channel)
            countRow<Sample>(internal::planeView(image, channel), y, admitted.row(y),
                             Counters{histogram.counts[channel], levels});
}

/** True when the counters can take all samples of @p image, whatever they are, without a look at any of them. */
bool hasRoom(const CxImageHistogram& histogram, const SxImageBuf& image)
{
    const qint64 room = std::numeric_limits<qint32>::max() - static_cast<qint64>(image.width) * image.height;
    const qint64 values = qint64(1) << (8 * sampleFacts(image.dataType).bytes);
    return histogram.levelCount >= values
           && std::all_of(histogram.counts, histogram.counts + histogram.channelCount, [&](const qint32* counts) {
                  return *std::max_element(counts, counts + histogram.levelCount) <= room;
              });
}

}  // namespace

unsigned int HistogramMasked(const SxImageBuf& image, const SxImageBuf& mask, CxImageHistogram& histogram)
{
    ExStatus status = checkArguments(image, mask, histogram);
    if (failed(status))
        return status;
    status = StatusUnsupportedType;
    internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (std::is_integral_v<Sample> && sizeof(Sample) <= sizeof(quint32)) {
            using Unsigned = std::make_unsigned_t<Sample>;
            if (hasRoom(histogram, image))
                countImage<Unsigned, PlainCounters>(image, mask, histogram);
            else
                countImage<Unsigned, GuardedCounters>(image, mask, histogram);
            status = StatusOk;
        }
    });
    return status;
}

}  // namespace ep

#include <ep/HistogramMasked.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

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

template <typename Sample>
void countRow(const internal::ConstPlaneView& plane, qint32 y, const unsigned char* admitted, qint32* counters,
              quint32 levels)
{
    const unsigned char* row = plane.row(y);
    const std::ptrdiff_t step = plane.pixelStep;
    for (std::ptrdiff_t x = 0; x < plane.width; ++x) {
        const quint32 level = internal::loadSample<Sample>(row + x * step);
        if (admitted[x] != 0 && level < levels && counters[level] != std::numeric_limits<qint32>::max())
            ++counters[level];
    }
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
            const internal::ConstPlaneView admitted = internal::planeView(mask, 0);
            for (qint32 y = 0; y < image.height; ++y)
                for (qint32 channel = 0; channel < image.channels; ++channel)
                    countRow<std::make_unsigned_t<Sample>>(internal::planeView(image, channel), y, admitted.row(y),
                                                           histogram.counts[channel],
                                                           static_cast<quint32>(histogram.levelCount));
            status = StatusOk;
        }
    });
    return status;
}

}  // namespace ep

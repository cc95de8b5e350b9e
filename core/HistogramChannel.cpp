#include <orn/HistogramChannel.h>

#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/SampleRange.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/ReadRow.h>

#include <cmath>
#include <limits>
#include <new>
#include <vector>

namespace orn {

namespace {

using ep::internal::planeView;
using ep::internal::readRow;

/** An interval that grows. */
struct Range {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void add(double minimum, double maximum)
    {
        low = std::fmin(low, minimum);
        high = std::fmax(high, maximum);
    }
    bool isFinite() const { return std::isfinite(low) && std::isfinite(high); }
};

void addFiniteSamples(const ep::SxImageBuf& image, qint32 channel, Range& range)
{
    std::vector<double> row(static_cast<std::size_t>(image.width));
    for (qint32 y = 0; y < image.height; ++y) {
        readRow(planeView(image, channel), image.dataType, y, row.data());
        for (double sample : row)
            if (std::isfinite(sample))
                range.add(sample, sample);
    }
}

ep::ExStatus addFiniteRange(const ep::SxImageBuf& image, qint32 channel, Range& range)
{
    Range whole;
    if (ep::failed(ep::SampleRange(image, channel, whole.low, whole.high)))
        return ep::StatusUnsupportedType;
    if (whole.isFinite())
        range.add(whole.low, whole.high);
    else
        addFiniteSamples(image, channel, range);
    return ep::StatusOk;
}

SxHistogramBins integerBins(const Range& range, int most)
{
    const double levels = range.high - range.low + 1;
    double width = 1;
    while (std::ceil(levels / width) > most)
        width *= 2;
    return {range.low, width, static_cast<int>(std::ceil(levels / width))};
}

SxHistogramBins realBins(const Range& range, int most)
{
    // The distance of two doubles can be too large for one; that of close ones is exact only when taken first.
    const double span = range.high - range.low;
    const double share = std::isfinite(span) ? span / most : range.high / most - range.low / most;
    // A little wider, so that the largest value lies within the last bin.
    const double width = share * (1 + 8 * std::numeric_limits<double>::epsilon());
    // One value alone, or values too close together for bins of their own.
    if (!(width / 2 > 0) || range.low + width == range.low)
        return {range.low, std::fmax(1, 2 * span), 1};
    return {range.low, width, most};
}

bool isReal(const ep::SxImageInfo& image)
{
    return image.dataType == ep::DataTypeFloat || image.dataType == ep::DataTypeDouble;
}

void addRow(const std::vector<double>& row, const SxHistogramBins& bins, SxChannelHistogram& histogram)
{
    // Halves, because the distance of two doubles can be too large for one.
    const double low = bins.low / 2;
    const double width = bins.width / 2;
    qint64* counts = histogram.counts.data();
    for (double sample : row) {
        const double place = std::floor((sample / 2 - low) / width);
        if (place >= 0 && place < bins.count)
            ++counts[static_cast<std::ptrdiff_t>(place)];
        else if (place < 0)
            ++histogram.below;
        else if (std::isnan(place))
            ++histogram.notNumbers;
        else
            ++histogram.above;
    }
}

}  // namespace

unsigned int HistogramBins(const ep::SxImageBuf& image, int most, SxHistogramBins& bins)
try {
    if (const ep::ExStatus status = ep::internal::checkImage(image))
        return status;
    // Fewer could be too wide for a double, and would say nothing.
    constexpr int fewest = 4;
    if (most < fewest)
        return ep::StatusInvalidArgument;
    Range range;
    qint32 bits = 0;
    if (!ep::failed(ep::DetectColorBitDepth(image, bits))) {
        range.add(0, std::ldexp(1.0, bits) - 1);
    } else {
        for (qint32 channel = 0; channel < image.channels; ++channel)
            if (const ep::ExStatus status = addFiniteRange(image, channel, range))
                return status;
    }
    if (!range.isFinite())
        range = {0, 0};
    bins = isReal(image) ? realBins(range, most) : integerBins(range, most);
    return ep::StatusOk;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

unsigned int HistogramChannel(const ep::SxImageBuf& image, int channel, const SxHistogramBins& bins,
                              SxChannelHistogram& histogram)
try {
    if (const ep::ExStatus status = ep::internal::checkImage(image))
        return status;
    const bool fits = histogram.counts.isEmpty() || histogram.counts.size() == bins.count;
    if (channel < 0 || channel >= image.channels || bins.count < 1 || !(bins.width / 2 > 0)
        || !std::isfinite(bins.width) || !std::isfinite(bins.low) || !fits)
        return ep::StatusInvalidArgument;
    SxChannelHistogram counted = histogram;
    if (counted.counts.isEmpty())
        counted.counts.fill(0, bins.count);
    std::vector<double> row(static_cast<std::size_t>(image.width));
    for (qint32 y = 0; y < image.height; ++y) {
        if (!readRow(planeView(image, channel), image.dataType, y, row.data()))
            return ep::StatusUnsupportedType;
        addRow(row, bins, counted);
    }
    histogram = counted;
    return ep::StatusOk;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

}  // namespace orn

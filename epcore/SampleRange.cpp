#include <ep/SampleRange.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <limits>
#include <type_traits>

namespace ep {

namespace {

using internal::ConstPlaneView;
using internal::loadSample;

/** Independent minima and maxima that lie side by side, so that the compiler can keep them in vector registers. */
template <typename Sample>
class LaneRange {
public:
    static constexpr qint32 lanes = 64 / sizeof(Sample);

    LaneRange()
    {
        using Limits = std::numeric_limits<Sample>;
        std::fill(m_low, m_low + lanes, Limits::has_infinity ? Limits::infinity() : Limits::max());
        std::fill(m_high, m_high + lanes, Limits::has_infinity ? -Limits::infinity() : Limits::lowest());
    }

    // A NaN loses either comparison and so leaves the lane as it is.
    void add(qint32 lane, Sample value)
    {
        m_low[lane] = value < m_low[lane] ? value : m_low[lane];
        m_high[lane] = value > m_high[lane] ? value : m_high[lane];
    }

    Sample low() const { return *std::min_element(m_low, m_low + lanes); }
    Sample high() const { return *std::max_element(m_high, m_high + lanes); }

private:
    Sample m_low[lanes];
    Sample m_high[lanes];
};

template <typename Sample, typename Step>
void addRow(const unsigned char* row, std::ptrdiff_t width, Step step, LaneRange<Sample>& range)
{
    constexpr std::ptrdiff_t lanes = LaneRange<Sample>::lanes;
    std::ptrdiff_t x = 0;
    for (; x <= width - lanes; x += lanes) {
        const unsigned char* block = row + x * step;
        Sample samples[lanes];  // fetched apart from the comparisons, or the compiler takes the lanes one by one
        for (std::ptrdiff_t lane = 0; lane < lanes; ++lane)
            samples[lane] = loadSample<Sample>(block + lane * step);
        for (qint32 lane = 0; lane < lanes; ++lane)
            range.add(lane, samples[lane]);
    }
    for (; x < width; ++x)
        range.add(0, loadSample<Sample>(row + x * step));
}

template <typename Sample>
void rangeOf(const ConstPlaneView& view, double& minimum, double& maximum)
{
    // Tight samples have a step that is known to the compiler, which is what lets it use whole vectors.
    constexpr std::integral_constant<std::ptrdiff_t, sizeof(Sample)> tight;
    LaneRange<Sample> range;
    for (qint32 y = 0; y < view.height; ++y) {
        if (view.pixelStep == tight())
            addRow(view.row(y), view.width, tight, range);
        else
            addRow(view.row(y), view.width, view.pixelStep, range);
    }
    const bool found = range.low() <= range.high();
    minimum = found ? static_cast<double>(range.low()) : std::numeric_limits<double>::quiet_NaN();
    maximum = found ? static_cast<double>(range.high()) : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

unsigned int SampleRange(const SxImageBuf& image, int channel, double& minimum, double& maximum)
{
    if (!image.data || image.width < 1 || image.height < 1 || channel < 0 || channel >= image.channels)
        return StatusInvalidArgument;
    if (image.layout != LayoutPacked && image.layout != LayoutPlanar)
        return StatusUnsupportedLayout;
    const ConstPlaneView view = internal::planeView(image, channel);
    const bool served = internal::visitSampleType(
        image.dataType, [&](auto tag) { rangeOf<typename decltype(tag)::Type>(view, minimum, maximum); });
    return served ? StatusOk : StatusUnsupportedType;
}

}  // namespace ep

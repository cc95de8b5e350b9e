#include "FrameStack.h"

#include <ep/ExStatus.h>
#include <ep/internal/ReadRow.h>

#include <limits>
#include <type_traits>

namespace orn {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::loadSample;
using ep::internal::PlaneView;
using ep::internal::planeView;
using ep::internal::readRow;
using ep::internal::storeSample;

// As many 16-bit samples as fit a 32-bit sum.
constexpr int mostFrames = 65535;

/** The type that sums of samples are kept in. */
template <typename Sample>
using SumOf = std::conditional_t<(sizeof(Sample) > 2), double,
                                 std::conditional_t<std::is_signed<Sample>::value, qint32, quint32>>;

ep::ExImageDataType sumType(ep::ExImageDataType type)
{
    switch (type) {
    case ep::DataTypeInt8:
    case ep::DataTypeInt16: return ep::DataTypeInt32;
    case ep::DataTypeUInt8:
    case ep::DataTypeUInt16: return ep::DataTypeUInt32;
    default: return ep::DataTypeDouble;
    }
}

/** Rows of the three sums. */
struct Sums {
    unsigned char* sum;
    unsigned char* least;
    unsigned char* most;
};

// A NaN leaves the extremes as they are, and shows in the sum.
template <typename Sample>
void addSample(Sample value, std::ptrdiff_t x, const Sums& row)
{
    using Sum = SumOf<Sample>;
    constexpr std::ptrdiff_t bytes = sizeof(Sample);
    const auto least = loadSample<Sample>(row.least + x * bytes);
    const auto most = loadSample<Sample>(row.most + x * bytes);
    unsigned char* const sum = row.sum + x * static_cast<std::ptrdiff_t>(sizeof(Sum));
    storeSample(row.least + x * bytes, value < least ? value : least);
    storeSample(row.most + x * bytes, value > most ? value : most);
    storeSample(sum, static_cast<Sum>(loadSample<Sum>(sum) + static_cast<Sum>(value)));
}

template <typename Sample>
void startSample(Sample value, std::ptrdiff_t x, const Sums& row)
{
    using Sum = SumOf<Sample>;
    constexpr std::ptrdiff_t bytes = sizeof(Sample);
    storeSample(row.least + x * bytes, value);
    storeSample(row.most + x * bytes, value);
    storeSample(row.sum + x * static_cast<std::ptrdiff_t>(sizeof(Sum)), static_cast<Sum>(value));
}

/** Calls @p work with every sample of a row; a constant step lets the compiler use vector instructions. */
template <typename Sample, typename Work>
void forRow(const ConstPlaneView& frame, qint32 y, const Sums& row, Work work)
{
    const unsigned char* const samples = frame.row(y);
    constexpr std::ptrdiff_t tight = sizeof(Sample);
    const std::ptrdiff_t step = frame.pixelStep;
    if (step == tight) {
        for (std::ptrdiff_t x = 0; x < frame.width; ++x)
            work(loadSample<Sample>(samples + x * tight), x, row);
    } else {
        for (std::ptrdiff_t x = 0; x < frame.width; ++x)
            work(loadSample<Sample>(samples + x * step), x, row);
    }
}

template <typename Sample>
void addChannel(const ConstPlaneView& frame, const PlaneView& sum, const PlaneView& least, const PlaneView& most,
                bool isFirst)
{
    for (qint32 y = 0; y < frame.height; ++y) {
        const Sums row{sum.row(y), least.row(y), most.row(y)};
        if (isFirst)
            forRow<Sample>(frame, y, row, &startSample<Sample>);
        else
            forRow<Sample>(frame, y, row, &addSample<Sample>);
    }
}

}  // namespace

unsigned int FrameStack::start(const ep::SxImageBuf& frame)
{
    // Sums exist for numbers alone.
    if (!ep::internal::visitSampleType(frame.dataType, [](auto) {}))
        return ep::StatusUnsupportedType;
    ep::SxImageInfo description = frame;
    description.layout = ep::LayoutPlanar;
    description.stride = 0;
    for (ep::CxScopedBuffer* kept : {&m_least, &m_most, &m_sum}) {
        kept->reset();
        static_cast<ep::SxImageInfo&>(kept->image()) = description;
        if (kept == &m_sum)
            (*kept)->dataType = sumType(frame.dataType);
        const unsigned int status = kept->allocate();
        if (ep::failed(status))
            return status;
    }
    return ep::StatusOk;
}

bool FrameStack::isLikeFirst(const ep::SxImageBuf& frame) const
{
    const ep::SxImageInfo& first = description();
    const bool sameCell = frame.bayerGrid != ep::BayerGridCell
                          || (frame.patternWidth == first.patternWidth && frame.patternHeight == first.patternHeight);
    return frame.width == first.width && frame.height == first.height && frame.channels == first.channels
           && frame.dataType == first.dataType && frame.formatCode == first.formatCode
           && frame.bayerGrid == first.bayerGrid && sameCell;
}

unsigned int FrameStack::add(const ep::SxImageBuf& frame)
{
    if (const ep::ExStatus status = ep::internal::checkImage(frame))
        return status;
    if (m_frames == mostFrames)
        return ep::StatusSizeOverflow;
    if (m_frames > 0 && !isLikeFirst(frame))
        return ep::StatusGeometryMismatch;
    if (m_frames == 0) {
        const unsigned int status = start(frame);
        if (ep::failed(status))
            return status;
    }
    for (qint32 channel = 0; channel < frame.channels; ++channel)
        ep::internal::visitSampleType(frame.dataType, [&](auto tag) {
            using Sample = typename decltype(tag)::Type;
            addChannel<Sample>(planeView(frame, channel), planeView(m_sum.image(), channel),
                               planeView(m_least.image(), channel), planeView(m_most.image(), channel), m_frames == 0);
        });
    ++m_frames;
    return ep::StatusOk;
}

void FrameStack::meanRow(const SxImagePlane& plane, qint32 y, double* row) const
{
    const ConstPlaneView sum = samplesOf(plane, planeView(m_sum.image(), plane.channel));
    readRow(sum, m_sum->dataType, y, row);
    if (m_frames < 3) {
        for (qint32 x = 0; x < sum.width; ++x)
            row[x] /= m_frames;
        return;
    }
    std::vector<double> least(static_cast<std::size_t>(sum.width));
    std::vector<double> most(least.size());
    extremeRows(plane, y, least.data(), most.data());
    for (std::size_t x = 0; x < least.size(); ++x)
        row[x] = (row[x] - least[x] - most[x]) / (m_frames - 2);
}

void FrameStack::extremeRows(const SxImagePlane& plane, qint32 y, double* least, double* most) const
{
    readRow(samplesOf(plane, planeView(m_least.image(), plane.channel)), m_least->dataType, y, least);
    readRow(samplesOf(plane, planeView(m_most.image(), plane.channel)), m_most->dataType, y, most);
}

}  // namespace orn

#include <ep/HistogramMasked.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
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

constexpr quint64 lowBits = 0x0101010101010101;

/** A one in each byte of eight that is not zero. */
quint64 onesWhereNonZero(quint64 bytes)
{
    constexpr quint64 highBits = lowBits << 7;
    return (((bytes & ~highBits) + ~highBits) | bytes) >> 7 & lowBits;
}

/** Sample by sample, for samples and histograms of any size and counts of any height. */
template <typename Sample>
void countOneByOne(const SxImageBuf& image, const internal::ConstPlaneView& mask, CxImageHistogram& histogram)
{
    const auto levels = static_cast<quint32>(histogram.levelCount);
    for (qint32 y = 0; y < image.height; ++y)
        for (qint32 channel = 0; channel < image.channels; ++channel) {
            const internal::ConstPlaneView plane = internal::planeView(image, channel);
            qint32* counts = histogram.counts[channel];
            for (qint32 x = 0; x < image.width; ++x) {
                const quint32 level = internal::loadSample<Sample>(plane.sample(x, y));
                if (*mask.sample(x, y) != 0 && level < levels && counts[level] != std::numeric_limits<qint32>::max())
                    ++counts[level];
            }
        }
}

/** Counters of every value that small samples can have, for images of fewer pixels than a counter can count. */
template <typename Sample>
class LevelTables {
public:
    static constexpr std::ptrdiff_t values = std::ptrdiff_t(1) << (8 * sizeof(Sample));
    // Neighbours are often equal, and counting a value again waits for the last time: they get tables in turns. Two of
    // the large ones fill a good part of the cache.
    static constexpr std::ptrdiff_t copies = sizeof(Sample) == 1 ? 4 : 2;
    static constexpr std::ptrdiff_t size = copies * values;

    explicit LevelTables(qint32 channels) : m_counts(new (std::nothrow) quint32[channels * size]()) {}

    bool isReady() const { return m_counts != nullptr; }
    void countRow(const internal::ConstPlaneView& plane, qint32 y, const unsigned char* admitted, qint32 channel);
    void addTo(CxImageHistogram& histogram) const;

private:
    static constexpr std::ptrdiff_t block = 8;

    static quint32& counter(quint32* tables, std::ptrdiff_t table, const unsigned char* sample)
    {
        return tables[table * values + internal::loadSample<Sample>(sample)];
    }
    static void countSome(quint32* tables, const unsigned char* samples, std::ptrdiff_t step, quint64 ones);

    std::unique_ptr<quint32[]> m_counts;
};

/**
 * Counts those of eight samples that a word of ones and zeros admits. The others have zero added to their counters:
 * nobody could foretell the turns of a branch.
 *
 * @verbatim
 *   admitted    0  1  1  0  1  1  0  1
 *   level       7  9  9  8  7  7  9  9
 *   table       0  1  2  3  0  1  2  3     tables[table][level] += admitted
 * @endverbatim
 * Never inline: compiled together with the loop over whole blocks, their common parts spill from the registers, and
 * that loop takes a third longer (measured).
 */
template <typename Sample>
Q_NEVER_INLINE void LevelTables<Sample>::countSome(quint32* tables, const unsigned char* samples, std::ptrdiff_t step,
                                                   quint64 ones)
{
    for (std::ptrdiff_t i = 0; i < block; ++i)
        counter(tables, i % copies, samples + i * step) += ones >> (8 * i) & 1;
}

template <typename Sample>
void LevelTables<Sample>::countRow(const internal::ConstPlaneView& plane, qint32 y, const unsigned char* admitted,
                                   qint32 channel)
{
    quint32* const tables = m_counts.get() + channel * size;
    const unsigned char* row = plane.row(y);
    const std::ptrdiff_t step = plane.pixelStep;
    std::ptrdiff_t x = 0;
    for (; plane.width - x >= block; x += block) {
        const quint64 ones = onesWhereNonZero(internal::loadSample<quint64>(admitted + x));
        if (ones == lowBits)
            for (std::ptrdiff_t i = 0; i < block; ++i)
                ++counter(tables, i % copies, row + (x + i) * step);
        else if (ones != 0)
            countSome(tables, row + x * step, step, ones);
    }
    for (; x < plane.width; ++x)
        counter(tables, 0, row + x * step) += admitted[x] != 0;
}

template <typename Sample>
void LevelTables<Sample>::addTo(CxImageHistogram& histogram) const
{
    constexpr qint64 most = std::numeric_limits<qint32>::max();
    for (qint32 channel = 0; channel < histogram.channelCount; ++channel)
        for (std::ptrdiff_t level = 0; level < std::min<std::ptrdiff_t>(values, histogram.levelCount); ++level) {
            qint64 sum = histogram.counts[channel][level];
            for (std::ptrdiff_t copy = 0; copy < copies; ++copy)
                sum += m_counts[channel * size + copy * values + level];
            histogram.counts[channel][level] = static_cast<qint32>(std::min(sum, most));
        }
}

/** True when tables pay: not for images of fewer samples than the tables have counters, nor for many channels. */
template <typename Sample>
bool wantsTables(const SxImageBuf& image)
{
    constexpr qint32 mostChannels = 16;
    const qint64 pixels = static_cast<qint64>(image.width) * image.height;
    return pixels > LevelTables<Sample>::size && pixels <= std::numeric_limits<qint32>::max()
           && image.channels <= mostChannels;
}

/** Row by row, so that the channels of a packed row are counted while it is near. */
template <typename Sample>
void countImage(const SxImageBuf& image, const internal::ConstPlaneView& mask, CxImageHistogram& histogram)
{
    if constexpr (sizeof(Sample) <= 2)
        if (wantsTables<Sample>(image)) {
            LevelTables<Sample> tables(image.channels);
            if (tables.isReady()) {
                for (qint32 y = 0; y < image.height; ++y)
                    for (qint32 channel = 0; channel < image.channels; ++channel)
                        tables.countRow(internal::planeView(image, channel), y, mask.row(y), channel);
                tables.addTo(histogram);
                return;
            }
        }
    countOneByOne<Sample>(image, mask, histogram);
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
            countImage<std::make_unsigned_t<Sample>>(image, internal::planeView(mask, 0), histogram);
            status = StatusOk;
        }
    });
    return status;
}

}  // namespace ep

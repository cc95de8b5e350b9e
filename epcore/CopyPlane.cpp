#include <ep/internal/CopyPlane.h>

#include "LineStream.h"
#include "PixelSamples.h"

#include <algorithm>
#include <cstring>

namespace ep {
namespace internal {

namespace {

using std::ptrdiff_t;

/** Bytes of a row that are put together in the cache before they go to their place. */
constexpr ptrdiff_t stagedBytes = 1024;

/** Writes rows to their places: past the cache when they are part of something large. */
class RowWriter {
public:
    void begin(const PlanePair& pair, qint32 planes, ptrdiff_t sampleBytes)
    {
        m_isLarge = sampleBytes * pair.source.width * pair.source.height * planes >= largeBytes;
    }
    void write(unsigned char* to, const unsigned char* from, ptrdiff_t bytes)
    {
        if (m_isLarge)
            m_stream.write(to, from, static_cast<std::size_t>(bytes));
        else
            std::memcpy(to, from, static_cast<std::size_t>(bytes));
    }

private:
    static constexpr ptrdiff_t largeBytes = 4 << 20;  // smaller ones may well be in the cache, and stay there
    bool m_isLarge = false;
    LineStream m_stream;
};

ConstPlaneView sourceOf(const PlanePair& pair)
{
    return pair.source;
}

ConstPlaneView destinationOf(const PlanePair& pair)
{
    return pair.destination;
}

/** True when each view that @p viewOf gives has its samples side by side. */
template <typename ViewOf>
bool isTight(const PlanePair* pairs, qint32 count, ptrdiff_t bytes, ViewOf&& viewOf)
{
    return std::all_of(pairs, pairs + count, [&](const PlanePair& pair) { return viewOf(pair).pixelStep == bytes; });
}

/** Puts @p pairs in the order in which the views that @p viewOf gives begin. */
template <typename ViewOf>
void sortByPlace(PlanePair* pairs, qint32 count, ViewOf&& viewOf)
{
    std::sort(pairs, pairs + count,
              [&](const PlanePair& a, const PlanePair& b) { return viewOf(a).base < viewOf(b).base; });
}

/** True when the sorted views that @p viewOf gives fill pixels of @p samples samples, @p samples views the same ones.
 */
template <typename ViewOf>
bool fillPixels(const PlanePair* pairs, qint32 count, qint32 samples, ptrdiff_t bytes, ViewOf&& viewOf)
{
    for (qint32 i = 0; i < count; ++i) {
        const ConstPlaneView view = viewOf(pairs[i]);
        const ConstPlaneView first = viewOf(pairs[i - i % samples]);
        if (view.base != first.base + i % samples * bytes || view.pixelStep != samples * bytes
            || view.rowBytes != first.rowBytes)
            return false;
    }
    return count % samples == 0;
}

/** Each row on its own; both planes are tight. */
void copyTight(const PlanePair& pair, ptrdiff_t bytes)
{
    RowWriter writer;
    writer.begin(pair, 1, bytes);
    const ptrdiff_t rowBytes = pair.source.width * bytes;
    for (ptrdiff_t y = 0; y < pair.source.height; ++y)
        writer.write(pair.destination.row(y), pair.source.row(y), rowBytes);
}

/** From pixels to tight planes. */
template <typename T, qint32 samples>
void separate(const PlanePair* pairs, qint32 count)
{
    constexpr ptrdiff_t piece = stagedBytes / sizeof(T);
    alignas(64) unsigned char staged[samples * stagedBytes];
    RowWriter writers[mostPlanesAtOnce];
    for (qint32 i = 0; i < count; ++i)
        writers[i].begin(*pairs, count, sizeof(T));
    for (ptrdiff_t y = 0; y < pairs->source.height; ++y)
        for (qint32 first = 0; first < count; first += samples)
            for (ptrdiff_t x = 0; x < pairs->source.width; x += piece) {
                const ptrdiff_t pixels = std::min<ptrdiff_t>(piece, pairs->source.width - x);
                separateSamples<T, samples>(pairs[first].source.sample(x, y), staged, stagedBytes, pixels);
                for (qint32 i = 0; i < samples; ++i)
                    writers[first + i].write(pairs[first + i].destination.sample(x, y), staged + i * stagedBytes,
                                             pixels * ptrdiff_t(sizeof(T)));
            }
}

/** From tight planes to pixels. */
template <typename T, qint32 samples>
void interleave(const PlanePair* pairs, qint32 count)
{
    constexpr ptrdiff_t piece = stagedBytes / sizeof(T);
    alignas(64) unsigned char staged[samples * stagedBytes];
    RowWriter writer;
    writer.begin(*pairs, count, sizeof(T));
    for (ptrdiff_t y = 0; y < pairs->source.height; ++y)
        for (qint32 first = 0; first < count; first += samples)
            for (ptrdiff_t x = 0; x < pairs->source.width; x += piece) {
                const ptrdiff_t pixels = std::min<ptrdiff_t>(piece, pairs->source.width - x);
                const unsigned char* rows[samples];
                for (qint32 i = 0; i < samples; ++i)
                    rows[i] = pairs[first + i].source.sample(x, y);
                interleaveSamples<T, samples>(rows, staged, pixels);
                writer.write(pairs[first].destination.sample(x, y), staged, pixels * samples * ptrdiff_t(sizeof(T)));
            }
}

/** Any steps: sample by sample, row by row across all pairs. */
template <typename T>
void copySpread(const PlanePair* pairs, qint32 count)
{
    for (ptrdiff_t y = 0; y < pairs->source.height; ++y)
        for (qint32 i = 0; i < count; ++i) {
            const unsigned char* from = pairs[i].source.row(y);
            unsigned char* to = pairs[i].destination.row(y);
            const ptrdiff_t fromStep = pairs[i].source.pixelStep;
            const ptrdiff_t toStep = pairs[i].destination.pixelStep;
            for (ptrdiff_t x = 0; x < pairs->source.width; ++x)
                storeSample(to + x * toStep, loadSample<T>(from + x * fromStep));
        }
}

/** Calls @p work with the number of samples of a pixel as a constant; false for a number that has no kernel. */
template <typename Work>
bool visitPixel(qint32 samples, Work&& work)
{
    switch (samples) {
    case 2: work(std::integral_constant<qint32, 2>()); return true;
    case 3: work(std::integral_constant<qint32, 3>()); return true;
    case 4: work(std::integral_constant<qint32, 4>()); return true;
    default: return false;
    }
}

/** Copies pixels of @p samples samples to planes or back; false when the pairs are not of that kind. */
template <typename T>
bool copyPixels(PlanePair* pairs, qint32 count, bool fromTight)
{
    constexpr ptrdiff_t bytes = sizeof(T);
    const auto packedOf = fromTight ? &destinationOf : &sourceOf;
    const auto samples = static_cast<qint32>(packedOf(pairs[0]).pixelStep / bytes);
    sortByPlace(pairs, count, packedOf);
    return samples > 1 && fillPixels(pairs, count, samples, bytes, packedOf) && visitPixel(samples, [&](auto constant) {
               if (fromTight)
                   interleave<T, constant()>(pairs, count);
               else
                   separate<T, constant()>(pairs, count);
           });
}

template <typename T>
void copyAtOnce(PlanePair* pairs, qint32 count)
{
    const bool fromTight = isTight(pairs, count, sizeof(T), &sourceOf);
    const bool toTight = isTight(pairs, count, sizeof(T), &destinationOf);
    if (fromTight && toTight)
        std::for_each(pairs, pairs + count, [](const PlanePair& pair) { copyTight(pair, sizeof(T)); });
    else if (!(fromTight || toTight) || !copyPixels<T>(pairs, count, fromTight))
        copySpread<T>(pairs, count);
}

}  // namespace

void copyPlanesAtOnce(qint32 sampleBytes, PlanePair* pairs, qint32 count)
{
    visitSampleSize(sampleBytes, [&](auto tag) { copyAtOnce<typename decltype(tag)::Type>(pairs, count); });
}

}  // namespace internal
}  // namespace ep

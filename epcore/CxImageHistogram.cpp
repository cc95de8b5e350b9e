#include <ep/CxImageHistogram.h>

#include <algorithm>
#include <utility>

namespace ep {

CxImageHistogram::CxImageHistogram(CxImageHistogram&& other) noexcept
    : counts(std::exchange(other.counts, nullptr)), channelCount(std::exchange(other.channelCount, 0)),
      levelCount(std::exchange(other.levelCount, 0))
{
}

CxImageHistogram& CxImageHistogram::operator=(CxImageHistogram&& other) noexcept
{
    CxImageHistogram taken(std::move(other));
    std::swap(counts, taken.counts);
    std::swap(channelCount, taken.channelCount);
    std::swap(levelCount, taken.levelCount);
    return *this;
}

CxImageHistogram::~CxImageHistogram()
{
    clear();
}

void CxImageHistogram::resize(int channels, int levels)
{
    if (channels == channelCount && levels == levelCount) {
        for (qint32 channel = 0; channel < channelCount; ++channel)
            std::fill_n(counts[channel], levelCount, 0);
        return;
    }
    clear();
    if (channels < 1 || levels < 1)
        return;
    CxImageHistogram sized;  // frees what it got so far when a later array cannot be had
    sized.counts = new qint32*[static_cast<std::size_t>(channels)]();
    sized.channelCount = channels;
    sized.levelCount = levels;
    for (qint32 channel = 0; channel < channels; ++channel)
        sized.counts[channel] = new qint32[static_cast<std::size_t>(levels)]();
    *this = std::move(sized);
}

void CxImageHistogram::clear()
{
    for (qint32 channel = 0; channel < channelCount; ++channel)
        delete[] counts[channel];
    delete[] counts;
    counts = nullptr;
    channelCount = 0;
    levelCount = 0;
}

}  // namespace ep

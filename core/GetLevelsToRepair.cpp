#include <orn/GetLevelsToRepair.h>

#include "PixelShare.h"

#include <orn/ImageModel.h>

#include <ep/CxImageHistogram.h>
#include <ep/ExStatus.h>
#include <ep/HistogramMasked.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace orn {

namespace {

constexpr int largestDepth = 30;
constexpr qint64 nothing = -1;
constexpr qint64 everything = std::numeric_limits<qint64>::max();

/** How many samples each band of a channel may cover. */
struct BandLimits {
    qint64 low;
    qint64 high;
};

qint32 levelCount(const ep::SxImageInfo& image)
{
    return static_cast<qint32>(std::ldexp(1.0, image.bitDepth));
}

/** True when the tables can be filled at all. */
bool canBeSearched(const ep::SxImageBuf& image, const int* lowLevels, const int* highLevels,
                   const bool* const* levelsToRepair)
{
    return image.data && bytesPerSample(image.dataType) <= 2 && image.bitDepth <= largestDepth && lowLevels
           && highLevels && levelsToRepair
           && std::all_of(levelsToRepair, levelsToRepair + std::max(image.channels, 0),
                          [](const bool* table) { return table != nullptr; });
}

/** Counts the levels of samples of up to two bytes: those that a longer table has besides never occur. */
bool countLevels(const ep::SxImageBuf& image, const ep::SxImageBuf& mask, ep::CxImageHistogram& histogram)
{
    try {
        histogram.resize(image.channels, std::min(levelCount(image), 1 << 16));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return !ep::failed(ep::HistogramMasked(image, mask, histogram));
}

/** Flags the levels that occur from @p first on and before @p past, until more than @p limit samples are counted. */
void flagBand(const qint32* counts, qint32 first, qint32 past, qint64 limit, bool* flags)
{
    const qint32 step = past < first ? -1 : 1;
    qint64 counted = 0;
    for (qint32 level = first; level != past; level += step) {
        counted += counts[level];
        if (counted > limit)
            return;
        flags[level] = counts[level] > 0;
    }
}

void flagLevels(const ep::SxImageBuf& image, const ep::CxImageHistogram& histogram, int channel, int low, int high,
                const BandLimits& limits, bool* flags)
{
    const qint32* counts = histogram.counts[channel];
    const qint32 levels = histogram.levelCount;
    std::fill_n(flags, levelCount(image), false);
    if (low >= 0)
        flagBand(counts, 0, std::min(low, levels - 1) + 1, limits.low, flags);
    if (high >= 0)
        flagBand(counts, levels - 1, std::min(high, levels) - 1, limits.high, flags);
}

/** Clamps in place. A share that is no number stays, and switches its band off like 0. */
void clampPercent(double& percent)
{
    if (percent < 0)
        percent = 0;
    if (percent > 100)
        percent = 100;
}

qint64 limitOf(const ep::SxImageInfo& image, double percent)
{
    return percent > 0 ? pixelShare(image, percent) : nothing;
}

}  // namespace

bool GetLevelsToRepair(const ep::SxImageBuf& image, const ep::SxImageBuf& mask, int* lowLevels, int* highLevels,
                       bool** levelsToRepair)
{
    ep::CxImageHistogram histogram;
    if (!canBeSearched(image, lowLevels, highLevels, levelsToRepair) || !countLevels(image, mask, histogram))
        return false;
    for (qint32 c = 0; c < image.channels; ++c)
        flagLevels(image, histogram, c, lowLevels[c], highLevels[c], {everything, everything}, levelsToRepair[c]);
    return true;
}

bool GetLevelsToRepair(const ep::SxImageBuf& image, const ep::SxImageBuf& mask, double* lowPercents, int* lowLevels,
                       double* highPercents, int* highLevels, bool** levelsToRepair)
{
    if (!canBeSearched(image, lowLevels, highLevels, levelsToRepair) || !lowPercents || !highPercents)
        return false;
    for (qint32 c = 0; c < image.channels; ++c) {
        clampPercent(lowPercents[c]);
        clampPercent(highPercents[c]);
        // Stands only when the levels cannot be counted: the caller then repairs everything, as was asked for.
        if (lowPercents[c] == 100 || highPercents[c] == 100)
            std::fill_n(levelsToRepair[c], levelCount(image), true);
    }
    ep::CxImageHistogram histogram;
    if (!countLevels(image, mask, histogram))
        return false;
    for (qint32 c = 0; c < image.channels; ++c)
        flagLevels(image, histogram, c, lowLevels[c], highLevels[c],
                   {limitOf(image, lowPercents[c]), limitOf(image, highPercents[c])}, levelsToRepair[c]);
    return true;
}

}  // namespace orn

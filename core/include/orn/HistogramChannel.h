/**
 * @file
 * How often which values occur in a channel.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

#include <QVector>

namespace orn {

/** Bins of equal width: bin i holds the values from low + i * width up to, and without, low + (i + 1) * width. */
struct SxHistogramBins {
    double low = 0;    ///< where the first bin begins
    double width = 1;  ///< of every bin
    int count = 0;     ///< number of bins
};

/** Samples per bin. */
struct SxChannelHistogram {
    QVector<qint64> counts;  ///< one per bin
    qint64 below = 0;        ///< samples below the first bin, minus infinity among them
    qint64 above = 0;        ///< samples past the last bin, infinity among them
    qint64 notNumbers = 0;   ///< NaNs
};

/**
 * Chooses at most @p most bins for all channels of @p image.
 *
 * Unsigned integers of up to 32 bits get bins over all levels of the bits that they use (see DetectColorBitDepth()),
 * other samples over the range of their finite values. A bin of integers holds a power of two of levels, the same
 * number in every bin: else the histogram would have combs that are not in the image.
 *
 * @param bins  filled on success, else left alone
 * @return an ep::ExStatus: fails on an empty image, @p most below 4 and samples that are no numbers
 */
ORN_EXPORT unsigned int HistogramBins(const ep::SxImageBuf& image, int most, SxHistogramBins& bins);

/**
 * Adds the samples of channel @p channel of @p image to @p histogram, whose counts are made when they are empty.
 * Integers past 2^53 are counted as the nearest double. One colour of a mosaic is a channel too, see ep::SampleRange().
 *
 * Thread-safe for images that nobody writes to, and separate histograms.
 *
 * @return an ep::ExStatus: fails, with @p histogram left alone, on an empty image, a channel that it does not have,
 * bins without number or width, counts of another number of bins, and samples that are no numbers
 */
ORN_EXPORT unsigned int HistogramChannel(const ep::SxImageBuf& image, int channel, const SxHistogramBins& bins,
                                         SxChannelHistogram& histogram);

}  // namespace orn

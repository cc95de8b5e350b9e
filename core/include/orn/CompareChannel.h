/**
 * @file
 * How far two images are apart.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

namespace orn {

/** What tells one channel of two images apart. All errors are in units of the samples. */
struct SxChannelComparison {
    qint64 samples;       ///< width x height
    qint64 differing;     ///< samples that are further apart than the tolerance
    double maximumError;  ///< largest |a - b|
    double rmsError;      ///< sqrt(sum of (a - b)^2 / samples)
    qint32 firstColumn;   ///< the first differing sample, row by row from the top; -1 when there is none
    qint32 firstRow;
    double firstA;  ///< its value in each image
    double firstB;
};

/**
 * Compares channel @p channel of @p a and @p b by value: their sample types, layouts and strides may be different ones.
 * Two NaNs are equal; a NaN is infinitely far from a number. Integers of 64 bits are compared exactly.
 *
 * Thread-safe for images that nobody writes to.
 *
 * @param tolerance  samples up to this far apart do not count as differing; the errors are of all samples
 * @param result  filled on success, else left alone
 * @return ep::StatusOk; ep::StatusInvalidArgument for an empty image, images of different width or height, a channel
 * that either does not have, or a tolerance that is negative or NaN; ep::StatusUnsupportedLayout;
 * ep::StatusUnsupportedType for samples that are no numbers
 */
ORN_EXPORT unsigned int CompareChannel(const ep::SxImageBuf& a, const ep::SxImageBuf& b, int channel, double tolerance,
                                       SxChannelComparison& result);

/**
 * Peak signal-to-noise ratio in decibels: 20 log10(peak / rmsError), with @p peak the largest value that a sample can
 * have. Infinite for equal images.
 */
ORN_EXPORT double peakSignalToNoise(double rmsError, double peak);

}  // namespace orn

/**
 * @file
 * Level counts per channel.
 */
#pragma once

#include <ep/Export.h>

#include <QtGlobal>

namespace ep {

/**
 * Counters per channel and level. Owns its arrays. Not thread-safe.
 *
 * The fields are public because services fill the counters in place; only resize() and clear() change the counts.
 */
class EP_EXPORT CxImageHistogram {
public:
    qint32** counts = nullptr;  ///< channelCount arrays of levelCount counters; null when empty
    qint32 channelCount = 0;    ///< number of per-channel arrays
    qint32 levelCount = 0;      ///< counters per array

    CxImageHistogram() = default;
    CxImageHistogram(const CxImageHistogram&) = delete;
    CxImageHistogram& operator=(const CxImageHistogram&) = delete;
    CxImageHistogram(CxImageHistogram&& other) noexcept;
    CxImageHistogram& operator=(CxImageHistogram&& other) noexcept;
    ~CxImageHistogram();

    /**
     * Sizes the histogram to @p channels x @p levels zeroed counters. When it already has that size, the counters are
     * set to 0 and nothing is reallocated. When either number is below 1 the histogram becomes empty.
     * Throws std::bad_alloc when there is no memory; the histogram is then empty.
     */
    void resize(int channels, int levels);

    /** Frees every array and sets both counts to 0. */
    void clear();
};

}  // namespace ep

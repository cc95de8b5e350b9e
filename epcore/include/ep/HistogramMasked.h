/**
 * @file
 * Level counts under a mask.
 */
#pragma once

#include <ep/CxImageHistogram.h>
#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Adds to @p histogram, per channel, how many samples of @p image lie at each level, over the pixels whose sample in
 * the one-channel 8-bit @p mask is not zero.
 *
 * Samples are read as unsigned whatever their type's sign; a sample at or past the number of levels is ignored.
 * The caller has sized the histogram to (image.channels, levels) and zeroed it.
 *
 * @return ExStatus; fails on an empty image or mask, a mask smaller than the image, a histogram of another number of
 *         channels or without levels, and a sample type that is no integer of up to 4 bytes.
 */
EP_EXPORT unsigned int HistogramMasked(const SxImageBuf& image, const SxImageBuf& mask, CxImageHistogram& histogram);

}  // namespace ep

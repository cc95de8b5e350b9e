/**
 * @file
 * Replacing invalid samples by valid neighbours.
 */
#pragma once

#include <orn/Export.h>
#include <orn/InvalidPixel.h>

#include <ep/SxImageBuf.h>

#include <QVector>

namespace orn {

/**
 * Replaces every invalid sample of an image of 8- or 16-bit samples, in place, by a valid one of the same channel: a
 * random one of the nearest square ring around it that holds any.
 * @verbatim
 *   ring 2   2 2 2 2 2      o  the sample to repair
 *            2 1 1 1 2
 *            2 1 o 1 2      Ring 1 is searched first, from a random cell on and once around; then ring 2, and so on.
 *            2 1 1 1 2      Samples that were repaired before serve as sources: a large hole fills from its rim.
 *            2 2 2 2 2
 * @endverbatim
 * A sample is invalid when its value is flagged in the table of its channel and the mask admits it. Packed images are
 * repaired pixel by pixel, planar ones plane by plane, both from the top left on. Every call seeds qsrand() with the
 * millisecond of the clock and draws from qrand(): two calls in one millisecond choose alike. Keep the records where a
 * repair is to be repeatable.
 *
 * A mosaic is one channel here, in which a red sample may take a green neighbour; repair its colours as planes (see
 * ep::ConvertPackPixelToPlanar()).
 *
 * @param mask  8-bit samples, one channel, of the image's size; zero excludes a sample from being repaired and from
 * being a source. Its description is not checked, but nothing is read at or past its stride x the image's height: what
 * lies there is admitted, as is everything when it has no data. In a packed image of several channels, sample c of the
 * pixel at column x is admitted for repair by mask byte x * channels + c of the row, while sources are admitted by byte
 * x: with a mask that excludes anything, use planar images.
 * @param levelsToRepair  one table per channel with a flag for every value that the channel holds; true = invalid
 * @param invalidPixels  gets the records of what was repaired, in order; may be null. A planar image gives one record
 * with one pair of values per sample, in the slot of its channel. A packed image also gives one record per sample,
 * which holds the pairs of all channels repaired so far at that pixel, in the slots of ChannelIndexLogicalToPhysical().
 * Channels past the fourth are repaired and not recorded.
 * @return false for an image without data, samples of more than two bytes, no tables, and a layout that is neither
 * packed nor planar; also when there is no memory for the records, with a part of the image repaired. A channel without
 * any valid sample stays as it is and draws no random number; that is no failure.
 */
ORN_EXPORT bool RepairImage(ep::SxImageBuf& image, const ep::SxImageBuf& mask, const bool** levelsToRepair,
                            QVector<InvalidPixel>* invalidPixels);

/**
 * As above, without a mask: a sample of channel c is invalid below validRanges[c][0], above validRanges[c][1], and at
 * or past 2^bitDepth.
 *
 * @return false also for images of more than four channels
 */
ORN_EXPORT bool RepairImage(ep::SxImageBuf& image, const unsigned short** validRanges,
                            QVector<InvalidPixel>& invalidPixels);

}  // namespace orn

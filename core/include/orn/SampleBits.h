/**
 * @file
 * Which bits of their container the samples of an image use.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

namespace orn {

/**
 * Three numbers of bits that people call the depth of an image:
 * @verbatim
 *   a 12-bit camera whose samples were shifted to the top of 16 bits:
 *
 *     bit 15                         0
 *         x x x x x x x x x x x x 0 0 0 0      container 16, highest 16, unusedLow 4: 12 bits in use
 *
 *   the same camera as it is:
 *
 *         0 0 0 0 x x x x x x x x x x x x      container 16, highest 12, unusedLow 0: 12 bits in use
 * @endverbatim
 */
struct SxSampleBits {
    qint32 container;  ///< bits of a sample in memory
    qint32 highest;    ///< bits from the lowest one up to the highest that any sample needs; 0: all samples are 0
    qint32 unusedLow;  ///< lowest bits that are 0 in every sample; 0 when all samples are 0

    qint32 used() const { return highest - unusedLow; }  ///< bits in use
};

/** Where in their container samples lie. */
enum ExSamplePlace {
    SamplesAllZero,    ///< there is nothing to see
    SamplesAtLowEnd,   ///< the numbers are as they were measured
    SamplesAtHighEnd,  ///< the numbers were shifted up: their lowest bits are always 0
    SamplesFill        ///< from the lowest to the highest bit
};

/**
 * Finds the bits that the samples of @p image use: of all channels, without the padding of rows. A negative number
 * needs a bit for its sign.
 *
 * Thread-safe for images that nobody writes to.
 *
 * @param bits  filled on success, else left alone
 * @return an ep::ExStatus: fails on an empty image, an unknown layout and samples that are no integers
 */
ORN_EXPORT unsigned int SampleBits(const ep::SxImageBuf& image, SxSampleBits& bits);

/**
 * Where samples lie that use @p bits and are said to have @p declaredBits. Samples whose lowest bits are always 0 lie
 * at the high end, unless they are said to have fewer bits than the container and fit into those: then it is values
 * that happen to be even.
 */
ORN_EXPORT ExSamplePlace placeOfSamples(const SxSampleBits& bits, qint32 declaredBits);

}  // namespace orn

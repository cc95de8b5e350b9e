/**
 * @file
 * One plane of an image as an image of its own.
 */
#pragma once

#include <orn/ImagePlanes.h>

#include <ep/CxScopedBuffer.h>
#include <ep/SxImageBuf.h>

namespace orn {

/** The least number that a sample of type @p type can be; 0 of types without negative numbers. */
qint32 leastSample(ep::ExImageDataType type);

/** The sample of @p image, of 8 or 16 bits, in channel @p channel at @p place, which lies within. */
qint32 sampleNumber(const ep::SxImageBuf& image, qint32 channel, const QPoint& place);

/**
 * Copies a plane of @p image, of 8- or 16-bit samples of any sign, into a new image of 16 bits: each sample less the
 * least one of its type, so that levels count from 0 and have room for others beside those of 8-bit samples.
 * @return an ep::ExStatus; fails on samples of another size and no memory
 */
unsigned int copyLevels(const ep::SxImageBuf& image, const SxImagePlane& plane, ep::CxScopedBuffer& levels);

/**
 * Copies what of @p mask, of 8-bit samples in one channel, belongs to a plane of @p image; a mask without data gives
 * one that admits everything.
 * @return an ep::ExStatus; fails on no memory
 */
unsigned int copyMask(const ep::SxImageBuf& mask, const ep::SxImageInfo& image, const SxImagePlane& plane,
                      ep::CxScopedBuffer& copy);

}  // namespace orn

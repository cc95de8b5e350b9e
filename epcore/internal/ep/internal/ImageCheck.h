/**
 * @file
 * What every buffer service asks of an image record before it touches a sample.
 */
#pragma once

#include <ep/ExStatus.h>
#include <ep/SxImageBuf.h>
#include <ep/internal/CheckedSize.h>

namespace ep {
namespace internal {

/** StatusOk when sizes are positive, the sample type is known and the layout is packed or planar. */
inline ExStatus checkDescription(const SxImageInfo& image)
{
    if (image.width <= 0 || image.height <= 0 || image.channels <= 0)
        return StatusInvalidArgument;
    if (sampleFacts(image.dataType).bytes == 0)
        return StatusUnsupportedType;
    if (image.layout != LayoutPacked && image.layout != LayoutPlanar)
        return StatusUnsupportedLayout;
    return StatusOk;
}

/** StatusOk when there are samples and checkDescription() finds nothing wrong. */
inline ExStatus checkImage(const SxImageBuf& image)
{
    return image.data ? checkDescription(image) : StatusInvalidArgument;
}

/** True when @p image has samples, positive sizes, a known sample type and a layout that is packed or planar. */
inline bool isSound(const SxImageBuf& image)
{
    return checkImage(image) == StatusOk;
}

/** Bytes of the samples of one stored row, without padding: of one plane when planar, of all channels when packed. */
inline CheckedSize rowBytes(const SxImageInfo& image)
{
    const CheckedSize planeRow = CheckedSize(image.width) * sampleFacts(image.dataType).bytes;
    return image.layout == LayoutPlanar ? planeRow : planeRow * image.channels;
}

/** Rows of storage: those of all planes when planar. */
inline CheckedSize storedRows(const SxImageInfo& image)
{
    return image.layout == LayoutPlanar ? CheckedSize(image.height) * image.channels : CheckedSize(image.height);
}

}  // namespace internal
}  // namespace ep

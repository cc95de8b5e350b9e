/**
 * @file
 * One channel of an image, seen the same way in packed and planar images.
 */
#pragma once

#include <ep/ExImageDataType.h>
#include <ep/SxImageBuf.h>
#include <ep/internal/ImageCheck.h>

#include <cstddef>

namespace ep {
namespace internal {

/**
 * Samples on a grid: the sample at column x, row y starts at base + y * rowBytes + x * pixelStep. Owns nothing.
 *
 * @verbatim
 *   channel 1 of a packed RGB image          one plane of a planar image
 *
 *   R G B R G B R G B                        G G G G G
 *     ^base                                  ^base
 *     |<--->| pixelStep = 3 samples          |-| pixelStep = 1 sample
 * @endverbatim
 * Both steps may be any number of bytes; a negative rowBytes walks the rows from the last to the first.
 */
template <typename Byte>
struct BasicPlaneView {
    Byte* base;
    std::ptrdiff_t rowBytes;
    std::ptrdiff_t pixelStep;
    qint32 width;
    qint32 height;

    Byte* row(std::ptrdiff_t y) const { return base + y * rowBytes; }
    Byte* sample(std::ptrdiff_t x, std::ptrdiff_t y) const { return base + y * rowBytes + x * pixelStep; }

    /** The same samples, last row first. */
    BasicPlaneView reversedRows() const
    {
        return {row(height > 0 ? height - 1 : 0), -rowBytes, pixelStep, width, height};
    }
    /** Every (cellWidth, cellHeight)-th sample from (left, top) on: one colour plane of a mosaic. Partial cells are
     * left out. */
    BasicPlaneView cellPosition(qint32 left, qint32 top, qint32 cellWidth, qint32 cellHeight) const
    {
        return {sample(left, top), rowBytes * cellHeight, pixelStep * cellWidth, width / cellWidth,
                height / cellHeight};
    }
    operator BasicPlaneView<const Byte>() const { return {base, rowBytes, pixelStep, width, height}; }
};

using PlaneView = BasicPlaneView<unsigned char>;
using ConstPlaneView = BasicPlaneView<const unsigned char>;

/** Bytes of one plane of a planar image. */
inline std::ptrdiff_t planeBytes(const SxImageInfo& image)
{
    return static_cast<std::ptrdiff_t>(image.stride) * image.height;
}

/** Channel @p channel of an allocated image with a known sample type and layout. */
template <typename Byte>
BasicPlaneView<Byte> makePlaneView(Byte* data, const SxImageInfo& image, qint32 channel)
{
    const std::ptrdiff_t bytes = sampleFacts(image.dataType).bytes;
    if (image.layout == LayoutPlanar)
        return {data + channel * planeBytes(image), image.stride, bytes, image.width, image.height};
    return {data + channel * bytes, image.stride, bytes * image.channels, image.width, image.height};
}

inline PlaneView planeView(SxImageBuf& image, qint32 channel)
{
    return makePlaneView(static_cast<unsigned char*>(image.data), image, channel);
}

inline ConstPlaneView planeView(const SxImageBuf& image, qint32 channel)
{
    return makePlaneView(static_cast<const unsigned char*>(image.data), image, channel);
}

/**
 * How many runs of rows @p image is stored in: one per channel when planar; one when packed, whose rows
 * hold the samples of all channels.
 */
inline qint32 storedPlaneCount(const SxImageInfo& image)
{
    return image.layout == LayoutPlanar ? image.channels : 1;
}

/** Run @p plane of an image's storage, as rows of samples that stand side by side. */
template <typename Image>
auto storedPlane(Image& image, qint32 plane)
{
    auto view = planeView(image, plane);
    if (image.layout == LayoutPacked) {
        view.pixelStep /= image.channels;
        view.width *= image.channels;
    }
    return view;
}

}  // namespace internal
}  // namespace ep

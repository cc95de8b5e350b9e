/**
 * @file
 * Images for tests: made from a seed, addressed by the rule of the image record and by nothing else.
 */
#pragma once

#include <ep/AllocBuffer.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/SxImageBuf.h>

#include <QtGlobal>

#include <algorithm>
#include <cstring>
#include <random>

namespace testing {

/** The sample types that images are made of; code 9 is only moved. */
constexpr ep::ExImageDataType allTypes[] = {ep::DataTypeInt8,   ep::DataTypeUInt8,  ep::DataTypeInt16,
                                            ep::DataTypeUInt16, ep::DataTypeInt32,  ep::DataTypeUInt32,
                                            ep::DataTypeFloat,  ep::DataTypeDouble, ep::DataTypeComplex,
                                            ep::DataTypeInt64,  ep::DataTypeUInt64};

/** Both layouts. */
constexpr ep::ExImageLayout allLayouts[] = {ep::LayoutPacked, ep::LayoutPlanar};

/** Describes an image; @p padding bytes lie between the rows. */
inline ep::SxImageInfo describe(ep::ExImageDataType type, int width, int height, int channels = 1,
                                ep::ExImageLayout layout = ep::LayoutPacked, int padding = 0)
{
    ep::SxImageInfo info = ep::emptyImage();
    info.width = width;
    info.height = height;
    info.channels = channels;
    info.dataType = type;
    info.bitDepth = ep::sampleFacts(type).bits;
    info.layout = layout;
    const int samplesPerRow = layout == ep::LayoutPacked ? width * channels : width;
    info.stride = padding == 0 ? 0 : samplesPerRow * ep::sampleFacts(type).bytes + padding;
    return info;
}

/** Bytes of the storage of an image. */
inline size_t storageBytes(const ep::SxImageInfo& image)
{
    const size_t plane = static_cast<size_t>(image.stride) * static_cast<size_t>(image.height);
    return image.layout == ep::LayoutPlanar ? plane * static_cast<size_t>(image.channels) : plane;
}

/** Fills the whole storage, padding included, with bytes from @p seed. */
inline void fillRandom(ep::SxImageBuf& image, quint32 seed)
{
    std::mt19937 random(seed);
    auto* bytes = static_cast<unsigned char*>(image.data);
    for (size_t i = 0, n = storageBytes(image); i < n; i += sizeof(quint32)) {
        const quint32 word = random();
        std::memcpy(bytes + i, &word, std::min(sizeof(word), n - i));
    }
}

/** An allocated image with random bytes. */
inline ep::CxScopedBuffer randomImage(const ep::SxImageInfo& info, quint32 seed = 1)
{
    ep::CxScopedBuffer image(info);
    if (ep::failed(image.allocate()))
        qFatal("cannot allocate a test image");
    fillRandom(image.image(), seed);
    return image;
}

/** A copy of an image, padding included. */
inline ep::CxScopedBuffer copyOf(const ep::SxImageBuf& image)
{
    ep::CxScopedBuffer copy(image);
    if (ep::failed(copy.allocate()))
        qFatal("cannot allocate a test image");
    std::memcpy(copy->data, image.data, storageBytes(image));
    return copy;
}

/** True when two images of one description have the same bytes, padding included. */
inline bool sameStorage(const ep::SxImageBuf& a, const ep::SxImageBuf& b)
{
    return storageBytes(a) == storageBytes(b) && std::memcmp(a.data, b.data, storageBytes(a)) == 0;
}

/** Address of the sample at column x, row y, channel c. */
inline unsigned char* address(const ep::SxImageBuf& image, int x, int y, int c)
{
    auto* data = static_cast<unsigned char*>(image.data);
    const std::ptrdiff_t bytes = ep::sampleFacts(image.dataType).bytes;
    const std::ptrdiff_t stride = image.stride;
    if (image.layout == ep::LayoutPacked)
        return data + y * stride + (static_cast<std::ptrdiff_t>(x) * image.channels + c) * bytes;
    return data + c * stride * image.height + y * stride + x * bytes;
}

/** The sample at column x, row y, channel c as a number of its C++ type. */
template <typename T>
T sampleAt(const ep::SxImageBuf& image, int x, int y, int c = 0)
{
    T value;
    std::memcpy(&value, address(image, x, y, c), sizeof(T));
    return value;
}

/** Sets a sample. */
template <typename T>
void setSample(ep::SxImageBuf& image, int x, int y, int c, T value)
{
    std::memcpy(address(image, x, y, c), &value, sizeof(T));
}

/** As randomImage(), of samples that no program changes a bit of: any integer, any finite float. */
inline ep::CxScopedBuffer plainNumbers(const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image = randomImage(info);
    std::mt19937 random(7);
    for (int c = 0; c < info.channels; ++c)
        for (int y = 0; y < info.height; ++y)
            for (int x = 0; x < info.width; ++x) {
                const double number = (double(random()) - 2e9) / 3.0;
                if (info.dataType == ep::DataTypeFloat)
                    setSample(image.image(), x, y, c, float(number));
                if (info.dataType == ep::DataTypeDouble)
                    setSample(image.image(), x, y, c, number);
            }
    return image;
}

/** Copies the bytes of a sample to an image of the same type. */
inline void copySample(const ep::SxImageBuf& from, int fx, int fy, int fc, ep::SxImageBuf& to, int tx, int ty, int tc)
{
    std::memcpy(address(to, tx, ty, tc), address(from, fx, fy, fc),
                static_cast<size_t>(ep::sampleFacts(from.dataType).bytes));
}

/** True when two samples of images of one type have the same bytes. */
inline bool sameSample(const ep::SxImageBuf& a, int ax, int ay, int ac, const ep::SxImageBuf& b, int bx, int by, int bc)
{
    return std::memcmp(address(a, ax, ay, ac), address(b, bx, by, bc),
                       static_cast<size_t>(ep::sampleFacts(a.dataType).bytes))
           == 0;
}

}  // namespace testing

/**
 * @file
 * Which bits occur in an image.
 */
#pragma once

#include <ep/internal/ForEachSample.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace ep {
namespace internal {

/**
 * The bits that are set in any of @p map(sample) of the samples of @p image, which are integers of the type of the
 * image. A union takes no comparison per sample, and has the bit width of the largest one.
 */
template <typename Sample, typename Map>
std::make_unsigned_t<Sample> unionOfSamples(const SxImageBuf& image, Map&& map)
{
    using Bits = std::make_unsigned_t<Sample>;
    Bits bits = 0;
    for (qint32 i = 0; i < storedPlaneCount(image); ++i)
        forEachSample<sizeof(Sample)>(storedPlane(image, i), [&bits, &map](const unsigned char* address) {
            bits = static_cast<Bits>(bits | static_cast<Bits>(map(loadSample<Sample>(address))));
        });
    return bits;
}

/** The bits that are set in any of the words that @p bytes bytes make up; the last word may be in part. */
inline quint64 unionOfWords(const unsigned char* from, std::ptrdiff_t bytes)
{
    constexpr std::ptrdiff_t word = sizeof(quint64);
    constexpr std::ptrdiff_t lanes = 8;  // side by side and on their own, so that none waits for another
    quint64 unions[lanes] = {};
    std::ptrdiff_t done = 0;
    for (; done + lanes * word <= bytes; done += lanes * word)
        for (std::ptrdiff_t lane = 0; lane < lanes; ++lane)
            unions[lane] |= loadSample<quint64>(from + done + lane * word);
    quint64 bits = 0;
    for (const quint64 lane : unions)
        bits |= lane;
    for (; done < bytes; done += word) {
        quint64 rest = 0;
        std::memcpy(&rest, from + done, static_cast<std::size_t>(std::min(word, bytes - done)));
        bits |= rest;
    }
    return bits;
}

/** As above, of the samples as they are: a word holds whole ones, and its parts are united in the end. */
template <typename Sample>
std::make_unsigned_t<Sample> unionOfSamples(const SxImageBuf& image)
{
    quint64 bits = 0;
    for (qint32 i = 0; i < storedPlaneCount(image); ++i) {
        const ConstPlaneView rows = storedPlane(image, i);
        for (qint32 y = 0; y < rows.height; ++y)
            bits |= unionOfWords(rows.row(y), rows.width * rows.pixelStep);
    }
    for (std::size_t half = 4; half >= sizeof(Sample); half /= 2)
        bits |= bits >> (8 * half);
    return static_cast<std::make_unsigned_t<Sample>>(bits);
}

/** How many bits it takes to write @p value; 0 for 0. */
inline qint32 bitWidth(quint64 value)
{
    qint32 width = 0;
    for (; value != 0; value >>= 1)
        ++width;
    return width;
}

}  // namespace internal
}  // namespace ep

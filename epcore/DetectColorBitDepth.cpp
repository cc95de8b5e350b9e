#include <ep/DetectColorBitDepth.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>
#include <ep/internal/UnionOfSamples.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace ep {

namespace {

/** The bits that are set in any of the words that @p bytes bytes make up; the last word may be in part. */
quint64 unionOfWords(const unsigned char* from, std::ptrdiff_t bytes)
{
    constexpr std::ptrdiff_t word = sizeof(quint64);
    constexpr std::ptrdiff_t lanes = 8;  // side by side and on their own, so that none waits for another
    quint64 unions[lanes] = {};
    std::ptrdiff_t done = 0;
    for (; done + lanes * word <= bytes; done += lanes * word)
        for (std::ptrdiff_t lane = 0; lane < lanes; ++lane)
            unions[lane] |= internal::loadSample<quint64>(from + done + lane * word);
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

/** The bits that are set in any sample of @p image. A word holds whole samples: its parts are united in the end. */
template <typename Sample>
Sample unionOfSamples(const SxImageBuf& image)
{
    quint64 bits = 0;
    for (qint32 i = 0; i < internal::storedPlaneCount(image); ++i) {
        const internal::ConstPlaneView rows = internal::storedPlane(image, i);
        for (qint32 y = 0; y < rows.height; ++y)
            bits |= unionOfWords(rows.row(y), rows.width * rows.pixelStep);
    }
    for (std::size_t half = 4; half >= sizeof(Sample); half /= 2)
        bits |= bits >> (8 * half);
    return static_cast<Sample>(bits);
}

}  // namespace

unsigned int DetectColorBitDepth(const SxImageBuf& image, qint32& bitDepth)
{
    ExStatus status = internal::checkImage(image);
    if (failed(status))
        return status;
    status = StatusUnsupportedType;
    internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (std::is_unsigned_v<Sample> && sizeof(Sample) <= sizeof(quint32)) {
            bitDepth = qMax(1, internal::bitWidth(unionOfSamples<Sample>(image)));
            status = StatusOk;
        }
    });
    return status;
}

}  // namespace ep

#include <orn/SplitToPlusMinus.h>

#include <orn/ImageModel.h>

#include <ep/internal/CheckedSize.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace orn {

namespace {

using ep::internal::CheckedSize;
using ep::internal::loadSample;
using ep::internal::storeSample;

bool isLike(const ep::SxImageBuf& part, const ep::SxImageBuf& src)
{
    return part.data && part.width == src.width && part.height == src.height && part.channels == src.channels
           && part.bitDepth == src.bitDepth && part.bayerGrid == src.bayerGrid && part.dataType == ep::DataTypeDouble
           && part.layout == src.layout && part.formatCode == src.formatCode;
}

/** Bytes of the image's storage; nothing for negative sizes. */
CheckedSize storedBytes(const ep::SxImageInfo& image)
{
    const qint32 planes = image.layout == ep::LayoutPacked ? 1 : image.channels;
    return CheckedSize(std::max(image.stride, 0)) * std::max(image.height, 0) * std::max(planes, 0);
}

/** True when the walk stays within the image, and its size is one that memory can have. */
bool holdsItsRows(const ep::SxImageInfo& image)
{
    const bool isWalked = image.layout == ep::LayoutPacked || image.layout == ep::LayoutPlanar;
    const bool isEmpty = image.width < 1 || image.height < 1 || image.channels < 1;
    return storedBytes(image).isValid() && (!isWalked || isEmpty || ep::internal::rowBytes(image).fits(image.stride));
}

void clear(ep::SxImageBuf& image)
{
    std::memset(image.data, 0, static_cast<std::size_t>(storedBytes(image).value()));
}

/** True when two images have no byte in common. */
bool areApart(const ep::SxImageBuf& a, const ep::SxImageBuf& b)
{
    const auto* startA = static_cast<const unsigned char*>(a.data);
    const auto* startB = static_cast<const unsigned char*>(b.data);
    const std::less_equal<const unsigned char*> isAtMost;
    return isAtMost(startA + storedBytes(a).value(), startB) || isAtMost(startB + storedBytes(b).value(), startA);
}

/**
 * Splits @p count samples; of the negative ones, the bits of @p flipped are turned over. Samples of the other sign keep
 * what the outputs hold. The samples are chosen as bits, and stored always: vector instructions instead of a branch
 * that is taken at random, which arithmetic that may trap would have to be.
 */
void splitRow(const unsigned char* src, unsigned char* plus, unsigned char* minus, qint64 count, quint64 flipped)
{
    for (qint64 i = 0; i < count; ++i) {
        const std::size_t at = static_cast<std::size_t>(i) * sizeof(double);
        const auto v = loadSample<double>(src + at);
        const auto bits = loadSample<quint64>(src + at);
        const auto oldPlus = loadSample<quint64>(plus + at);
        storeSample(plus + at, v > 0 ? bits : oldPlus);
        const auto oldMinus = loadSample<quint64>(minus + at);
        storeSample(minus + at, v < 0 ? bits ^ flipped : oldMinus);
    }
}

/** Clears each row before it is split, so that memory is gone through once. */
void splitPlanar(const ep::SxImageBuf& src, ep::SxImageBuf& plus, ep::SxImageBuf& minus, quint64 flipped,
                 bool clearsRows)
{
    for (qint32 channel = 0; channel < src.channels; ++channel)
        for (qint32 y = 0; y < src.height; ++y) {
            unsigned char* plusRow = ep::internal::planeView(plus, channel).row(y);
            unsigned char* minusRow = ep::internal::planeView(minus, channel).row(y);
            if (clearsRows) {
                std::memset(plusRow, 0, static_cast<std::size_t>(plus.stride));
                std::memset(minusRow, 0, static_cast<std::size_t>(minus.stride));
            }
            splitRow(ep::internal::planeView(src, channel).row(y), plusRow, minusRow, src.width, flipped);
        }
}

/** The rows after the first land in the first two rows of @p minus: hosts know this image and rely on it. */
void splitPacked(const ep::SxImageBuf& src, ep::SxImageBuf& plus, ep::SxImageBuf& minus, quint64 flipped)
{
    const qint64 samples = static_cast<qint64>(src.width) * src.channels;
    const auto* from = static_cast<const unsigned char*>(src.data);
    auto* minusRow = static_cast<unsigned char*>(minus.data);
    auto* plusRow = static_cast<unsigned char*>(plus.data);
    for (qint32 y = 0; y < src.height; ++y) {
        splitRow(from, plusRow, minusRow, samples, flipped);
        from += src.stride;
        plusRow = minusRow + minus.stride;
    }
}

}  // namespace

bool SplitToPlusMinus(const ep::SxImageBuf& src, ep::SxImageBuf& plus, ep::SxImageBuf& minus, bool invertMinus)
{
    if (!src.data || src.dataType != ep::DataTypeDouble || !isLike(plus, src) || !isLike(minus, src)
        || !holdsItsRows(src) || !holdsItsRows(plus) || !holdsItsRows(minus))
        return false;
    // Row by row is not the same as all at once where the images share memory.
    const bool clearsRows =
        src.layout == ep::LayoutPlanar && areApart(src, plus) && areApart(src, minus) && areApart(plus, minus);
    if (!clearsRows) {
        clear(plus);
        clear(minus);
    }
    const quint64 flipped = invertMinus ? quint64(1) << 63 : 0;  // the sign
    if (src.layout == ep::LayoutPlanar)
        splitPlanar(src, plus, minus, flipped, clearsRows);
    else if (src.layout == ep::LayoutPacked)
        splitPacked(src, plus, minus, flipped);
    return true;
}

}  // namespace orn

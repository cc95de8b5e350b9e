#include <ep/SameSamples.h>

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <cstring>

namespace ep {

namespace {

template <std::ptrdiff_t sampleBytes>
bool sameRows(const internal::ConstPlaneView& a, const internal::ConstPlaneView& b, qint32 y)
{
    const unsigned char* left = a.row(y);
    const unsigned char* right = b.row(y);
    if (a.pixelStep == sampleBytes && b.pixelStep == sampleBytes)
        return std::memcmp(left, right, static_cast<std::size_t>(a.width * sampleBytes)) == 0;
    for (std::ptrdiff_t x = 0; x < a.width; ++x)
        if (std::memcmp(left + x * a.pixelStep, right + x * b.pixelStep, sampleBytes) != 0)
            return false;
    return true;
}

// Rows that hold all channels side by side in both images are compared whole, else channel by channel.
bool sameStorage(const SxImageBuf& a, const SxImageBuf& b)
{
    const bool sameLayout = a.layout == b.layout;
    const qint32 planes = sameLayout ? internal::storedPlaneCount(a) : a.channels;
    bool same = true;
    internal::visitSampleSize(sampleFacts(a.dataType).bytes, [&](auto tag) {
        constexpr std::ptrdiff_t bytes = sizeof(typename decltype(tag)::Type);
        for (qint32 y = 0; same && y < a.height; ++y)
            for (qint32 i = 0; same && i < planes; ++i)
                same = sameLayout ? sameRows<bytes>(internal::storedPlane(a, i), internal::storedPlane(b, i), y)
                                  : sameRows<bytes>(internal::planeView(a, i), internal::planeView(b, i), y);
    });
    return same;
}

}  // namespace

bool SameSamples(const SxImageBuf& a, const SxImageBuf& b)
{
    if (!a.data || !b.data)
        return !a.data && !b.data;
    return internal::isSound(a) && internal::isSound(b) && a.width == b.width && a.height == b.height
           && a.channels == b.channels && a.dataType == b.dataType && sameStorage(a, b);
}

}  // namespace ep

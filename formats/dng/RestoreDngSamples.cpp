#include "DngPacket.h"

#include <ep/DetectColorBitDepth.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <limits>
#include <type_traits>
#include <utility>

namespace ep {
namespace dng {
namespace {

using namespace internal;

/** Copies samples into a narrower type; false as soon as one does not fit exactly. */
template <typename From, typename To>
bool copyExactly(const ConstPlaneView& source, const PlaneView& destination)
{
    for (qint32 y = 0; y < source.height; ++y) {
        for (qint32 x = 0; x < source.width; ++x) {
            const From value = loadSample<From>(source.sample(x, y));
            // The range comes first: converting a float past it would be undefined.
            if (!(value >= From(0) && value <= From(std::numeric_limits<To>::max())))
                return false;
            const To narrow = static_cast<To>(value);
            if (static_cast<From>(narrow) != value)
                return false;
            storeSample(destination.sample(x, y), narrow);
        }
    }
    return true;
}

template <typename From>
bool copyExactly(ExImageDataType type, const ConstPlaneView& source, const PlaneView& destination)
{
    bool isExact = false;
    visitSampleType(type, [&](auto tag) {
        using To = typename decltype(tag)::Type;
        if constexpr (std::is_unsigned<To>::value && sizeof(To) <= 2 && sizeof(From) > sizeof(To))
            isExact = copyExactly<From, To>(source, destination);
    });
    return isExact;
}

}  // namespace

bool restoreSamples(const DngPacket& packet, CxScopedBuffer& image)
{
    const ExImageDataType type = packet.image.dataType;
    const qint32 depth = packet.image.bitDepth;
    const bool isInteger = type == DataTypeUInt8 || type == DataTypeUInt16;
    if (isInteger && type != image->dataType) {
        SxImageInfo info = image.image();
        info.dataType = type;
        info.bitDepth = sampleFacts(type).bits;
        info.stride = 0;
        CxScopedBuffer narrow(info);
        if (failed(narrow.allocate()))
            return false;
        bool isExact = false;
        visitSampleType(image->dataType, [&](auto tag) {
            using From = typename decltype(tag)::Type;
            isExact = copyExactly<From>(type, planeView(std::as_const(image.image()), 0), planeView(narrow.image(), 0));
        });
        if (isExact)
            image = std::move(narrow);
    }
    // A depth that the samples exceed would make levels that nothing counts.
    qint32 used = 0;
    if (type == image->dataType && depth > 0 && depth <= sampleFacts(type).bits
        && (!isInteger || (!failed(DetectColorBitDepth(image.image(), used)) && used <= depth)))
        image->bitDepth = depth;
    return true;
}

}  // namespace dng
}  // namespace ep

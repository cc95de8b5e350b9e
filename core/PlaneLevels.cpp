#include "PlaneLevels.h"

#include <ep/ExStatus.h>
#include <ep/SetChannel.h>
#include <ep/internal/CopyPlane.h>
#include <ep/internal/SampleVisitor.h>

#include <limits>

namespace orn {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::loadSample;
using ep::internal::planeView;

ConstPlaneView viewOf(const ep::SxImageBuf& image, const SxImagePlane& plane)
{
    const ConstPlaneView whole = planeView(image, plane.channel);
    return {whole.sample(plane.left, plane.top), whole.rowBytes * plane.stepY, whole.pixelStep * plane.stepX,
            plane.width(image), plane.height(image)};
}

/** Makes an image of the size of a plane. */
unsigned int makeCopy(const ep::SxImageInfo& image, const SxImagePlane& plane, ep::ExImageDataType type,
                      ep::CxScopedBuffer& copy)
{
    ep::SxImageInfo info = ep::emptyImage();
    info.width = plane.width(image);
    info.height = plane.height(image);
    info.channels = 1;
    info.dataType = type;
    info.bitDepth = ep::sampleFacts(type).bits;
    info.layout = ep::LayoutPlanar;
    copy = ep::CxScopedBuffer(info);
    return copy.allocate();
}

template <typename Sample>
void readLevels(const ConstPlaneView& from, ep::SxImageBuf& levels)
{
    constexpr qint32 least = std::numeric_limits<Sample>::min();
    auto* to = static_cast<quint16*>(levels.data);  // tight rows on an aligned start
    for (std::ptrdiff_t y = 0; y < from.height; ++y)
        for (std::ptrdiff_t x = 0; x < from.width; ++x)
            *to++ = static_cast<quint16>(loadSample<Sample>(from.sample(x, y)) - least);
}

}  // namespace

qint32 leastSample(ep::ExImageDataType type)
{
    const ep::SxSampleFacts& facts = ep::sampleFacts(type);
    return facts.isSigned ? -(1 << (facts.bits - 1)) : 0;
}

qint32 sampleNumber(const ep::SxImageBuf& image, qint32 channel, const QPoint& place)
{
    qint32 number = 0;
    ep::internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (sizeof(Sample) <= sizeof(quint16))
            number = loadSample<Sample>(planeView(image, channel).sample(place.x(), place.y()));
    });
    return number;
}

unsigned int copyLevels(const ep::SxImageBuf& image, const SxImagePlane& plane, ep::CxScopedBuffer& levels)
{
    const unsigned int made = makeCopy(image, plane, ep::DataTypeUInt16, levels);
    if (ep::failed(made))
        return made;
    ep::ExStatus status = ep::StatusUnsupportedType;
    ep::internal::visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        if constexpr (sizeof(Sample) <= sizeof(quint16)) {
            readLevels<Sample>(viewOf(image, plane), levels.image());
            status = ep::StatusOk;
        }
    });
    return status;
}

unsigned int copyMask(const ep::SxImageBuf& mask, const ep::SxImageInfo& image, const SxImagePlane& plane,
                      ep::CxScopedBuffer& copy)
{
    const unsigned int made = makeCopy(image, plane, ep::DataTypeUInt8, copy);
    if (ep::failed(made) || !mask.data)
        return ep::failed(made) ? made : ep::SetChannel(copy.image(), 0, 1);
    ep::internal::copyPlane(sizeof(quint8),
                            viewOf(mask, SxImagePlane{0, plane.left, plane.top, plane.stepX, plane.stepY}),
                            planeView(copy.image(), 0));
    return ep::StatusOk;
}

}  // namespace orn

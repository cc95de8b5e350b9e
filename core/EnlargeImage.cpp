#include <orn/EnlargeImage.h>

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <limits>
#include <utility>

namespace orn {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::PlaneView;

template <typename Sample>
void enlargePlane(const ConstPlaneView& from, int factor, const PlaneView& to)
{
    for (std::ptrdiff_t y = 0; y < to.height; ++y) {
        for (std::ptrdiff_t x = 0; x < to.width; ++x) {
            const auto sample = ep::internal::loadSample<Sample>(from.sample(x / factor, y / factor));
            ep::internal::storeSample(to.sample(x, y), sample);
        }
    }
}

}  // namespace

unsigned int EnlargeImage(const ep::SxImageBuf& image, int factor, ep::CxScopedBuffer& enlarged)
{
    if (const ep::ExStatus status = ep::internal::checkImage(image))
        return status;
    const qint32 most = std::numeric_limits<qint32>::max();
    if (factor < 1 || image.width > most / factor || image.height > most / factor)
        return ep::StatusInvalidArgument;
    ep::SxImageInfo info = image;
    info.width *= factor;
    info.height *= factor;
    info.stride = 0;
    ep::CxScopedBuffer result(info);
    const unsigned int status = result.allocate();
    if (ep::failed(status))
        return status;
    ep::internal::visitSampleSize(ep::sampleFacts(image.dataType).bytes, [&](auto tag) {
        for (qint32 channel = 0; channel < image.channels; ++channel)
            enlargePlane<typename decltype(tag)::Type>(ep::internal::planeView(image, channel), factor,
                                                       ep::internal::planeView(result.image(), channel));
    });
    enlarged = std::move(result);
    return ep::StatusOk;
}

}  // namespace orn

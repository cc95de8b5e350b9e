#include <orn/OrientImage.h>

#include <ep/ExStatus.h>
#include <ep/ReverseRowOrder.h>
#include <ep/Transpose.h>

#include <utility>

namespace orn {

namespace {

unsigned int transpose(ep::CxScopedBuffer& image)
{
    ep::SxImageInfo info = image.image();
    std::swap(info.width, info.height);
    info.stride = 0;
    ep::CxScopedBuffer turned(info);
    unsigned int status = turned.allocate();
    if (!ep::failed(status))
        status = ep::Transpose(image.image(), turned.image());
    if (!ep::failed(status))
        image = std::move(turned);
    return status;
}

/** What an orientation is made of, from left to right: T transposes, V reverses the rows. */
const char* stepsOf(int orientation)
{
    static constexpr const char* steps[] = {"", "", "TVT", "TVTV", "V", "T", "VT", "VTV", "TV"};
    return orientation >= 0 && orientation <= 8 ? steps[orientation] : nullptr;
}

}  // namespace

unsigned int OrientImage(ep::CxScopedBuffer& image, int orientation)
{
    const char* step = stepsOf(orientation);
    if (!step || !image->data)
        return ep::StatusInvalidArgument;
    unsigned int status = ep::StatusOk;
    for (; *step && !ep::failed(status); ++step)
        status = *step == 'T' ? transpose(image) : ep::ReverseRowOrder(image.image());
    return status;
}

}  // namespace orn

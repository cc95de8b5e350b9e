#include <orn/NonZeroPixels.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>

#include <new>

namespace orn {

unsigned int NonZeroPixels(const ep::SxImageBuf& image, QVector<QPoint>& pixels)
{
    pixels.clear();
    if (const ep::ExStatus status = ep::internal::checkImage(image))
        return status;
    if (image.channels != 1)
        return ep::StatusInvalidArgument;
    if (ep::sampleFacts(image.dataType).bytes != 1)
        return ep::StatusUnsupportedType;
    const ep::internal::ConstPlaneView plane = ep::internal::planeView(image, 0);
    try {
        for (qint32 y = 0; y < plane.height; ++y)
            for (qint32 x = 0; x < plane.width; ++x)
                if (*plane.sample(x, y))
                    pixels << QPoint(x, y);
    } catch (const std::bad_alloc&) {
        pixels.clear();
        return ep::StatusOutOfMemory;
    }
    return ep::StatusOk;
}

}  // namespace orn

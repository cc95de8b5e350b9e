#include <ep/ReverseRowOrder.h>

#include <ep/ExStatus.h>
#include <ep/internal/PlaneView.h>

#include <algorithm>

namespace ep {

unsigned int ReverseRowOrder(SxImageBuf& image)
{
    const ExStatus status = internal::checkImage(image);
    if (failed(status))
        return status;
    const auto rowBytes = static_cast<std::ptrdiff_t>(internal::rowBytes(image).value());
    for (qint32 i = 0; i < internal::storedPlaneCount(image); ++i) {
        const internal::PlaneView plane = internal::storedPlane(image, i);
        for (qint32 top = 0, bottom = plane.height - 1; top < bottom; ++top, --bottom)
            std::swap_ranges(plane.row(top), plane.row(top) + rowBytes, plane.row(bottom));
    }
    return StatusOk;
}

}  // namespace ep

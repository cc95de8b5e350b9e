#include <orn/SubtractImages.h>

#include "SampleDistance.h"

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/ReadRow.h>
#include <ep/internal/SampleVisitor.h>

#include <utility>
#include <vector>

namespace orn {

namespace {

template <typename Real>
bool subtract(const ep::SxImageBuf& a, const ep::SxImageBuf& b, ep::SxImageBuf& difference)
{
    using ep::internal::planeView;
    std::vector<Real> rowA(static_cast<std::size_t>(a.width));
    std::vector<Real> rowB(rowA.size());
    for (qint32 channel = 0; channel < a.channels; ++channel) {
        for (qint32 y = 0; y < a.height; ++y) {
            if (!ep::internal::readRow(planeView(a, channel), a.dataType, y, rowA.data())
                || !ep::internal::readRow(planeView(b, channel), b.dataType, y, rowB.data()))
                return false;
            unsigned char* to = planeView(difference, channel).row(y);
            for (std::size_t x = 0; x < rowA.size(); ++x)
                ep::internal::storeSample(to + x * sizeof(double), static_cast<double>(rowA[x] - rowB[x]));
        }
    }
    return true;
}

}  // namespace

unsigned int SubtractImages(const ep::SxImageBuf& a, const ep::SxImageBuf& b, ep::CxScopedBuffer& difference)
{
    for (const ep::SxImageBuf* image : {&a, &b})
        if (const ep::ExStatus status = ep::internal::checkImage(*image))
            return status;
    if (a.width != b.width || a.height != b.height || a.channels != b.channels)
        return ep::StatusGeometryMismatch;
    ep::SxImageInfo info = a;
    info.dataType = ep::DataTypeDouble;
    info.bitDepth = ep::sampleFacts(info.dataType).bits;
    info.layout = ep::LayoutPlanar;
    info.stride = 0;
    ep::CxScopedBuffer made(info);
    const unsigned int status = made.allocate();
    if (ep::failed(status))
        return status;
    const bool isLarge = needsLongDouble(a) || needsLongDouble(b);
    if (!(isLarge ? subtract<long double>(a, b, made.image()) : subtract<double>(a, b, made.image())))
        return ep::StatusUnsupportedType;
    difference = std::move(made);
    return ep::StatusOk;
}

}  // namespace orn

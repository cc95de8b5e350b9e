#include <orn/SubtractImages.h>

#include "SampleDistance.h"

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/ReadRow.h>
#include <ep/internal/SampleVisitor.h>

#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace orn {

namespace {

/** a - b, rounded once. */
template <typename Number>
double differenceOf(Number a, Number b)
{
    if constexpr (std::is_integral_v<Number>) {
        // How far 64-bit integers are apart takes 64 bits itself, and is rounded alike with either sign.
        const auto distance = static_cast<quint64>(a) - static_cast<quint64>(b);
        return a < b ? -static_cast<double>(-distance) : static_cast<double>(distance);
    } else {
        return static_cast<double>(a - b);
    }
}

/** Reads the samples as numbers of one type, row by row. */
template <typename Number>
bool subtract(const ep::SxImageBuf& a, const ep::SxImageBuf& b, ep::SxImageBuf& difference)
{
    using ep::internal::planeView;
    std::vector<Number> rowA(static_cast<std::size_t>(a.width));
    std::vector<Number> rowB(rowA.size());
    for (qint32 channel = 0; channel < a.channels; ++channel) {
        for (qint32 y = 0; y < a.height; ++y) {
            if (!ep::internal::readRow(planeView(a, channel), a.dataType, y, rowA.data())
                || !ep::internal::readRow(planeView(b, channel), b.dataType, y, rowB.data()))
                return false;
            unsigned char* to = planeView(difference, channel).row(y);
            for (std::size_t x = 0; x < rowA.size(); ++x)
                ep::internal::storeSample(to + x * sizeof(double), differenceOf(rowA[x], rowB[x]));
        }
    }
    return true;
}

bool subtractSamples(const ep::SxImageBuf& a, const ep::SxImageBuf& b, ep::SxImageBuf& difference)
{
    if (!needsLongDouble(a) && !needsLongDouble(b))
        return subtract<double>(a, b, difference);
    if (a.dataType != b.dataType)
        return subtract<long double>(a, b, difference);
    return a.dataType == ep::DataTypeInt64 ? subtract<qint64>(a, b, difference) : subtract<quint64>(a, b, difference);
}

}  // namespace

unsigned int SubtractImages(const ep::SxImageBuf& a, const ep::SxImageBuf& b, ep::CxScopedBuffer& difference)
try {
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
    if (!subtractSamples(a, b, made.image()))
        return ep::StatusUnsupportedType;
    difference = std::move(made);
    return ep::StatusOk;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

}  // namespace orn

#include <orn/CompareChannel.h>

#include "SampleDistance.h"

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/ReadRow.h>

#include <cmath>
#include <limits>
#include <new>
#include <vector>

namespace orn {

namespace {

using ep::internal::ConstPlaneView;
using ep::internal::readRow;

template <typename Real>
void addRow(const std::vector<Real>& a, const std::vector<Real>& b, qint32 y, double tolerance,
            SxChannelComparison& result, Real& squares)
{
    for (std::size_t x = 0; x < a.size(); ++x) {
        const Real apart = sampleDistance(a[x], b[x]);
        squares += apart * apart;
        result.maximumError = std::fmax(result.maximumError, static_cast<double>(apart));
        if (apart <= static_cast<Real>(tolerance))
            continue;
        if (result.differing++ == 0) {
            result.firstColumn = static_cast<qint32>(x);
            result.firstRow = y;
            result.firstA = static_cast<double>(a[x]);
            result.firstB = static_cast<double>(b[x]);
        }
    }
}

template <typename Real>
unsigned int compare(const ep::SxImageBuf& a, const ep::SxImageBuf& b, int channel, double tolerance,
                     SxChannelComparison& result)
{
    const ConstPlaneView viewA = ep::internal::planeView(a, channel);
    const ConstPlaneView viewB = ep::internal::planeView(b, channel);
    std::vector<Real> rowA(static_cast<std::size_t>(a.width));
    std::vector<Real> rowB(rowA.size());
    SxChannelComparison found{static_cast<qint64>(a.width) * a.height, 0, 0, 0, -1, -1, 0, 0};
    Real squares = 0;
    for (qint32 y = 0; y < a.height; ++y) {
        if (!readRow(viewA, a.dataType, y, rowA.data()) || !readRow(viewB, b.dataType, y, rowB.data()))
            return ep::StatusUnsupportedType;
        addRow(rowA, rowB, y, tolerance, found, squares);
    }
    found.rmsError = std::sqrt(static_cast<double>(squares / static_cast<Real>(found.samples)));
    result = found;
    return ep::StatusOk;
}

}  // namespace

unsigned int CompareChannel(const ep::SxImageBuf& a, const ep::SxImageBuf& b, int channel, double tolerance,
                            SxChannelComparison& result)
try {
    for (const ep::SxImageBuf* image : {&a, &b})
        if (const ep::ExStatus status = ep::internal::checkImage(*image))
            return status;
    if (a.width != b.width || a.height != b.height || channel < 0 || channel >= a.channels || channel >= b.channels
        || !(tolerance >= 0))
        return ep::StatusInvalidArgument;
    if (needsLongDouble(a) || needsLongDouble(b))
        return compare<long double>(a, b, channel, tolerance, result);
    return compare<double>(a, b, channel, tolerance, result);
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

double peakSignalToNoise(double rmsError, double peak)
{
    return rmsError > 0 ? 20 * std::log10(peak / rmsError) : std::numeric_limits<double>::infinity();
}

}  // namespace orn

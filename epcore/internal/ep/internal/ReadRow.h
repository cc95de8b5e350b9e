/**
 * @file
 * Samples of any type as numbers of one type.
 */
#pragma once

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

namespace ep {
namespace internal {

/**
 * Reads row @p y of @p plane, whose samples are of @p type, into the view.width numbers at @p row. For work that is one
 * loop over numbers whatever the samples are, where speed is not the point.
 * @return false when the samples are no numbers
 */
template <typename Real>
bool readRow(const ConstPlaneView& plane, ExImageDataType type, std::ptrdiff_t y, Real* row)
{
    return visitSampleType(type, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        for (std::ptrdiff_t x = 0; x < plane.width; ++x)
            row[x] = static_cast<Real>(loadSample<Sample>(plane.sample(x, y)));
    });
}

}  // namespace internal
}  // namespace ep

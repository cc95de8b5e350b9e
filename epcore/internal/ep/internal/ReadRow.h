/**
 * @file
 * Samples of any type as numbers of one type.
 */
#pragma once

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <cstddef>
#include <type_traits>

namespace ep {
namespace internal {

/**
 * Reads row @p y of @p plane, whose samples are of @p type, into the view.width numbers at @p row. For work that is one
 * loop over numbers whatever the samples are.
 * @return false when the samples are no numbers
 */
template <typename Real>
bool readRow(const ConstPlaneView& plane, ExImageDataType type, std::ptrdiff_t y, Real* row)
{
    return visitSampleType(type, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        const auto readSteps = [&](auto step) {
            const unsigned char* samples = plane.row(y);
            for (std::ptrdiff_t x = 0; x < plane.width; ++x)
                row[x] = static_cast<Real>(loadSample<Sample>(samples + x * step));
        };
        // Samples that stand side by side are read several at a time, when the compiler knows that they do.
        constexpr std::integral_constant<std::ptrdiff_t, sizeof(Sample)> sideBySide;
        if (plane.pixelStep == sideBySide)
            readSteps(sideBySide);
        else
            readSteps(plane.pixelStep);
    });
}

}  // namespace internal
}  // namespace ep

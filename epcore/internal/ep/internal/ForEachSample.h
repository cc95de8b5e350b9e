/**
 * @file
 * One visit to every sample of a plane.
 */
#pragma once

#include <ep/internal/PlaneView.h>

namespace ep {
namespace internal {

/**
 * Calls @p work with the address of every sample of @p plane, row by row. Samples that stand side by side get a loop
 * with a constant step of @p sampleBytes, which the compiler turns into vector instructions.
 */
template <std::ptrdiff_t sampleBytes, typename Byte, typename Work>
void forEachSample(const BasicPlaneView<Byte>& plane, Work&& work)
{
    const std::ptrdiff_t width = plane.width;
    const std::ptrdiff_t step = plane.pixelStep;
    for (std::ptrdiff_t y = 0; y < plane.height; ++y) {
        Byte* row = plane.row(y);
        if (step == sampleBytes) {
            for (std::ptrdiff_t x = 0; x < width; ++x)
                work(row + x * sampleBytes);
        } else {
            for (std::ptrdiff_t x = 0; x < width; ++x)
                work(row + x * step);
        }
    }
}

}  // namespace internal
}  // namespace ep

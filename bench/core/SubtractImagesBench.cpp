#include <orn/SubtractImages.h>

#include "AgainstMemcpy.h"

namespace {

/** Subtracts 24-megapixel images. The counters are against a copy of the difference, which is of doubles. */
void subtractImages(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer a = benching::makeImage(type);
    const ep::CxScopedBuffer b = benching::makeImage(type);
    ep::CxScopedBuffer difference;
    benching::labelWith(state, type);
    benching::againstMemcpy(state, sizeof(double) * benching::width * benching::height,
                            [&] { orn::SubtractImages(a.image(), b.image(), difference); });
}

}  // namespace

BENCHMARK(subtractImages)
    ->ArgName("type")
    ->Arg(ep::DataTypeUInt8)
    ->Arg(ep::DataTypeUInt16)
    ->Arg(ep::DataTypeDouble)
    ->Arg(ep::DataTypeUInt64)
    ->Apply(benching::onImages);

#include <orn/SampleBits.h>

#include "AgainstMemcpy.h"

namespace {

/** Looks at every sample of an image. */
void findBits(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer image = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(image.image()), [&] {
        orn::SxSampleBits bits{};
        orn::SampleBits(image.image(), bits);
        benchmark::DoNotOptimize(bits);
    });
}

}  // namespace

BENCHMARK(findBits)
    ->ArgName("type")
    ->Arg(ep::DataTypeUInt8)
    ->Arg(ep::DataTypeUInt16)
    ->Arg(ep::DataTypeInt16)
    ->Arg(ep::DataTypeUInt32)
    ->Arg(ep::DataTypeUInt64)
    ->Apply(benching::onImages);

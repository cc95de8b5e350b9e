#include <ep/SampleRange.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;

/** Smallest and largest sample of one of the given channels. */
void findRange(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const auto channels = static_cast<int>(state.range(1));
    const ep::CxScopedBuffer image = benching::makeImage(type, width, height, channels);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(image.image()), [&] {
        double minimum = 0;
        double maximum = 0;
        ep::SampleRange(image.image(), 0, minimum, maximum);
        benchmark::DoNotOptimize(maximum);
    });
}

}  // namespace

BENCHMARK(findRange)
    ->ArgNames({"type", "channels"})
    ->ArgsProduct({{ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat, ep::DataTypeDouble}, {1, 3}})
    ->Apply(benching::onImages);

#include <ep/DetectColorBitDepth.h>

#include "AgainstMemcpy.h"

namespace {

/** Looks at every sample of an image. */
void detectDepth(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer image = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(image.image()), [&] {
        qint32 depth = 0;
        ep::DetectColorBitDepth(image.image(), depth);
        benchmark::DoNotOptimize(depth);
    });
}

}  // namespace

BENCHMARK(detectDepth)
    ->ArgName("type")
    ->Arg(ep::DataTypeUInt8)
    ->Arg(ep::DataTypeUInt16)
    ->Arg(ep::DataTypeUInt32)
    ->Apply(benching::onImages);

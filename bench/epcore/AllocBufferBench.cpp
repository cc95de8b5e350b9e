#include <ep/AllocBuffer.h>

#include "AgainstMemcpy.h"

namespace {

/** Allocates, touches every byte and frees: what an operation pays for a result of its own. */
void allocateClearedAndFree(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer like = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(like.image()), [&] {
        ep::CxScopedBuffer image(like.image());
        benchmark::DoNotOptimize(image.allocate(true));
    });
}

}  // namespace

BENCHMARK(allocateClearedAndFree)->Apply(benching::eachSampleSize);

#include <ep/AllocAndCopyBuffer.h>

#include "AgainstMemcpy.h"

namespace {

/** Allocates a copy, fills it and frees it. */
void allocateCopyAndFree(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer source = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(source.image()), [&] {
        ep::CxScopedBuffer copy;
        benchmark::DoNotOptimize(ep::AllocAndCopyBuffer(source.image(), copy.image()));
    });
}

}  // namespace

BENCHMARK(allocateCopyAndFree)->Apply(benching::eachSampleSize);

#include <ep/ExImageDataType.h>

#include "AgainstMemcpy.h"

namespace {

/** A thousand calls, against the copies of a thousand entries. */
void lookUpFacts(benchmark::State& state)
{
    constexpr int calls = 1000;
    benching::againstMemcpy(state, calls * sizeof(ep::SxSampleFacts), [&] {
        for (int i = 0; i < calls; ++i)
            benchmark::DoNotOptimize(ep::sampleFacts(i % 16).bytes);
    });
}

}  // namespace

BENCHMARK(lookUpFacts)->UseManualTime()->MinTime(0.2);

#include <ep/CxImageHistogram.h>

#include "AgainstMemcpy.h"

namespace {

/** Sizes a histogram again, which only zeroes its counters. */
void resizeToTheSame(benchmark::State& state)
{
    const auto levels = static_cast<int>(state.range(0));
    ep::CxImageHistogram histogram;
    histogram.resize(3, levels);
    const size_t bytes = 3 * sizeof(qint32) * static_cast<size_t>(levels);
    benching::againstMemcpy(state, bytes, [&] { histogram.resize(3, levels); });
}

/** Makes and releases a histogram. */
void resizeAndClear(benchmark::State& state)
{
    const auto levels = static_cast<int>(state.range(0));
    ep::CxImageHistogram histogram;
    const size_t bytes = 3 * sizeof(qint32) * static_cast<size_t>(levels);
    benching::againstMemcpy(state, bytes, [&] {
        histogram.resize(3, levels);
        histogram.clear();
    });
}

}  // namespace

BENCHMARK(resizeToTheSame)->ArgName("levels")->Arg(256)->Arg(65536)->UseManualTime()->MinTime(0.2);
BENCHMARK(resizeAndClear)->ArgName("levels")->Arg(256)->Arg(65536)->UseManualTime()->MinTime(0.2);

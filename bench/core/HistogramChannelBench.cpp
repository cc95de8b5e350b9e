#include <orn/HistogramChannel.h>

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <vector>

namespace {

constexpr int width = 4000;
constexpr int height = 3000;

double seconds(const std::chrono::steady_clock::time_point& start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** Histogram of one channel in 512 bins; the counter is the time against memcpy of the same bytes. */
void histogramChannel(benchmark::State& state)
{
    ep::CxScopedBuffer image;
    image->width = width;
    image->height = height;
    image->channels = 1;
    image->dataType = static_cast<ep::ExImageDataType>(state.range(0));
    if (ep::failed(image.allocate(true))) {
        state.SkipWithError("no memory");
        return;
    }
    const size_t bytes = static_cast<size_t>(image->stride) * height;
    std::vector<char> copy(bytes);
    double kernel = 0;
    double plainCopy = 0;
    for (auto _ : state) {
        orn::SxChannelHistogram histogram;
        auto start = std::chrono::steady_clock::now();
        orn::HistogramChannel(image.image(), 0, {0, 128, 512}, histogram);
        const double taken = seconds(start);
        benchmark::DoNotOptimize(histogram.counts.data());
        start = std::chrono::steady_clock::now();
        std::memcpy(copy.data(), image->data, bytes);
        benchmark::DoNotOptimize(copy.data());
        plainCopy += seconds(start);
        kernel += taken;
        state.SetIterationTime(taken);
    }
    state.counters["vs_memcpy"] = kernel / plainCopy;
    state.SetLabel(ep::sampleFacts(image->dataType).name);
}

}  // namespace

BENCHMARK(histogramChannel)
    ->ArgName("type")
    ->Arg(ep::DataTypeUInt8)
    ->Arg(ep::DataTypeUInt16)
    ->Arg(ep::DataTypeFloat)
    ->Arg(ep::DataTypeDouble)
    ->UseManualTime();

#include <ep/SampleRange.h>

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

/** Range of one channel; the counter is the time against memcpy of the whole image. */
void sampleRange(benchmark::State& state)
{
    ep::CxScopedBuffer image;
    image->width = width;
    image->height = height;
    image->channels = static_cast<int>(state.range(1));
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
        double minimum = 0;
        double maximum = 0;
        auto start = std::chrono::steady_clock::now();
        ep::SampleRange(image.image(), 0, minimum, maximum);
        const double taken = seconds(start);
        benchmark::DoNotOptimize(maximum);
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

BENCHMARK(sampleRange)
    ->ArgNames({"type", "channels"})
    ->ArgsProduct({{ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat, ep::DataTypeDouble}, {1, 3}})
    ->UseManualTime();

#include <orn/DifferencePicture.h>

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

/** The picture of two images that differ in half of their samples; the counter is the time against memcpy of one. */
void differencePicture(benchmark::State& state)
{
    ep::CxScopedBuffer images[2];
    for (ep::CxScopedBuffer& image : images) {
        image->width = width;
        image->height = height;
        image->channels = static_cast<int>(state.range(1));
        image->dataType = static_cast<ep::ExImageDataType>(state.range(0));
        if (ep::failed(image.allocate(true))) {
            state.SkipWithError("no memory");
            return;
        }
    }
    const size_t bytes = static_cast<size_t>(images[0]->stride) * height;
    std::memset(images[1]->data, 1, bytes / 2);
    std::vector<char> copy(bytes);
    double kernel = 0;
    double plainCopy = 0;
    for (auto _ : state) {
        ep::CxScopedBuffer picture;
        auto start = std::chrono::steady_clock::now();
        orn::DifferencePicture(images[0].image(), images[1].image(), picture);
        const double taken = seconds(start);
        benchmark::DoNotOptimize(picture->data);
        start = std::chrono::steady_clock::now();
        std::memcpy(copy.data(), images[0]->data, bytes);
        benchmark::DoNotOptimize(copy.data());
        plainCopy += seconds(start);
        kernel += taken;
        state.SetIterationTime(taken);
    }
    state.counters["vs_memcpy"] = kernel / plainCopy;
    state.SetLabel(ep::sampleFacts(images[0]->dataType).name);
}

}  // namespace

BENCHMARK(differencePicture)
    ->ArgNames({"type", "channels"})
    ->ArgsProduct({{ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat}, {1, 3}})
    ->UseManualTime();

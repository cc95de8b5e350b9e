/**
 * @file
 * Benchmarks of services that move samples: 24-megapixel images, and a plain copy as the yardstick.
 */
#pragma once

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <vector>

namespace benching {

constexpr int width = 6000;
constexpr int height = 4000;

/** The sample types that stand for the sizes 1, 2, 4, 8 and 16. */
constexpr ep::ExImageDataType typeOfEachSize[] = {ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat,
                                                  ep::DataTypeDouble, ep::DataTypeComplex};

/** Bytes of the storage of an image. */
inline size_t storageBytes(const ep::SxImageInfo& image)
{
    const size_t plane = static_cast<size_t>(image.stride) * static_cast<size_t>(image.height);
    return image.layout == ep::LayoutPlanar ? plane * static_cast<size_t>(image.channels) : plane;
}

/** An allocated image whose storage is filled, so that its pages are there and its samples differ. */
inline ep::CxScopedBuffer makeImage(ep::ExImageDataType type, int columns = width, int rows = height, int channels = 1,
                                    ep::ExImageLayout layout = ep::LayoutPacked)
{
    ep::CxScopedBuffer image;
    image->width = columns;
    image->height = rows;
    image->channels = channels;
    image->dataType = type;
    image->bitDepth = ep::sampleFacts(type).bits;
    image->layout = layout;
    if (ep::failed(image.allocate()))
        qFatal("no memory for a benchmark image");
    auto* bytes = static_cast<unsigned char*>(image->data);
    quint32 random = 1;
    for (size_t i = 0, n = storageBytes(image.image()); i < n; ++i) {
        random = random * 1664525 + 1013904223;
        bytes[i] = static_cast<unsigned char>(random >> 24);
    }
    return image;
}

/** Seconds that @p work takes. */
template <typename Work>
double secondsOf(Work&& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** The middle one of some measured times: one run that the system held up does not count. */
inline double medianOf(std::vector<double> times)
{
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

/**
 * Runs @p work, and beside each run a memcpy of @p bytes bytes between two buffers of the same kind. The time is that
 * of the work; the counter vs_memcpy is the ratio of the medians of both, GB/s counts @p bytes once.
 */
template <typename Work>
void againstMemcpy(benchmark::State& state, size_t bytes, Work&& work)
{
    const auto columns = static_cast<int>((bytes + height - 1) / height);
    const ep::CxScopedBuffer from = makeImage(ep::DataTypeUInt8, columns);
    const ep::CxScopedBuffer to = makeImage(ep::DataTypeUInt8, columns);
    std::vector<double> worked;
    std::vector<double> copied;
    for (auto _ : state) {
        worked.push_back(secondsOf(work));
        state.SetIterationTime(worked.back());
        copied.push_back(secondsOf([&] { std::memcpy(to->data, from->data, bytes); }));
    }
    state.counters["vs_memcpy"] = medianOf(worked) / medianOf(copied);
    state.counters["GB/s"] = static_cast<double>(bytes) / medianOf(worked) / 1e9;
}

/** How often work on whole images runs. A given number: even the slowest one is to have a median. */
inline void onImages(benchmark::internal::Benchmark* benchmark)
{
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(15);
}

/** Names the sample type of a benchmark. */
inline void labelWith(benchmark::State& state, ep::ExImageDataType type)
{
    state.SetLabel(ep::sampleFacts(type).name);
}

/** Arguments "type" for one type of each sample size, in milliseconds. */
inline void eachSampleSize(benchmark::internal::Benchmark* benchmark)
{
    for (const ep::ExImageDataType type : typeOfEachSize)
        benchmark->Arg(type);
    onImages(benchmark->ArgName("type"));
}

}  // namespace benching

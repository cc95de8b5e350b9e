#include <ep/DetectColorBitDepth.h>

#include "AgainstMemcpy.h"

namespace {

/** The least that can be done with all bytes of an image: they are added up, a word at a time. */
void readOnce(const ep::SxImageBuf& image)
{
    const auto* words = static_cast<const quint64*>(image.data);
    quint64 sum = 0;
    for (size_t i = 0, n = benching::storageBytes(image) / sizeof(quint64); i < n; ++i)
        sum += words[i];
    benchmark::DoNotOptimize(sum);
}

/** Looks at every sample of an image. */
void detectDepth(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer image = benching::makeImage(type);
    benching::labelWith(state, type);
    std::vector<double> detecting;
    std::vector<double> reading;
    for (auto _ : state) {
        detecting.push_back(benching::secondsOf([&] {
            qint32 depth = 0;
            ep::DetectColorBitDepth(image.image(), depth);
            benchmark::DoNotOptimize(depth);
        }));
        state.SetIterationTime(detecting.back());
        reading.push_back(benching::secondsOf([&] { readOnce(image.image()); }));
    }
    state.counters["vs_read"] = benching::medianOf(detecting) / benching::medianOf(reading);
}

}  // namespace

BENCHMARK(detectDepth)
    ->ArgName("type")
    ->Arg(ep::DataTypeUInt8)
    ->Arg(ep::DataTypeUInt16)
    ->Arg(ep::DataTypeUInt32)
    ->Apply(benching::onImages);

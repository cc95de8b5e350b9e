#include <ep/HistogramMasked.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;

enum Admitted { Everything, HalfAtRandom, Nothing };

/** A mask that admits that much of an image. */
ep::CxScopedBuffer makeMask(Admitted admitted)
{
    ep::CxScopedBuffer mask = benching::makeImage(ep::DataTypeUInt8);
    auto* bytes = static_cast<unsigned char*>(mask->data);
    for (size_t i = 0, n = benching::storageBytes(mask.image()); i < n; ++i)
        bytes[i] = admitted == HalfAtRandom ? bytes[i] / 128 : admitted == Everything;
    return mask;
}

/** Counts an image of the given channels under a mask. */
void countLevels(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const auto channels = static_cast<int>(state.range(1));
    const bool constant = state.range(2) != 0;
    const ep::CxScopedBuffer image = benching::makeImage(type, width, height, channels);
    if (constant)
        std::memset(image->data, 0, benching::storageBytes(image.image()));
    const ep::CxScopedBuffer mask = makeMask(Admitted(state.range(3)));
    ep::CxImageHistogram histogram;
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(image.image()), [&] {
        histogram.resize(channels, 1 << image->bitDepth);
        ep::HistogramMasked(image.image(), mask.image(), histogram);
    });
}

}  // namespace

// A constant image waits for the same counter all the time.
BENCHMARK(countLevels)
    ->ArgNames({"type", "channels", "constant", "mask"})
    ->ArgsProduct({{ep::DataTypeUInt8, ep::DataTypeUInt16}, {1, 3}, {0, 1}, {Everything, HalfAtRandom, Nothing}})
    ->Apply(benching::onImages);

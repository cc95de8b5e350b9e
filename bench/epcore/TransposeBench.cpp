#include <ep/Transpose.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;

/** Turns an image of the given width, 4000 rows and channels. */
void transposeImage(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const auto columns = static_cast<int>(state.range(1));
    const auto channels = static_cast<int>(state.range(2));
    const ep::CxScopedBuffer source = benching::makeImage(type, columns, height, channels);
    ep::CxScopedBuffer turned = benching::makeImage(type, height, columns, channels);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(source.image()),
                            [&] { ep::Transpose(source.image(), turned.image()); });
}

// 8192 columns: rows whose distance is a power of two meet in the same lines of the cache.
void eachShape(benchmark::internal::Benchmark* benchmark)
{
    for (const ep::ExImageDataType type : benching::typeOfEachSize)
        for (const int columns : {width, 8192})
            benchmark->Args({type, columns, 1});
    for (const int type : {ep::DataTypeUInt8, ep::DataTypeUInt16})
        benchmark->Args({type, width, 3});
    benching::onImages(benchmark->ArgNames({"type", "columns", "channels"}));
}

}  // namespace

BENCHMARK(transposeImage)->Apply(eachShape);

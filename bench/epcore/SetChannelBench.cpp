#include <ep/SetChannel.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;

/** Fills the channel of a mask-like image. */
void fillPlane(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    ep::CxScopedBuffer image = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(image.image()), [&] { ep::SetChannel(image.image(), 0, 1); });
}

/** Fills one of three packed channels. */
void fillPackedChannel(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    ep::CxScopedBuffer image = benching::makeImage(type, width, height, 3);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(image.image()), [&] { ep::SetChannel(image.image(), 1, 1); });
}

/** One type of each size that the service computes with. */
void eachType(benchmark::internal::Benchmark* benchmark)
{
    for (const int type : {ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat, ep::DataTypeDouble})
        benchmark->Arg(type);
    benching::onImages(benchmark->ArgName("type"));
}

}  // namespace

BENCHMARK(fillPlane)->Apply(eachType);
BENCHMARK(fillPackedChannel)->Apply(eachType);

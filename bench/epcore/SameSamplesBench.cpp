#include <ep/SameSamples.h>

#include "AgainstMemcpy.h"

#include <ep/ConvertPackPixelToPlanar.h>

namespace {

using benching::height;
using benching::width;

/** Compares two equal images of one layout. */
void compareEqual(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer a = benching::makeImage(type);
    const ep::CxScopedBuffer b = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(a.image()),
                            [&] { benchmark::DoNotOptimize(ep::SameSamples(a.image(), b.image())); });
}

/** Compares an image of three packed channels with its planes. */
void comparePackedWithPlanar(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer a = benching::makeImage(type, width, height, 3);
    ep::CxScopedBuffer b = benching::makeImage(type, width, height, 3, ep::LayoutPlanar);
    ep::ConvertPackPixelToPlanar(a.image(), b.image());
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(a.image()),
                            [&] { benchmark::DoNotOptimize(ep::SameSamples(a.image(), b.image())); });
}

}  // namespace

BENCHMARK(compareEqual)->Apply(benching::eachSampleSize);
BENCHMARK(comparePackedWithPlanar)->Apply(benching::eachSampleSize);

#include <ep/ConvertPlanarRawToRaw.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;

/** Interleaves four planes into a mosaic. */
void mergeMosaic(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer planes = benching::makeImage(type, width / 2, height / 2, 4, ep::LayoutPlanar);
    ep::CxScopedBuffer mosaic = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(mosaic.image()),
                            [&] { ep::ConvertPlanarRawToRaw(planes.image(), mosaic.image(), ep::BayerGridRGGB); });
}

}  // namespace

BENCHMARK(mergeMosaic)->Apply(benching::eachSampleSize);

#include <ep/ConvertPackPixelToPlanar.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;

/** Separates the channels of a colour image. */
void separateChannels(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const auto channels = static_cast<int>(state.range(1));
    const ep::CxScopedBuffer packed = benching::makeImage(type, width, height, channels);
    ep::CxScopedBuffer planar = benching::makeImage(type, width, height, channels, ep::LayoutPlanar);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(packed.image()),
                            [&] { ep::ConvertPackPixelToPlanar(packed.image(), planar.image()); });
}

/** Splits a mosaic into four planes. */
void splitMosaic(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    ep::CxScopedBuffer mosaic = benching::makeImage(type);
    mosaic->bayerGrid = ep::BayerGridRGGB;
    ep::CxScopedBuffer planes = benching::makeImage(type, width / 2, height / 2, 4, ep::LayoutPlanar);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(mosaic.image()),
                            [&] { ep::ConvertPackPixelToPlanar(mosaic.image(), planes.image()); });
}

}  // namespace

BENCHMARK(separateChannels)
    ->ArgNames({"type", "channels"})
    ->ArgsProduct({{ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat, ep::DataTypeDouble}, {2, 3, 4}})
    ->Apply(benching::onImages);
BENCHMARK(splitMosaic)->Apply(benching::eachSampleSize);

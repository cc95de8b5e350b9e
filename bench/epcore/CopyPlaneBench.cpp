#include <ep/internal/CopyPlane.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;
using ep::internal::PlanePair;
using ep::internal::planeView;

/** Puts planes together as the channels of a packed image. */
void interleaveChannels(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const auto channels = static_cast<int>(state.range(1));
    const ep::CxScopedBuffer planar = benching::makeImage(type, width, height, channels, ep::LayoutPlanar);
    ep::CxScopedBuffer packed = benching::makeImage(type, width, height, channels);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(packed.image()), [&] {
        ep::internal::copyPlanes(ep::sampleFacts(type).bytes, channels, [&](int channel) {
            return PlanePair{planeView(planar.image(), channel), planeView(packed.image(), channel)};
        });
    });
}

/** Copies a plane whose samples stand side by side on both sides. */
void copyTightPlane(benchmark::State& state)
{
    const auto type = ep::ExImageDataType(state.range(0));
    const ep::CxScopedBuffer source = benching::makeImage(type);
    ep::CxScopedBuffer copy = benching::makeImage(type);
    benching::labelWith(state, type);
    benching::againstMemcpy(state, benching::storageBytes(copy.image()), [&] {
        ep::internal::copyPlane(ep::sampleFacts(type).bytes, planeView(source.image(), 0), planeView(copy.image(), 0));
    });
}

}  // namespace

BENCHMARK(interleaveChannels)
    ->ArgNames({"type", "channels"})
    ->ArgsProduct({{ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat}, {2, 3, 4}})
    ->Apply(benching::onImages);
BENCHMARK(copyTightPlane)->Apply(benching::eachSampleSize);

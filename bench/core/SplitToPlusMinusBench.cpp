#include <orn/SplitToPlusMinus.h>

#include "AgainstMemcpy.h"

#include <ep/internal/SampleVisitor.h>

namespace {

/** Splits a 24-megapixel image whose signs are random. The counters are against a copy of the image. */
void splitToPlusMinus(benchmark::State& state)
{
    ep::CxScopedBuffer src =
        benching::makeImage(ep::DataTypeDouble, benching::width, benching::height, 1, ep::LayoutPlanar);
    auto* samples = static_cast<unsigned char*>(src->data);
    quint32 random = 1;
    for (size_t i = 0; i < benching::storageBytes(src.image()); i += sizeof(double)) {
        random = random * 1664525 + 1013904223;
        ep::internal::storeSample(samples + i, static_cast<double>(static_cast<qint32>(random)));
    }
    ep::CxScopedBuffer plus =
        benching::makeImage(ep::DataTypeDouble, benching::width, benching::height, 1, ep::LayoutPlanar);
    ep::CxScopedBuffer minus =
        benching::makeImage(ep::DataTypeDouble, benching::width, benching::height, 1, ep::LayoutPlanar);
    benching::againstMemcpy(state, benching::storageBytes(src.image()),
                            [&] { orn::SplitToPlusMinus(src.image(), plus.image(), minus.image(), true); });
}

}  // namespace

BENCHMARK(splitToPlusMinus)->Apply(benching::onImages);

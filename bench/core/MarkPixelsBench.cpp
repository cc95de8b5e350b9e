#include <orn/MarkPixels.h>

#include "AgainstMemcpy.h"

namespace {

using namespace benching;

/** Marks pixels all over a grey picture; argument: how many. */
void markPixels(benchmark::State& state)
{
    const ep::CxScopedBuffer picture = makeImage(ep::DataTypeUInt8, 3000, 2000);
    QVector<QPoint> pixels;
    quint32 random = 1;
    for (qint64 i = 0; i < state.range(0); ++i) {
        random = random * 1664525 + 1013904223;
        pixels << QPoint(static_cast<int>((random >> 16) % 3000), static_cast<int>(i * 2000 / state.range(0)));
    }
    againstMemcpy(state, storageBytes(picture.image()), [&] {
        ep::CxScopedBuffer marked;
        orn::MarkPixels(picture.image(), pixels, 1, marked);
        benchmark::DoNotOptimize(marked->data);
    });
}

}  // namespace

BENCHMARK(markPixels)->ArgName("pixels")->Arg(0)->Arg(100)->Arg(100000)->Apply(onImages);

#include <ep/Transpose.h>

#include <ep/internal/TransposePlane.h>

#include "AgainstMemcpy.h"

namespace {

using benching::height;
using benching::width;

struct Turn {
    ep::CxScopedBuffer source;
    ep::CxScopedBuffer turned;

    explicit Turn(benchmark::State& state)
        : source(benching::makeImage(ep::ExImageDataType(state.range(0)), int(state.range(1)), int(state.range(2)),
                                     int(state.range(3)))),
          turned(benching::makeImage(ep::ExImageDataType(state.range(0)), int(state.range(2)), int(state.range(1)),
                                     int(state.range(3))))
    {
        benching::labelWith(state, ep::ExImageDataType(state.range(0)));
    }
};

/** Turns an image of the given width, height and channels. */
void transposeImage(benchmark::State& state)
{
    Turn turn(state);
    benching::againstMemcpy(state, benching::storageBytes(turn.source.image()),
                            [&] { ep::Transpose(turn.source.image(), turn.turned.image()); });
}

/** The same of one channel, last row first; vs_plain is the ratio to doing so in the order of the rows. */
void transposeReversedRows(benchmark::State& state)
{
    Turn turn(state);
    const qint32 bytes = ep::sampleFacts(turn.source->dataType).bytes;
    const ep::internal::ConstPlaneView source = ep::internal::planeView(turn.source.image(), 0);
    const ep::internal::PlaneView turned = ep::internal::planeView(turn.turned.image(), 0);
    std::vector<double> reversed;
    std::vector<double> plain;
    for (auto _ : state) {
        reversed.push_back(
            benching::secondsOf([&] { ep::internal::transposePlane(bytes, source.reversedRows(), turned); }));
        state.SetIterationTime(reversed.back());
        plain.push_back(benching::secondsOf([&] { ep::internal::transposePlane(bytes, source, turned); }));
    }
    state.counters["vs_plain"] = benching::medianOf(reversed) / benching::medianOf(plain);
}

void eachSize(benchmark::internal::Benchmark* benchmark)
{
    for (const ep::ExImageDataType type : benching::typeOfEachSize)
        benchmark->Args({type, width, height, 1});
    benching::onImages(benchmark->ArgNames({"type", "columns", "rows", "channels"}));
}

// Rows whose distance is a power of two meet in the same lines of the cache; those of odd sizes begin anywhere in a
// line.
void eachShape(benchmark::internal::Benchmark* benchmark)
{
    eachSize(benchmark);
    for (const ep::ExImageDataType type :
         {ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeFloat, ep::DataTypeDouble}) {
        benchmark->Args({type, 4096, 4096, 1});
        benchmark->Args({type, 6001, 4003, 1});
    }
    for (const int type : {ep::DataTypeUInt8, ep::DataTypeUInt16})
        benchmark->Args({type, width, height, 3});
}

}  // namespace

BENCHMARK(transposeImage)->Apply(eachShape);
BENCHMARK(transposeReversedRows)->Apply(eachSize);

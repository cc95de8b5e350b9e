#include <orn/CxDefectSearch.h>

#include "AgainstMemcpy.h"

#include <random>

namespace {

/** A mosaic of 24 megapixels: noise of four bits above 512, and one sample in 10,000 that is hot. */
ep::CxScopedBuffer darkFrame(quint32 seed)
{
    ep::CxScopedBuffer frame = benching::makeImage(ep::DataTypeUInt16);
    frame->bayerGrid = ep::BayerGridRGGB;
    auto* samples = static_cast<quint16*>(frame->data);
    std::mt19937 random(seed);
    for (qint64 i = 0; i < qint64(benching::width) * benching::height; ++i)
        samples[i] = static_cast<quint16>(512 + random() % 8 + random() % 8 + (i % 10000 == 77 ? 2000 : 0));
    return frame;
}

/** One more frame of many. */
void addFrame(benchmark::State& state)
{
    const ep::CxScopedBuffer frame = darkFrame(1);
    orn::CxDefectSearch search;
    search.addFrame(frame.image());
    benching::againstMemcpy(state, benching::storageBytes(frame.image()), [&] { search.addFrame(frame.image()); });
}

/** The judgement of 16 frames. */
void result(benchmark::State& state)
{
    orn::CxDefectSearch search;
    size_t bytes = 0;
    for (quint32 i = 0; i < 16; ++i) {
        const ep::CxScopedBuffer frame = darkFrame(i + 1);
        search.addFrame(frame.image());
        bytes = benching::storageBytes(frame.image());
    }
    QVector<orn::SxDefect> defects;
    QVector<orn::SxDefectPlane> planes;
    benching::againstMemcpy(state, bytes, [&] { search.result({}, defects, planes); });
    state.counters["defects"] = defects.size();
}

}  // namespace

BENCHMARK(addFrame)->Apply(benching::onImages);
BENCHMARK(result)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

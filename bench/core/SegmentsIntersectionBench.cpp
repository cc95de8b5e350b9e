#include <orn/SegmentsIntersection.h>

#include <benchmark/benchmark.h>

#include <QVector>

namespace {

/** A segment against many, of which about half meet it. */
void segmentsIntersection(benchmark::State& state)
{
    constexpr int count = 1000;
    QVector<QPointF> ends;
    for (int i = 0; i < 2 * count; ++i)
        ends << QPointF((i * 37) % 101, (i * 53) % 97);
    for (auto _ : state) {
        int met = 0;
        QPointF point;
        for (int i = 0; i < count; ++i)
            met += orn::SegmentsIntersection({0, 40}, {100, 60}, ends[2 * i], ends[2 * i + 1], point);
        benchmark::DoNotOptimize(met);
    }
    state.counters["calls"] = benchmark::Counter(count, benchmark::Counter::kIsIterationInvariantRate);
}

}  // namespace

BENCHMARK(segmentsIntersection);

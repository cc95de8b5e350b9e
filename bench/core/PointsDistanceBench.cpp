#include <orn/PointsDistance.h>

#include <benchmark/benchmark.h>

#include <QVector>

namespace {

/** The length of a way over many points; a call is dominated by its root. */
void pointsDistance(benchmark::State& state)
{
    constexpr int count = 1000;
    QVector<QPointF> way;
    for (int i = 0; i < count; ++i)
        way << QPointF(i * 0.7, (i * i) % 31);
    for (auto _ : state) {
        double length = 0;
        for (int i = 1; i < count; ++i)
            length += orn::PointsDistance(way[i - 1], way[i]);
        benchmark::DoNotOptimize(length);
    }
    state.counters["calls"] = benchmark::Counter(count - 1, benchmark::Counter::kIsIterationInvariantRate);
}

}  // namespace

BENCHMARK(pointsDistance);

#include <orn/CxProgressInfo.h>

#include <benchmark/benchmark.h>

namespace {

/** What a worker pays per step with nobody watching. */
void setTotalProgress(benchmark::State& state)
{
    orn::CxProgressInfo progress;
    const QString message = QStringLiteral("Detecting color depth...");
    double percent = 0;
    for (auto _ : state) {
        progress.setTotalProgress(percent, message);
        percent = percent < 100 ? percent + 1 : 0;
    }
}

/** The question between two pieces of work. */
void isCanceled(benchmark::State& state)
{
    orn::CxProgressInfo progress;
    for (auto _ : state)
        benchmark::DoNotOptimize(progress.isCanceled());
}

/** A watcher's look. */
void getInfo(benchmark::State& state)
{
    orn::CxProgressInfo progress;
    progress.setTotalProgress(40, QStringLiteral("total"));
    double total = 0;
    double task = 0;
    QString totalMessage;
    QString taskMessage;
    for (auto _ : state) {
        progress.getInfo(total, totalMessage, task, taskMessage);
        benchmark::DoNotOptimize(total);
    }
}

}  // namespace

BENCHMARK(setTotalProgress);
BENCHMARK(isCanceled);
BENCHMARK(getInfo);

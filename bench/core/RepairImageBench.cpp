#include <orn/RepairImage.h>

#include "RepairBenching.h"
#include "RepairReference.h"

namespace {

using Records = QVector<orn::InvalidPixel>;

/** Seconds of the search done as plainly as it is told: the median of a few runs. */
double secondsOfReference(benching::DamagedImage& damaged)
{
    testing::RepairReference<quint16> reference(damaged.image(), damaged.mask(), damaged.tables());
    std::vector<double> seconds;
    for (int i = 0; i < 5; ++i) {
        damaged.damage();
        seconds.push_back(benching::secondsOf([&] { benchmark::DoNotOptimize(reference.repair().size()); }));
    }
    return benching::medianOf(seconds);
}

/** Repairs a 24-megapixel image of which the given part is invalid; gain = how many times faster than the reference. */
void repairImage(benchmark::State& state, bool hasRecords)
{
    benching::DamagedImage damaged(static_cast<double>(state.range(0)) / 1000);
    const auto tables = const_cast<const bool**>(damaged.tables());
    const double reference = secondsOfReference(damaged);
    const double repair = benching::againstReading(
        state, damaged.image(),
        [&] {
            Records records;
            orn::RepairImage(damaged.image(), damaged.mask(), tables, hasRecords ? &records : nullptr);
        },
        [&] { damaged.damage(); });
    state.counters["gain"] = reference / repair;
}

/** The worst image: nothing is valid. */
void repairImageWithoutSources(benchmark::State& state)
{
    benching::DamagedImage damaged(1);
    const auto tables = const_cast<const bool**>(damaged.tables());
    benching::againstReading(state, damaged.image(),
                             [&] { orn::RepairImage(damaged.image(), damaged.mask(), tables, nullptr); });
}

void eachDamage(benchmark::internal::Benchmark* benchmark)
{
    benching::onImages(benchmark->ArgName("permille")->Arg(0)->Arg(1)->Arg(10)->Arg(100));
}

}  // namespace

BENCHMARK_CAPTURE(repairImage, plain, false)->Apply(eachDamage);
BENCHMARK_CAPTURE(repairImage, records, true)->Apply(eachDamage);
BENCHMARK(repairImageWithoutSources)->Apply(benching::onImages);

#include <orn/GetLevelsToRepair.h>

#include "RepairBenching.h"

namespace {

/** Finds the damaged levels of a 24-megapixel image. */
void getLevelsToRepair(benchmark::State& state)
{
    const benching::DamagedImage damaged(static_cast<double>(state.range(0)) / 1000);
    int low = 0;
    int high = 65535;
    benching::againstReading(state, damaged.image(), [&] {
        orn::GetLevelsToRepair(damaged.image(), damaged.mask(), &low, &high, damaged.tables());
    });
}

}  // namespace

BENCHMARK(getLevelsToRepair)->ArgName("permille")->Arg(0)->Arg(1)->Arg(10)->Arg(100)->Apply(benching::onImages);

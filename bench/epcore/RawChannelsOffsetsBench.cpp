#include <ep/RawChannelsOffsets.h>

#include "AgainstMemcpy.h"

namespace {

using benching::width;

/** A thousand calls, against the copies of a thousand records. */
void tellOffsets(benchmark::State& state)
{
    ep::SxImageBuf mosaic{};
    mosaic.channels = 1;
    mosaic.stride = 2 * width;
    mosaic.dataType = ep::DataTypeUInt16;
    constexpr int calls = 1000;
    benching::againstMemcpy(state, calls * sizeof(mosaic), [&] {
        for (int i = 0; i < calls; ++i) {
            qint32 offsets[4];
            mosaic.bayerGrid = ep::ExBayerGrid(i % 4);
            ep::RawChannelsOffsets(mosaic, offsets[0], offsets[1], offsets[2], offsets[3]);
            benchmark::DoNotOptimize(offsets);
        }
    });
}

}  // namespace

BENCHMARK(tellOffsets)->UseManualTime()->MinTime(0.2);

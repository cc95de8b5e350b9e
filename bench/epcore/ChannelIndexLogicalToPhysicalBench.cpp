#include <ep/ChannelIndexLogicalToPhysical.h>

#include "AgainstMemcpy.h"

namespace {

/** A thousand calls, against the copies of a thousand records. */
void mapChannels(benchmark::State& state)
{
    ep::SxImageBuf image = ep::emptyImage();
    image.channels = 4;
    image.formatCode = ep::FormatCodeReversedColors;
    constexpr int calls = 1000;
    benching::againstMemcpy(state, calls * sizeof(image), [&] {
        for (int i = 0; i < calls; ++i)
            benchmark::DoNotOptimize(ep::ChannelIndexLogicalToPhysical(i % 4, image));
    });
}

}  // namespace

BENCHMARK(mapChannels)->UseManualTime()->MinTime(0.2);

#include <orn/RepairPlanes.h>

#include <orn/ReplayRepairs.h>

#include "AgainstMemcpy.h"

namespace {

using namespace benching;

/** A mosaic, or a photograph of three channels, in which about one of 256 samples is below 256. */
ep::CxScopedBuffer damagedImage(int channels)
{
    ep::CxScopedBuffer image = makeImage(ep::DataTypeUInt16, width / channels, height, channels);
    if (channels == 1)
        image->bayerGrid = ep::BayerGridRGGB;
    return image;
}

/** Repairs 24 million samples of which one in 256 is broken, and puts the old ones back. */
void repairPlanes(benchmark::State& state)
{
    ep::CxScopedBuffer image = damagedImage(static_cast<int>(state.range(0)));
    orn::SxInvalidLevels levels;
    levels.low = 255;
    QVector<orn::SxRepairedSample> repaired;
    std::vector<double> worked;
    std::vector<double> copied;
    ep::CxScopedBuffer copy = damagedImage(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        qint32 plane = 0;
        worked.push_back(secondsOf([&] {
            orn::RepairPlanes(image.image(), ep::emptyImage(), {{levels}, {}}, repaired, plane);
        }));
        state.SetIterationTime(worked.back());
        for (orn::SxRepairedSample& sample : repaired)
            std::swap(sample.oldValue, sample.newValue);
        int wrong = 0;
        orn::ReplayRepairs(image.image(), repaired, wrong);
        copied.push_back(secondsOf([&] { std::memcpy(copy->data, image->data, storageBytes(image.image())); }));
    }
    state.counters["vs_memcpy"] = medianOf(worked) / medianOf(copied);
    state.counters["repaired"] = static_cast<double>(repaired.size());
}

/** Changes about 94,000 samples of a mosaic, again and again. */
void replayRepairs(benchmark::State& state)
{
    ep::CxScopedBuffer image = damagedImage(1);
    orn::SxInvalidLevels levels;
    levels.low = 255;
    QVector<orn::SxRepairedSample> repaired;
    qint32 plane = 0;
    orn::RepairPlanes(image.image(), ep::emptyImage(), {{levels}, {}}, repaired, plane);
    againstMemcpy(state, storageBytes(image.image()), [&] {
        for (orn::SxRepairedSample& sample : repaired)
            std::swap(sample.oldValue, sample.newValue);
        int wrong = 0;
        orn::ReplayRepairs(image.image(), repaired, wrong);
    });
    state.counters["repaired"] = static_cast<double>(repaired.size());
}

}  // namespace

BENCHMARK(repairPlanes)->ArgName("channels")->Arg(1)->Arg(3)->Apply(onImages);
BENCHMARK(replayRepairs)->Apply(onImages);

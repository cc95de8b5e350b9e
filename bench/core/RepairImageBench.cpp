#include <orn/RepairImage.h>

#include "RepairBenching.h"

#include <opencv2/imgproc.hpp>

namespace {

/** Repairs a 24-megapixel image of which the given part is invalid. */
void repairImage(benchmark::State& state)
{
    benching::DamagedImage damaged(static_cast<double>(state.range(0)) / 1000);
    const auto tables = const_cast<const bool**>(damaged.tables());
    benching::againstReading(
        state, damaged.image(), [&] { orn::RepairImage(damaged.image(), damaged.mask(), tables, nullptr); },
        [&] { damaged.damage(); });
}

/** The same, with a list of what was repaired. */
void repairImageWithRecords(benchmark::State& state)
{
    benching::DamagedImage damaged(static_cast<double>(state.range(0)) / 1000);
    const auto tables = const_cast<const bool**>(damaged.tables());
    benching::againstReading(
        state, damaged.image(),
        [&] {
            QVector<orn::InvalidPixel> records;
            orn::RepairImage(damaged.image(), damaged.mask(), tables, &records);
        },
        [&] { damaged.damage(); });
}

/** The yardstick: what people take who do not know which pixels are invalid. On one thread, as the repair. */
void medianFilter3x3(benchmark::State& state)
{
    benching::DamagedImage damaged(static_cast<double>(state.range(0)) / 1000);
    cv::setNumThreads(1);
    const ep::SxImageBuf& image = damaged.image();
    const cv::Mat from(image.height, image.width, CV_16UC1, image.data, static_cast<size_t>(image.stride));
    cv::Mat to;
    benching::againstReading(state, image, [&] { cv::medianBlur(from, to, 3); });
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

BENCHMARK(repairImage)->Apply(eachDamage);
BENCHMARK(repairImageWithRecords)->Apply(eachDamage);
BENCHMARK(medianFilter3x3)->Apply(eachDamage);
BENCHMARK(repairImageWithoutSources)->Apply(benching::onImages);

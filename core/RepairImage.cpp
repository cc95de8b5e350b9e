#include <orn/RepairImage.h>

#include "RandomDraws.h"
#include "SampleRepair.h"

#include <orn/ImageModel.h>

#include <QTime>

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

namespace orn {

namespace {

constexpr int mostRanges = 4;
using LevelTable = std::array<bool, 1 << 16>;

/** True when @p arrays has an array for every channel. */
template <typename Item>
bool hasOnePerChannel(const ep::SxImageInfo& image, const Item* const* arrays)
{
    const auto isThere = [](const Item* array) { return array != nullptr; };
    return arrays && std::all_of(arrays, arrays + std::max(image.channels, 0), isThere);
}

/** Flags what lies outside of a range, and what an image of @p bitDepth bits cannot hold. */
void flagOutside(const unsigned short* range, qint32 bitDepth, LevelTable& table)
{
    const double levels = std::ldexp(1.0, bitDepth);
    for (qint32 level = 0; level < static_cast<qint32>(table.size()); ++level)
        table[static_cast<std::size_t>(level)] = level < range[0] || level > range[1] || level + 1 > levels;
}

}  // namespace

bool RepairImage(ep::SxImageBuf& image, const ep::SxImageBuf& mask, const bool** levelsToRepair,
                 QVector<InvalidPixel>* invalidPixels)
{
    const qint32 bytes = bytesPerSample(image.dataType);
    if (!image.data || bytes > 2 || !hasOnePerChannel(image, levelsToRepair))
        return false;
    seedRandom(static_cast<uint>(QTime::currentTime().msec()));
    if (image.layout != ep::LayoutPacked && image.layout != ep::LayoutPlanar)
        return false;
    try {
        if (bytes == 1)
            SampleRepair<std::uint8_t>(image, mask, levelsToRepair, invalidPixels).run();
        else
            SampleRepair<std::uint16_t>(image, mask, levelsToRepair, invalidPixels).run();
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

bool RepairImage(ep::SxImageBuf& image, const unsigned short** validRanges, QVector<InvalidPixel>& invalidPixels)
try {
    if (!image.data || bytesPerSample(image.dataType) > 2 || image.channels > mostRanges
        || !hasOnePerChannel(image, validRanges))
        return false;
    const auto tables = std::make_unique<LevelTable[]>(mostRanges);
    const bool* levelsToRepair[mostRanges] = {};
    for (qint32 c = 0; c < image.channels; ++c) {
        flagOutside(validRanges[c], image.bitDepth, tables[static_cast<std::size_t>(c)]);
        levelsToRepair[c] = tables[static_cast<std::size_t>(c)].data();
    }
    const ep::SxImageBuf admitsEverything{};
    return RepairImage(image, admitsEverything, levelsToRepair, &invalidPixels);
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace orn

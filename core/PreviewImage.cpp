#include <orn/PreviewImage.h>

#include "PreviewPlanes.h"

#include <ep/ExStatus.h>
#include <ep/internal/ImageCheck.h>

#include <algorithm>
#include <cmath>
#include <new>

namespace orn {

namespace {

/** The value below which @p percent percent of @p values lie. Reorders them. */
float percentile(std::vector<float>& values, double percent)
{
    const double share = std::fmin(std::fmax(percent, 0), 100) / 100;
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + rank, values.end());
    return values[static_cast<std::size_t>(rank)];
}

/** Finite values from all over the picture, few enough to be sorted quickly. */
std::vector<float> someValues(const std::vector<float>& samples)
{
    constexpr std::size_t enough = 1000003;
    const std::size_t step = samples.size() / enough + 1;
    std::vector<float> values;
    values.reserve(samples.size() / step + 1);
    for (std::size_t i = 0; i < samples.size(); i += step)
        if (std::isfinite(samples[i]))
            values.push_back(samples[i]);
    return values;
}

void findLevels(const PreviewPlanes& planes, const SxPreviewOptions& options, SxPreviewFacts& facts)
{
    facts.black = 0;
    facts.white = 255;
    facts.scaled = !planes.isDisplayReady;
    if (planes.isDisplayReady)
        return;
    std::vector<float> values = someValues(planes.samples);
    if (values.empty())
        values.push_back(0);
    facts.white = static_cast<double>(percentile(values, options.highPercentile));
    facts.black = planes.blackSubtracted ? 0 : static_cast<double>(percentile(values, options.lowPercentile));
    if (facts.white <= facts.black)
        facts.white = facts.black + 1;
}

/** The curve of sRGB, IEC 61966-2-1: linear light in [0, 1] to what a screen takes. */
float screenLevel(float linear)
{
    return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}

/** Grey levels of evenly spaced values, so that the curve is not computed for every sample. */
std::vector<quint8> levelTable(bool linear)
{
    constexpr int steps = 4096;
    std::vector<quint8> table(steps);
    for (int i = 0; i < steps; ++i) {
        const float value = static_cast<float>(i) / (steps - 1);
        table[static_cast<std::size_t>(i)] = static_cast<quint8>((linear ? screenLevel(value) : value) * 255 + 0.5f);
    }
    return table;
}

void draw(const PreviewPlanes& planes, const SxPreviewFacts& facts, ep::SxImageBuf& preview)
{
    const std::vector<quint8> table = levelTable(facts.gammaApplied);
    const auto black = static_cast<float>(facts.black);
    const float scale = static_cast<float>(table.size() - 1) / static_cast<float>(facts.white - facts.black);
    const auto last = static_cast<float>(table.size() - 1);
    const auto rowSamples = static_cast<std::size_t>(planes.width) * static_cast<std::size_t>(planes.channels);
    for (std::size_t y = 0; y < static_cast<std::size_t>(planes.height); ++y) {
        const float* from = planes.samples.data() + y * rowSamples;
        quint8* to = static_cast<quint8*>(preview.data) + y * static_cast<std::size_t>(preview.stride);
        for (std::size_t i = 0; i < rowSamples; ++i) {
            const float level = (from[i] - black) * scale;
            // Written so that a NaN becomes black.
            const float bounded = level > 0 ? std::fmin(level, last) : 0;
            to[i] = table[static_cast<std::size_t>(bounded + 0.5f)];
        }
    }
}

}  // namespace

unsigned int PreviewImage(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common,
                          const SxPreviewOptions& options, ep::CxScopedBuffer& preview, SxPreviewFacts& facts)
try {
    if (const ep::ExStatus status = ep::internal::checkImage(image))
        return status;
    PreviewPlanes planes;
    SxPreviewFacts found;
    if (const ep::ExStatus status = makePreviewPlanes(image, common, options, planes, found))
        return status;
    findLevels(planes, options, found);

    ep::SxImageInfo info = ep::emptyImage();
    info.width = planes.width;
    info.height = planes.height;
    info.channels = planes.channels;
    info.dataType = ep::DataTypeUInt8;
    info.bitDepth = 8;
    ep::CxScopedBuffer drawn(info);
    const unsigned int status = drawn.allocate();
    if (ep::failed(status))
        return status;
    draw(planes, found, drawn.image());
    preview = std::move(drawn);
    facts = found;
    return ep::StatusOk;
} catch (const std::bad_alloc&) {
    return ep::StatusOutOfMemory;
}

}  // namespace orn

/**
 * @file
 * Benchmarks of repairs: a damaged 24-megapixel image, and one reading of it as the yardstick.
 */
#pragma once

#include "AgainstMemcpy.h"

#include <ep/internal/SampleVisitor.h>

#include <memory>
#include <random>

namespace benching {

/** A 16-bit image of one channel; a given part of its samples, at random places, is dead (0) or saturated (65535). */
class DamagedImage {
public:
    explicit DamagedImage(double part, int columns = width, int rows = height)
        : m_image(makeImage(ep::DataTypeUInt16, columns, rows)), m_mask(makeImage(ep::DataTypeUInt8, columns, rows)),
          m_table(std::make_unique<bool[]>(levels)), m_tables{m_table.get()}
    {
        auto* samples = static_cast<unsigned char*>(m_image->data);
        const size_t pixels = storageBytes(m_mask.image());
        for (size_t i = 0; i < pixels; ++i)
            ep::internal::storeSample(samples + 2 * i, static_cast<quint16>(1000 + i * 7919 % 3000));
        std::memset(m_mask->data, 1, pixels);
        m_table[0] = m_table[levels - 1] = true;
        std::mt19937 random(1);
        for (size_t i = 0; i < pixels; ++i)
            if (random() < part * 4294967296.0)
                m_places.push_back(i);
        damage();
    }

    /** Makes the samples invalid again. */
    void damage()
    {
        auto* samples = static_cast<unsigned char*>(m_image->data);
        for (size_t place : m_places)
            ep::internal::storeSample(samples + 2 * place, static_cast<quint16>(place % 2 == 0 ? 0 : levels - 1));
    }

    ep::SxImageBuf& image() { return m_image.image(); }
    const ep::SxImageBuf& image() const { return m_image.image(); }
    const ep::SxImageBuf& mask() const { return m_mask.image(); }
    bool** tables() const { return m_tables; }

private:
    static constexpr size_t levels = 1 << 16;

    ep::CxScopedBuffer m_image;
    ep::CxScopedBuffer m_mask;
    std::unique_ptr<bool[]> m_table;
    mutable bool* m_tables[1];
    std::vector<size_t> m_places;
};

/** Adds up all samples: reading the image once, and doing next to nothing with it. */
inline quint32 readOnce(const ep::SxImageBuf& image)
{
    const auto* bytes = static_cast<const unsigned char*>(image.data);
    quint32 sum = 0;
    for (size_t i = 0, n = storageBytes(image); i < n; i += 2)
        sum += ep::internal::loadSample<quint16>(bytes + i);
    return sum;
}

/**
 * Runs @p work on an image of one channel, beside each run a reading of the image, and before each @p prepare, which
 * does not count. The counters are the nanoseconds per pixel and the ratio to the reading.
 * @return the seconds of the work
 */
template <typename Work, typename Prepare>
double againstReading(benchmark::State& state, const ep::SxImageBuf& image, Work&& work, Prepare&& prepare)
{
    std::vector<double> worked;
    std::vector<double> read;
    for (auto _ : state) {
        prepare();
        read.push_back(secondsOf([&] { benchmark::DoNotOptimize(readOnce(image)); }));
        worked.push_back(secondsOf(work));
        state.SetIterationTime(worked.back());
    }
    state.counters["ns/pixel"] = medianOf(worked) * 1e9 / (double(image.width) * image.height);
    state.counters["vs_read"] = medianOf(worked) / medianOf(read);
    return medianOf(worked);
}

template <typename Work>
void againstReading(benchmark::State& state, const ep::SxImageBuf& image, Work&& work)
{
    againstReading(state, image, work, [] {});
}

}  // namespace benching

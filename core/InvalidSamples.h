/**
 * @file
 * Finds the samples of a row whose levels are flagged.
 */
#pragma once

#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orn {

/** Levels that lie side by side. */
struct LevelRun {
    qint32 first;
    qint32 count;
};

/** The longest run of levels that are not flagged: as a rule, all that lie between the dark and the bright band. */
inline LevelRun longestValidRun(const bool* flags, qint32 levels)
{
    LevelRun longest{0, 0};
    LevelRun run{0, 0};
    for (qint32 level = 0; level < levels; ++level) {
        run = flags[level] ? LevelRun{level + 1, 0} : LevelRun{run.first, run.count + 1};
        if (run.count > longest.count)
            longest = run;
    }
    return longest;
}

/**
 * Finds invalid samples in rows of pixels, whose channels stand side by side. Hardly any sample is invalid as a rule:
 * blocks of pixels are passed over at once where all samples lie in the longest valid run of their channel;
 * what is in the tables is asked for the others.
 */
template <typename Sample>
class InvalidSamples {
public:
    /** @param tables  @p channels of them, each with @p levels flags; rows have @p width pixels */
    InvalidSamples(const bool* const* tables, qint32 channels, qint32 levels, qint32 width)
        : m_tables(tables), m_channels(channels),
          m_piece(std::min(blockLength * std::max(blocksPerPiece / channels, 1), width)),
          m_found(static_cast<std::size_t>(m_piece) * static_cast<std::size_t>(channels) + 1)
    {
        bool isRunForAll = m_piece >= blockLength;
        for (qint32 c = 0; c < channels && isRunForAll; ++c)
            isRunForAll = appendRun(longestValidRun(tables[c], levels));
        if (isRunForAll)
            repeatRuns();
        m_hasRuns = isRunForAll;
    }

    /** Numbers of samples, in order. */
    struct Numbers {
        const qint32* first;
        const qint32* past;
        const qint32* begin() const { return first; }
        const qint32* end() const { return past; }
    };

    /** The most pixels that find() takes at a time. */
    qint32 piece() const { return m_piece; }

    /**
     * Looks through @p pixels pixels at @p samples; @p foundIn(pixel) is told of every block that is looked into.
     * @return the invalid samples, numbered from the first one on; good until the next call
     */
    template <typename FoundIn>
    Numbers find(const unsigned char* samples, qint32 pixels, FoundIn&& foundIn)
    {
        qint32* past = m_found.data();
        for (qint32 x = 0; x < pixels; x += blockLength) {
            const bool isWhole = pixels - x >= blockLength;
            if (isWhole && m_hasRuns && isValidBlock(samples + offsetOf(x)))
                continue;
            foundIn(x);
            past = note(samples, x, isWhole ? x + blockLength : pixels, past);
        }
        return {m_found.data(), past};
    }

private:
    static constexpr qint32 blockLength = 32;
    static constexpr qint32 blocksPerPiece = 256;

    /** Adds the run of the next channel; false when there is none. */
    bool appendRun(const LevelRun& run)
    {
        m_firsts.push_back(static_cast<Sample>(run.first));
        m_spans.push_back(static_cast<Sample>(run.count - 1));
        return run.count > 0;
    }

    /** From one pixel to a block of them. */
    void repeatRuns()
    {
        m_firsts.resize(blockSamples());
        m_spans.resize(blockSamples());
        for (std::size_t i = static_cast<std::size_t>(m_channels); i < blockSamples(); ++i) {
            m_firsts[i] = m_firsts[i - static_cast<std::size_t>(m_channels)];
            m_spans[i] = m_spans[i - static_cast<std::size_t>(m_channels)];
        }
    }

    std::size_t blockSamples() const { return std::size_t(blockLength) * static_cast<std::size_t>(m_channels); }
    std::ptrdiff_t offsetOf(qint32 pixel) const
    {
        return static_cast<std::ptrdiff_t>(sizeof(Sample)) * pixel * m_channels;
    }

    /** True when the samples of a block all lie in the valid runs: one loop without a branch for packed and planar. */
    bool isValidBlock(const unsigned char* samples) const
    {
        for (std::size_t group = 0; group < blockSamples(); group += blockLength) {
            const Sample* firsts = m_firsts.data() + group;
            const Sample* spans = m_spans.data() + group;
            const unsigned char* sample = samples + group * sizeof(Sample);
            Sample outside = 0;
            for (std::size_t i = 0; i < blockLength; ++i) {
                const auto level = ep::internal::loadSample<Sample>(sample + i * sizeof(Sample));
                outside |= static_cast<Sample>(level - firsts[i]) > spans[i] ? Sample(-1) : Sample(0);
            }
            if (outside)
                return false;
        }
        return true;
    }

    /** Notes the invalid samples of some pixels, without a branch as well, and returns where the next goes. */
    qint32* note(const unsigned char* samples, qint32 firstX, qint32 pastX, qint32* past) const
    {
        qint32 c = 0;
        for (qint32 i = firstX * m_channels; i < pastX * m_channels; ++i) {
            *past = i;
            past +=
                m_tables[c][ep::internal::loadSample<Sample>(samples + static_cast<std::size_t>(i) * sizeof(Sample))];
            c = c + 1 == m_channels ? 0 : c + 1;
        }
        return past;
    }

    const bool* const* m_tables;
    qint32 m_channels;
    qint32 m_piece;
    bool m_hasRuns = false;
    std::vector<Sample> m_firsts;  ///< the least level of the run of each sample of a block
    std::vector<Sample> m_spans;   ///< by how much the largest level of the run exceeds the least
    std::vector<qint32> m_found;
};

}  // namespace orn

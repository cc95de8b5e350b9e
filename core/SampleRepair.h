/**
 * @file
 * The search behind RepairImage(), for one sample size.
 */
#pragma once

#include "InvalidSamples.h"
#include "RandomDraws.h"
#include "RepairRecords.h"
#include "RingCell.h"

#include <ep/internal/CheckedSize.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <vector>

namespace orn {

/** Which pixels a repair may read and write. Bytes past the mask's rows are not there, and admit. */
class RepairMask {
public:
    RepairMask(const ep::SxImageBuf& mask, qint32 rows)
        : m_bytes(static_cast<const unsigned char*>(mask.data)), m_stride(mask.stride),
          m_size(mask.data ? (ep::internal::CheckedSize(mask.stride) * rows).value() : 0)
    {
    }
    bool admits(qint64 row, qint64 column) const
    {
        const qint64 offset = row * m_stride + column;
        return offset < 0 || offset >= m_size || m_bytes[offset] != 0;
    }
    /** Has the processor bring up the memory that admits() will ask for. */
    Q_ALWAYS_INLINE void fetch(qint64 row, qint64 column) const
    {
        const qint64 offset = row * m_stride + column;
        if (offset >= 0 && offset < m_size)
            __builtin_prefetch(m_bytes + offset);
    }

private:
    const unsigned char* m_bytes;
    qint64 m_stride;
    qint64 m_size;
};

/**
 * One repair of an image whose samples are read as @p Sample, std::uint8_t or std::uint16_t. The random generator is
 * taken as it stands. For the arguments see RepairImage(), which has checked them.
 */
template <typename Sample>
class SampleRepair {
public:
    SampleRepair(ep::SxImageBuf& image, const ep::SxImageBuf& mask, const bool* const* levelsToRepair,
                 QVector<InvalidPixel>* records)
        : m_image(image), m_mask(mask, image.height), m_invalid(levelsToRepair), m_records(image, records)
    {
        // A type of no size is read as the samples that it is repaired as.
        m_image.dataType = sizeof(Sample) == 1 ? ep::DataTypeUInt8 : ep::DataTypeUInt16;
        for (qint32 c = 0; c < image.channels; ++c)
            m_channels.push_back({ep::internal::planeView(m_image, c), levelsToRepair[c], Unknown});
    }

    void run()
    {
        if (m_image.width < 1 || m_image.height < 1 || m_image.channels < 1)
            return;
        const bool isPlanar = m_image.layout == ep::LayoutPlanar;
        for (qint32 plane = 0; plane < ep::internal::storedPlaneCount(m_image); ++plane)
            repairRows(plane, isPlanar ? 1 : m_image.channels);
    }

private:
    enum Sources : char { Unknown, None, Some };

    struct Channel {
        ep::internal::PlaneView plane;
        const bool* invalid;
        Sources sources;

        bool isInvalid(const unsigned char* sample) const { return invalid[ep::internal::loadSample<Sample>(sample)]; }
    };

    /** Repairs a plane, or all channels of a packed image. */
    void repairRows(qint32 firstChannel, qint32 channels)
    {
        const ep::internal::ConstPlaneView plane = m_channels[static_cast<std::size_t>(firstChannel)].plane;
        InvalidSamples<Sample> invalid(m_invalid + firstChannel, channels, levelsOf(m_image.bitDepth), m_image.width);
        for (qint32 y = 0; y < m_image.height; ++y)
            for (qint64 x = 0; x < m_image.width; x += invalid.piece()) {
                const auto pixels = static_cast<qint32>(std::min<qint64>(invalid.piece(), m_image.width - x));
                const auto fetch = [&](qint32 at) __attribute__((always_inline))
                {
                    fetchAround(plane, x + at, y);
                };
                // All are found before any is repaired: no repair changes whether another sample of the row is invalid.
                for (const qint32 found : invalid.find(plane.sample(x, y), pixels, fetch))
                    repairIfAdmitted(static_cast<qint32>(x + found / channels), y, firstChannel + found % channels,
                                     x * channels + found);
            }
    }

    /** How many flags the tables have at least; a sample can be larger than the depth tells. */
    static qint32 levelsOf(qint32 bitDepth)
    {
        constexpr qint32 bits = 8 * sizeof(Sample);
        return bitDepth < 0 ? 0 : 1 << std::min(bitDepth, bits);
    }

    /**
     * Has the memory brought up that a search there will read: invalid samples that lie far apart wait for little else.
     * Inlined by force: compilers take a function that does nothing else for one without effect, and drop its calls.
     */
    Q_ALWAYS_INLINE void fetchAround(const ep::internal::ConstPlaneView& plane, qint64 x, qint64 y) const
    {
        for (qint64 row = y - 1; row <= y + 1; ++row)
            m_mask.fetch(row, x);
        if (y + 1 < plane.height)
            __builtin_prefetch(plane.sample(x, y + 1));
    }

    /** The mask byte @p offset of the sample itself moves on with every sample, not with every pixel. */
    void repairIfAdmitted(qint32 x, qint32 y, qint32 channel, qint64 offset)
    {
        if (m_mask.admits(y, offset) && hasSource(channel))
            repairSample(x, y, channel);
    }

    void repairSample(qint32 x, qint32 y, qint32 number)
    {
        const Channel& channel = m_channels[static_cast<std::size_t>(number)];
        const qint64 reach = std::max({x, y, m_image.width - 1 - x, m_image.height - 1 - y});
        qint64 slotCount = 8;
        for (qint64 radius = 1; radius <= reach; ++radius) {
            const qint64 start = drawRandom() % slotCount;
            if (const unsigned char* source = findInRing(channel, x, y, radius, start)) {
                unsigned char* sample = channel.plane.sample(x, y);
                const auto found = ep::internal::loadSample<Sample>(source);
                m_records.append(x, y, number, ep::internal::loadSample<Sample>(sample), found);
                ep::internal::storeSample(sample, found);
                return;
            }
            // 8, 16, 32, 48, 72, ...: from the third ring on more slots than cells, and the draws depend on their
            // number.
            const qint64 nextSide = 2 * radius + 3;
            slotCount = nextSide * nextSide - slotCount - 1;
        }
    }

    /** The first valid sample of the ring, from slot @p start on and once around; null when there is none. */
    const unsigned char* findInRing(const Channel& channel, qint64 x, qint64 y, qint64 radius, qint64 start) const
    {
        const qint64 cells = ringCellCount(radius);
        qint64 slot = start < cells ? start : 0;  // slots past the cells are empty
        for (qint64 left = cells; left > 0; --left) {
            const RingCell cell = ringCell(radius, slot);
            if (isSource(channel, x + cell.dx, y + cell.dy))
                return channel.plane.sample(x + cell.dx, y + cell.dy);
            slot = slot + 1 < cells ? slot + 1 : 0;
        }
        return nullptr;
    }

    bool isSource(const Channel& channel, qint64 x, qint64 y) const
    {
        return x >= 0 && y >= 0 && x < m_image.width && y < m_image.height && m_mask.admits(y, x)
               && !channel.isInvalid(channel.plane.sample(x, y));
    }

    /** False when no sample of a channel is valid: every search would go through the whole image, in vain. */
    bool hasSource(qint32 number)
    {
        Channel& channel = m_channels[static_cast<std::size_t>(number)];
        if (channel.sources == Unknown)
            channel.sources = findAnySource(channel) ? Some : None;
        return channel.sources == Some;
    }

    bool findAnySource(const Channel& channel) const
    {
        for (qint64 y = 0; y < m_image.height; ++y)
            for (qint64 x = 0; x < m_image.width; ++x)
                if (isSource(channel, x, y))
                    return true;
        return false;
    }

    ep::SxImageBuf m_image;
    RepairMask m_mask;
    const bool* const* m_invalid;
    RepairRecords m_records;
    std::vector<Channel> m_channels;
};

}  // namespace orn

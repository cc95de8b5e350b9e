/**
 * @file
 * The search behind RepairImage(), for one sample size.
 */
#pragma once

#include "RandomDraws.h"

#include <orn/InvalidPixel.h>

#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/internal/CheckedSize.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <array>
#include <vector>

namespace orn {

/** Where a slot of a ring lies, seen from the ring's centre. */
struct RingCell {
    qint64 dx;
    qint64 dy;
};

/** Cells of the square ring of @p radius. */
inline qint64 ringCellCount(qint64 radius)
{
    return 8 * radius;
}

/**
 * Slot @p slot of the ring of @p radius. Slots run down the columns, the columns from left to right:
 * @verbatim
 *   radius 1    0 3 5
 *               1   6
 *               2 4 7
 * @endverbatim
 */
inline RingCell ringCell(qint64 radius, qint64 slot)
{
    const qint64 side = 2 * radius + 1;
    if (slot < side)
        return {-radius, slot - radius};
    const qint64 inner = slot - side;  // of the columns between the sides, which have two cells each
    if (inner < 2 * (side - 2))
        return {1 - radius + inner / 2, inner % 2 == 0 ? -radius : radius};
    return {radius, inner - 2 * (side - 2) - radius};
}

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
        : m_image(image), m_mask(mask, image.height), m_invalid(levelsToRepair), m_records(records),
          m_sources(static_cast<std::size_t>(std::max(image.channels, 0)), Unknown)
    {
        // A type of no size is read as the samples that it is repaired as.
        m_image.dataType = sizeof(Sample) == 1 ? ep::DataTypeUInt8 : ep::DataTypeUInt16;
    }

    void run()
    {
        const qint32 channels = m_image.layout == ep::LayoutPlanar ? 1 : m_image.channels;
        for (qint32 plane = 0; plane < ep::internal::storedPlaneCount(m_image); ++plane)
            for (qint32 y = 0; y < m_image.height; ++y)
                repairRow({ep::internal::planeView(m_image, plane).row(y), y, plane, channels});
    }

private:
    enum Sources : char { Unknown, None, Some };

    bool isInvalid(const unsigned char* sample, qint32 channel) const
    {
        return m_invalid[channel][ep::internal::loadSample<Sample>(sample)];
    }

    static constexpr qint32 blockLength = 16;

    /** Samples of a row that may have to be repaired: of one plane, or of all channels of a packed image. */
    struct Row {
        const unsigned char* samples;
        qint32 y;
        qint32 firstChannel;
        qint32 channels;
    };

    void repairRow(const Row& row)
    {
        qint32 x = 0;
        for (; m_image.width - x >= blockLength; x += blockLength)
            if (hasInvalid(row, x))
                repairPixels(row, x, x + blockLength);
        repairPixels(row, x, m_image.width);
    }

    /** True when any sample of a block of pixels is invalid: without a branch per sample, as hardly any is. */
    bool hasInvalid(const Row& row, qint32 firstX) const
    {
        const std::ptrdiff_t pixelBytes = static_cast<std::ptrdiff_t>(sizeof(Sample)) * row.channels;
        const unsigned char* sample = row.samples + firstX * pixelBytes;
        bool any = false;
        for (qint32 c = 0; c < row.channels; ++c, sample += sizeof(Sample))
            for (std::ptrdiff_t x = 0; x < blockLength; ++x)
                any |= isInvalid(sample + x * pixelBytes, row.firstChannel + c);
        return any;
    }

    void repairPixels(const Row& row, qint32 firstX, qint32 pastX)
    {
        // Invalid samples are noted first, without a branch as well: no repair changes whether another one is invalid.
        std::array<qint64, blockLength> invalid;
        const qint64 pastSample = static_cast<qint64>(pastX) * row.channels;
        qint32 c = 0;
        for (qint64 first = static_cast<qint64>(firstX) * row.channels; first < pastSample; first += blockLength) {
            std::size_t count = 0;
            for (qint64 i = first; i < std::min(first + blockLength, pastSample); ++i) {
                invalid[count] = i;
                count += isInvalid(row.samples + i * static_cast<qint64>(sizeof(Sample)), row.firstChannel + c);
                c = c + 1 == row.channels ? 0 : c + 1;
            }
            for (std::size_t k = 0; k < count; ++k)
                repairIfAdmitted(row, invalid[k]);
        }
    }

    /** The mask byte of the sample itself moves on with every sample, not with every pixel. */
    void repairIfAdmitted(const Row& row, qint64 sample)
    {
        if (m_mask.admits(row.y, sample))
            repairSample(static_cast<qint32>(sample / row.channels), row.y,
                         row.firstChannel + static_cast<qint32>(sample % row.channels));
    }

    void repairSample(qint32 x, qint32 y, qint32 channel)
    {
        if (!hasSource(channel))
            return;
        const ep::internal::PlaneView plane = ep::internal::planeView(m_image, channel);
        const qint64 reach = std::max({x, y, m_image.width - 1 - x, m_image.height - 1 - y});
        qint64 slotCount = 8;
        for (qint64 radius = 1; radius <= reach; ++radius) {
            const qint64 start = drawRandom() % slotCount;
            if (const unsigned char* source = findInRing(plane, channel, x, y, radius, start)) {
                const auto found = ep::internal::loadSample<Sample>(source);
                record(x, y, channel, ep::internal::loadSample<Sample>(plane.sample(x, y)), found);
                ep::internal::storeSample(plane.sample(x, y), found);
                return;
            }
            // 8, 16, 32, 48, 72, ...: from the third ring on more slots than cells, and the draws depend on their
            // number.
            const qint64 nextSide = 2 * radius + 3;
            slotCount = nextSide * nextSide - slotCount - 1;
        }
    }

    /** The first valid sample of the ring, from slot @p start on and once around; null when there is none. */
    const unsigned char* findInRing(const ep::internal::ConstPlaneView& plane, qint32 channel, qint64 x, qint64 y,
                                    qint64 radius, qint64 start) const
    {
        const qint64 cells = ringCellCount(radius);
        const qint64 first = start < cells ? start : 0;  // slots past the cells are empty
        for (qint64 i = 0; i < cells; ++i) {
            const qint64 slot = first + i;
            const RingCell cell = ringCell(radius, slot < cells ? slot : slot - cells);
            if (isSource(plane, channel, x + cell.dx, y + cell.dy))
                return plane.sample(x + cell.dx, y + cell.dy);
        }
        return nullptr;
    }

    bool isSource(const ep::internal::ConstPlaneView& plane, qint32 channel, qint64 x, qint64 y) const
    {
        return x >= 0 && y >= 0 && x < plane.width && y < plane.height && m_mask.admits(y, x)
               && !isInvalid(plane.sample(x, y), channel);
    }

    /** False when no sample of @p channel is valid: every search would go through the whole image, in vain. */
    bool hasSource(qint32 channel)
    {
        Sources& known = m_sources[static_cast<std::size_t>(channel)];
        if (known == Unknown)
            known = findAnySource(channel) ? Some : None;
        return known == Some;
    }

    bool findAnySource(qint32 channel) const
    {
        const ep::internal::ConstPlaneView plane = ep::internal::planeView(m_image, channel);
        for (qint64 y = 0; y < plane.height; ++y)
            for (qint64 x = 0; x < plane.width; ++x)
                if (isSource(plane, channel, x, y))
                    return true;
        return false;
    }

    /** Notes a repair. The record of a packed pixel grows by a pair with every one of its channels. */
    void record(qint32 x, qint32 y, qint32 channel, Sample before, Sample after)
    {
        constexpr qint32 recordedChannels = 4;
        if (!m_records || channel >= recordedChannels)
            return;
        const bool isPlanar = m_image.layout == ep::LayoutPlanar;
        if (isPlanar || m_record.x != x || m_record.y != y)
            m_record = {x, y, {}, {}};
        const int slot = isPlanar ? channel : ep::ChannelIndexLogicalToPhysical(channel, m_image);
        m_record.oldValues[slot] = before;
        m_record.newValues[slot] = after;
        m_records->append(m_record);
    }

    ep::SxImageBuf m_image;
    RepairMask m_mask;
    const bool* const* m_invalid;
    QVector<InvalidPixel>* m_records;
    std::vector<Sources> m_sources;
    InvalidPixel m_record{};
};

}  // namespace orn

/**
 * @file
 * The list of what a repair changed, while it grows.
 */
#pragma once

#include <orn/InvalidPixel.h>

#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/internal/HugePages.h>
#include <ep/internal/PlaneView.h>

#include <QVector>

#include <algorithm>
#include <new>
#include <vector>

namespace orn {

/** Appends to the records of a repair, if there are any to be kept. */
class RepairRecords {
public:
    RepairRecords(const ep::SxImageBuf& image, QVector<InvalidPixel>* records)
        : m_records(records), m_isPlanar(image.layout == ep::LayoutPlanar), m_height(image.height),
          m_rows(static_cast<double>(image.height) * ep::internal::storedPlaneCount(image)),
          m_hadBefore(records ? records->size() : 0)
    {
        for (qint32 c = 0; c < std::min(image.channels, recordedChannels); ++c)
            m_slots.push_back(m_isPlanar ? c : ep::ChannelIndexLogicalToPhysical(c, image));
    }

    /** Notes a repair. The record of a packed pixel grows by a pair with every one of its channels. */
    void append(qint32 x, qint32 y, qint32 channel, qint32 before, qint32 after)
    {
        if (!m_records || channel >= recordedChannels)
            return;
        if (m_isPlanar || m_record.x != x || m_record.y != y)
            m_record = {x, y, {}, {}};
        const int slot = m_slots[static_cast<std::size_t>(channel)];
        m_record.oldValues[slot] = before;
        m_record.newValues[slot] = after;
        if (m_records->size() == m_records->capacity())
            reserveAhead(y, channel);
        m_records->append(m_record);
    }

private:
    static constexpr qint32 recordedChannels = 4;
    static constexpr double mostRecords = (1 << 30) / sizeof(InvalidPixel);  // that are asked for ahead

    /** Makes room for as many records as there will be when the other rows have as many as those that are done. */
    void reserveAhead(qint32 y, qint32 channel)
    {
        constexpr double margin = 1.05;
        const double rowsDone = (m_isPlanar ? static_cast<double>(channel) * m_height : 0.0) + y + 1;
        const double expected = (m_records->size() - m_hadBefore) * (m_rows / rowsDone) * margin;
        // A dense start is no reason to ask for the memory of a dense image at once.
        const double most = std::min(16.0 * m_records->size() + 64, mostRecords);
        try {
            m_records->reserve(static_cast<int>(std::min(m_hadBefore + expected, most)));
            ep::internal::adviseHugePages(m_records->data(),
                                          sizeof(InvalidPixel) * static_cast<std::size_t>(m_records->capacity()));
        } catch (const std::bad_alloc&) {
            // Then the list grows as it needs to.
        }
    }

    QVector<InvalidPixel>* m_records;
    bool m_isPlanar;
    qint32 m_height;
    double m_rows;
    int m_hadBefore;
    std::vector<int> m_slots;
    InvalidPixel m_record{};
};

}  // namespace orn

/**
 * @file
 * The repair of images, written out as plainly as it is told: what RepairImage() is judged against.
 */
#pragma once

#include "../../core/RandomDraws.h"
#include "TestImages.h"

#include <orn/InvalidPixel.h>

#include <cstring>
#include <memory>
#include <vector>

namespace orn {

inline bool operator==(const InvalidPixel& a, const InvalidPixel& b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

}  // namespace orn

namespace testing {

/** A repair of one image of samples of type T, after the seeding. */
template <typename T>
class RepairReference {
public:
    RepairReference(ep::SxImageBuf& image, const ep::SxImageBuf& mask, const bool* const* tables)
        : m_image(image), m_mask(mask), m_tables(tables)
    {
        for (int c = 0; c < image.channels; ++c)
            m_hasSource.push_back(countSources(c) > 0);
    }

    QVector<orn::InvalidPixel> repair()
    {
        m_records.clear();
        if (m_image.layout == ep::LayoutPacked)
            repairPacked();
        else
            repairPlanar();
        return m_records;
    }

private:
    void repairPacked()
    {
        for (int y = 0; y < m_image.height; ++y)
            for (int x = 0; x < m_image.width; ++x) {
                orn::InvalidPixel record{};
                for (int c = 0; c < m_image.channels; ++c) {
                    const bool isSwapped = m_image.formatCode == 2 && m_image.channels >= 3 && c < 3;
                    repairSample(x, y, c, maskByte(y, x * m_image.channels + c), isSwapped ? 2 - c : c, record);
                }
            }
    }

    void repairPlanar()
    {
        for (int c = 0; c < m_image.channels; ++c)
            for (int y = 0; y < m_image.height; ++y)
                for (int x = 0; x < m_image.width; ++x) {
                    orn::InvalidPixel record{};
                    repairSample(x, y, c, maskByte(y, x), c, record);
                }
    }

    void repairSample(int x, int y, int c, bool isAdmitted, int slot, orn::InvalidPixel& record)
    {
        const T s = sampleAt<T>(m_image, x, y, c);
        // A search without any source would not end.
        if (!isAdmitted || !m_tables[c][s] || !m_hasSource[static_cast<size_t>(c)])
            return;
        for (int r = 1, side = 3, n = 8;; side += 2, n = side * side - n - 1, ++r) {
            const int start = orn::drawRandom() % n;
            std::vector<int> listDx(static_cast<size_t>(n));
            std::vector<int> listDy(static_cast<size_t>(n));
            int listed = 0;
            for (int dx = -r; dx <= r; ++dx)
                for (int dy = -r; dy <= r; ++dy)
                    if (dx == r || dx == -r || dy == r || dy == -r) {
                        listDx[static_cast<size_t>(listed)] = dx;
                        listDy[static_cast<size_t>(listed++)] = dy;
                    }
            for (int i = 0; i < n; ++i) {
                const int j = (start + i) % n;
                if (j >= listed)
                    continue;
                const int fromX = x + listDx[static_cast<size_t>(j)];
                const int fromY = y + listDy[static_cast<size_t>(j)];
                if (!isSource(fromX, fromY, c))
                    continue;
                const T v = sampleAt<T>(m_image, fromX, fromY, c);
                record.x = x;
                record.y = y;
                if (slot < 4) {
                    record.oldValues[slot] = s;
                    record.newValues[slot] = v;
                    m_records.append(record);
                }
                setSample<T>(m_image, x, y, c, v);
                return;
            }
        }
    }

    bool isSource(int x, int y, int c) const
    {
        return x >= 0 && y >= 0 && x < m_image.width && y < m_image.height && maskByte(y, x)
               && !m_tables[c][sampleAt<T>(m_image, x, y, c)];
    }

    /** True where the mask admits; past its end it does. */
    bool maskByte(int y, int offset) const
    {
        const std::ptrdiff_t at = std::ptrdiff_t(y) * m_mask.stride + offset;
        return at >= std::ptrdiff_t(m_mask.stride) * m_image.height
               || static_cast<const unsigned char*>(m_mask.data)[at] != 0;
    }

    int countSources(int c) const
    {
        int count = 0;
        for (int y = 0; y < m_image.height; ++y)
            for (int x = 0; x < m_image.width; ++x)
                count += isSource(x, y, c);
        return count;
    }

    ep::SxImageBuf& m_image;
    const ep::SxImageBuf& m_mask;
    const bool* const* m_tables;
    std::vector<bool> m_hasSource;
    QVector<orn::InvalidPixel> m_records;
};

/** Flags per channel and level, as RepairImage() takes them. */
class LevelTables {
public:
    LevelTables(int channels, int levels) : m_flags(static_cast<size_t>(channels)), m_levels(levels)
    {
        for (auto& table : m_flags) {
            table = std::make_unique<bool[]>(static_cast<size_t>(levels));
            m_tables.push_back(table.get());
        }
    }
    /** Flags levels in the tables of all channels. */
    LevelTables& flag(std::initializer_list<int> levels)
    {
        for (bool* table : m_tables)
            for (int level : levels)
                table[level] = true;
        return *this;
    }
    bool* operator[](int channel) { return m_tables[static_cast<size_t>(channel)]; }
    int levels() const { return m_levels; }
    bool** data() { return m_tables.data(); }
    const bool** constData() { return const_cast<const bool**>(m_tables.data()); }

private:
    std::vector<std::unique_ptr<bool[]>> m_flags;
    std::vector<bool*> m_tables;
    int m_levels;
};

/** A mask of the size of @p image whose bytes are all @p value, with @p padding bytes between the rows. */
inline ep::CxScopedBuffer maskOf(const ep::SxImageInfo& image, int value = 1, int padding = 0)
{
    ep::CxScopedBuffer mask(describe(ep::DataTypeUInt8, image.width, image.height, 1, ep::LayoutPacked, padding));
    if (ep::failed(mask.allocate()))
        qFatal("cannot allocate a test mask");
    std::memset(mask->data, value, storageBytes(mask.image()));
    return mask;
}

}  // namespace testing

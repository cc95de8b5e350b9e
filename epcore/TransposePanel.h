/**
 * @file
 * Exchange of rows and columns of planes whose samples stand side by side.
 */
#pragma once

#include "StreamBytes.h"
#include "TransposeSquare.h"

#include <ep/internal/PlaneView.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ep {
namespace internal {

/** Where a part ends that begins at @p begin: a rest that is too thin for a square belongs to the part before it. */
inline std::ptrdiff_t partEnd(std::ptrdiff_t begin, std::ptrdiff_t length, std::ptrdiff_t edge, std::ptrdiff_t end)
{
    return end - begin < length + edge ? end : begin + length;
}

/**
 * Transposes a plane, at least a square wide and high, in panels from its first row to its last:
 *
 * @verbatim
 *      source                           block, in the cache          destination
 *   |  panel: 1 KiB     |                 64 B  depth + rest
 *   |<----------------->|                +---+-------------+
 *   |  +---+  ......    |  depth: 2 or   |   | a row each, |   lines   +--------------+
 *   |  |   |  :    :    |  4 lines in -> | w | transposed  |   ---->   |  2 or 4      |
 *   |  +---+  ......    |  destination   |   |             |           |  lines a row |
 *   |  64 B   fetched   |                +---+-------------+           +--------------+
 *   |   ->    ahead     |                  ^ w: began a line that was not full
 *   |  next band below  |
 * @endverbatim
 * Blocks follow the rows of the source, and what comes 512 bytes later is fetched meanwhile: a processor foresees a few
 * rows by itself, but not those of a block. Small samples make it 128 rows high with two lines already. Writing lines
 * here and there costs little if they are whole and go past the cache; so the bytes of a row that do not fill a line
 * wait for the next block of the panel.
 */
template <typename T>
class TransposePanel {
public:
    static constexpr std::ptrdiff_t edge = squareEdge<T>;

    /** @param isLarge  the planes do not fit into the cache, so the destination is written past it */
    TransposePanel(const ConstPlaneView& source, const PlaneView& destination, bool isLarge)
        : m_source(source), m_destination(destination), m_isLarge(isLarge)
    {
    }

    void transposeAll()
    {
        for (m_left = 0; m_left < m_source.width; m_left = m_right) {
            m_right = partEnd(m_left, panelColumns, edge, m_source.width);
            for (std::ptrdiff_t top = 0, bottom; top < m_source.height; top = bottom) {
                bottom = partEnd(top, blockRows, edge, m_source.height);
                transposeBand(top, bottom);
            }
        }
        finishStreaming();
    }

private:
    static constexpr bool isWord = 16 % sizeof(T) == 0;
    static constexpr auto step = static_cast<std::ptrdiff_t>(sizeof(T));
    static constexpr std::ptrdiff_t line = cacheLine;
    // Whole lines hold whole pixels.
    static constexpr std::ptrdiff_t blockColumns = std::max(edge, (isWord ? line : 3 * line) / step);
    static constexpr std::ptrdiff_t blockRows = std::max(edge, (isWord ? (step < 4 ? 2 : 4) * line : 3 * line) / step);
    static constexpr std::ptrdiff_t panelColumns = 1024 / (blockColumns * step) * blockColumns;
    static constexpr std::ptrdiff_t columnsAhead = 512 / (blockColumns * step) * blockColumns;
    // Room for a rest, for a word behind the last pixel, and rows that do not all meet in the same lines of the cache.
    static constexpr std::ptrdiff_t asideRow = (blockColumns + edge) * step + 16;
    static constexpr std::ptrdiff_t blockRow = line + (blockRows + edge) * step + 16;
    // Pixels that are moved as words must not be read past their image.
    static constexpr bool goesAside = !isWord;

    void transposeBand(std::ptrdiff_t top, std::ptrdiff_t bottom)
    {
        for (std::ptrdiff_t x = m_left, end; x < m_right; x = end) {
            end = partEnd(x, blockColumns, edge, m_right);
            fetchAhead(x, top);
            for (std::ptrdiff_t y = top; y < bottom; y += edge)
                transposeSquares(x, end, std::min(y, bottom - edge), top);
            for (std::ptrdiff_t i = x; i < end; ++i)
                writeRow(i, m_block + (i - x) * blockRow + line, top, bottom);
        }
    }

    // Always inline: a compiler takes a function that only fetches for one that does nothing, and drops the calls.
    Q_ALWAYS_INLINE void fetchAhead(std::ptrdiff_t x, std::ptrdiff_t y) const
    {
        constexpr int forReading = 0;
        constexpr int intoSecondCache = 2;
        x += columnsAhead;
        if (x >= m_right) {
            x -= m_right - m_left;
            y += blockRows;
        }
        if (x < m_left || x >= m_right || y >= m_source.height)
            return;
        const unsigned char* from = m_source.sample(x, y);
        const std::ptrdiff_t rows = std::min<std::ptrdiff_t>(blockRows, m_source.height - y);
        for (std::ptrdiff_t i = 0; i < rows; ++i)
            for (std::ptrdiff_t k = 0; k < blockColumns * step; k += line)
                __builtin_prefetch(from + i * m_source.rowBytes + k, forReading, intoSecondCache);
    }

    // The squares between two columns, whose first row is y, into the rows of the block. The last square may overlap
    // the one before it.
    void transposeSquares(std::ptrdiff_t left, std::ptrdiff_t right, std::ptrdiff_t y, std::ptrdiff_t top)
    {
        const unsigned char* from = m_source.sample(left, y);
        std::ptrdiff_t fromRow = m_source.rowBytes;
        unsigned char* to = m_block + line + (y - top) * step;
        if constexpr (goesAside) {
            copyAside(from, (right - left) * step);
            from = m_aside;
            fromRow = asideRow;
        }
        std::ptrdiff_t x = left;
        for (; x + edge <= right; x += edge)
            transposeSquare<T>(from + (x - left) * step, fromRow, to + (x - left) * blockRow, blockRow);
        if (x < right)
            transposeSquare<T>(from + (right - edge - left) * step, fromRow, to + (right - edge - left) * blockRow,
                               blockRow);
    }

    void copyAside(const unsigned char* from, std::ptrdiff_t bytes)
    {
        constexpr std::ptrdiff_t piece = 16;  // never more than a square is wide
        for (std::ptrdiff_t y = 0; y < edge; ++y)
            for (std::ptrdiff_t i = 0; i < bytes; i += piece) {
                const std::ptrdiff_t at = std::min(i, bytes - piece);
                std::memcpy(m_aside + y * asideRow + at, from + y * m_source.rowBytes + at, piece);
            }
    }

    // Writes samples top to bottom of row x of the destination.
    void writeRow(std::ptrdiff_t x, unsigned char* row, std::ptrdiff_t top, std::ptrdiff_t bottom)
    {
        unsigned char* to = m_destination.sample(top, x);
        const std::ptrdiff_t bytes = (bottom - top) * step;
        if (!m_isLarge) {
            std::memcpy(to, row, static_cast<std::size_t>(bytes));
            return;
        }
        unsigned char* waiting = m_waiting + (x - m_left) * line;
        const std::ptrdiff_t before = bytesOfOpenLine(x, top);
        const std::ptrdiff_t after = bytesOfOpenLine(x, bottom);
        if (before > 0)
            std::memcpy(row - line, waiting, line);
        streamBytes(to - before, row - before, static_cast<std::size_t>(before + bytes - after));
        if (after > 0)
            std::memcpy(waiting, row + bytes - line, line);
    }

    // Bytes of row x of the destination before sample y that belong to a line which that sample goes on with.
    std::ptrdiff_t bytesOfOpenLine(std::ptrdiff_t x, std::ptrdiff_t y) const
    {
        if (y == m_source.height)
            return 0;
        const auto address = reinterpret_cast<std::uintptr_t>(m_destination.sample(y, x));
        return std::min<std::ptrdiff_t>(y * step, static_cast<std::ptrdiff_t>(address % cacheLine));
    }

    const ConstPlaneView& m_source;
    const PlaneView& m_destination;
    const bool m_isLarge;
    std::ptrdiff_t m_left = 0;
    std::ptrdiff_t m_right = 0;
    alignas(cacheLine) unsigned char m_block[(blockColumns + edge) * blockRow];
    alignas(cacheLine) unsigned char m_aside[goesAside ? edge * asideRow : 1];
    alignas(cacheLine) unsigned char m_waiting[(panelColumns + edge) * line];
};

}  // namespace internal
}  // namespace ep

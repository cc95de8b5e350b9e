/**
 * @file
 * Writing a run of bytes past the cache, piece by piece.
 */
#pragma once

#include "StreamBytes.h"

namespace ep {
namespace internal {

/**
 * Bytes on their way past the cache. What ends inside a cache line waits for the next piece: written on its own, it
 * would make the processor fetch that line and stop for it.
 *
 * @verbatim
 *   pieces      aaaaaaaaaaa bbbbbbb
 *   lines     --aa aaaa aaaa abbb bbbb
 *                                 ^ kept, until the line is whole
 * @endverbatim
 */
class LineStream {
public:
    LineStream() = default;
    LineStream(const LineStream&) = delete;
    LineStream& operator=(const LineStream&) = delete;
    ~LineStream()
    {
        if (!m_line)
            return;
        putKept();
        finishStreaming();
    }

    /** Sends @p bytes bytes to @p to: wherever it is, but for speed where the last piece ended. */
    void write(unsigned char* to, const unsigned char* from, std::size_t bytes)
    {
        if (!m_line || to != m_line + m_end)
            goTo(to);
        const std::size_t first = std::min(bytes, line - m_end);
        std::memcpy(m_kept + m_end, from, first);
        m_end += first;
        if (m_end < line)
            return;
        putKept();
        const std::size_t whole = (bytes - first) / line * line;
        streamBytes(m_line, from + first, whole);
        m_line += whole;
        m_end = bytes - first - whole;
        std::memcpy(m_kept, from + first + whole, m_end);
    }

private:
    static constexpr std::size_t line = cacheLine;

    void goTo(unsigned char* to)
    {
        if (m_line)
            putKept();
        m_begin = m_end = reinterpret_cast<std::uintptr_t>(to) % line;
        m_line = to - m_end;
    }

    /** Writes what is kept; the line after it is next. */
    void putKept()
    {
        if (m_end - m_begin == line)
            streamBytes(m_line, m_kept, line);
        else
            std::memcpy(m_line + m_begin, m_kept + m_begin, m_end - m_begin);
        m_line += line;
        m_begin = m_end = 0;
    }

    unsigned char* m_line = nullptr;  ///< the line that the kept bytes belong to, from m_begin to m_end
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    alignas(line) unsigned char m_kept[line];
};

}  // namespace internal
}  // namespace ep

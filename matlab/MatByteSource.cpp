#include "MatByteSource.h"

#include <algorithm>
#include <cstring>

namespace orn {
namespace matlab {

namespace {

constexpr int scratchBytes = 1 << 14;

}  // namespace

bool MatFileSource::holds(qint64 count) const
{
    return m_position >= m_heldFrom && count <= m_heldFrom + m_heldBytes - m_position;
}

// What is sought far away is most likely a header alone; what follows nearby, one small variable after another.
bool MatFileSource::hold(qint64 count)
{
    constexpr qint64 headerBytes = 512;
    const qint64 heldEnd = m_heldFrom + m_heldBytes;
    const bool isNear = m_position >= m_heldFrom && m_position < heldEnd + headerBytes;
    const qint64 bytes = isNear ? static_cast<qint64>(m_held.size()) : std::max(count, headerBytes);
    if (!m_file.seek(m_position))
        return false;
    m_heldFrom = m_position;
    m_heldBytes = std::max<qint64>(m_file.read(m_held.data(), bytes), 0);
    return holds(count);
}

bool MatFileSource::read(void* target, qint64 count)
{
    if (count > static_cast<qint64>(m_held.size())) {
        const bool isRead = m_file.seek(m_position) && m_file.read(static_cast<char*>(target), count) == count;
        m_position += count;
        return isRead;
    }
    if (!holds(count) && !hold(count))
        return false;
    std::memcpy(target, m_held.data() + (m_position - m_heldFrom), static_cast<size_t>(count));
    m_position += count;
    return true;
}

bool MatFileSource::skip(qint64 count)
{
    if (count > m_fileBytes - m_position)
        return false;
    m_position += count;
    return true;
}

MatInflateSource::MatInflateSource(MatByteSource& stored, qint64 compressedBytes)
    : m_stored(stored), m_left(compressedBytes), m_isOpen(inflateInit(&m_stream) == Z_OK)
{
}

MatInflateSource::~MatInflateSource()
{
    if (m_isOpen)
        inflateEnd(&m_stream);
}

bool MatInflateSource::refill()
{
    const qint64 count = std::min<qint64>(m_left, static_cast<qint64>(m_input.size()));
    if (count <= 0 || !m_stored.read(m_input.data(), count))
        return false;
    m_left -= count;
    m_stream.next_in = reinterpret_cast<Bytef*>(m_input.data());
    m_stream.avail_in = static_cast<uInt>(count);
    return true;
}

bool MatInflateSource::read(void* target, qint64 count)
{
    auto* to = static_cast<Bytef*>(target);
    while (count > 0 && m_isOpen && m_status == Z_OK) {
        if (m_stream.avail_in == 0 && !refill())
            return false;
        const auto wanted = static_cast<uInt>(std::min<qint64>(count, 1 << 30));
        m_stream.next_out = to;
        m_stream.avail_out = wanted;
        m_status = inflate(&m_stream, Z_NO_FLUSH);
        const uInt got = wanted - m_stream.avail_out;
        to += got;
        count -= got;
    }
    return count == 0;
}

bool MatInflateSource::skip(qint64 count)
{
    std::array<char, scratchBytes> scratch;
    while (count > 0) {
        const qint64 part = std::min<qint64>(count, scratchBytes);
        if (!read(scratch.data(), part))
            return false;
        count -= part;
    }
    return true;
}

bool MatInflateSource::drain(qint64 most)
{
    char byte;
    for (qint64 i = 0; i < most && read(&byte, 1); ++i) {
    }
    return m_status == Z_OK || m_status == Z_STREAM_END || m_status == Z_BUF_ERROR;
}

}  // namespace matlab
}  // namespace orn

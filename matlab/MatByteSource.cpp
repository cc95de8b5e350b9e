#include "MatByteSource.h"

#include <algorithm>
#include <array>

namespace orn {
namespace matlab {

namespace {

constexpr int inputBytes = 1 << 14;
constexpr int scratchBytes = 1 << 14;

}  // namespace

bool MatFileSource::read(void* target, qint64 count)
{
    return m_file.read(static_cast<char*>(target), count) == count;
}

bool MatFileSource::skip(qint64 count)
{
    return count <= m_file.size() - m_file.pos() && m_file.seek(m_file.pos() + count);
}

MatInflateSource::MatInflateSource(QFile& file, qint64 compressedBytes)
    : m_file(file), m_left(compressedBytes), m_input(inputBytes, Qt::Uninitialized),
      m_isOpen(inflateInit(&m_stream) == Z_OK)
{
}

MatInflateSource::~MatInflateSource()
{
    if (m_isOpen)
        inflateEnd(&m_stream);
}

bool MatInflateSource::refill()
{
    const qint64 count = m_file.read(m_input.data(), std::min<qint64>(m_left, m_input.size()));
    if (count <= 0)
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

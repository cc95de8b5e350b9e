#include "RiceCode.h"

#include <QtAlgorithms>

#include <algorithm>

namespace ep {
namespace fits {
namespace {

/** How numbers of a size are coded. */
struct Form {
    int bytes;       ///< of a number; the first one stands there plain
    int lengthBits;  ///< bits in front of each block that tell how many low bits its numbers have, plus 1; 0: all equal
    int plainLength;  ///< the length that says: the numbers of the block stand there plain
};

Form formOf(int sampleBytes)
{
    return sampleBytes == 1 ? Form{1, 3, 6} : sampleBytes == 2 ? Form{2, 4, 14} : Form{4, 5, 25};
}

/** A place in a sequence of bits, the highest bit of a byte first. */
class BitReader {
public:
    BitReader(const std::vector<unsigned char>& bytes, qint64 start) : m_bytes(bytes), m_at(start) {}

    bool isWithin() const { return m_at <= size(); }
    void skip(qint64 bits) { m_at += bits; }

    /** The next @p count bits as a number; bits past the end are 0. */
    int number(int count)
    {
        int value = 0;
        for (; count > 0; --count, ++m_at)
            value = value << 1 | (m_at < size() ? m_bytes[byteIndex()] >> (7 - m_at % 8) & 1 : 0);
        return value;
    }

    /** Goes past the next set bit, or past the end when there is none. */
    void passSetBit()
    {
        for (; m_at < size(); m_at += 8 - m_at % 8) {
            const auto rest = static_cast<quint8>(m_bytes[byteIndex()] << m_at % 8);
            if (rest == 0)
                continue;
            m_at += qCountLeadingZeroBits(rest) + 1;
            return;
        }
        m_at = size() + 1;
    }

private:
    qint64 size() const { return static_cast<qint64>(m_bytes.size()) * 8; }
    size_t byteIndex() const { return static_cast<size_t>(m_at / 8); }

    const std::vector<unsigned char>& m_bytes;
    qint64 m_at;
};

}  // namespace

bool holdsRiceCode(const std::vector<unsigned char>& bytes, qint64 samples, qint64 blockLength, int sampleBytes)
{
    const Form form = formOf(sampleBytes);
    BitReader reader(bytes, form.bytes * 8);
    for (qint64 done = 0; done < samples && reader.isWithin(); done += blockLength) {
        const qint64 count = std::min(blockLength, samples - done);
        const int length = reader.number(form.lengthBits) - 1;
        if (length == form.plainLength)
            reader.skip(count * form.bytes * 8);
        else if (length >= 0)
            for (qint64 i = 0; i < count && reader.isWithin(); ++i) {
                reader.passSetBit();
                reader.skip(length);
            }
    }
    return reader.isWithin();
}

}  // namespace fits
}  // namespace ep

/**
 * @file
 * Damage to files, from one sequence of numbers.
 */
#pragma once

#include <QByteArray>

#include <cstring>
#include <random>

namespace testing {

/** The same seed does the same damage to the same bytes. */
class Damage {
public:
    explicit Damage(quint32 seed) : m_random(seed) {}

    /** A number from 0 to @p count - 1. */
    int below(int count) { return count > 0 ? int(m_random() % quint32(count)) : 0; }

    /** Hurts @p bytes in up to three places. */
    void spoil(QByteArray& bytes)
    {
        const int times = 1 + below(3);
        for (int i = 0; i < times && !bytes.isEmpty(); ++i)
            once(bytes);
    }

private:
    /** Half of the places are near an end of the file, where most formats keep what they say of it. */
    int place(const QByteArray& bytes)
    {
        constexpr int nearby = 512;
        const int size = bytes.size();
        if (size <= nearby || below(2) == 0)
            return below(size);
        return below(2) == 0 ? below(nearby) : size - 1 - below(nearby);
    }
    void once(QByteArray& bytes)
    {
        const int at = place(bytes);
        switch (below(8)) {
        case 0: bytes.truncate(at); break;
        case 1: bytes.insert(at, bytes.mid(below(bytes.size()), 8 * below(12))); break;
        case 2: bytes.remove(at, 8 * below(12)); break;
        case 3: word(bytes, at / 4 * 4); break;
        case 4: digit(bytes, at); break;
        case 5: bytes[at] = char(bytes.at(at) ^ 1 << below(8)); break;
        default: bytes[at] = char(m_random());
        }
    }
    void word(QByteArray& bytes, int at)
    {
        const quint32 values[] = {0,
                                  1,
                                  2,
                                  6,
                                  8,
                                  14,
                                  15,
                                  16,
                                  0x7fffffff,
                                  0x80000000,
                                  0xffffffff,
                                  0x10000,
                                  0x40001,
                                  0x20000002,
                                  quint32(bytes.size()),
                                  quint32(m_random())};
        if (at + 4 <= bytes.size())
            std::memcpy(bytes.data() + at, &values[below(16)], 4);
    }
    /** Changes the next digit from @p at on, so that numbers in text stay numbers. */
    void digit(QByteArray& bytes, int at)
    {
        while (at < bytes.size() && (bytes.at(at) < '0' || bytes.at(at) > '9'))
            ++at;
        if (at < bytes.size())
            bytes[at] = char('0' + below(10));
    }

    std::mt19937 m_random;
};

}  // namespace testing

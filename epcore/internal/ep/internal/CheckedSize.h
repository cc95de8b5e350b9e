/**
 * @file
 * Size arithmetic that notices an overflow.
 */
#pragma once

#include <QtGlobal>

namespace ep {
namespace internal {

/**
 * A byte count in 64 bits that remembers whether any step overflowed or went negative.
 * @code
 *   const CheckedSize bytes = CheckedSize(height) * width * sampleBytes;
 *   if (!bytes.isValid()) ...
 * @endcode
 */
class CheckedSize {
public:
    CheckedSize(qint64 value) : m_value(value), m_valid(value >= 0) {}

    CheckedSize operator*(qint64 factor) const { return combine(factor, &multiply); }
    CheckedSize operator+(qint64 term) const { return combine(term, &add); }

    bool isValid() const { return m_valid; }  ///< no step overflowed
    qint64 value() const { return m_value; }  ///< the size; 0 when not valid
    /** True when the size is valid and at most @p limit. */
    bool fits(qint64 limit) const { return m_valid && m_value <= limit; }

private:
    static bool multiply(qint64 a, qint64 b, qint64* result) { return __builtin_mul_overflow(a, b, result); }
    static bool add(qint64 a, qint64 b, qint64* result) { return __builtin_add_overflow(a, b, result); }

    CheckedSize combine(qint64 other, bool (*operation)(qint64, qint64, qint64*)) const
    {
        qint64 result = 0;
        const bool overflow = operation(m_value, other, &result);
        CheckedSize sum(overflow ? 0 : result);
        sum.m_valid = m_valid && other >= 0 && !overflow;
        if (!sum.m_valid)
            sum.m_value = 0;
        return sum;
    }

    qint64 m_value;
    bool m_valid;
};

}  // namespace internal
}  // namespace ep

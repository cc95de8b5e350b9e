/**
 * @file
 * How thorough a test is.
 */
#pragma once

#include <QVector>
#include <QtGlobal>

#include <algorithm>

namespace testing {

/** True when ORN_LONG_TESTS is set: everything is tried, however long it takes. */
inline bool areLongTestsWanted()
{
    return qEnvironmentVariableIsSet("ORN_LONG_TESTS");
}

/**
 * Numbers from 0 to @p count - 1 in ascending order: all of them in long tests, else at most @p some, of which the
 * first and the last quarter have no gaps.
 */
inline QVector<qint64> sampleOf(qint64 count, qint64 some)
{
    QVector<qint64> numbers;
    const qint64 edge = some / 4;
    const qint64 step =
        areLongTestsWanted() ? 1 : std::max<qint64>(1, (count - 2 * edge) / std::max<qint64>(1, some / 2));
    for (qint64 i = 0; i < count; i += i < edge || i >= count - edge ? 1 : std::min(step, count - edge - i))
        numbers << i;
    return numbers;
}

}  // namespace testing

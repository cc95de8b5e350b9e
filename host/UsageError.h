/**
 * @file
 * A command line that makes no sense.
 */
#pragma once

#include <QString>

#include <stdexcept>

/** Thrown when options do not go together, or not with the files that are named; ends in ExitCode::Usage. */
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const QString& reason) : std::runtime_error(reason.toStdString()) {}

    QString reason() const { return QString::fromUtf8(what()); }
};

/** Throws UsageError when there is a @p reason: when it is not empty. */
inline void throwIfRefused(const QString& reason)
{
    if (!reason.isEmpty())
        throw UsageError(reason);
}

/**
 * @file
 * Why a file could not be read or written.
 */
#pragma once

#include <ep/Export.h>

#include <QString>

namespace ep {

/** Kinds of failure that callers treat differently. */
enum class ExFileError {
    None,         ///< no failure
    Unreadable,   ///< missing, no permission, a directory, damaged or truncated
    Unsupported,  ///< the file is sound but holds something that is not served, or its format is not known
    TooLarge,     ///< a size is past the memory limit
    Unwritable,   ///< the target could not be written, proved or put in place
    Refused       ///< writing would lose samples or replace a file that must stay
};

/** A failure and its reason, for people: a clause without the file's name, as in "the file ends in the middle of a
 * row". */
struct SxFileError {
    ExFileError kind = ExFileError::None;  ///< what kind
    QString reason;                        ///< why

    /** True when there is a failure. */
    explicit operator bool() const { return kind != ExFileError::None; }
};

}  // namespace ep

/**
 * @file
 * What the program's exit code says.
 */
#pragma once

#include <ep/SxFileError.h>

#include <cstddef>

/** Exit codes of the program. A command of several files exits with SomeFailed, of one file with that file's code. */
enum class ExitCode {
    Done = 0,        ///< everything was done
    SomeFailed = 1,  ///< some of several files failed
    Different = 1,   ///< two images that were compared are not the same
    Usage = 2,       ///< the command line makes no sense
    Unreadable = 3,  ///< the input could not be read
    Unwritable = 4,  ///< the output could not be written
    Refused = 5,     ///< it would lose samples or replace a file, or it is too large
    Cancelled = 130  ///< interrupted
};

/** The code for an input that failed with @p kind. */
inline ExitCode exitCodeOfInput(ep::ExFileError kind)
{
    switch (kind) {
    case ep::ExFileError::None: return ExitCode::Done;
    case ep::ExFileError::TooLarge:
    case ep::ExFileError::Refused: return ExitCode::Refused;
    default: return ExitCode::Unreadable;
    }
}

/** The code for an output that failed with @p kind. */
inline ExitCode exitCodeOfOutput(ep::ExFileError kind)
{
    switch (kind) {
    case ep::ExFileError::None: return ExitCode::Done;
    case ep::ExFileError::TooLarge:
    case ep::ExFileError::Refused: return ExitCode::Refused;
    default: return ExitCode::Unwritable;
    }
}

/** The code of a command that served @p files files, of which the last one that failed did so with @p lastFailure. */
inline ExitCode exitCodeOfFiles(std::size_t files, ExitCode lastFailure)
{
    return files > 1 && lastFailure != ExitCode::Done ? ExitCode::SomeFailed : lastFailure;
}

/**
 * @file
 * Running out of memory as the failure of a file.
 */
#pragma once

#include <ep/SxFileError.h>

namespace ep {
namespace internal {

/** Asks for no memory. */
inline SxFileError outOfMemory()
{
    return {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
}

}  // namespace internal
}  // namespace ep

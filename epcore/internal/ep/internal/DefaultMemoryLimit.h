/**
 * @file
 * How much memory one image may take unless somebody sets a limit.
 */
#pragma once

#include <QtGlobal>

#include <unistd.h>

namespace ep {
namespace internal {

/** Half of the machine's memory, in bytes. */
inline qint64 defaultMemoryLimit()
{
    const qint64 pages = sysconf(_SC_PHYS_PAGES);
    const qint64 pageBytes = sysconf(_SC_PAGESIZE);
    // Where the system does not say, what fits a small machine.
    return pages > 0 && pageBytes > 0 ? pages / 2 * pageBytes : qint64(1) << 30;
}

}  // namespace internal
}  // namespace ep

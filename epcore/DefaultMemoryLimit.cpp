#include "DefaultMemoryLimit.h"

#include <unistd.h>

namespace ep {

qint64 defaultMemoryLimit()
{
    const qint64 pages = sysconf(_SC_PHYS_PAGES);
    const qint64 pageBytes = sysconf(_SC_PAGESIZE);
    // Where the system does not say, what fits a small machine.
    return pages > 0 && pageBytes > 0 ? pages / 2 * pageBytes : qint64(1) << 30;
}

}  // namespace ep

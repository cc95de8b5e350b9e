/**
 * @file
 * Memory in large pages, where the system offers them.
 */
#pragma once

#include <QtGlobal>

#include <cstddef>
#include <cstdint>

#if defined(Q_OS_LINUX)
#include <sys/mman.h>
#endif

namespace ep {
namespace internal {

constexpr std::size_t hugePage = std::size_t(2) << 20;       // 2 MiB
constexpr std::size_t hugeThreshold = std::size_t(4) << 20;  // below this the rounding costs more than it gains

/**
 * Tells the system that @p bytes at @p storage, fresh memory, will be written all. The first touch of a large image in
 * small pages takes longer than most operations on it. Only advice: a refusal changes nothing.
 */
inline void adviseHugePages(void* storage, std::size_t bytes)
{
#if defined(MADV_HUGEPAGE)
    if (bytes < hugeThreshold)
        return;
    const std::size_t past = reinterpret_cast<std::uintptr_t>(storage) % hugePage;
    const std::size_t skipped = past == 0 ? 0 : hugePage - past;
    madvise(static_cast<char*>(storage) + skipped, bytes - skipped, MADV_HUGEPAGE);
#else
    Q_UNUSED(storage);
    Q_UNUSED(bytes);
#endif
}

}  // namespace internal
}  // namespace ep

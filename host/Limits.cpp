#include "Limits.h"

#include "Command.h"

#include <ep/CxImageFormatManager.h>

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>

#include <malloc.h>
#include <sys/resource.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool reservesAddressSpace = true;  // sanitizers map many times the machine's memory
#else
constexpr bool reservesAddressSpace = false;
#endif

namespace {

constexpr qint64 gibibyte = qint64(1) << 30;
constexpr rlim_t secondsPerFile = 60;

struct LimitOptions {
    quint64 memory = 0;  // bytes; 0: not said
    bool isUntrusted = false;
};

std::atomic<bool> s_isUntrusted{false};

/** Lowers a limit of the process; never raises one that it was started with. */
void lowerLimit(decltype(RLIMIT_AS) resource, rlim_t value)
{
    rlimit limit{};
    if (getrlimit(resource, &limit) != 0)
        return;
    limit.rlim_cur = std::min(value, limit.rlim_cur);
    limit.rlim_max = limit.rlim_cur;
    setrlimit(resource, &limit);
}

void limitProcess(qint64 imageBytes)
{
    // The image, what is read back of it, and a copy or two of each on the way; and the program with its libraries.
    constexpr rlim_t images = 4;
    constexpr rlim_t program = 2 * gibibyte;
    const rlim_t bytes = static_cast<rlim_t>(imageBytes);
    if (!reservesAddressSpace)
        lowerLimit(RLIMIT_AS, images * bytes + program);
    constexpr rlim_t longestFile = 2;
    lowerLimit(RLIMIT_FSIZE, longestFile * bytes);
    lowerLimit(RLIMIT_CPU, RLIM_INFINITY);  // what was set from outside stays the most
    s_isUntrusted = true;
    grantProcessorTime();
}

/**
 * Lets what the program gets of memory begin as zeros (but for blocks below a kilobyte or so): what a library leaves
 * unset must not show what stood there before, a piece of another image for one.
 */
void clearNewMemory()
{
    constexpr int filling = 0;
    mallopt(M_PERTURB, filling ^ 0xff);
}

void apply(const LimitOptions& options)
{
    ep::CxImageFormatManager& manager = *ep::CxImageFormatManager::instance();
    if (options.memory > 0)
        manager.setMemoryLimit(
            static_cast<qint64>(std::min<quint64>(options.memory, std::numeric_limits<qint64>::max())));
    if (!options.isUntrusted)
        return;
    manager.setMemoryLimit(std::min(manager.memoryLimit(), gibibyte));
    manager.setTrustsFiles(false);
    clearNewMemory();
    limitProcess(manager.memoryLimit());
}

}  // namespace

const char processorTimeIsOver[] =
    "orn: the limit of processor time is reached (with --untrusted: 60 seconds for each file)\n";

void addLimitOptions(const Command& program)
{
    auto options = std::make_shared<LimitOptions>();
    program.size("--memory-limit", options->memory, "SIZE",
                 "Refuse images whose samples take more than this, as in 512M or 2G (default: half of the memory)");
    program.flag("--untrusted", options->isUntrusted,
                 "For files from strangers: refuse MAT files of version 7.3, and limit memory, time and file sizes");
    program.setPreparation([options] { apply(*options); });
}

void grantProcessorTime(int filesAtOnce)
{
    rusage used{};
    rlimit limit{};
    if (!s_isUntrusted || getrusage(RUSAGE_SELF, &used) != 0 || getrlimit(RLIMIT_CPU, &limit) != 0)
        return;
    const rlim_t seconds = static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) + 1;
    limit.rlim_cur = std::min(seconds + secondsPerFile * static_cast<rlim_t>(filesAtOnce), limit.rlim_max);
    setrlimit(RLIMIT_CPU, &limit);
}

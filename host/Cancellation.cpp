#include "Cancellation.h"

#include "ExitCodes.h"
#include "InterruptHandler.h"
#include "Limits.h"

#include <ep/CxSafeFile.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

bool isIgnored(int signal)
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

std::atomic<bool> isInterrupted{false};

/**
 * From now on no thread can create a file: else the command at work might make a file anew that is given up. Everything
 * else goes on; libraries end the process when they get no pipe, for instance.
 */
void createNoMoreFiles()
{
    constexpr unsigned int refuse = SECCOMP_RET_ERRNO | EROFS;
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
#ifdef SYS_creat
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_creat, 3, 0),
#endif
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args) + 2 * sizeof(seccomp_data::args[0])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_CREAT, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, refuse),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog program{static_cast<unsigned short>(std::size(filter)), filter};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program);
}

/** A thread may do what a signal handler may not, so it is a thread that the signals go to. */
[[noreturn]] void waitForSignal(const sigset_t& interrupts)
{
    int signal = 0;
    while (sigwait(&interrupts, &signal) != 0 || (signal != SIGXCPU && InterruptHandler::takesInterrupt()))
        continue;
    isInterrupted = true;
    createNoMoreFiles();
    ep::CxSafeFile::abandonAll();
    if (signal != SIGXCPU)
        _exit(static_cast<int>(ExitCode::Cancelled));
    // Not through the Output: a thread that never ends may hold it.
    static_cast<void>(!::write(STDERR_FILENO, processorTimeIsOver, std::strlen(processorTimeIsOver)));
    _exit(static_cast<int>(ExitCode::Refused));
}

}  // namespace

void endCleanlyOnSignals()
{
    sigset_t interrupts;
    sigemptyset(&interrupts);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGXCPU})
        if (!isIgnored(signal))
            sigaddset(&interrupts, signal);
    pthread_sigmask(SIG_BLOCK, &interrupts, nullptr);
    try {
        std::thread([interrupts] { waitForSignal(interrupts); }).detach();
    } catch (const std::system_error&) {
        // Without the thread, the signals do what they always do.
        pthread_sigmask(SIG_UNBLOCK, &interrupts, nullptr);
    }
}

void leaveToInterrupt()
{
    while (isInterrupted)
        pause();
}

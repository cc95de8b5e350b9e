#include "Cancellation.h"

#include "ExitCodes.h"
#include "InterruptHandler.h"
#include "Limits.h"

#include <ep/CxSafeFile.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <initializer_list>
#include <system_error>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

namespace {

bool isIgnored(int signal)
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

std::atomic<bool> isInterrupted{false};

/** From now on no file can be opened or created: else the command at work might make a file anew that is given up. */
void openNoMoreFiles()
{
    const struct rlimit none = {};
    setrlimit(RLIMIT_NOFILE, &none);
}

/** A thread may do what a signal handler may not, so it is a thread that the signals go to. */
[[noreturn]] void waitForSignal(const sigset_t& interrupts)
{
    int signal = 0;
    while (sigwait(&interrupts, &signal) != 0 || (signal != SIGXCPU && InterruptHandler::takesInterrupt()))
        continue;
    isInterrupted = true;
    openNoMoreFiles();
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

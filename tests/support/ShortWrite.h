/**
 * @file
 * A system call of a program that writes less than it was asked to.
 */
#pragma once

#include "CallTrace.h"

#include <QFile>
#include <QHash>
#include <QTemporaryDir>
#include <QVector>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testing {

/** Runs `orn`, in whose first thread one call writes only the first half. As a debugger does, on x86-64 alone. */
class ShortWrite {
public:
#ifdef __x86_64__
    static constexpr bool isPossible = true;
#else
    static constexpr bool isPossible = false;
#endif

    static bool isWrite(const TracedCall& call)
    {
        return numbers().contains(call.name);
    }

    /**
     * A run with @p arguments in which @p call, which isWrite(), writes half of its bytes, or of its pieces.
     * @param isDone  whether the system did so
     */
    static ProgramRun run(const TracedCall& call, const QStringList& arguments, bool& isDone)
    {
        const QTemporaryDir folder;
        const QByteArray said = QFile::encodeName(folder.filePath(QStringLiteral("said")));
        QVector<QByteArray> words{QFile::encodeName(ornProgram())};
        for (const QString& argument : arguments)
            words << argument.toLocal8Bit();
        ProgramRun result;
        const pid_t process = ::fork();
        if (process == 0)
            becomeProgram(words, said);
        if (process > 0)
            result.code = follow(process, {numbers()[call.name], call.ordinal}, isDone);
        result.err = QString::fromUtf8(readFile(QFile::decodeName(said)));
        return result;
    }

private:
    static const QHash<QString, long>& numbers()
    {
        static const QHash<QString, long> numbers{{QStringLiteral("write"), SYS_write},
                                                  {QStringLiteral("pwrite64"), SYS_pwrite64},
                                                  {QStringLiteral("writev"), SYS_writev}};
        return numbers;
    }

    /** Never returns. */
    static void becomeProgram(QVector<QByteArray>& words, const QByteArray& said)
    {
        const int file = ::open(said.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(file, STDOUT_FILENO);
        ::dup2(file, STDERR_FILENO);
        // Leaks cannot be looked for in a program that is traced.
        ::setenv("ASAN_OPTIONS", (qgetenv("ASAN_OPTIONS") + ":detect_leaks=0").constData(), 1);
        QVector<char*> pointers;
        for (QByteArray& word : words)
            pointers << word.data();
        pointers << nullptr;
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }

    /** The call that is meant, as its process comes to it. */
    struct Meant {
        long number;
        int ordinal;  // how many calls of that number are to come, itself among them
        unsigned long long half = 0;
    };

    /** Lets the process run to its end. Its exit code; -1 after a signal. */
    static int follow(pid_t process, Meant meant, bool& isDone)
    {
        constexpr int stopOfCall = SIGTRAP | 0x80;
        isDone = false;
        int status = 0;
        ::waitpid(process, &status, 0);
        ::ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACESYSGOOD);
        bool isEntry = true;
        int signal = 0;
        while (::ptrace(PTRACE_SYSCALL, process, nullptr, signal) == 0 && ::waitpid(process, &status, 0) == process
               && WIFSTOPPED(status)) {
            signal = WSTOPSIG(status) == stopOfCall || WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
            if (WSTOPSIG(status) != stopOfCall)
                continue;
            if (isEntry)
                shorten(process, meant);
            else
                isDone = isDone || hasWrittenHalf(process, meant);
            isEntry = !isEntry;
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    static void shorten(pid_t process, Meant& meant)
    {
#ifdef __x86_64__
        user_regs_struct registers{};
        if (::ptrace(PTRACE_GETREGS, process, nullptr, &registers) != 0 || long(registers.orig_rax) != meant.number
            || --meant.ordinal != 0)
            return;
        meant.half = std::max(1ULL, registers.rdx / 2);
        registers.rdx = meant.half;
        ::ptrace(PTRACE_SETREGS, process, nullptr, &registers);
#endif
    }

    /** True at the end of the call that was shortened. */
    static bool hasWrittenHalf(pid_t process, Meant& meant)
    {
#ifdef __x86_64__
        user_regs_struct registers{};
        const unsigned long long half = std::exchange(meant.half, 0);
        return half != 0 && ::ptrace(PTRACE_GETREGS, process, nullptr, &registers) == 0
               && (meant.number == SYS_writev ? long(registers.rax) > 0 : registers.rax == half);
#else
        return false;
#endif
    }
};

}  // namespace testing

/**
 * @file
 * System calls of a program that fail one at a time. Needs strace, and a system that lets programs be traced.
 */
#pragma once

#include "Files.h"
#include "Program.h"

#include <QHash>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QVector>

namespace testing {

/** A system call of the program's first thread. */
struct TracedCall {
    QString name;     ///< "write"
    int ordinal = 0;  ///< the how manieth of that name it is, counted from 1
    QString line;     ///< the call with its arguments
};

/** Runs `orn` under strace. */
class CallTrace {
public:
    /** The calls by which files are read, written and put in place. */
    static QString watchedCalls()
    {
        return QStringLiteral("openat,read,pread64,write,pwrite64,writev,fsync,ftruncate,fchmod,rename,renameat2");
    }
    static bool isPossible()
    {
        return runProgram(QStringLiteral("strace"), {QStringLiteral("-qq"), QStringLiteral("true")}).code == 0;
    }
    /** The calls of a run with @p arguments in which a file in @p folder is named. */
    static QVector<TracedCall> callsOn(const QString& folder, const QStringList& arguments)
    {
        const QTemporaryDir logs;
        const QString log = logs.filePath(QStringLiteral("log"));
        run({QStringLiteral("-y"), QStringLiteral("-e"), QStringLiteral("trace=") + watchedCalls(),
             QStringLiteral("-o"), log},
            arguments);
        static const QRegularExpression call(QStringLiteral("^(\\d+) +(\\w+)\\("));
        QVector<TracedCall> calls;
        QHash<QString, int> counts;
        QString firstThread;
        for (const QString& line : QString::fromUtf8(readFile(log)).split(QLatin1Char('\n'))) {
            const QRegularExpressionMatch match = call.match(line);
            if (!match.hasMatch())
                continue;
            if (firstThread.isEmpty())
                firstThread = match.captured(1);
            if (match.captured(1) != firstThread)
                continue;
            const int ordinal = ++counts[match.captured(2)];
            if (line.contains(folder))
                calls.append({match.captured(2), ordinal, line});
        }
        return calls;
    }
    /** A run with @p arguments in which @p call fails with @p error, "EIO" for example. */
    static ProgramRun runFailing(const TracedCall& call, const QString& error, const QStringList& arguments)
    {
        const QString fault = QStringLiteral("inject=%1:error=%2:when=%3").arg(call.name, error).arg(call.ordinal);
        return run({QStringLiteral("-e"), QStringLiteral("trace=") + call.name, QStringLiteral("-e"), fault,
                    QStringLiteral("-o"), QStringLiteral("/dev/null")},
                   arguments);
    }

private:
    static ProgramRun run(const QStringList& options, const QStringList& arguments)
    {
        // Leaks cannot be looked for in a program that is traced already.
        const QString sanitizer = qEnvironmentVariable("ASAN_OPTIONS") + QStringLiteral(":detect_leaks=0");
        return runProgram(QStringLiteral("strace"),
                          QStringList{QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("--seccomp-bpf")}
                              + options + QStringList{ornProgram()} + arguments,
                          {{QStringLiteral("ASAN_OPTIONS"), sanitizer}});
    }
};

}  // namespace testing

/**
 * @file
 * The most memory that a piece of code has in use at once.
 */
#pragma once

#include <QByteArray>
#include <QFile>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

namespace benching {

/** A line of /proc/self/status such as VmHWM, in bytes. */
inline qint64 memoryStatus(const QByteArray& name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = status.readAll();
    const int start = text.indexOf(name + ':') + name.size() + 1;
    return start <= name.size() ? -1 : text.mid(start, text.indexOf("kB", start) - start).trimmed().toLongLong() * 1024;
}

/**
 * Runs @p work in a child process.
 * @return bytes by which the child's memory in use rose at most, above what it had before; negative when that cannot be
 * measured here
 */
template <typename Work>
qint64 peakMemoryOf(Work&& work)
{
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        malloc_trim(0);  // what the parent freed shall not serve the work for nothing
        QFile peak(QStringLiteral("/proc/self/clear_refs"));
        // 5: the peak starts anew from what is in use now.
        const bool isReset = peak.open(QIODevice::WriteOnly) && peak.write("5") == 1;
        peak.close();
        const qint64 before = memoryStatus("VmRSS");
        work();
        const qint64 rise = isReset ? memoryStatus("VmHWM") - before : -1;
        _exit(write(ends[1], &rise, sizeof(rise)) == sizeof(rise) ? 0 : 1);
    }
    qint64 rise = -1;
    close(ends[1]);
    if (child < 0 || read(ends[0], &rise, sizeof(rise)) != sizeof(rise))
        rise = -1;
    close(ends[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    return rise;
}

}  // namespace benching

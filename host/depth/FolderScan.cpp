#include "FolderScan.h"

#include "InterruptHandler.h"
#include "Limits.h"
#include "Output.h"
#include "ProgressDisplay.h"

#include <QDir>

#include <atomic>
#include <cmath>
#include <system_error>
#include <thread>

namespace {

/** The names in the messages of files that could not be read. */
QStringList failuresIn(const QStringList& lines)
{
    const QStringList message = QObject::tr("Failed to read %1.").split(QStringLiteral("%1"));
    const QString start = QStringLiteral("]: ") + message.first();
    QStringList names;
    for (const QString& line : lines) {
        const int stamp = line.indexOf(QLatin1Char(']'));
        if (line.midRef(stamp).startsWith(start) && line.endsWith(message.last()))
            names << line.mid(stamp + start.size(), line.size() - stamp - start.size() - message.last().size());
    }
    return names;
}

/** Runs @p work on a thread of its own and waits for its end. */
template <typename Work>
void runOnThread(Work&& work)
{
    std::thread worker;
    try {
        worker = std::thread(work);
    } catch (const std::system_error&) {
        // Without the thread it is done here; the interrupt comes from another one in any case.
        work();
    }
    if (worker.joinable())
        worker.join();
}

/** Files done, of @p count, by the progress of the scan, which counts them in percent. */
int filesDone(orn::CxProgressInfo& progress, int count)
{
    constexpr double whole = 100.0;
    double total = 0;
    double task = 0;
    QString text;
    progress.getInfo(total, text, task, text);
    return static_cast<int>(std::lround(total * count / whole));
}

}  // namespace

FolderDepth scanFolder(const QString& folder, const QStringList& filters, orn::Protocol& protocol, bool quiet,
                       Output& output)
{
    FolderDepth depth;
    depth.files = QDir(folder).entryList(filters, QDir::Files).size();
    orn::CxProgressInfo progress;
    std::atomic<bool> isInterrupted{false};
    ProgressDisplay display(output, depth.files, quiet);
    const auto onUpdate = [&] {
        // The scan begins with a reset, which forgets an interrupt that came before it.
        if (isInterrupted && !progress.isCanceled())
            progress.cancel();
        grantProcessorTime();
        display.setDone(filesDone(progress, depth.files));
    };
    QObject::connect(&progress, &orn::CxProgressInfo::updated, &progress, onUpdate, Qt::DirectConnection);
    const InterruptHandler interruptHandler([&] {
        isInterrupted = true;
        progress.cancel();
        output.remark(QStringLiteral("stopping after the file in work; interrupt again to end at once"));
    });
    runOnThread([&] {
        depth.result =
            orn::GetColorBitDepthFromDir(folder, filters, &depth.bitDepth, &depth.dataType, &protocol, &progress);
    });
    display.finish();
    depth.checked = filesDone(progress, depth.files);
    // An interrupt after the last file has cancelled nothing.
    depth.isCancelled = progress.isCanceled() && depth.result != orn::ColorBitDepthFound;
    depth.failures = failuresIn(protocol.getProtocol());
    return depth;
}

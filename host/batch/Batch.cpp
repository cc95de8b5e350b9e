#include "Batch.h"

#include "CommonOptions.h"
#include "InterruptHandler.h"
#include "Limits.h"
#include "Output.h"
#include "PictureFile.h"
#include "ProgressDisplay.h"
#include "UsageError.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThreadPool>
#include <QtConcurrent>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

namespace {

/** The workers of a batch: each takes the next file, so that no more files are in memory than there are workers. */
class Workers {
public:
    Workers(const QVector<BatchItem>& items, const BatchWork& work, BatchReport& report, ProgressDisplay& display)
        : m_items(items), m_work(work), m_report(report), m_display(display)
    {
    }

    void run(int jobs);
    /** No other file is begun. */
    void stop();
    /** Waits for the end of all work, or for stop(). @return whether it was that */
    bool waitForStop();
    void wait();

private:
    const BatchItem* takeNext();
    void serveFiles();
    FileOutcome serve(const BatchItem& item) const;

    const QVector<BatchItem>& m_items;
    const BatchWork& m_work;
    BatchReport& m_report;
    ProgressDisplay& m_display;
    QThreadPool m_pool;

    std::mutex m_mutex;  // guards all that follows
    std::condition_variable m_change;
    int m_next = 0;
    int m_atWork = 0;
    bool m_isStopped = false;
};

void Workers::run(int jobs)
{
    m_pool.setMaxThreadCount(jobs);
    m_atWork = jobs;
    for (int i = 0; i < jobs; ++i)
        QtConcurrent::run(&m_pool, this, &Workers::serveFiles);
}

void Workers::stop()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isStopped = true;
    m_change.notify_all();
}

bool Workers::waitForStop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_change.wait(lock, [this] { return m_isStopped || m_atWork == 0; });
    return m_isStopped;
}

void Workers::wait()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_change.wait(lock, [this] { return m_atWork == 0; });
    lock.unlock();
    m_pool.waitForDone();
}

const BatchItem* Workers::takeNext()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    while (m_next < m_items.size() && m_items[m_next].isDone)
        ++m_next;
    if (!m_isStopped && m_next < m_items.size())
        return &m_items[m_next++];
    --m_atWork;
    m_change.notify_all();
    return nullptr;
}

void Workers::serveFiles()
{
    while (const BatchItem* item = takeNext()) {
        m_display.setCurrent(QFileInfo(item->input).fileName());
        grantProcessorTime(m_pool.maxThreadCount());
        QElapsedTimer timer;
        timer.start();
        const FileOutcome outcome = serve(*item);
        constexpr double millisecond = 0.001;
        m_report.ended(*item, outcome, timer.elapsed() * millisecond);
        m_display.addDone();
    }
}

FileOutcome Workers::serve(const BatchItem& item) const
{
    FileOutcome outcome;
    try {
        return m_work.serve(item.input, item.output);
    } catch (const std::exception& error) {
        // Out of memory, say: that is one file's failure, not that of the others.
        failInput(outcome, item.input, {ep::ExFileError::TooLarge, QString::fromUtf8(error.what())});
    }
    return outcome;
}

/** Everything that can be found wrong before a file is touched. */
QVector<BatchItem> planned(const QStringList& files, const BatchOptions& options, const BatchWork& work)
{
    QString suffix = options.suffix;
    if (suffix.startsWith(QLatin1Char('.')))
        suffix.remove(0, 1);
    ep::SxFileError error;
    if (!suffix.isEmpty() && !canBeWritten(QStringLiteral("file.") + suffix, error))
        throw UsageError(QStringLiteral("--to: ") + error.reason);
    QVector<BatchItem> items;
    throwIfRefused(
        planBatch(files, options.inputs, {options.folder, suffix, options.resume, options.log, work.besides}, items));
    for (const BatchItem& item : qAsConst(items))
        throwIfRefused(work.refuse(item.input, item.output));
    return items;
}

/** Makes the folder and the log. */
ExitCode prepare(const BatchOptions& options, BatchReport& report, Output& output)
{
    const QString& folder = options.folder;
    if (!QDir().mkpath(folder)) {
        output.problem(folder, QFileInfo::exists(folder) ? QStringLiteral("it is a file, not a folder")
                                                         : QStringLiteral("the folder cannot be made"));
        return ExitCode::Unwritable;
    }
    ep::SxFileError error;
    if (options.log.isEmpty() || report.openLog(options.log, options.resume, error))
        return ExitCode::Done;
    output.problem(options.log, error.reason);
    return exitCodeOfOutput(error.kind);
}

ExitCode serveAll(const QVector<BatchItem>& items, const BatchOptions& options, const BatchWork& work,
                  BatchReport& report, Output& output)
{
    QElapsedTimer timer;
    timer.start();
    int left = 0;
    for (const BatchItem& item : items) {
        left += !item.isDone;
        if (item.isDone)
            report.skipped(item);
    }
    const int processors = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const int jobs = std::max(1, std::min(options.jobs > 0 ? options.jobs : processors, left));
    ProgressDisplay display(output, left, options.quiet);
    Workers workers(items, work, report, display);
    const InterruptHandler interruptHandler([&workers] { workers.stop(); });
    workers.run(jobs);
    const bool isCancelled = workers.waitForStop();
    if (isCancelled)
        output.remark(QStringLiteral("stopping after the files in work; interrupt again to end at once"));
    workers.wait();
    display.finish();
    constexpr double millisecond = 0.001;
    return report.finish(items.size(), isCancelled, timer.elapsed() * millisecond);
}

}  // namespace

InputAndOutput inputAndOutput(const QStringList& files)
{
    if (files.isEmpty())
        throw UsageError(QStringLiteral("IN is required"));
    if (files.size() < 2)
        throw UsageError(QStringLiteral("OUT is required (or --out-dir, to serve many files)"));
    if (files.size() > 2)
        throw UsageError(QStringLiteral("'%1' is one argument too many; --out-dir serves many files").arg(files[2]));
    return {files[0], files[1]};
}

void addBatchOptions(const Command& command, BatchOptions& options)
{
    const char* const folder = "--out-dir";
    command.value(folder, options.folder, "DIR",
                  "Serve many files: each FILE is read, and its output goes into this folder, which is made");
    command
        .value("--to", options.suffix, "SUFFIX", "With --out-dir: the suffix of the outputs, which chooses the format")
        .needs(folder);
    addInputListOptions(command, options.inputs, folder);
    command.value("--jobs", options.jobs, "N", "So many files at once (default: one per processor)")
        .positive()
        .needs(folder);
    command
        .flag("--resume", options.resume,
              "Skip a file whose output, and what is made with it, exists and is newer than it")
        .needs(folder);
    command.value("--run-log", options.log, "FILE", "Report each file in this file as it ends: a line of JSON")
        .needs(folder);
    addQuietFlag(command, options.quiet).needs(folder);
}

ExitCode runBatch(const QStringList& files, const BatchOptions& options, const BatchWork& work, Output& output)
{
    QStringList inputs;
    ep::SxFileError error;
    if (!readInputList(files, options.inputs, inputs, error)) {
        output.problem(options.inputs.listFile, error.reason);
        return exitCodeOfInput(error.kind);
    }
    const QVector<BatchItem> items = planned(inputs, options, work);
    inputs.clear();
    BatchReport report(work.words, output);
    const ExitCode code = prepare(options, report, output);
    return code == ExitCode::Done ? serveAll(items, options, work, report, output) : code;
}

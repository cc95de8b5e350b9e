/**
 * @file
 * What a batch says.
 */
#pragma once

#include "BatchPlan.h"
#include "FileOutcome.h"
#include "RunLog.h"

#include <QHash>
#include <QJsonArray>

#include <mutex>

class Output;

/** How a batch speaks of itself. */
struct BatchWords {
    QString command;  ///< "convert"
    QString done;     ///< what becomes of a file: "converted"
    bool json = false;
};

/**
 * Says what becomes of the files of a batch: failures at once, and notes, of which many files have the same, once and
 * how often. Keeps the run's log. Thread-safe.
 */
class BatchReport {
public:
    BatchReport(BatchWords words, Output& output);

    /** Keeps a log from now on; see RunLog::open(). */
    bool openLog(const QString& path, bool goOn, ep::SxFileError& error);

    void skipped(const BatchItem& item);
    void ended(const BatchItem& item, const FileOutcome& outcome, double seconds);
    /** Says the sum of it all. @return the batch's exit code */
    ExitCode finish(int files, bool cancelled, double seconds);

private:
    void record(QJsonObject answer);
    void sayNotes(const QVector<FileNote>& notes);
    QString summaryText(int files, bool cancelled) const;

    const BatchWords m_words;
    Output& m_output;
    std::mutex m_mutex;  // guards all that follows
    RunLog m_log;
    bool m_logFailed = false;
    QHash<QString, int> m_filesOfNote;
    QJsonArray m_answers;  // for a program that wants them all; else none are kept
    int m_done = 0;
    int m_skipped = 0;
    int m_failed = 0;
    ExitCode m_lastFailure = ExitCode::Done;
};

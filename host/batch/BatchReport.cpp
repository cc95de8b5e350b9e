#include "BatchReport.h"

#include "Cancellation.h"
#include "Command.h"
#include "Json.h"
#include "Output.h"

#include <QStringList>

#include <utility>

namespace {

const QString statusKey = QStringLiteral("status");

/** Seconds in as many digits as anybody reads. */
double rounded(double seconds)
{
    constexpr double perSecond = 1000.0;
    return qRound64(seconds * perSecond) / perSecond;
}

}  // namespace

BatchReport::BatchReport(BatchWords words, Output& output) : m_words(std::move(words)), m_output(output) {}

bool BatchReport::openLog(const QString& path, bool goOn, ep::SxFileError& error)
{
    return m_log.open(path, goOn, error);
}

void BatchReport::skipped(const BatchItem& item)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_skipped;
    record({{QStringLiteral("input"), item.input},
            {QStringLiteral("output"), item.output},
            {statusKey, QStringLiteral("skipped")}});
}

void BatchReport::ended(const BatchItem& item, const FileOutcome& outcome, double seconds)
{
    const bool failed = outcome.code != ExitCode::Done;
    // What fails while the program is ended fails because of that.
    if (failed)
        leaveToInterrupt();
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++(failed ? m_failed : m_done);
    sayNotes(outcome.notes);
    if (failed) {
        m_lastFailure = outcome.code;
        m_output.problem(outcome.file, outcome.error.reason);
    }
    QJsonArray notes;
    for (const FileNote& note : outcome.notes)
        notes.append(note.text);
    QJsonObject answer = outcome.answer;
    answer[QStringLiteral("notes")] = notes;
    answer[QStringLiteral("input")] = item.input;
    answer[QStringLiteral("output")] = item.output;
    answer[statusKey] = failed ? QStringLiteral("failed") : QStringLiteral("done");
    answer[QStringLiteral("seconds")] = rounded(seconds);
    record(answer);
}

void BatchReport::record(QJsonObject answer)
{
    if (m_words.json)
        m_answers.append(answer);
    if (!m_log.isOpen() || m_logFailed)
        return;
    const QJsonObject start = jsonAnswer(m_words.command);
    for (auto it = start.begin(); it != start.end(); ++it)
        answer[it.key()] = it.value();
    m_logFailed = !m_log.write(answer);
    if (m_logFailed)
        m_output.problem(m_log.name(), QStringLiteral("the log cannot be written: %1").arg(m_log.reason()));
}

void BatchReport::sayNotes(const QVector<FileNote>& notes)
{
    for (const FileNote& note : notes)
        if (++m_filesOfNote[note.text] == 1)
            m_output.note(note.file, note.text);
}

QString BatchReport::summaryText(int files, bool cancelled) const
{
    QStringList parts{QStringLiteral("%1 %2").arg(m_done).arg(m_words.done)};
    if (m_skipped > 0)
        parts << QStringLiteral("%1 skipped").arg(m_skipped);
    if (m_failed > 0)
        parts << QStringLiteral("%1 failed").arg(m_failed);
    const QString text = parts.join(QStringLiteral(", "));
    const int left = files - m_done - m_skipped - m_failed;
    return cancelled ? QStringLiteral("cancelled: %1, %2 not begun").arg(text).arg(left) : text;
}

ExitCode BatchReport::finish(int files, bool cancelled, double seconds)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto it = m_filesOfNote.constBegin(); it != m_filesOfNote.constEnd(); ++it)
        if (it.value() > 1)
            m_output.note(QStringLiteral("%1 files").arg(it.value()), it.key());
    const QJsonObject summary{{QStringLiteral("files"), files},         {QStringLiteral("done"), m_done},
                              {QStringLiteral("skipped"), m_skipped},   {QStringLiteral("failed"), m_failed},
                              {QStringLiteral("cancelled"), cancelled}, {QStringLiteral("seconds"), rounded(seconds)}};
    const QJsonArray answers = std::exchange(m_answers, {});
    record({{QStringLiteral("summary"), summary}});
    if (m_words.json) {
        QJsonObject answer = jsonAnswer(m_words.command);
        answer[QStringLiteral("files")] = answers;
        answer[QStringLiteral("summary")] = summary;
        m_output.json(answer);
    } else {
        m_output.data(summaryText(files, cancelled) + QLatin1Char('\n'));
    }
    if (cancelled)
        return ExitCode::Cancelled;
    const ExitCode code = exitCodeOfFiles(static_cast<size_t>(files), m_lastFailure);
    return code == ExitCode::Done && m_logFailed ? ExitCode::Unwritable : code;
}

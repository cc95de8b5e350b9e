#include "FileOutcome.h"

#include "Json.h"
#include "Output.h"
#include "UsageError.h"

namespace {

void fail(FileOutcome& outcome, ExitCode code, const QString& file, const ep::SxFileError& error)
{
    outcome.code = code;
    outcome.file = file;
    outcome.error = error;
    QJsonObject failure = jsonError(error);
    failure[QStringLiteral("file")] = file;
    outcome.answer[QStringLiteral("error")] = failure;
}

}  // namespace

void failInput(FileOutcome& outcome, const QString& file, const ep::SxFileError& error)
{
    fail(outcome, exitCodeOfInput(error.kind), file, error);
}

void failOutput(FileOutcome& outcome, const QString& file, const ep::SxFileError& error)
{
    fail(outcome, exitCodeOfOutput(error.kind), file, error);
}

void failUsage(FileOutcome& outcome, const QString& file, const QString& reason)
{
    fail(outcome, ExitCode::Usage, file, {ep::ExFileError::Refused, reason});
}

ExitCode sayOutcome(const FileOutcome& outcome, const QString& command, bool json, Output& output)
{
    for (const FileNote& note : outcome.notes)
        output.note(note.file, note.text);
    if (outcome.code == ExitCode::Usage)
        throw UsageError(outcome.error.reason);
    if (outcome.code != ExitCode::Done)
        output.problem(outcome.file, outcome.error.reason);
    if (!json) {
        if (!outcome.line.isEmpty())
            output.data(outcome.line);
        return outcome.code;
    }
    QJsonObject answer = jsonAnswer(command);
    for (auto it = outcome.answer.begin(); it != outcome.answer.end(); ++it)
        answer[it.key()] = it.value();
    output.json(answer);
    return outcome.code;
}

#include "PreviewRequest.h"

#include "Json.h"
#include "Output.h"

ExitCode previewFailed(const PreviewRequest& request, const QString& file, const ep::SxFileError& error, ExitCode code,
                       Output& output)
{
    output.problem(file, error.reason);
    if (request.json) {
        QJsonObject failure = jsonError(error);
        failure[QStringLiteral("file")] = file;
        QJsonObject answer = jsonAnswer(QStringLiteral("preview"));
        answer[QStringLiteral("error")] = failure;
        output.json(answer);
    }
    return code;
}

void previewDone(const PreviewRequest& request, const Facts& facts, Output& output)
{
    if (request.json) {
        QJsonObject answer = jsonAnswer(QStringLiteral("preview"));
        answer[QStringLiteral("input")] = request.input();
        answer[QStringLiteral("output")] = request.output();
        answer[QStringLiteral("preview")] = jsonOf(facts);
        output.json(answer);
    } else {
        output.data(QStringLiteral("%1 -> %2\n").arg(printable(request.input()), printable(request.output())));
        writeFacts(facts, output);
    }
}

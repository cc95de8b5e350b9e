#include "PreviewSheet.h"

#include "Json.h"
#include "Limits.h"
#include "LoadCharts.h"
#include "Output.h"
#include "PreviewPicture.h"

#include <QFileInfo>
#include <QJsonArray>

namespace {

/** Adds the preview of @p file, or a placeholder when it has none. @return its exit code */
ExitCode addTile(const QString& file, charts::IxContactSheet& sheet, QJsonArray& answers, Output& output)
{
    const QString caption = printable(QFileInfo(file).fileName());
    QJsonObject answer{{QStringLiteral("file"), file}};
    PreviewPicture preview;
    ep::SxFileError error;
    output.setSubject(file);
    grantProcessorTime();
    if (readPicture(file, PreviewRequest(), preview, error)) {
        sheet.addPicture(preview.picture.image(), caption);
    } else {
        sheet.addPlaceholder(printable(error.reason), caption);
        output.problem(file, error.reason);
        answer[QStringLiteral("error")] = jsonError(error);
    }
    answers.append(answer);
    return exitCodeOfInput(error.kind);
}

void sheetDone(const PreviewRequest& request, const ep::SxImageInfo& sheet, const QJsonArray& files, Output& output)
{
    if (request.json) {
        QJsonObject answer = jsonAnswer(QStringLiteral("preview"));
        answer[QStringLiteral("output")] = request.output();
        answer[QStringLiteral("width")] = sheet.width;
        answer[QStringLiteral("height")] = sheet.height;
        answer[QStringLiteral("files")] = files;
        output.json(answer);
    } else {
        output.data(QStringLiteral("%1 files -> %2\n").arg(files.size()).arg(printable(request.output())));
    }
}

}  // namespace

ExitCode drawContactSheet(const PreviewRequest& request, Output& output)
{
    ep::SxFileError error;
    const std::unique_ptr<charts::IxCharts> charts = loadCharts(error.reason);
    if (!charts)
        return previewFailed(request, request.output(), {ep::ExFileError::Unwritable, error.reason},
                             ExitCode::Unwritable, output);
    const std::unique_ptr<charts::IxContactSheet> sheet = charts->newContactSheet();
    const int inputs = request.files.size() - 1;
    QJsonArray answers;
    ExitCode lastFailure = ExitCode::Done;
    for (int i = 0; i < inputs; ++i) {
        const ExitCode code = addTile(request.files[i], *sheet, answers, output);
        if (code != ExitCode::Done)
            lastFailure = code;
    }
    output.setSubject(request.output());
    ep::CxScopedBuffer picture;
    if (!sheet->draw(picture))
        error = {ep::ExFileError::TooLarge, QStringLiteral("so many pictures do not fit on one")};
    if (error
        || !ep::CxImageFormatManager::saveImageToFile(request.output(), picture.image(), nullptr, nullptr, false,
                                                      QString(), &error))
        return previewFailed(request, request.output(), error, exitCodeOfOutput(error.kind), output);
    sheetDone(request, picture.image(), answers, output);
    return exitCodeOfFiles(static_cast<size_t>(inputs), lastFailure);
}

#include "InfoCommand.h"

#include "ImageReport.h"
#include "Json.h"
#include "MetadataReport.h"
#include "Output.h"

#include <ep/epcore.h>

#include <CLI/CLI.hpp>

#include <QFileInfo>
#include <QJsonArray>

namespace {

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
};

/** What the suffix of @p file stands for, without the list of suffixes; empty when no format claims it. */
QString formatOf(const QString& file)
{
    const QString suffix = QFileInfo(file).suffix().toLower();
    const ep::SxFormatInfo* best = nullptr;
    const QList<ep::SxFormatInfo> formats = ep::CxImageFormatManager::instance()->formats();
    for (const ep::SxFormatInfo& format : formats)
        if (format.reads && format.suffixes.contains(suffix) && (!best || format.rank > best->rank))
            best = &format;
    return best ? best->filter.section(QStringLiteral(" ("), 0, 0) : QString();
}

Facts factsOfImage(const QString& file, const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common)
{
    Facts facts;
    const QString format = formatOf(file);
    if (!format.isEmpty())
        facts << Fact{QStringLiteral("format"), format, QStringLiteral("format"), format};
    return facts + recordFacts(image, common) + sampleFactsOf(image, common);
}

QJsonArray metadataJson(const ep::CxMetadata& metadata)
{
    QJsonArray list;
    for (const ep::IxMetadataItem* item : metadata.items()) {
        QJsonObject object = jsonOf(itemFacts(*item));
        object[QStringLiteral("class")] = QLatin1String(item->metaObject()->className());
        object[QStringLiteral("name")] = itemTitle(*item);
        list.append(object);
    }
    return list;
}

void writeText(const QString& file, const Facts& facts, const ep::CxMetadata& metadata, Output& output)
{
    output.data(output.emphasised(printable(file)) + QLatin1Char('\n'));
    writeFacts(facts, output);
    for (const ep::IxMetadataItem* item : metadata.items()) {
        output.data(QStringLiteral("  ") + output.emphasised(printable(itemTitle(*item))) + QLatin1Char('\n'));
        writeFacts(itemFacts(*item), output);
    }
}

/** Reports one file: as text at once, as JSON into @p answers. */
ExitCode report(const QString& file, bool json, QJsonArray& answers, Output& output)
{
    output.setSubject(file);
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    ep::SxFileError error;
    if (!ep::CxImageFormatManager::loadImageFromFile(file, image.image(), &metadata, nullptr, &error)) {
        output.problem(file, error.reason);
        answers.append(QJsonObject{{QStringLiteral("file"), file}, {QStringLiteral("error"), jsonError(error)}});
        return exitCodeOfInput(error.kind);
    }
    const Facts facts = factsOfImage(file, image.image(), commonMetadata(metadata));
    if (!json) {
        writeText(file, facts, metadata, output);
        return ExitCode::Done;
    }
    QJsonObject answer = jsonOf(facts);
    answer[QStringLiteral("file")] = file;
    answer[QStringLiteral("metadata")] = metadataJson(metadata);
    answers.append(answer);
    return ExitCode::Done;
}

ExitCode run(const InfoOptions& options, Output& output)
{
    QJsonArray answers;
    ExitCode lastFailure = ExitCode::Done;
    for (const std::string& file : options.files) {
        const ExitCode code = report(text(file), options.json, answers, output);
        if (code != ExitCode::Done)
            lastFailure = code;
    }
    if (options.json) {
        QJsonObject answer = jsonAnswer(QStringLiteral("info"));
        answer[QStringLiteral("files")] = answers;
        output.json(answer);
    }
    return exitCodeOfFiles(options.files.size(), lastFailure);
}

}  // namespace

void addInfoCommand(CLI::App& program, Output& output, ExitCode& exitCode)
{
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = addCommand(program, "info", "Say what image files hold: samples, mosaic, value range, metadata",
                                   "  orn info photo.dng\n"
                                   "  orn info *.mat\n"
                                   "  orn info --json photo.tif");
    command->add_option("FILE", options->files, "The image files")->required()->type_name("");
    addJsonFlag(*command, options->json);
    command->callback([options, &output, &exitCode] { exitCode = run(*options, output); });
}

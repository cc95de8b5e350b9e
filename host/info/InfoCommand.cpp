#include "InfoCommand.h"

#include "CommonOptions.h"
#include "DepthReport.h"
#include "ImageHistogram.h"
#include "ImageReport.h"
#include "InputList.h"
#include "Json.h"
#include "Limits.h"
#include "MetadataReport.h"
#include "Output.h"
#include "TerminalHistogram.h"
#include "UsageError.h"

#include <ep/epcore.h>

#include <QFileInfo>
#include <QJsonArray>

#include <memory>

namespace {

struct InfoOptions {
    QStringList files;
    InputListOptions inputs;
    QString variable;
    bool depth = false;
    bool histogram = false;
    bool logarithmic = false;
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

/** The histogram as JSON; null when the samples are no numbers. */
QJsonValue histogramJson(const ep::SxImageBuf& image, const QVector<ImagePart>& parts)
{
    constexpr int mostBins = 256;
    ImageHistogram histogram;
    return countSamples(image, parts, mostBins, histogram) ? jsonOf(histogram) : QJsonValue();
}

void writeMetadata(const ep::CxMetadata& metadata, Output& output)
{
    for (const ep::IxMetadataItem* item : metadata.items()) {
        output.data(QStringLiteral("  ") + output.emphasised(printable(itemTitle(*item))) + QLatin1Char('\n'));
        writeFacts(itemFacts(*item), output);
    }
}

/** What the loader is told; MAT files alone know variables, so that any other file is not to be asked for one. */
QMap<QString, QVariant> loaderOptions(const InfoOptions& options)
{
    QMap<QString, QVariant> map;
    if (!options.variable.isEmpty())
        map[QStringLiteral("variable")] = options.variable;
    return map;
}

void checkOptions(const InfoOptions& options, const QStringList& files)
{
    for (const QString& file : files)
        if (!options.variable.isEmpty() && QFileInfo(file).suffix().toLower() != QLatin1String("mat"))
            throw UsageError(QStringLiteral("--variable is for MAT files: '%1' does not end in .mat").arg(file));
}

/** Reports one file: as text at once, as JSON into @p answers. */
ExitCode report(const QString& file, const InfoOptions& options, QJsonArray& answers, Output& output)
{
    output.setSubject(file);
    grantProcessorTime();
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    ep::SxFileError error;
    const QMap<QString, QVariant> map = loaderOptions(options);
    if (!ep::CxImageFormatManager::loadImageFromFile(file, image.image(), &metadata, &map, &error)) {
        output.problem(file, error.reason);
        answers.append(QJsonObject{{QStringLiteral("file"), file}, {QStringLiteral("error"), jsonError(error)}});
        return exitCodeOfInput(error.kind);
    }
    const ep::CxCommonImageMetadata* common = commonMetadata(metadata);
    Facts facts = factsOfImage(file, image.image(), common);
    if (options.depth)
        facts += depthFacts(image.image(), common);
    const QVector<ImagePart> parts = options.histogram ? imageParts(image.image(), common) : QVector<ImagePart>();
    if (!options.json) {
        output.data(output.emphasised(printable(file)) + QLatin1Char('\n'));
        writeFacts(facts, output);
        if (options.histogram && !writeHistogram(image.image(), parts, options.logarithmic, output))
            output.note(file, QStringLiteral("samples of this type have no histogram"));
        writeMetadata(metadata, output);
        return ExitCode::Done;
    }
    QJsonObject answer = jsonOf(facts);
    answer[QStringLiteral("file")] = file;
    answer[QStringLiteral("metadata")] = metadataJson(metadata);
    if (options.histogram)
        answer[QStringLiteral("histogram")] = histogramJson(image.image(), parts);
    answers.append(answer);
    return ExitCode::Done;
}

ExitCode run(const InfoOptions& options, Output& output)
{
    QStringList files;
    ep::SxFileError error;
    if (!readInputList(options.files, options.inputs, files, error)) {
        output.problem(options.inputs.listFile, error.reason);
        return exitCodeOfInput(error.kind);
    }
    files = shardOf(files, options.inputs);
    checkOptions(options, files);
    QJsonArray answers;
    ExitCode lastFailure = ExitCode::Done;
    for (const QString& file : qAsConst(files)) {
        const ExitCode code = report(file, options, answers, output);
        if (code != ExitCode::Done)
            lastFailure = code;
    }
    if (options.json) {
        QJsonObject answer = jsonAnswer(QStringLiteral("info"));
        answer[QStringLiteral("files")] = answers;
        output.json(answer);
    }
    return exitCodeOfFiles(static_cast<size_t>(files.size()), lastFailure);
}

}  // namespace

void addInfoCommand(const Command& program)
{
    auto options = std::make_shared<InfoOptions>();
    const Command command =
        program.subcommand("info", "Say what image files hold: samples, mosaic, value range, metadata",
                           "  orn info photo.dng\n"
                           "  orn info *.mat\n"
                           "  orn info --variable scene workspace.mat\n"
                           "  orn info --depth scan.tif\n"
                           "  orn info --histogram --log photo.dng\n"
                           "  orn info --json photo.tif");
    command.positional("FILE", options->files, "The image files");
    addInputListOptions(command, options->inputs);
    command.value("--variable", options->variable, "NAME",
                  "MAT: read this array, or the image that was written with --name NAME");
    command.flag("--depth", options->depth,
                 "Tell the bits of the container from the declared and the used ones, and where they lie in it");
    command.flag("--histogram", options->histogram, "Draw how often which values occur, per channel or colour");
    command.flag("--log", options->logarithmic, "Draw the histogram on a logarithmic scale").needs("--histogram");
    addJsonFlag(command, options->json);
    command.setWork([options](Output& output) { return run(*options, output); });
}

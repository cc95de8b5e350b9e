#include "CompareCommand.h"

#include "CommonOptions.h"
#include "ImageComparison.h"
#include "Json.h"
#include "MetadataReport.h"
#include "Output.h"
#include "TextTable.h"

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <QJsonArray>

#include <algorithm>
#include <memory>

namespace {

struct CompareOptions {
    QString a;
    QString b;
    QString picture;
    double tolerance = 0;
    bool samplesOnly = false;
    bool json = false;
};

bool load(const QString& file, ep::SxImageBuf& image, ep::CxMetadata& metadata, ExitCode& code, Output& output)
{
    ep::SxFileError error;
    output.setSubject(file);
    if (ep::CxImageFormatManager::loadImageFromFile(file, image, &metadata, nullptr, &error))
        return true;
    output.problem(file, error.reason);
    code = exitCodeOfInput(error.kind);
    return false;
}

QVector<PartComparison> rowsOf(const ImageComparison& comparison)
{
    if (comparison.colors.isEmpty())
        return comparison.channels;
    return comparison.colors + QVector<PartComparison>{{QStringLiteral("all"), comparison.channels.front().result}};
}

void writeChannels(const ImageComparison& comparison, Output& output)
{
    TextTable table({QStringLiteral("channel"), QStringLiteral("different"), QStringLiteral("first at"),
                     QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("max. error"),
                     QStringLiteral("RMS error"), QStringLiteral("PSNR")});
    for (const PartComparison& row : rowsOf(comparison)) {
        const orn::SxChannelComparison& channel = row.result;
        const bool differs = channel.differing > 0;
        const QString place = QStringLiteral("%1,%2").arg(channel.firstColumn).arg(channel.firstRow);
        table.addRow(
            {row.name, QString::number(channel.differing), differs ? place : QString(),
             differs ? numberText(channel.firstA) : QString(), differs ? numberText(channel.firstB) : QString(),
             numberText(channel.maximumError), QString::number(channel.rmsError, 'g', 6),
             channel.rmsError > 0 ? QString::number(comparison.decibels(channel), 'f', 2) + QStringLiteral(" dB")
                                  : QStringLiteral("inf")});
    }
    table.write(output);
    output.data(QStringLiteral("PSNR against a peak of %1; x,y counted from 0 at the top left\n")
                    .arg(numberText(comparison.peak)));
}

void writeText(const CompareOptions& options, const ImageComparison& comparison, Output& output)
{
    const QString verdict = comparison.agrees() ? QStringLiteral("the same")
                            : comparison.samplesAgree() && !comparison.channels.isEmpty()
                                ? QStringLiteral("the same samples, described differently")
                                : QStringLiteral("different");
    output.data(QStringLiteral("%1, %2: %3\n").arg(printable(options.a), printable(options.b), verdict));
    for (const QString& difference : comparison.recordDifferences)
        output.data(QStringLiteral("  %1\n").arg(difference));
    const bool anyError = std::any_of(comparison.channels.begin(), comparison.channels.end(),
                                      [](const PartComparison& channel) { return channel.result.maximumError > 0; });
    if (anyError)
        writeChannels(comparison, output);
}

QJsonObject partJson(const ImageComparison& comparison, const orn::SxChannelComparison& channel)
{
    QJsonObject json{{QStringLiteral("samples"), static_cast<double>(channel.samples)},
                     {QStringLiteral("different"), static_cast<double>(channel.differing)},
                     {QStringLiteral("maximumError"), jsonNumber(channel.maximumError)},
                     {QStringLiteral("rmsError"), jsonNumber(channel.rmsError)},
                     {QStringLiteral("psnr"), jsonNumber(comparison.decibels(channel))},
                     {QStringLiteral("first"), QJsonValue::Null}};
    if (channel.differing > 0)
        json[QStringLiteral("first")] = QJsonObject{{QStringLiteral("x"), channel.firstColumn},
                                                    {QStringLiteral("y"), channel.firstRow},
                                                    {QStringLiteral("a"), jsonNumber(channel.firstA)},
                                                    {QStringLiteral("b"), jsonNumber(channel.firstB)}};
    return json;
}

void writeJson(const CompareOptions& options, const ImageComparison& comparison, Output& output)
{
    QJsonObject answer = jsonAnswer(QStringLiteral("compare"));
    answer[QStringLiteral("a")] = options.a;
    answer[QStringLiteral("b")] = options.b;
    answer[QStringLiteral("same")] = comparison.agrees();
    answer[QStringLiteral("tolerance")] = jsonNumber(options.tolerance);
    answer[QStringLiteral("peak")] = jsonNumber(comparison.peak);
    answer[QStringLiteral("recordDifferences")] = QJsonArray::fromStringList(comparison.recordDifferences);
    QJsonArray channels;
    for (const PartComparison& channel : comparison.channels)
        channels.append(partJson(comparison, channel.result));
    answer[QStringLiteral("channels")] = channels;
    QJsonArray colors;
    for (const PartComparison& color : comparison.colors) {
        QJsonObject object = partJson(comparison, color.result);
        object[QStringLiteral("name")] = color.name;
        colors.append(object);
    }
    answer[QStringLiteral("colors")] = colors;
    output.json(answer);
}

/** Writes the picture of the differences where one is asked for. @return what went wrong */
ExitCode writePicture(const CompareOptions& options, const ep::SxImageBuf& a, const ep::SxImageBuf& b, Output& output)
{
    if (options.picture.isEmpty())
        return ExitCode::Done;
    ep::SxFileError error;
    ep::CxScopedBuffer picture;
    output.setSubject(options.picture);
    if (!sameShape(a, b))
        error = {ep::ExFileError::Refused, QStringLiteral("the images have different sizes: there is no picture")};
    else if (ep::failed(orn::DifferencePicture(a, b, picture)))
        error = {ep::ExFileError::TooLarge, QStringLiteral("there is no memory for the picture")};
    if (error
        || !ep::CxImageFormatManager::saveImageToFile(options.picture, picture.image(), nullptr, nullptr, false,
                                                      QString(), &error))
        output.problem(options.picture, error.reason);
    return exitCodeOfOutput(error.kind);
}

ExitCode run(const CompareOptions& options, Output& output)
{
    ep::CxScopedBuffer a;
    ep::CxScopedBuffer b;
    ep::CxMetadata ofA;
    ep::CxMetadata ofB;
    ExitCode code = ExitCode::Done;
    if (!load(options.a, a.image(), ofA, code, output) || !load(options.b, b.image(), ofB, code, output))
        return code;
    ImageComparison comparison;
    if (!compareImages(a.image(), commonMetadata(ofA), b.image(), options.tolerance, options.samplesOnly, comparison)) {
        output.problem(options.a, QStringLiteral("samples of this type cannot be compared"));
        return ExitCode::Refused;
    }
    if (options.json)
        writeJson(options, comparison, output);
    else
        writeText(options, comparison, output);
    code = writePicture(options, a.image(), b.image(), output);
    if (code != ExitCode::Done)
        return code;
    return comparison.agrees() ? ExitCode::Done : ExitCode::Different;
}

}  // namespace

void addCompareCommand(const Command& program)
{
    auto options = std::make_shared<CompareOptions>();
    const Command command =
        program.subcommand("compare", "Say whether two images are the same, and how far they are apart",
                           "  orn compare capture.dng capture.mat\n"
                           "  orn compare --tolerance 1 scene.tif repaired.tif\n"
                           "  orn compare --picture difference.png scene.tif repaired.tif\n"
                           "  orn compare --samples-only capture12.tif capture16.tif");
    command.positional("A", options->a, "The reference").required();
    command.positional("B", options->b, "The image compared with it").required();
    command
        .value("--tolerance", options->tolerance, "NUMBER",
               "Samples up to this far apart count as the same (default 0)")
        .notNegative();
    command.flag("--samples-only", options->samplesOnly, "Compare values alone, not sample type, depth and grid");
    command.value("--picture", options->picture, "FILE",
                  "Draw where they differ, scaled to the largest difference; black is equal");
    addJsonFlag(command, options->json);
    command.setWork([options](Output& output) { return run(*options, output); });
}

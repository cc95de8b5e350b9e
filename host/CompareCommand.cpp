#include "CompareCommand.h"

#include "ImageReport.h"
#include "Json.h"
#include "Mosaic.h"
#include "Output.h"
#include "TextTable.h"

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <CLI/CLI.hpp>

#include <QJsonArray>

#include <cmath>

namespace {

struct CompareOptions {
    std::string a;
    std::string b;
    double tolerance = 0;
    bool samplesOnly = false;
    bool json = false;
};

/** What was found out about two images. */
struct Comparison {
    QStringList recordDifferences;  // what the descriptions do not agree in
    QVector<orn::SxChannelComparison> channels;
    double peak = 0;  // of the signal, for the signal-to-noise ratio

    bool samplesAgree() const
    {
        return std::all_of(channels.begin(), channels.end(),
                           [](const auto& channel) { return channel.differing == 0; });
    }
    bool agrees() const { return recordDifferences.isEmpty() && samplesAgree(); }
};

bool load(const std::string& file, ep::SxImageBuf& image, ExitCode& code, Output& output)
{
    ep::SxFileError error;
    output.setSubject(text(file));
    if (ep::CxImageFormatManager::loadImageFromFile(text(file), image, nullptr, nullptr, &error))
        return true;
    output.problem(text(file), error.reason);
    code = exitCodeOfInput(error.kind);
    return false;
}

bool sameShape(const ep::SxImageInfo& a, const ep::SxImageInfo& b)
{
    return a.width == b.width && a.height == b.height && a.channels == b.channels;
}

QStringList recordDifferences(const ep::SxImageInfo& a, const ep::SxImageInfo& b)
{
    QStringList differences;
    const auto compare = [&](const QString& what, const QString& inA, const QString& inB) {
        if (inA != inB)
            differences << QStringLiteral("%1: %2, %3").arg(what, inA, inB);
    };
    const auto size = [](const ep::SxImageInfo& image) {
        return QStringLiteral("%1 x %2").arg(image.width).arg(image.height);
    };
    compare(QStringLiteral("size"), size(a), size(b));
    compare(QStringLiteral("channels"), QString::number(a.channels), QString::number(b.channels));
    compare(QStringLiteral("sample type"), QLatin1String(ep::sampleFacts(a.dataType).name),
            QLatin1String(ep::sampleFacts(b.dataType).name));
    compare(QStringLiteral("depth"), QString::number(a.bitDepth), QString::number(b.bitDepth));
    compare(QStringLiteral("grid"), gridName(a), gridName(b));
    return differences;
}

bool isReal(const ep::SxImageInfo& image)
{
    return image.dataType == ep::DataTypeFloat || image.dataType == ep::DataTypeDouble;
}

/** The largest value of the depth; of real numbers, which have none, the span of all samples. */
double peakOf(const ep::SxImageBuf& image)
{
    if (!isReal(image))
        return std::ldexp(1.0, image.bitDepth) - 1;
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (int channel = 0; channel < image.channels; ++channel) {
        double minimum = 0;
        double maximum = 0;
        ep::SampleRange(image, channel, minimum, maximum);
        low = std::fmin(low, minimum);
        high = std::fmax(high, maximum);
    }
    return high - low;
}

/** @return false when the samples are no numbers. */
bool compare(const CompareOptions& options, const ep::SxImageBuf& a, const ep::SxImageBuf& b, Comparison& comparison)
{
    if (!options.samplesOnly || !sameShape(a, b))
        comparison.recordDifferences = recordDifferences(a, b);
    if (!sameShape(a, b))
        return true;
    comparison.peak = peakOf(a);
    comparison.channels.resize(a.channels);
    for (int channel = 0; channel < a.channels; ++channel)
        if (ep::failed(orn::CompareChannel(a, b, channel, options.tolerance, comparison.channels[channel])))
            return false;
    return true;
}

double decibels(const Comparison& comparison, const orn::SxChannelComparison& channel)
{
    return orn::peakSignalToNoise(channel.rmsError, comparison.peak);
}

void writeChannels(const Comparison& comparison, Output& output)
{
    TextTable table({QStringLiteral("channel"), QStringLiteral("different"), QStringLiteral("first at"),
                     QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("max. error"),
                     QStringLiteral("RMS error"), QStringLiteral("PSNR")});
    int number = 0;
    for (const orn::SxChannelComparison& channel : comparison.channels) {
        const bool differs = channel.differing > 0;
        const QString place = QStringLiteral("%1,%2").arg(channel.firstColumn).arg(channel.firstRow);
        table.addRow(
            {QString::number(++number), QString::number(channel.differing), differs ? place : QString(),
             differs ? numberText(channel.firstA) : QString(), differs ? numberText(channel.firstB) : QString(),
             numberText(channel.maximumError), QString::number(channel.rmsError, 'g', 6),
             channel.rmsError > 0 ? QString::number(decibels(comparison, channel), 'f', 2) + QStringLiteral(" dB")
                                  : QStringLiteral("inf")});
    }
    table.write(output);
    output.data(QStringLiteral("PSNR against a peak of %1; x,y counted from 0 at the top left\n")
                    .arg(numberText(comparison.peak)));
}

void writeText(const CompareOptions& options, const Comparison& comparison, Output& output)
{
    const QString verdict = comparison.agrees() ? QStringLiteral("the same")
                            : comparison.samplesAgree() && !comparison.channels.isEmpty()
                                ? QStringLiteral("the same samples, described differently")
                                : QStringLiteral("different");
    output.data(QStringLiteral("%1, %2: %3\n").arg(printable(text(options.a)), printable(text(options.b)), verdict));
    for (const QString& difference : comparison.recordDifferences)
        output.data(QStringLiteral("  %1\n").arg(difference));
    const bool anyError = std::any_of(comparison.channels.begin(), comparison.channels.end(),
                                      [](const auto& channel) { return channel.maximumError > 0; });
    if (anyError)
        writeChannels(comparison, output);
}

QJsonObject channelJson(const Comparison& comparison, const orn::SxChannelComparison& channel)
{
    QJsonObject json{{QStringLiteral("samples"), static_cast<double>(channel.samples)},
                     {QStringLiteral("different"), static_cast<double>(channel.differing)},
                     {QStringLiteral("maximumError"), jsonNumber(channel.maximumError)},
                     {QStringLiteral("rmsError"), jsonNumber(channel.rmsError)},
                     {QStringLiteral("psnr"), jsonNumber(decibels(comparison, channel))},
                     {QStringLiteral("first"), QJsonValue::Null}};
    if (channel.differing > 0)
        json[QStringLiteral("first")] = QJsonObject{{QStringLiteral("x"), channel.firstColumn},
                                                    {QStringLiteral("y"), channel.firstRow},
                                                    {QStringLiteral("a"), jsonNumber(channel.firstA)},
                                                    {QStringLiteral("b"), jsonNumber(channel.firstB)}};
    return json;
}

void writeJson(const CompareOptions& options, const Comparison& comparison, Output& output)
{
    QJsonObject answer = jsonAnswer(QStringLiteral("compare"));
    answer[QStringLiteral("a")] = text(options.a);
    answer[QStringLiteral("b")] = text(options.b);
    answer[QStringLiteral("same")] = comparison.agrees();
    answer[QStringLiteral("tolerance")] = jsonNumber(options.tolerance);
    answer[QStringLiteral("peak")] = jsonNumber(comparison.peak);
    answer[QStringLiteral("recordDifferences")] = QJsonArray::fromStringList(comparison.recordDifferences);
    QJsonArray channels;
    for (const orn::SxChannelComparison& channel : comparison.channels)
        channels.append(channelJson(comparison, channel));
    answer[QStringLiteral("channels")] = channels;
    output.json(answer);
}

ExitCode run(const CompareOptions& options, Output& output)
{
    ep::CxScopedBuffer a;
    ep::CxScopedBuffer b;
    ExitCode code = ExitCode::Done;
    if (!load(options.a, a.image(), code, output) || !load(options.b, b.image(), code, output))
        return code;
    Comparison comparison;
    if (!compare(options, a.image(), b.image(), comparison)) {
        output.problem(text(options.a), QStringLiteral("samples of this type cannot be compared"));
        return ExitCode::Refused;
    }
    if (options.json)
        writeJson(options, comparison, output);
    else
        writeText(options, comparison, output);
    return comparison.agrees() ? ExitCode::Done : ExitCode::Different;
}

}  // namespace

void addCompareCommand(CLI::App& program, Output& output, ExitCode& exitCode)
{
    auto options = std::make_shared<CompareOptions>();
    CLI::App* command =
        addCommand(program, "compare", "Say whether two images are the same, and how far they are apart",
                   "  orn compare capture.dng capture.mat\n"
                   "  orn compare --tolerance 1 scene.tif repaired.tif\n"
                   "  orn compare --samples-only capture12.tif capture16.tif");
    command->add_option("A", options->a, "The reference")->required()->type_name("");
    command->add_option("B", options->b, "The image compared with it")->required()->type_name("");
    command->add_option("--tolerance", options->tolerance, "Samples up to this far apart count as the same (default 0)")
        ->type_name("NUMBER")
        ->check(CLI::NonNegativeNumber);
    command->add_flag("--samples-only", options->samplesOnly, "Compare values alone, not sample type, depth and grid");
    addJsonFlag(*command, options->json);
    command->callback([options, &output, &exitCode] { exitCode = run(*options, output); });
}

#include "PreviewHistogram.h"

#include "ImageHistogram.h"
#include "ImageReport.h"
#include "Json.h"
#include "LoadCharts.h"
#include "MetadataReport.h"
#include "Output.h"
#include "UsageError.h"

#include <QFile>
#include <QFileInfo>
#include <QMap>

namespace {

/** The format that the name of the picture asks for. */
charts::ExChartFormat formatOf(const QString& file)
{
    const QMap<QString, charts::ExChartFormat> formats{{QStringLiteral("png"), charts::ExChartFormat::Png},
                                                       {QStringLiteral("svg"), charts::ExChartFormat::Svg},
                                                       {QStringLiteral("pdf"), charts::ExChartFormat::Pdf}};
    const auto found = formats.find(QFileInfo(file).suffix().toLower());
    if (found == formats.end())
        throw UsageError(QStringLiteral("--histogram: the picture's name ends in .png, .svg or .pdf"));
    return *found;
}

/** What gets a plot: one channel, or all parts of the image. */
QVector<ImagePart> partsOf(const PreviewRequest& request, const ep::SxImageInfo& image,
                           const ep::CxCommonImageMetadata* common)
{
    constexpr int mostPlots = 32;
    if (request.channel > image.channels)
        throw UsageError(QStringLiteral("--channel: the image has %1").arg(image.channels));
    if (request.channel > 0)
        return channelParts(image).mid(request.channel - 1, 1);
    const QVector<ImagePart> parts = imageParts(image, common);
    if (parts.size() > mostPlots)
        throw UsageError(
            QStringLiteral("--histogram: the image has %1 parts, more than %2 plots; choose one with --channel")
                .arg(parts.size())
                .arg(mostPlots));
    return parts;
}

charts::SxHistogramChart chartOf(const PreviewRequest& request, const ep::SxImageInfo& image,
                                 const ImageHistogram& histogram)
{
    charts::SxHistogramChart chart;
    chart.title = printable(QFileInfo(request.input()).fileName()) + QStringLiteral(": ") + briefText(image);
    chart.levelLabel = QStringLiteral("level, in ") + binsText(histogram, image.dataType);
    chart.low = histogram.bins.low;
    chart.binWidth = histogram.bins.width;
    chart.logarithmic = request.logarithmic;
    for (const PartHistogram& part : histogram.parts) {
        const QString stray = strayText(part);
        const QString name = stray.isEmpty() ? part.name : QStringLiteral("%1 (%2)").arg(part.name, stray);
        chart.plots << charts::SxPlot{name, part.color, part.histogram.counts};
    }
    return chart;
}

/** Puts @p bytes in place as a whole. */
bool writeWhole(const QString& path, const QByteArray& bytes, ep::SxFileError& error)
{
    ep::CxSafeFile safe(path);
    if (!safe.create(error))
        return false;
    QFile file(safe.temporaryName());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        error = {ep::ExFileError::Unwritable, file.errorString()};
        return false;
    }
    file.close();
    return safe.commit(false, error);
}

Facts factsOf(const PreviewRequest& request, const ep::SxImageInfo& image, const ImageHistogram& histogram)
{
    const QString scale = request.logarithmic ? QStringLiteral("logarithmic") : QStringLiteral("linear");
    Facts facts{
        {QStringLiteral("histogram"), binsText(histogram, image.dataType), QStringLiteral("histogram"),
         jsonOf(histogram)},
        {QStringLiteral("levels"),
         QStringLiteral("%1 .. %2")
             .arg(firstLevelText(histogram, image.dataType), lastLevelText(histogram, image.dataType)),
         QString(), QJsonValue()},
        {QStringLiteral("scale"), scale, QStringLiteral("scale"), scale},
    };
    for (const PartHistogram& part : histogram.parts)
        facts << Fact{QStringLiteral("  ") + part.name, QStringLiteral("%1 samples").arg(part.samples), QString(),
                      QJsonValue()};
    return facts;
}

}  // namespace

ExitCode drawHistogram(const PreviewRequest& request, Output& output)
{
    constexpr int mostBins = 512;
    const charts::ExChartFormat format = formatOf(request.output());
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    ep::SxFileError error;
    output.setSubject(request.input());
    if (!ep::CxImageFormatManager::loadImageFromFile(request.input(), image.image(), &metadata, nullptr, &error))
        return previewFailed(request, request.input(), error, exitCodeOfInput(error.kind), output);
    ImageHistogram histogram;
    if (!countSamples(image.image(), partsOf(request, image.image(), commonMetadata(metadata)), mostBins, histogram)) {
        error = {ep::ExFileError::Unsupported, QStringLiteral("samples of this type have no histogram")};
        return previewFailed(request, request.input(), error, exitCodeOfInput(error.kind), output);
    }
    output.setSubject(request.output());
    const std::unique_ptr<charts::IxCharts> charts = loadCharts(error.reason);
    const QByteArray bytes =
        charts ? charts->drawHistogram(chartOf(request, image.image(), histogram), format) : QByteArray();
    if (charts && bytes.isEmpty())
        error.reason = QStringLiteral("there is no memory for the picture");
    if (bytes.isEmpty() || !writeWhole(request.output(), bytes, error))
        return previewFailed(request, request.output(), {ep::ExFileError::Unwritable, error.reason},
                             ExitCode::Unwritable, output);
    previewDone(request, factsOf(request, image.image(), histogram), output);
    return ExitCode::Done;
}

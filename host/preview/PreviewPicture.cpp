#include "PreviewPicture.h"

#include "Json.h"
#include "MetadataReport.h"
#include "NoteCollector.h"
#include "Output.h"
#include "UsageError.h"

#include <algorithm>

namespace {

bool fail(ep::SxFileError& error, ep::ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

/** What to show of @p image. */
orn::SxPreviewOptions choose(const PreviewRequest& request, const ep::SxImageInfo& image)
{
    orn::SxPreviewOptions chosen;
    if (request.channel > image.channels)
        throw UsageError(QStringLiteral("--channel: the image has %1").arg(image.channels));
    chosen.channel = request.channel - 1;
    if (request.zoom.empty())
        return chosen;
    const int x = request.zoom[0];
    const int y = request.zoom[1];
    const int width = request.zoom[2];
    const int height = request.zoom[3];
    if (x < 0 || y < 0 || width < 1 || height < 1 || x >= image.width || y >= image.height || width > image.width - x
        || height > image.height - y)
        throw UsageError(QStringLiteral("--zoom: the image has %1 x %2 pixels").arg(image.width).arg(image.height));
    chosen.region = QRect(x, y, width, height);
    return chosen;
}

/** Makes the pixels of a small region visible. */
bool enlarge(PreviewPicture& preview)
{
    constexpr int wanted = 512;
    const int longest = std::max(preview.picture->width, preview.picture->height);
    preview.enlargement = std::max(1, wanted / longest);
    if (preview.enlargement == 1)
        return true;
    ep::CxScopedBuffer enlarged;
    const bool done = !ep::failed(orn::EnlargeImage(preview.picture.image(), preview.enlargement, enlarged));
    if (done)
        preview.picture = std::move(enlarged);
    return done;
}

/** How the picture came about, in words that a person can use to judge it. */
Facts factsOf(const PreviewPicture& preview)
{
    const orn::SxPreviewFacts& facts = preview.facts;
    const auto yesOrNo = [](bool yes) { return yes ? QStringLiteral("yes") : QStringLiteral("no"); };
    const ep::SxImageInfo& picture = preview.picture.image();
    return {
        {QStringLiteral("picture"), QStringLiteral("%1 x %2").arg(picture.width).arg(picture.height),
         QStringLiteral("width"), picture.width},
        {QString(), QString(), QStringLiteral("height"), picture.height},
        {QStringLiteral("reduced by"), QStringLiteral("%1 x %2").arg(facts.reductionX).arg(facts.reductionY),
         QStringLiteral("reductionX"), facts.reductionX},
        {QString(), QString(), QStringLiteral("reductionY"), facts.reductionY},
        {QStringLiteral("enlarged by"), QString::number(preview.enlargement), QStringLiteral("enlargement"),
         preview.enlargement},
        {QStringLiteral("black, white"),
         QStringLiteral("%1, %2 (%3)")
             .arg(numberText(facts.black), numberText(facts.white),
                  facts.scaled ? QStringLiteral("percentiles 0.1 and 99.9 of the samples")
                               : QStringLiteral("the range of 8-bit samples")),
         QStringLiteral("black"), jsonNumber(facts.black)},
        {QString(), QString(), QStringLiteral("white"), jsonNumber(facts.white)},
        {QString(), QString(), QStringLiteral("scaled"), facts.scaled},
        {QStringLiteral("white balance"), yesOrNo(facts.whiteBalanced), QStringLiteral("whiteBalanced"),
         facts.whiteBalanced},
        {QStringLiteral("sRGB colours"), yesOrNo(facts.colorsOfScreen), QStringLiteral("colorsOfScreen"),
         facts.colorsOfScreen},
        {QStringLiteral("sRGB curve"), yesOrNo(facts.gammaApplied), QStringLiteral("gammaApplied"), facts.gammaApplied},
        {QStringLiteral("orientation"), QString::number(std::max(1, preview.orientation)),
         QStringLiteral("orientation"), std::max(1, preview.orientation)},
    };
}

}  // namespace

bool readPicture(const QString& file, const PreviewRequest& request, PreviewPicture& preview, ep::SxFileError& error)
{
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    if (!ep::CxImageFormatManager::loadImageFromFile(file, image.image(), &metadata, nullptr, &error))
        return false;
    const ep::CxCommonImageMetadata* common = commonMetadata(metadata);
    const orn::SxPreviewOptions chosen = choose(request, image.image());
    const unsigned int status = orn::PreviewImage(image.image(), common, chosen, preview.picture, preview.facts);
    if (status == ep::StatusOutOfMemory)
        return fail(error, ep::ExFileError::TooLarge, QStringLiteral("there is no memory for the picture"));
    if (ep::failed(status))
        return fail(error, ep::ExFileError::Unsupported, QStringLiteral("samples of this type cannot be drawn"));
    image.reset();
    preview.orientation = common ? common->orientation : 0;
    const bool turned = preview.orientation < 2 || preview.orientation > 8
                        || !ep::failed(orn::OrientImage(preview.picture, preview.orientation));
    if (!turned || (!request.zoom.empty() && !enlarge(preview)))
        return fail(error, ep::ExFileError::TooLarge, QStringLiteral("there is no memory for the picture"));
    return true;
}

FileOutcome previewFile(const PreviewRequest& request, const QString& input, const QString& output)
{
    FileOutcome outcome;
    outcome.answer = {{QStringLiteral("input"), input}, {QStringLiteral("output"), output}};
    NoteCollector collector(outcome.notes);
    PreviewPicture preview;
    ep::SxFileError error;
    collector.setSubject(input);
    try {
        if (!readPicture(input, request, preview, error)) {
            failInput(outcome, input, error);
            return outcome;
        }
    } catch (const UsageError& refusal) {
        failUsage(outcome, input, refusal.reason());
        return outcome;
    }
    collector.setSubject(output);
    if (!ep::CxImageFormatManager::saveImageToFile(output, preview.picture.image(), nullptr, nullptr, false, QString(),
                                                   &error)) {
        failOutput(outcome, output, error);
        return outcome;
    }
    const Facts facts = factsOf(preview);
    outcome.line = QStringLiteral("%1 -> %2\n").arg(printable(input), printable(output)) + factsText(facts);
    outcome.answer[QStringLiteral("preview")] = jsonOf(facts);
    return outcome;
}

ExitCode drawPicture(const PreviewRequest& request, Output& output)
{
    return sayOutcome(previewFile(request, request.input(), request.output()), QStringLiteral("preview"), request.json,
                      output);
}

#include "PreviewCommand.h"

#include "Facts.h"
#include "Json.h"
#include "MetadataReport.h"
#include "Output.h"

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

struct PreviewOptions {
    std::string input;
    std::string output;
    int channel = 0;  // counted from 1; 0: colours
    std::vector<int> zoom;
    bool json = false;
};

/** The picture and how it was made. */
struct Preview {
    ep::CxScopedBuffer picture;
    orn::SxPreviewFacts facts;
    int orientation = 0;
    int enlargement = 1;
};

bool fail(ep::SxFileError& error, ep::ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

/** Throws what the parser throws when the image does not have what was asked for. */
orn::SxPreviewOptions choose(const PreviewOptions& options, const ep::SxImageInfo& image)
{
    orn::SxPreviewOptions chosen;
    if (options.channel > image.channels)
        throw CLI::ValidationError("--channel: the image has " + std::to_string(image.channels));
    chosen.channel = options.channel - 1;
    if (options.zoom.empty())
        return chosen;
    const int x = options.zoom[0];
    const int y = options.zoom[1];
    const int width = options.zoom[2];
    const int height = options.zoom[3];
    if (x < 0 || y < 0 || width < 1 || height < 1 || x >= image.width || y >= image.height || width > image.width - x
        || height > image.height - y)
        throw CLI::ValidationError("--zoom: the image has " + std::to_string(image.width) + " x "
                                   + std::to_string(image.height) + " pixels");
    chosen.region = QRect(x, y, width, height);
    return chosen;
}

/** Makes the pixels of a small region visible. */
bool enlarge(Preview& preview)
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

bool draw(const PreviewOptions& options, Preview& preview, ep::SxFileError& error)
{
    ep::CxScopedBuffer image;
    ep::CxMetadata metadata;
    if (!ep::CxImageFormatManager::loadImageFromFile(text(options.input), image.image(), &metadata, nullptr, &error))
        return false;
    const ep::CxCommonImageMetadata* common = commonMetadata(metadata);
    const orn::SxPreviewOptions chosen = choose(options, image.image());
    const unsigned int status = orn::PreviewImage(image.image(), common, chosen, preview.picture, preview.facts);
    if (status == ep::StatusOutOfMemory)
        return fail(error, ep::ExFileError::TooLarge, QStringLiteral("there is no memory for the picture"));
    if (ep::failed(status))
        return fail(error, ep::ExFileError::Unsupported, QStringLiteral("samples of this type cannot be drawn"));
    image.reset();
    preview.orientation = common ? common->orientation : 0;
    const bool turned = preview.orientation < 2 || preview.orientation > 8
                        || !ep::failed(orn::OrientImage(preview.picture, preview.orientation));
    if (!turned || (!options.zoom.empty() && !enlarge(preview)))
        return fail(error, ep::ExFileError::TooLarge, QStringLiteral("there is no memory for the picture"));
    return true;
}

/** How the picture came about, in words that a person can use to judge it. */
Facts factsOf(const Preview& preview)
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

ExitCode fail(const PreviewOptions& options, const std::string& file, const ep::SxFileError& error, ExitCode code,
              Output& output)
{
    output.problem(text(file), error.reason);
    if (options.json) {
        QJsonObject failure = jsonError(error);
        failure[QStringLiteral("file")] = text(file);
        QJsonObject answer = jsonAnswer(QStringLiteral("preview"));
        answer[QStringLiteral("error")] = failure;
        output.json(answer);
    }
    return code;
}

ExitCode run(const PreviewOptions& options, Output& output)
{
    Preview preview;
    ep::SxFileError error;
    output.setSubject(text(options.input));
    if (!draw(options, preview, error))
        return fail(options, options.input, error, exitCodeOfInput(error.kind), output);
    output.setSubject(text(options.output));
    if (!ep::CxImageFormatManager::saveImageToFile(text(options.output), preview.picture.image(), nullptr, nullptr,
                                                   false, QString(), &error))
        return fail(options, options.output, error, exitCodeOfOutput(error.kind), output);
    const Facts facts = factsOf(preview);
    if (options.json) {
        QJsonObject answer = jsonAnswer(QStringLiteral("preview"));
        answer[QStringLiteral("input")] = text(options.input);
        answer[QStringLiteral("output")] = text(options.output);
        answer[QStringLiteral("preview")] = jsonOf(facts);
        output.json(answer);
    } else {
        output.data(QStringLiteral("%1 -> %2\n").arg(printable(text(options.input)), printable(text(options.output))));
        writeFacts(facts, output);
    }
    return ExitCode::Done;
}

}  // namespace

void addPreviewCommand(CLI::App& program, Output& output, ExitCode& exitCode)
{
    auto options = std::make_shared<PreviewOptions>();
    CLI::App* command = addCommand(program, "preview", "Draw an image as a person wants to see it",
                                   "  orn preview photo.dng photo.png\n"
                                   "  orn preview --zoom 400,300,64,64 photo.dng detail.png\n"
                                   "  orn preview --channel 2 stack.tif second.png");
    command->add_option("IN", options->input, "The image file to draw")->required()->type_name("");
    command->add_option("OUT", options->output, "The picture to write; its suffix chooses the format")
        ->required()
        ->type_name("");
    command->add_option("--channel", options->channel, "One channel in grey, counted from 1")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    command->add_option("--zoom", options->zoom, "A region of the image, small ones enlarged")
        ->type_name("X,Y,W,H")
        ->delimiter(',')
        ->expected(4);
    addJsonFlag(*command, options->json);
    command->callback([options, &output, &exitCode] { exitCode = run(*options, output); });
}

#include "PreviewCommand.h"

#include "PreviewHistogram.h"
#include "PreviewPicture.h"
#include "PreviewRequest.h"
#include "PreviewSheet.h"

#include <CLI/CLI.hpp>

namespace {

/** "X,Y,W,H" as four numbers. */
std::vector<int> regionFromText(const QString& text)
{
    constexpr size_t wanted = 4;
    std::vector<int> region;
    bool isSound = true;
    for (const QString& number : text.split(QLatin1Char(','))) {
        bool isNumber = false;
        region.push_back(number.toInt(&isNumber));
        isSound = isSound && isNumber;
    }
    if (!isSound || region.size() != wanted)
        throw CLI::ValidationError("--zoom", "X,Y,W,H are four whole numbers");
    return region;
}

ExitCode drawMany(const PreviewRequest& request, Output& output)
{
    BatchOptions options = request.batch;
    if (options.suffix.empty())
        options.suffix = "png";
    BatchWork work;
    work.words = {QStringLiteral("preview"), QStringLiteral("drawn"), request.json};
    work.refuse = [](const QString&, const QString&) { return QString(); };
    work.serve = [&request](const QString& from, const QString& to) { return previewFile(request, from, to); };
    return runBatch(request.files, options, work, output);
}

ExitCode run(const PreviewRequest& request, Output& output)
{
    if (request.batch.isBatch())
        return drawMany(request, output);
    if (request.files.size() < 2)
        throw CLI::ValidationError("the picture to write is missing: FILE... PICTURE, or FILE... --out-dir DIR");
    if (!request.contactSheet && request.files.size() > 2)
        throw CLI::ValidationError("'" + request.files[2]
                                   + "' is one file too many; --contact-sheet draws several on one picture, --out-dir "
                                     "one picture each");
    const DrawPreview draw = request.contactSheet ? drawContactSheet : request.histogram ? drawHistogram : drawPicture;
    return draw(request, output);
}

}  // namespace

void addPreviewCommand(CLI::App& program, Output& output, ExitCode& exitCode)
{
    auto request = std::make_shared<PreviewRequest>();
    CLI::App* command = addCommand(program, "preview", "Draw an image as a person wants to see it",
                                   "  orn preview photo.dng photo.png\n"
                                   "  orn preview --zoom 400,300,64,64 photo.dng detail.png\n"
                                   "  orn preview --channel 2 stack.tif second.png\n"
                                   "  orn preview --histogram --log photo.dng histogram.svg\n"
                                   "  orn preview --contact-sheet *.dng sheet.png\n"
                                   "  orn preview --out-dir pictures --to jpg *.dng");
    command
        ->add_option("FILE", request->files,
                     "The image file to draw, with --contact-sheet several, and last the picture to write; its suffix "
                     "chooses the format. With --out-dir: the image files to draw")
        ->type_name("");
    addBatchOptions(*command, request->batch);
    CLI::Option* channel = command->add_option("--channel", request->channel, "One channel, counted from 1")
                               ->type_name("N")
                               ->check(CLI::PositiveNumber);
    CLI::Option* zoom =
        command
            ->add_option_function<std::string>(
                "--zoom", [request](const std::string& region) { request->zoom = regionFromText(text(region)); },
                "A region of the image, small ones enlarged")
            ->type_name("X,Y,W,H");
    CLI::Option* histogram =
        command
            ->add_flag("--histogram", request->histogram,
                       "Plot how often which values occur, per channel or colour, as PNG, SVG or PDF")
            ->excludes(zoom)
            ->excludes("--out-dir");
    command->add_flag("--log", request->logarithmic, "Plot on a logarithmic scale")->needs(histogram);
    command->add_flag("--contact-sheet", request->contactSheet, "A grid of many images with their file names")
        ->excludes(channel)
        ->excludes(zoom)
        ->excludes(histogram)
        ->excludes("--out-dir");
    addJsonFlag(*command, request->json);
    command->callback([request, &output, &exitCode] { exitCode = run(*request, output); });
}

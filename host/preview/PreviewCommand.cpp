#include "PreviewCommand.h"

#include "CommonOptions.h"
#include "PreviewHistogram.h"
#include "PreviewPicture.h"
#include "PreviewRequest.h"
#include "PreviewSheet.h"
#include "UsageError.h"

#include <memory>

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
        throw UsageError(QStringLiteral("--zoom: X,Y,W,H are four whole numbers"));
    return region;
}

ExitCode drawMany(const PreviewRequest& request, Output& output)
{
    BatchOptions options = request.batch;
    if (options.suffix.isEmpty())
        options.suffix = QStringLiteral("png");
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
        throw UsageError(QStringLiteral("the picture to write is missing: FILE... PICTURE, or FILE... --out-dir DIR"));
    if (!request.contactSheet && request.files.size() > 2)
        throw UsageError(QStringLiteral("'%1' is one file too many; --contact-sheet draws several on one picture, "
                                        "--out-dir one picture each")
                             .arg(request.files[2]));
    const DrawPreview draw = request.contactSheet ? drawContactSheet : request.histogram ? drawHistogram : drawPicture;
    return draw(request, output);
}

}  // namespace

void addPreviewCommand(const Command& program)
{
    auto request = std::make_shared<PreviewRequest>();
    const Command command = program.subcommand("preview", "Draw an image as a person wants to see it",
                                               "  orn preview photo.dng photo.png\n"
                                               "  orn preview --zoom 400,300,64,64 photo.dng detail.png\n"
                                               "  orn preview --channel 2 stack.tif second.png\n"
                                               "  orn preview --histogram --log photo.dng histogram.svg\n"
                                               "  orn preview --contact-sheet *.dng sheet.png\n"
                                               "  orn preview --out-dir pictures --to jpg *.dng");
    command.positional("FILE", request->files,
                       "The image file to draw, with --contact-sheet several, and last the picture to write; its "
                       "suffix chooses the format. With --out-dir: the image files to draw");
    addBatchOptions(command, request->batch);
    command.value("--channel", request->channel, "N", "One channel, counted from 1").positive();
    command.value(
        "--zoom", [&zoom = request->zoom](const QString& region) { zoom = regionFromText(region); }, "X,Y,W,H",
        "A region of the image, small ones enlarged");
    command
        .flag("--histogram", request->histogram,
              "Plot how often which values occur, per channel or colour, as PNG, SVG or PDF")
        .excludes("--zoom")
        .excludes("--out-dir");
    command.flag("--log", request->logarithmic, "Plot on a logarithmic scale").needs("--histogram");
    command.flag("--contact-sheet", request->contactSheet, "A grid of many images with their file names")
        .excludes("--channel")
        .excludes("--zoom")
        .excludes("--histogram")
        .excludes("--out-dir");
    addJsonFlag(command, request->json);
    command.setWork([request](Output& output) { return run(*request, output); });
}

#include "PreviewCommand.h"

#include "PreviewHistogram.h"
#include "PreviewPicture.h"
#include "PreviewRequest.h"
#include "PreviewSheet.h"

#include <CLI/CLI.hpp>

namespace {

ExitCode run(const PreviewRequest& request, Output& output)
{
    if (!request.contactSheet && request.files.size() > 2)
        throw CLI::ValidationError("'" + request.files[2] + "' is one file too many; --contact-sheet draws several");
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
                                   "  orn preview --contact-sheet *.dng sheet.png");
    command
        ->add_option("FILE", request->files,
                     "The image file to draw, with --contact-sheet several, and last the picture to write; its suffix "
                     "chooses the format")
        ->required()
        ->expected(2, CLI::detail::expected_max_vector_size)
        ->type_name("");
    CLI::Option* channel = command->add_option("--channel", request->channel, "One channel, counted from 1")
                               ->type_name("N")
                               ->check(CLI::PositiveNumber);
    CLI::Option* zoom = command->add_option("--zoom", request->zoom, "A region of the image, small ones enlarged")
                            ->type_name("X,Y,W,H")
                            ->delimiter(',')
                            ->expected(4);
    CLI::Option* histogram =
        command
            ->add_flag("--histogram", request->histogram,
                       "Plot how often which values occur, per channel or colour, as PNG, SVG or PDF")
            ->excludes(zoom);
    command->add_flag("--log", request->logarithmic, "Plot on a logarithmic scale")->needs(histogram);
    command->add_flag("--contact-sheet", request->contactSheet, "A grid of many images with their file names")
        ->excludes(channel)
        ->excludes(zoom)
        ->excludes(histogram);
    addJsonFlag(*command, request->json);
    command->callback([request, &output, &exitCode] { exitCode = run(*request, output); });
}

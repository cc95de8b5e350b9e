#include "ConvertCommand.h"

#include "Batch.h"
#include "ConvertFile.h"

#include <CLI/CLI.hpp>

namespace {

/** The command line of `orn convert`. */
struct ConvertRequest {
    std::vector<std::string> files;  // what to read, and last what to write where this is no batch
    ConvertOptions options;
    BatchOptions batch;
    bool json = false;
};

const QString commandName = QStringLiteral("convert");

ExitCode convertOne(const ConvertRequest& request, Output& output)
{
    const InputAndOutput files = inputAndOutput(request.files);
    const QString refused = refusedConversion(request.options, files.input, files.output);
    if (!refused.isEmpty())
        throw CLI::ValidationError(refused.toStdString());
    return sayOutcome(convertFile(request.options, files.input, files.output), commandName, request.json, output);
}

ExitCode convertMany(const ConvertRequest& request, Output& output)
{
    if (request.batch.suffix.empty())
        throw CLI::ValidationError("--out-dir: --to says which format to write, as in --to mat");
    const ConvertOptions& options = request.options;
    BatchWork work;
    work.words = {commandName, QStringLiteral("converted"), request.json};
    work.refuse = [&](const QString& from, const QString& to) { return refusedConversion(options, from, to); };
    work.serve = [&](const QString& from, const QString& to) { return convertFile(options, from, to); };
    return runBatch(request.files, request.batch, work, output);
}

void addOptions(CLI::App& command, ConvertOptions& options)
{
    command
        .add_option("--variable", options.variable,
                    "MAT: read this array of IN, rows x columns or rows x columns x channels (or the image that was "
                    "written with --name NAME)")
        ->type_name("NAME");
    command.add_option("--name", options.name, "MAT: base name of the variables (default ep_image)")->type_name("NAME");
    command.add_flag("--no-reverse-rows", options.keepRowOrder, "MAT: store the top row first");
    command
        .add_option("--entropy", options.entropyPrefix,
                    "MAT: store doubles as an entropy image PREFIX_channel_1, ..., top row first")
        ->type_name("PREFIX")
        ->excludes("--name");
    command.add_option("--cfa", options.grid, "Take the image for a mosaic with these first 2 x 2 pixels")
        ->type_name("GRID")
        ->transform(CLI::IsMember({"RGGB", "BGGR", "GBRG", "GRBG", "none"}, CLI::ignore_case));
    command.add_option("--compression", options.compression, "How to compress, where the format can")
        ->type_name("METHOD")
        ->check(CLI::IsMember({"none", "deflate", "lzw"}));
    command.add_flag("--lossy", options.lossy, "MAT: drop what does not fit, and say what");
    command.add_flag("--no-replace", options.refuseReplace, "Leave OUT alone when it exists");
}

}  // namespace

void addConvertCommand(CLI::App& program, Output& output, ExitCode& exitCode)
{
    auto request = std::make_shared<ConvertRequest>();
    CLI::App* command =
        addCommand(program, "convert", "Write an image in another format, with the same samples and its metadata",
                   "  orn convert photo.dng photo.mat\n"
                   "  orn convert photo.mat photo.dng\n"
                   "  orn convert --name scene --no-reverse-rows photo.tif photo.mat\n"
                   "  orn convert --variable rgb workspace.mat photo.tif\n"
                   "  orn convert --entropy PIG entropy.tif entropy.mat\n"
                   "  orn convert --cfa RGGB --compression deflate mosaic.tif mosaic.dng\n"
                   "  orn convert --out-dir mats --to mat *.dng\n"
                   "\n"
                   "What would lose samples is refused. A MAT file holds whole colour-filter cells of a mosaic,\n"
                   "and of an entropy image three planes, found again when PREFIX is PIG or PDG: --lossy drops the\n"
                   "rest. OUT is replaced only when the new file is complete and has been read back.");
    command
        ->add_option("FILE", request->files,
                     "IN and OUT: the image file to read and the file to write, whose suffix chooses the format. With "
                     "--out-dir: the image files to read")
        ->type_name("");
    addOptions(*command, request->options);
    addBatchOptions(*command, request->batch);
    addJsonFlag(*command, request->json);
    command->callback([request, &output, &exitCode] {
        exitCode = request->batch.isBatch() ? convertMany(*request, output) : convertOne(*request, output);
    });
}

#include "ConvertCommand.h"

#include "Batch.h"
#include "CommonOptions.h"
#include "ConvertFile.h"
#include "UsageError.h"

#include <memory>

namespace {

/** The command line of `orn convert`. */
struct ConvertRequest {
    QStringList files;  // what to read, and last what to write where this is no batch
    ConvertOptions options;
    BatchOptions batch;
    bool json = false;
};

const QString commandName = QStringLiteral("convert");

ExitCode convertOne(const ConvertRequest& request, Output& output)
{
    const InputAndOutput files = inputAndOutput(request.files);
    throwIfRefused(refusedConversion(request.options, files.input, files.output));
    return sayOutcome(convertFile(request.options, files.input, files.output), commandName, request.json, output);
}

ExitCode convertMany(const ConvertRequest& request, Output& output)
{
    if (request.batch.suffix.isEmpty())
        throw UsageError(QStringLiteral("--out-dir: --to says which format to write, as in --to mat"));
    const ConvertOptions& options = request.options;
    BatchWork work;
    work.words = {commandName, QStringLiteral("converted"), request.json};
    work.refuse = [&](const QString& from, const QString& to) { return refusedConversion(options, from, to); };
    work.serve = [&](const QString& from, const QString& to) { return convertFile(options, from, to); };
    return runBatch(request.files, request.batch, work, output);
}

void addOptions(const Command& command, ConvertOptions& options)
{
    command.value("--variable", options.variable, "NAME",
                  "MAT: read this array of IN, rows x columns or rows x columns x channels (or the image that was "
                  "written with --name NAME)");
    command.value("--name", options.name, "NAME", "MAT: base name of the variables (default ep_image)");
    command.flag("--no-reverse-rows", options.keepRowOrder, "MAT: store the top row first");
    command
        .value("--entropy", options.entropyPrefix, "PREFIX",
               "MAT: store doubles as an entropy image PREFIX_channel_1, ..., top row first")
        .excludes("--name");
    addGridOption(command, options.grid, "Take the image for a mosaic with these first 2 x 2 pixels");
    command.value("--compression", options.compression, "METHOD", "How to compress, where the format can")
        .oneOf({"none", "deflate", "lzw"});
    command.flag("--lossy", options.lossy, "MAT: drop what does not fit, and say what");
    addNoReplaceFlag(command, options.refuseReplace, "Leave OUT alone when it exists");
}

}  // namespace

void addConvertCommand(const Command& program)
{
    auto request = std::make_shared<ConvertRequest>();
    const Command command = program.subcommand(
        "convert", "Write an image in another format, with the same samples and its metadata",
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
    command.positional("FILE", request->files,
                       "IN and OUT: the image file to read and the file to write, whose suffix chooses the format. "
                       "With --out-dir: the image files to read");
    addOptions(command, request->options);
    addBatchOptions(command, request->batch);
    addJsonFlag(command, request->json);
    command.setWork([request](Output& output) {
        return request->batch.isBatch() ? convertMany(*request, output) : convertOne(*request, output);
    });
}

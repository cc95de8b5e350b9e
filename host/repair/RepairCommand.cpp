#include "RepairCommand.h"

#include "Batch.h"
#include "CommonOptions.h"
#include "RepairFile.h"
#include "UsageError.h"

#include <memory>

namespace {

/** The command line of `orn repair`. */
struct RepairRequest {
    QStringList files;  // what to read, and last what to write where this is no batch
    RepairOptions options;
    BatchOptions batch;
    bool json = false;
};

const QString commandName = QStringLiteral("repair");

ExitCode repairOne(const RepairRequest& request, Output& output)
{
    const InputAndOutput files = inputAndOutput(request.files);
    throwIfRefused(refusedRepair(request.options, files.input, files.output));
    return sayOutcome(repairFile(request.options, files.input, files.output), commandName, request.json, output);
}

ExitCode repairMany(const RepairRequest& request, Output& output)
{
    const RepairOptions& options = request.options;
    throwIfRefused(refusedForMany(options));
    BatchWork work;
    work.words = {commandName, QStringLiteral("repaired"), request.json};
    work.refuse = [&](const QString& from, const QString& to) {
        return refusedRepair(optionsOfOne(options, to), from, to);
    };
    work.besides = [&](const QString& to) {
        const RepairOptions own = optionsOfOne(options, to);
        QStringList files{own.report, own.overlay};
        files.removeAll(QString());
        return files;
    };
    work.serve = [&](const QString& from, const QString& to) {
        return repairFile(optionsOfOne(options, to), from, to);
    };
    return runBatch(request.files, request.batch, work, output);
}

/** The options that say what to repair. */
void addLevelOptions(const Command& command, RepairLevelOptions& levels)
{
    command.value("--valid", levels.valid, "LOW:HIGH[,...]", "Levels outside of this range are invalid");
    command.value("--low", levels.low, "N[,...]", "Levels up to this one are invalid, or 'off'").excludes("--valid");
    command.value("--high", levels.high, "N[,...]", "Levels from this one on are invalid, or 'off'")
        .excludes("--valid");
    command
        .value("--low-percent", levels.lowPercent, "P[,...]",
               "Share of the samples that --low may cover: it ends before the level that passes it")
        .needs("--low");
    command.value("--high-percent", levels.highPercent, "P[,...]", "As --low-percent, of --high").needs("--high");
}

void addOptions(const Command& command, RepairOptions& options)
{
    addLevelOptions(command, options.levels);
    command.value("--map", options.map, "FILE",
                  "Repair these pixels, whatever their level: a list of bad pixels with lines 'x y time', or an image "
                  "of one 8-bit channel in which they are not zero");
    command.value("--mask", options.mask, "FILE",
                  "Leave out the pixels that are zero in this image of one 8-bit channel: they are neither repaired "
                  "nor taken");
    command.value("--report", options.report, "FILE", "Write every repaired sample, as CSV or JSON by the suffix");
    command.value("--replay", options.replay, "FILE", "Repair exactly what this report says")
        .excludes("--low")
        .excludes("--high")
        .excludes("--valid")
        .excludes("--map")
        .excludes("--mask")
        .excludes("--report");
    command.value("--overlay", options.overlay, "FILE",
                  "Draw the result with the repaired pixels marked, in magenta and ringed");
    addNoReplaceFlag(command, options.refuseReplace, "Leave files alone that exist");
}

}  // namespace

void addRepairCommand(const Command& program)
{
    auto request = std::make_shared<RepairRequest>();
    const Command command = program.subcommand(
        "repair", "Replace invalid samples by valid neighbours",
        "  orn repair --low 0 --report repaired.csv capture.dng repaired.dng\n"
        "  orn repair --valid 64:16000 --overlay where.png capture.dng repaired.dng\n"
        "  orn repair --high 250,250,off --mask sky.png photo.png repaired.png\n"
        "  orn repair --low 5 --low-percent 0.1 photo.tif repaired.tif\n"
        "  orn repair --map bad-pixels.txt capture.dng repaired.dng\n"
        "  orn repair --replay repaired.csv capture.dng again.dng\n"
        "  orn repair --map bad-pixels.txt --report 'reports/{}.csv' --out-dir repaired *.dng\n"
        "\n"
        "An invalid sample takes the value of a random one of the nearest valid samples of its own channel, or of its\n"
        "own colour in a mosaic: the planes are R, G1, B, G2; of other cells than 2 x 2, each place of the cell is a\n"
        "plane. N is one number for all channels or planes, or one for each. OUT holds the same samples where nothing\n"
        "is invalid. Chance decides otherwise in every run: a report makes a run repeatable. With --out-dir, {} in "
        "the\n"
        "name of a report, overlay, map or mask stands for the name of the output.");
    command.positional("FILE", request->files,
                       "IN and OUT: the image file to read, of 8- or 16-bit samples, and the file to write, whose "
                       "suffix chooses the format. With --out-dir: the image files to read");
    addOptions(command, request->options);
    addBatchOptions(command, request->batch);
    addJsonFlag(command, request->json);
    command.setWork([request](Output& output) {
        return request->batch.isBatch() ? repairMany(*request, output) : repairOne(*request, output);
    });
}

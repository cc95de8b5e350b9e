#include "RepairCommand.h"

#include "Batch.h"
#include "RepairFile.h"

#include <CLI/CLI.hpp>

namespace {

/** The command line of `orn repair`. */
struct RepairRequest {
    std::vector<std::string> files;  // what to read, and last what to write where this is no batch
    RepairOptions options;
    BatchOptions batch;
    bool json = false;
};

const QString commandName = QStringLiteral("repair");

/** Throws what the parser throws when there is a reason. */
void refuse(const QString& reason)
{
    if (!reason.isEmpty())
        throw CLI::ValidationError(reason.toStdString());
}

ExitCode repairOne(const RepairRequest& request, Output& output)
{
    const InputAndOutput files = inputAndOutput(request.files);
    refuse(refusedRepair(request.options, files.input, files.output));
    return sayOutcome(repairFile(request.options, files.input, files.output), commandName, request.json, output);
}

ExitCode repairMany(const RepairRequest& request, Output& output)
{
    const RepairOptions& options = request.options;
    refuse(refusedForMany(options));
    BatchWork work;
    work.words = {commandName, QStringLiteral("repaired"), request.json};
    work.refuse = [&](const QString& from, const QString& to) {
        return refusedRepair(optionsOfOne(options, to), from, to);
    };
    work.besides = [&](const QString& to) {
        const RepairOptions own = optionsOfOne(options, to);
        QStringList files{text(own.report), text(own.overlay)};
        files.removeAll(QString());
        return files;
    };
    work.serve = [&](const QString& from, const QString& to) {
        return repairFile(optionsOfOne(options, to), from, to);
    };
    return runBatch(request.files, request.batch, work, output);
}

/** The options that say what to repair. */
void addLevelOptions(CLI::App& command, RepairLevelOptions& levels)
{
    CLI::Option* valid = command.add_option("--valid", levels.valid, "Levels outside of this range are invalid")
                             ->type_name("LOW:HIGH[,...]");
    CLI::Option* low = command.add_option("--low", levels.low, "Levels up to this one are invalid, or 'off'")
                           ->type_name("N[,...]")
                           ->excludes(valid);
    CLI::Option* high = command.add_option("--high", levels.high, "Levels from this one on are invalid, or 'off'")
                            ->type_name("N[,...]")
                            ->excludes(valid);
    command
        .add_option("--low-percent", levels.lowPercent,
                    "Share of the samples that --low may cover: it ends before the level that passes it")
        ->type_name("P[,...]")
        ->needs(low);
    command.add_option("--high-percent", levels.highPercent, "As --low-percent, of --high")
        ->type_name("P[,...]")
        ->needs(high);
}

void addOptions(CLI::App& command, RepairOptions& options)
{
    addLevelOptions(command, options.levels);
    command
        .add_option(
            "--map", options.map,
            "Repair these pixels, whatever their level: a list of bad pixels with lines 'x y time', or an image "
            "of one 8-bit channel in which they are not zero")
        ->type_name("FILE");
    command
        .add_option("--mask", options.mask,
                    "Leave out the pixels that are zero in this image of one 8-bit channel: they are neither repaired "
                    "nor taken")
        ->type_name("FILE");
    CLI::Option* report =
        command.add_option("--report", options.report, "Write every repaired sample, as CSV or JSON by the suffix")
            ->type_name("FILE");
    CLI::Option* replay =
        command.add_option("--replay", options.replay, "Repair exactly what this report says")->type_name("FILE");
    for (const char* other : {"--low", "--high", "--valid", "--map", "--mask"})
        replay->excludes(command.get_option(other));
    replay->excludes(report);
    command
        .add_option("--overlay", options.overlay,
                    "Draw the result with the repaired pixels marked, in magenta and ringed")
        ->type_name("FILE");
    command.add_flag("--no-replace", options.refuseReplace, "Leave files alone that exist");
}

}  // namespace

void addRepairCommand(CLI::App& program, Output& output, ExitCode& exitCode)
{
    auto request = std::make_shared<RepairRequest>();
    CLI::App* command = addCommand(
        program, "repair", "Replace invalid samples by valid neighbours",
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
    command
        ->add_option("FILE", request->files,
                     "IN and OUT: the image file to read, of 8- or 16-bit samples, and the file to write, whose suffix "
                     "chooses the format. With --out-dir: the image files to read")
        ->type_name("");
    addOptions(*command, request->options);
    addBatchOptions(*command, request->batch);
    addJsonFlag(*command, request->json);
    command->callback([request, &output, &exitCode] {
        exitCode = request->batch.isBatch() ? repairMany(*request, output) : repairOne(*request, output);
    });
}

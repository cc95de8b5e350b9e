#include "ConvertCommand.h"

#include "EntropyFile.h"
#include "ImageReport.h"
#include "Json.h"
#include "MatFit.h"
#include "Mosaic.h"
#include "Output.h"

#include <ep/epcore.h>

#include <CLI/CLI.hpp>

#include <QFileInfo>
#include <QJsonArray>

namespace {

struct ConvertOptions {
    std::string input;
    std::string output;
    std::string variable;
    std::string name;
    std::string entropyPrefix;
    std::string grid;
    std::string compression;
    bool keepRowOrder = false;
    bool lossy = false;
    bool refuseReplace = false;
    bool json = false;
};

/** An image on its way from the input to the output. */
struct Picture {
    ep::CxScopedBuffer storage;
    ep::SxImageBuf image = ep::emptyImage();  // what is written, in the memory of storage
    ep::CxMetadata metadata;
    QStringList notes;
};

bool isMat(const std::string& file)
{
    return QFileInfo(text(file)).suffix().toLower() == QLatin1String("mat");
}

/** Throws what the parser throws when options do not go together. */
void checkOptions(const ConvertOptions& options)
{
    const auto refuse = [](bool wrong, const char* reason) {
        if (wrong)
            throw CLI::ValidationError(reason);
    };
    const bool mat = isMat(options.output);
    refuse(!isMat(options.input) && !options.variable.empty(), "--variable is for MAT files: IN must end in .mat");
    refuse(!mat && !options.name.empty(), "--name is for MAT files: OUT must end in .mat");
    refuse(!mat && options.keepRowOrder, "--no-reverse-rows is for MAT files: OUT must end in .mat");
    refuse(!mat && !options.entropyPrefix.empty(), "--entropy is for MAT files: OUT must end in .mat");
    refuse(mat && !options.compression.empty() && options.compression != "none",
           "--compression: MAT files are always written without");
    refuse(options.name == "PIG" || options.name == "PDG", "--name: PIG and PDG stand for entropy images (--entropy)");
    for (const std::string& name : {options.name, options.entropyPrefix})
        if (!name.empty())
            refuse(!refusedBaseName(text(name)).isEmpty(), refusedBaseName(text(name)).toUtf8().constData());
}

void applyGrid(const std::string& grid, Picture& picture)
{
    if (grid.empty())
        return;
    if (picture.image.channels != 1)
        throw CLI::ValidationError("--cfa: the image has " + std::to_string(picture.image.channels)
                                   + " channels, a mosaic has one");
    if (!overrideGrid(gridFromName(text(grid)), picture.image, picture.metadata))
        picture.notes << QStringLiteral("black levels are forgotten: they were stated for another cell");
}

bool load(const ConvertOptions& options, Picture& picture, ep::SxFileError& error)
{
    QMap<QString, QVariant> map;
    if (!options.variable.empty())
        map[QStringLiteral("variable")] = text(options.variable);
    if (!ep::CxImageFormatManager::loadImageFromFile(text(options.input), picture.storage.image(), &picture.metadata,
                                                     &map, &error))
        return false;
    picture.image = picture.storage.image();
    // Of one channel, both layouts are the same memory; writers know mosaics as packed ones.
    if (picture.image.channels == 1)
        picture.image.layout = ep::LayoutPacked;
    applyGrid(options.grid, picture);
    return true;
}

QMap<QString, QVariant> saverOptions(const ConvertOptions& options)
{
    QMap<QString, QVariant> map;
    if (!options.name.empty())
        map[QStringLiteral("matname")] = text(options.name);
    if (options.keepRowOrder)
        map[QStringLiteral("reverse_rows")] = false;
    if (!options.compression.empty())
        map[QStringLiteral("compression")] = text(options.compression);
    return map;
}

bool save(const ConvertOptions& options, Picture& picture, ep::SxFileError& error)
{
    const QString path = text(options.output);
    const QString prefix = text(options.entropyPrefix);
    if (isMat(options.output) && !fitIntoMat({prefix, options.lossy}, picture.image, picture.notes, error))
        return false;
    if (!prefix.isEmpty())
        return saveEntropyFile(path, picture.image, prefix, options.refuseReplace, error);
    const QMap<QString, QVariant> map = saverOptions(options);
    return ep::CxImageFormatManager::saveImageToFile(path, picture.image, &picture.metadata, &map,
                                                     options.refuseReplace, QString(), &error);
}

/** Finds at once what would only show after the input was read. */
bool canBeWritten(const QString& path, ep::SxFileError& error)
{
    if (QFileInfo(path).isDir()) {
        error = {ep::ExFileError::Unwritable, QStringLiteral("it is a folder, not a file")};
        return false;
    }
    const QString suffix = QFileInfo(path).suffix().toLower();
    for (const ep::SxFormatInfo& format : ep::CxImageFormatManager::instance()->formats())
        if (format.writes && format.suffixes.contains(suffix))
            return true;
    const QString reason = suffix.isEmpty() ? QStringLiteral("its name has no suffix, so no format to be written in")
                                            : QStringLiteral("files of suffix .%1 cannot be written").arg(suffix);
    error = {ep::ExFileError::Unsupported, reason + QStringLiteral(" ('orn formats' lists what can be)")};
    return false;
}

QJsonObject startAnswer(const ConvertOptions& options)
{
    QJsonObject answer = jsonAnswer(QStringLiteral("convert"));
    answer[QStringLiteral("input")] = text(options.input);
    answer[QStringLiteral("output")] = text(options.output);
    return answer;
}

void sayFailure(const ConvertOptions& options, const std::string& file, const ep::SxFileError& error, Output& output)
{
    output.problem(text(file), error.reason);
    if (!options.json)
        return;
    QJsonObject failure = jsonError(error);
    failure[QStringLiteral("file")] = text(file);
    QJsonObject answer = startAnswer(options);
    answer[QStringLiteral("error")] = failure;
    output.json(answer);
}

/** The format that the suffix of @p file is written in. */
ep::SxFormatInfo writtenFormat(const QString& file)
{
    const QString suffix = QFileInfo(file).suffix().toLower();
    ep::SxFormatInfo best;
    for (const ep::SxFormatInfo& format : ep::CxImageFormatManager::instance()->formats())
        if (format.writes && format.suffixes.contains(suffix) && (!best.writes || format.rank > best.rank))
            best = format;
    return best;
}

/** What the samples are all kept without. */
void noteWhatIsNotKept(const ConvertOptions& options, Picture& picture)
{
    const ep::SxFormatInfo format = writtenFormat(text(options.output));
    if (isMosaic(picture.image) && !format.mosaic)
        picture.notes
            << QStringLiteral("this format does not keep the grid %1 of the mosaic").arg(gridName(picture.image));
    if (!picture.metadata.isEmpty() && !format.metadata)
        picture.notes << QStringLiteral("this format does not keep metadata");
}

void saySuccess(const ConvertOptions& options, const Picture& picture, Output& output)
{
    for (const QString& note : picture.notes)
        output.note(text(options.output), note);
    if (!options.json) {
        output.data(
            QStringLiteral("%1 -> %2: %3\n")
                .arg(printable(text(options.input)), printable(text(options.output)), briefText(picture.image)));
        return;
    }
    QJsonObject answer = startAnswer(options);
    answer[QStringLiteral("image")] = jsonOf(recordFacts(picture.image, nullptr));
    answer[QStringLiteral("notes")] = QJsonArray::fromStringList(picture.notes);
    output.json(answer);
}

ExitCode run(const ConvertOptions& options, Output& output)
{
    checkOptions(options);
    Picture picture;
    ep::SxFileError error;
    if (!canBeWritten(text(options.output), error)) {
        sayFailure(options, options.output, error, output);
        return exitCodeOfOutput(error.kind);
    }
    output.setSubject(text(options.input));
    if (!load(options, picture, error)) {
        sayFailure(options, options.input, error, output);
        return exitCodeOfInput(error.kind);
    }
    output.setSubject(text(options.output));
    if (!save(options, picture, error)) {
        sayFailure(options, options.output, error, output);
        return exitCodeOfOutput(error.kind);
    }
    noteWhatIsNotKept(options, picture);
    saySuccess(options, picture, output);
    return ExitCode::Done;
}

void addOptions(CLI::App& command, ConvertOptions& options)
{
    command.add_option("IN", options.input, "The image file to read")->required()->type_name("");
    command.add_option("OUT", options.output, "The file to write; its suffix chooses the format")
        ->required()
        ->type_name("");
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
    addJsonFlag(command, options.json);
}

}  // namespace

void addConvertCommand(CLI::App& program, Output& output, ExitCode& exitCode)
{
    auto options = std::make_shared<ConvertOptions>();
    CLI::App* command =
        addCommand(program, "convert", "Write an image in another format, with the same samples and its metadata",
                   "  orn convert photo.dng photo.mat\n"
                   "  orn convert photo.mat photo.dng\n"
                   "  orn convert --name scene --no-reverse-rows photo.tif photo.mat\n"
                   "  orn convert --variable rgb workspace.mat photo.tif\n"
                   "  orn convert --entropy PIG entropy.tif entropy.mat\n"
                   "  orn convert --cfa RGGB --compression deflate mosaic.tif mosaic.dng\n"
                   "\n"
                   "What would lose samples is refused. A MAT file holds whole colour-filter cells of a mosaic,\n"
                   "and of an entropy image three planes, found again when PREFIX is PIG or PDG: --lossy drops the\n"
                   "rest. OUT is replaced only when the new file is complete and has been read back.");
    addOptions(*command, *options);
    command->callback([options, &output, &exitCode] { exitCode = run(*options, output); });
}

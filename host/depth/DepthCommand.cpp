#include "DepthCommand.h"

#include "CommonOptions.h"
#include "FolderScan.h"
#include "Json.h"
#include "Output.h"
#include "ProtocolFile.h"
#include "UsageError.h"

#include <QFileInfo>
#include <QJsonArray>

#include <memory>

namespace {

struct DepthOptions {
    QString folder;
    QStringList filters;
    QString log;
    bool quiet = false;
    bool json = false;
};

const QString commandName = QStringLiteral("depth");

/** The names of image files: every suffix that can be read. */
QStringList readableNames()
{
    QStringList filters;
    for (const ep::SxFormatInfo& format : ep::CxImageFormatManager::instance()->formats())
        for (const QString& suffix : format.suffixes)
            if (format.reads && suffix != QLatin1String("*"))
                filters << QStringLiteral("*.") + suffix;
    filters.removeDuplicates();
    return filters;
}

QStringList filtersOf(const DepthOptions& options)
{
    return options.filters.isEmpty() ? readableNames() : options.filters;
}

/** The folder with a separator at its end: the library takes a backslash there for one. */
QString folderOf(const DepthOptions& options)
{
    return options.folder.endsWith(QLatin1Char('/')) ? options.folder : options.folder + QLatin1Char('/');
}

/** Why there is nothing to scan. */
ep::SxFileError whyNothing(const QString& folder)
{
    const QFileInfo info(folder);
    if (!info.exists())
        return {ep::ExFileError::Unreadable, QStringLiteral("there is no such folder")};
    if (!info.isReadable() || !info.isExecutable())
        return {ep::ExFileError::Unreadable, QStringLiteral("the folder cannot be read")};
    return {ep::ExFileError::Unreadable, QStringLiteral("no file in it matches")};
}

/** Why a file that failed cannot be read; it is asked once more, as the scan tells only that it failed. */
ep::SxFileError whyUnreadable(const QString& file)
{
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    if (ep::CxImageFormatManager::loadImageFromFile(file, image.image(), nullptr, nullptr, &error))
        error = {ep::ExFileError::Unreadable, QStringLiteral("it could not be read, but can be read now")};
    return error;
}

/** Says which files failed, and why; after a cancellation no file is read again. */
QJsonArray sayFailures(const FolderDepth& depth, const QString& folder, Output& output)
{
    QJsonArray answers;
    for (const QString& name : depth.failures) {
        const QString file = folder + name;
        output.setSubject(file);
        const ep::SxFileError error =
            depth.isCancelled ? ep::SxFileError{ep::ExFileError::Unreadable, QStringLiteral("it could not be read")}
                              : whyUnreadable(file);
        output.problem(file, error.reason);
        answers.append(QJsonObject{{QStringLiteral("file"), file}, {QStringLiteral("error"), jsonError(error)}});
    }
    return answers;
}

QString summaryText(const FolderDepth& depth)
{
    const int readable = depth.checked - depth.failures.size();
    const QString found = depth.bitDepth == 0 ? QStringLiteral("no depth")
                                              : QStringLiteral("%1 bits (%2)")
                                                    .arg(depth.bitDepth)
                                                    .arg(QLatin1String(ep::sampleFacts(depth.dataType).name));
    if (depth.isCancelled)
        return QStringLiteral("%1 so far: cancelled after %2 of %3 files")
            .arg(found)
            .arg(depth.checked)
            .arg(depth.files);
    const QString files = QStringLiteral("%1, the largest depth of %2 files").arg(found).arg(readable);
    return depth.failures.isEmpty() ? files
                                    : files + QStringLiteral("; %1 could not be read").arg(depth.failures.size());
}

QJsonObject depthJson(const FolderDepth& depth)
{
    const bool isKnown = depth.bitDepth > 0;
    const QString type = QLatin1String(ep::sampleFacts(depth.dataType).name);
    return {{QStringLiteral("bitDepth"), isKnown ? QJsonValue(depth.bitDepth) : QJsonValue()},
            {QStringLiteral("sampleType"), isKnown ? QJsonValue(type) : QJsonValue()},
            {QStringLiteral("files"), depth.files},
            {QStringLiteral("checked"), depth.checked},
            {QStringLiteral("cancelled"), depth.isCancelled}};
}

ExitCode codeOf(const FolderDepth& depth)
{
    if (depth.isCancelled)
        return ExitCode::Cancelled;
    if (depth.result != orn::ColorBitDepthFound)
        return ExitCode::Unreadable;
    return depth.failures.isEmpty() ? ExitCode::Done : ExitCode::SomeFailed;
}

/** Scans and says what came of it; @p answer gets the same for programs. */
ExitCode scan(const DepthOptions& options, orn::Protocol& protocol, QJsonObject& answer, Output& output)
{
    const QString folder = folderOf(options);
    output.setSubject(options.folder);
    const FolderDepth depth = scanFolder(folder, filtersOf(options), protocol, options.quiet, output);
    if (depth.files == 0) {
        const ep::SxFileError error = whyNothing(folder);
        output.problem(options.folder, error.reason);
        answer[QStringLiteral("error")] = jsonError(error);
        return exitCodeOfInput(error.kind);
    }
    const QJsonObject facts = depthJson(depth);
    for (auto it = facts.begin(); it != facts.end(); ++it)
        answer[it.key()] = it.value();
    answer[QStringLiteral("failures")] = sayFailures(depth, folder, output);
    if (!options.json)
        output.data(printable(options.folder) + QStringLiteral(": ") + summaryText(depth) + QLatin1Char('\n'));
    return codeOf(depth);
}

/** A folder named after the patterns was taken for one of them. */
void findFolder(DepthOptions& options)
{
    if (options.folder.isEmpty() && options.filters.size() > 1)
        options.folder = options.filters.takeLast();
    if (options.folder.isEmpty())
        throw UsageError(QStringLiteral("DIR is required"));
}

ExitCode run(const DepthOptions& options, Output& output)
{
    const QString& log = options.log;
    const auto failLog = [&](const ep::SxFileError& error) {
        output.problem(log, error.reason);
        return exitCodeOfOutput(error.kind);
    };
    ProtocolFile file(log);
    ep::SxFileError error;
    if (!log.isEmpty() && !file.create(error))
        return failLog(error);
    orn::Protocol protocol;
    QJsonObject answer = jsonAnswer(commandName);
    answer[QStringLiteral("folder")] = options.folder;
    ExitCode code = scan(options, protocol, answer, output);
    if (!log.isEmpty() && !file.write(protocol, error)) {
        const ExitCode logCode = failLog(error);
        code = code == ExitCode::Done ? logCode : code;
    }
    if (options.json)
        output.json(answer);
    return code;
}

}  // namespace

void addDepthCommand(const Command& program)
{
    auto options = std::make_shared<DepthOptions>();
    const Command command =
        program.subcommand("depth", "Find the largest colour depth of the images in a folder",
                           "  orn depth captures\n"
                           "  orn depth captures --filter '*.dng' '*.tif'\n"
                           "  orn depth captures --log captures.log --quiet\n"
                           "\n"
                           "Reads every file whole, one after the other. An interrupt (Ctrl-C) ends the search after\n"
                           "the file in work, and what was found so far is said. 'orn info --depth' tells of one file\n"
                           "how many of its bits are in use.");
    command.positional("DIR", options->folder, "The folder of the images; folders in it are not searched");
    command.value("--filter", options->filters, "PATTERN",
                  "Names of the files to read, with * and ? (default: all suffixes that can be read)");
    command.value("--log", options->log, "FILE", "Write what was done and when to this text file");
    addQuietFlag(command, options->quiet);
    addJsonFlag(command, options->json);
    command.setWork([options](Output& output) {
        findFolder(*options);
        return run(*options, output);
    });
}

#include "ConvertFile.h"

#include "EntropyFile.h"
#include "ImageReport.h"
#include "Json.h"
#include "MatFit.h"
#include "Mosaic.h"
#include "NoteCollector.h"
#include "Output.h"
#include "PictureFile.h"

#include <QFileInfo>
#include <QJsonArray>

namespace {

bool isMat(const QString& file)
{
    return QFileInfo(file).suffix().toLower() == QLatin1String("mat");
}

/** Takes the image for a mosaic of the grid that was asked for. @return why that cannot be, or nothing */
QString applyGrid(const QString& grid, Picture& picture)
{
    if (grid.isEmpty())
        return QString();
    if (picture.image.channels != 1)
        return QStringLiteral("--cfa: the image has %1 channels, a mosaic has one").arg(picture.image.channels);
    if (!overrideGrid(gridFromName(grid), picture.image, picture.metadata))
        picture.notes << QStringLiteral("black levels are forgotten: they were stated for another cell");
    return QString();
}

QMap<QString, QVariant> loaderOptions(const ConvertOptions& options)
{
    QMap<QString, QVariant> map;
    if (!options.variable.isEmpty())
        map[QStringLiteral("variable")] = options.variable;
    return map;
}

QMap<QString, QVariant> saverOptions(const ConvertOptions& options)
{
    QMap<QString, QVariant> map;
    if (!options.name.isEmpty())
        map[QStringLiteral("matname")] = options.name;
    if (options.keepRowOrder)
        map[QStringLiteral("reverse_rows")] = false;
    if (!options.compression.isEmpty())
        map[QStringLiteral("compression")] = options.compression;
    return map;
}

bool save(const ConvertOptions& options, const QString& path, Picture& picture, ep::SxFileError& error)
{
    const QString& prefix = options.entropyPrefix;
    if (isMat(path) && !fitIntoMat({prefix, options.lossy}, picture.image, picture.notes, error))
        return false;
    if (!prefix.isEmpty())
        return saveEntropyFile(path, picture.image, prefix, options.refuseReplace, error);
    const QMap<QString, QVariant> map = saverOptions(options);
    return ep::CxImageFormatManager::saveImageToFile(path, picture.image, &picture.metadata, &map,
                                                     options.refuseReplace, QString(), &error);
}

void succeed(FileOutcome& outcome, const QString& input, const QString& output, const Picture& picture)
{
    for (const QString& note : picture.notes)
        outcome.notes.append({output, note});
    outcome.line = QStringLiteral("%1 -> %2: %3\n").arg(printable(input), printable(output), briefText(picture.image));
    outcome.answer[QStringLiteral("image")] = jsonOf(recordFacts(picture.image, nullptr));
    outcome.answer[QStringLiteral("notes")] = QJsonArray::fromStringList(picture.notes);
}

}  // namespace

QString refusedConversion(const ConvertOptions& options, const QString& input, const QString& output)
{
    const bool toMat = isMat(output);
    if (!isMat(input) && !options.variable.isEmpty())
        return QStringLiteral("--variable is for MAT files: IN must end in .mat");
    if (!toMat && !options.name.isEmpty())
        return QStringLiteral("--name is for MAT files: OUT must end in .mat");
    if (!toMat && options.keepRowOrder)
        return QStringLiteral("--no-reverse-rows is for MAT files: OUT must end in .mat");
    if (!toMat && !options.entropyPrefix.isEmpty())
        return QStringLiteral("--entropy is for MAT files: OUT must end in .mat");
    if (toMat && !options.compression.isEmpty() && options.compression != QLatin1String("none"))
        return QStringLiteral("--compression: MAT files are always written without");
    if (options.name == QLatin1String("PIG") || options.name == QLatin1String("PDG"))
        return QStringLiteral("--name: PIG and PDG stand for entropy images (--entropy)");
    for (const QString& name : {options.name, options.entropyPrefix})
        if (!name.isEmpty() && !refusedBaseName(name).isEmpty())
            return refusedBaseName(name);
    return QString();
}

FileOutcome convertFile(const ConvertOptions& options, const QString& input, const QString& output)
{
    FileOutcome outcome;
    outcome.answer = {{QStringLiteral("input"), input}, {QStringLiteral("output"), output}};
    NoteCollector collector(outcome.notes);
    Picture picture;
    ep::SxFileError error;
    if (!canBeWritten(output, error)) {
        failOutput(outcome, output, error);
        return outcome;
    }
    collector.setSubject(input);
    if (!loadPicture(input, loaderOptions(options), picture, error)) {
        failInput(outcome, input, error);
        return outcome;
    }
    const QString refused = applyGrid(options.grid, picture);
    if (!refused.isEmpty()) {
        failUsage(outcome, input, refused);
        return outcome;
    }
    collector.setSubject(output);
    if (!save(options, output, picture, error)) {
        failOutput(outcome, output, error);
        return outcome;
    }
    noteWhatIsNotKept(output, picture);
    succeed(outcome, input, output, picture);
    return outcome;
}

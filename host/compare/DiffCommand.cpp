#include "DiffCommand.h"

#include "CommonOptions.h"
#include "FileOutcome.h"
#include "ImageReport.h"
#include "Mosaic.h"
#include "NoteCollector.h"
#include "Output.h"
#include "SignedPicture.h"

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <QJsonArray>

#include <memory>

namespace {

struct DiffOptions {
    QString a;
    QString b;
    QString output;
    bool refuseReplace = false;
    bool json = false;
};

QString sizeText(const ep::SxImageInfo& image)
{
    return QStringLiteral("%1 x %2 with %3 channel(s)").arg(image.width).arg(image.height).arg(image.channels);
}

/** Why there is no difference of these images. */
ep::SxFileError whyNot(unsigned int status, const ep::SxImageInfo& a, const ep::SxImageInfo& b)
{
    if (status == ep::StatusGeometryMismatch)
        return {ep::ExFileError::Refused,
                QStringLiteral("the images differ in size: A is %1, B %2").arg(sizeText(a), sizeText(b))};
    if (status == ep::StatusUnsupportedType)
        return {ep::ExFileError::Refused, QStringLiteral("samples of type %1 or %2 cannot be subtracted")
                                              .arg(QLatin1String(ep::sampleFacts(a.dataType).name),
                                                   QLatin1String(ep::sampleFacts(b.dataType).name))};
    return {ep::ExFileError::TooLarge, QStringLiteral("there is no memory for the difference")};
}

/** The difference of two pictures, with the metadata of the first. */
bool subtract(Picture& a, const Picture& b, Picture& difference, ep::SxFileError& error)
{
    const unsigned int status = orn::SubtractImages(a.image, b.image, difference.storage);
    if (ep::failed(status)) {
        error = whyNot(status, a.image, b.image);
        return false;
    }
    difference.image = difference.storage.image();
    difference.metadata = std::move(a.metadata);
    forgetLevels(difference.metadata);
    if (isMosaic(a.image) && isMosaic(b.image) && gridName(a.image) != gridName(b.image))
        difference.notes
            << QStringLiteral("A has the grid %1, B %2: colours were mixed").arg(gridName(a.image), gridName(b.image));
    return true;
}

FileOutcome diffFiles(const QString& fileA, const QString& fileB, const QString& output, bool refuseReplace)
{
    FileOutcome outcome;
    outcome.answer = {{QStringLiteral("a"), fileA}, {QStringLiteral("b"), fileB}, {QStringLiteral("output"), output}};
    NoteCollector collector(outcome.notes);
    ep::SxFileError error;
    if (!canBeMade(output, refuseReplace, error)) {
        failOutput(outcome, output, error);
        return outcome;
    }
    Picture pictures[2];
    const QString files[] = {fileA, fileB};
    for (int i = 0; i < 2; ++i) {
        collector.setSubject(files[i]);
        if (!loadPicture(files[i], {}, pictures[i], error)) {
            failInput(outcome, files[i], error);
            return outcome;
        }
    }
    Picture difference;
    if (!subtract(pictures[0], pictures[1], difference, error)) {
        failInput(outcome, fileB, error);
        return outcome;
    }
    collector.setSubject(output);
    if (!saveSigned(output, difference, refuseReplace, error)) {
        failOutput(outcome, output, error);
        return outcome;
    }
    for (const QString& note : difference.notes)
        outcome.notes.append({output, note});
    outcome.line = QStringLiteral("%1 - %2 -> %3: %4\n")
                       .arg(printable(fileA), printable(fileB), printable(output), briefText(difference.image));
    outcome.answer[QStringLiteral("image")] = jsonOf(recordFacts(difference.image, nullptr));
    outcome.answer[QStringLiteral("notes")] = QJsonArray::fromStringList(difference.notes);
    return outcome;
}

}  // namespace

void addDiffCommand(const Command& program)
{
    auto options = std::make_shared<DiffOptions>();
    const Command command =
        program.subcommand("diff", "Subtract an image from another, with signs",
                           "  orn diff scene.tif repaired.tif difference.mat\n"
                           "  orn diff light.dng dark.dng signal.tif\n"
                           "\n"
                           "OUT gets A - B in samples of 64 bit float, so it is of a format that holds those:\n"
                           "MAT, TIFF and others, not PNG or JPEG. The metadata is that of A, without the black\n"
                           "and white levels. 'orn compare' says in numbers how far two images are apart,\n"
                           "'orn split' takes the signs of a difference apart.");
    command.positional("A", options->a, "The image to subtract from").required();
    command.positional("B", options->b, "The image to subtract, of the same size").required();
    command.positional("OUT", options->output, "The file to write; its suffix chooses the format").required();
    addNoReplaceFlag(command, options->refuseReplace, "Leave OUT alone when it exists");
    addJsonFlag(command, options->json);
    command.setWork([options](Output& output) {
        const FileOutcome outcome = diffFiles(options->a, options->b, options->output, options->refuseReplace);
        return sayOutcome(outcome, QStringLiteral("diff"), options->json, output);
    });
}

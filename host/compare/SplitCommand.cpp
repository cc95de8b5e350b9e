#include "SplitCommand.h"

#include "CommonOptions.h"
#include "FileOutcome.h"
#include "ImageReport.h"
#include "NoteCollector.h"
#include "Output.h"
#include "SignedPicture.h"
#include "UsageError.h"

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <QFileInfo>
#include <QJsonArray>

#include <memory>

namespace {

struct SplitOptions {
    QString input;
    QString plus;
    QString minus;
    bool invert = false;
    bool refuseReplace = false;
    bool json = false;
};

bool noMemory(ep::SxFileError& error)
{
    error = {ep::ExFileError::TooLarge, QStringLiteral("there is no memory for its halves")};
    return false;
}

/** Makes the picture planar: the library takes the rows of packed images apart in a way that few people want. */
bool makePlanar(Picture& picture, ep::SxFileError& error)
{
    if (picture.image.channels > 1 && picture.image.layout == ep::LayoutPacked) {
        ep::SxImageInfo info = picture.image;
        info.layout = ep::LayoutPlanar;
        info.stride = 0;
        ep::CxScopedBuffer planes(info);
        if (ep::failed(planes.allocate()) || ep::failed(ep::ConvertPackPixelToPlanar(picture.image, planes.image())))
            return noMemory(error);
        picture.storage = std::move(planes);
        picture.image = picture.storage.image();
    }
    picture.image.layout = ep::LayoutPlanar;
    return true;
}

bool allocateHalf(const Picture& picture, Picture& half)
{
    ep::SxImageInfo info = picture.image;
    info.stride = 0;
    half.storage = ep::CxScopedBuffer(info);
    half.metadata = picture.metadata;
    const bool allocated = !ep::failed(half.storage.allocate());
    half.image = half.storage.image();
    return allocated;
}

bool split(Picture& picture, bool invert, Picture& plus, Picture& minus, ep::SxFileError& error)
{
    if (picture.image.dataType != ep::DataTypeDouble) {
        error = {ep::ExFileError::Refused,
                 QStringLiteral("its samples are %1; only those of 64 bit float are split ('orn diff' makes them)")
                     .arg(QLatin1String(ep::sampleFacts(picture.image.dataType).name))};
        return false;
    }
    if (!makePlanar(picture, error))
        return false;
    const bool done = allocateHalf(picture, plus) && allocateHalf(picture, minus)
                      && orn::SplitToPlusMinus(picture.image, plus.image, minus.image, invert);
    return done || noMemory(error);
}

void succeed(FileOutcome& outcome, const SplitOptions& options, const Picture& plus, const Picture& minus)
{
    const QString& plusFile = options.plus;
    const QString& minusFile = options.minus;
    for (const QString& note : plus.notes)
        outcome.notes.append({plusFile, note});
    for (const QString& note : minus.notes)
        outcome.notes.append({minusFile, note});
    outcome.line = QStringLiteral("%1 -> %2, %3: %4\n")
                       .arg(printable(options.input), printable(plusFile), printable(minusFile), briefText(plus.image));
    outcome.answer[QStringLiteral("image")] = jsonOf(recordFacts(plus.image, nullptr));
    outcome.answer[QStringLiteral("notes")] = QJsonArray::fromStringList(plus.notes + minus.notes);
}

FileOutcome splitFile(const SplitOptions& options)
{
    const QString& input = options.input;
    const QString files[] = {options.plus, options.minus};
    FileOutcome outcome;
    outcome.answer = {{QStringLiteral("input"), input},
                      {QStringLiteral("plus"), files[0]},
                      {QStringLiteral("minus"), files[1]},
                      {QStringLiteral("inverted"), options.invert}};
    NoteCollector collector(outcome.notes);
    ep::SxFileError error;
    for (const QString& file : files)
        if (!canBeMade(file, options.refuseReplace, error)) {
            failOutput(outcome, file, error);
            return outcome;
        }
    Picture picture;
    Picture halves[2];
    collector.setSubject(input);
    if (!loadPicture(input, {}, picture, error) || !split(picture, options.invert, halves[0], halves[1], error)) {
        failInput(outcome, input, error);
        return outcome;
    }
    for (int i = 0; i < 2; ++i) {
        collector.setSubject(files[i]);
        if (saveSigned(files[i], halves[i], options.refuseReplace, error))
            continue;
        if (i == 1)
            outcome.notes.append({files[0], QStringLiteral("this half is written, the other one is not")});
        failOutput(outcome, files[i], error);
        return outcome;
    }
    succeed(outcome, options, halves[0], halves[1]);
    return outcome;
}

}  // namespace

void addSplitCommand(const Command& program)
{
    auto options = std::make_shared<SplitOptions>();
    const Command command = program.subcommand(
        "split", "Take the positive and the negative samples of an image apart",
        "  orn diff scene.tif repaired.tif difference.tif\n"
        "  orn split difference.tif brighter.tif darker.tif --invert\n"
        "\n"
        "IN is of 64 bit float, as 'orn diff' makes it. Each half is 0 where the other one is not, and where\n"
        "IN is 0 or no number. Both keep the metadata of IN.");
    command.positional("IN", options->input, "The image file to read").required();
    command.positional("PLUS", options->plus, "The file for the samples above 0").required();
    command.positional("MINUS", options->minus, "The file for the samples below 0").required();
    command.flag("--invert", options->invert, "Write the samples of MINUS without their sign");
    addNoReplaceFlag(command, options->refuseReplace, "Leave PLUS and MINUS alone when one of them exists");
    addJsonFlag(command, options->json);
    command.setWork([options](Output& output) {
        if (QFileInfo(options->plus).absoluteFilePath() == QFileInfo(options->minus).absoluteFilePath())
            throw UsageError(QStringLiteral("PLUS and MINUS are the same file"));
        return sayOutcome(splitFile(*options), QStringLiteral("split"), options->json, output);
    });
}

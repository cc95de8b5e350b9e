#include "DefectsCommand.h"

#include "CommonOptions.h"
#include "Facts.h"
#include "Json.h"
#include "MapDefects.h"
#include "TextTable.h"
#include "UsageError.h"

#include <QDateTime>
#include <QJsonArray>

#include <cmath>
#include <memory>

namespace {

/** The command line of `orn defects`. */
struct DefectsOptions {
    QStringList frames;
    QString out;
    QString grid;
    QString origin;
    QString coordinates = QStringLiteral("image");
    QString since;
    QString merge;
    double sigma = 5;
    bool isFlat = false;
    bool refuseReplace = false;
    bool quiet = false;
    bool json = false;
};

/** A UNIX time, or a day or time as in "2024-05-01" and "2024-05-01T12:00:00Z", without a zone in UTC. */
qint64 timeOf(const QString& argument)
{
    bool isNumber = false;
    const qint64 seconds = argument.toLongLong(&isNumber);
    if (isNumber && seconds >= 0)
        return seconds;
    QDateTime time = QDateTime::fromString(argument, Qt::ISODate);
    if (time.timeSpec() == Qt::LocalTime)
        time.setTimeSpec(Qt::UTC);
    if (!time.isValid() || time.toSecsSinceEpoch() < 0)
        throw UsageError(
            QStringLiteral("--since: '%1' is neither a UNIX time nor one such as 2024-05-01").arg(argument));
    return time.toSecsSinceEpoch();
}

orn::SxSensorOrigin originOf(const QString& argument)
{
    constexpr int farthest = 1 << 30;
    const QStringList numbers = argument.split(QLatin1Char(','));
    bool isX = false;
    bool isY = false;
    const int x = numbers.value(0).toInt(&isX);
    const int y = numbers.value(1).toInt(&isY);
    if (numbers.size() != 2 || !isX || !isY || x < 0 || y < 0 || x > farthest || y > farthest)
        throw UsageError(QStringLiteral("--origin: '%1' is not X,Y, as in 12,8").arg(argument));
    return {true, x, y};
}

DefectsRequest requestOf(const DefectsOptions& options)
{
    if (!std::isfinite(options.sigma))
        throw UsageError(QStringLiteral("--sigma: a number is needed"));
    DefectsRequest request;
    request.frames = options.frames;
    request.out = options.out;
    request.limits = {options.sigma, options.isFlat};
    request.grid = options.grid;
    request.merge = options.merge;
    request.refuseReplace = options.refuseReplace;
    request.quiet = options.quiet;
    if (!options.since.isEmpty())
        request.since = timeOf(options.since);
    if (!options.origin.isEmpty())
        request.origin = originOf(options.origin);
    if (options.coordinates == QLatin1String("sensor"))
        request.coordinates = orn::DefectCoordinatesSensor;
    return request;
}

/** A level or a noise: of flat frames the noise is a fraction. */
QString sigmaText(double sigma, bool isFlat)
{
    return isFlat ? QString::number(100 * sigma, 'g', 4) + QStringLiteral(" %") : QString::number(sigma, 'g', 4);
}

void writeText(const DefectsOptions& options, const FoundDefects& found, Output& output)
{
    TextTable table({QStringLiteral("plane"), QStringLiteral("background"), QStringLiteral("sigma"),
                     QStringLiteral("hot"), QStringLiteral("dead"), QStringLiteral("stuck")});
    for (const DefectsOfPart& part : found.parts)
        table.addRow({part.name, QString::number(part.found.background, 'g', 7),
                      sigmaText(part.found.sigma, options.isFlat), QString::number(part.found.hot),
                      QString::number(part.found.dead), QString::number(part.found.stuck)});
    table.write(output);
    QString line = QStringLiteral("%1 defects in %2 frames").arg(found.found).arg(options.frames.size());
    if (!options.merge.isEmpty())
        line += QStringLiteral(", %1 with those of %2").arg(found.list.defects.size()).arg(printable(options.merge));
    const QString files = found.mapFile.isEmpty()
                              ? printable(found.listFile)
                              : printable(found.mapFile) + QStringLiteral(", ") + printable(found.listFile);
    output.data(QStringLiteral("%1 -> %2\n").arg(line, files));
}

QJsonArray jsonOfParts(const QVector<DefectsOfPart>& parts)
{
    QJsonArray array;
    for (const DefectsOfPart& part : parts)
        array.append(QJsonObject{{QStringLiteral("name"), part.name},
                                 {QStringLiteral("samples"), static_cast<double>(part.found.samples)},
                                 {QStringLiteral("background"), jsonNumber(part.found.background)},
                                 {QStringLiteral("sigma"), jsonNumber(part.found.sigma)},
                                 {QStringLiteral("temporalNoise"), jsonNumber(part.found.temporalNoise)},
                                 {QStringLiteral("tellsStuck"), part.found.tellsStuck},
                                 {QStringLiteral("hot"), static_cast<double>(part.found.hot)},
                                 {QStringLiteral("dead"), static_cast<double>(part.found.dead)},
                                 {QStringLiteral("stuck"), static_cast<double>(part.found.stuck)}});
    return array;
}

QJsonObject answerOf(const DefectsOptions& options, const FoundDefects& found, const QVector<FileNote>& said)
{
    const orn::SxSensorOrigin& origin = found.list.origin;
    QJsonArray notes;
    for (const FileNote& note : said)
        notes.append(note.text);
    QJsonObject answer;
    answer[QStringLiteral("frames")] = options.frames.size();
    answer[QStringLiteral("limit")] = jsonNumber(options.sigma);
    answer[QStringLiteral("flat")] = options.isFlat;
    answer[QStringLiteral("planes")] = jsonOfParts(found.parts);
    answer[QStringLiteral("found")] = static_cast<double>(found.found);
    answer[QStringLiteral("listed")] = found.list.defects.size();
    answer[QStringLiteral("coordinates")] = options.coordinates;
    answer[QStringLiteral("origin")] =
        origin.isKnown ? QJsonValue(QJsonObject{{QStringLiteral("x"), origin.x}, {QStringLiteral("y"), origin.y}})
                       : QJsonValue(QJsonValue::Null);
    answer[QStringLiteral("map")] = found.mapFile.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(found.mapFile);
    answer[QStringLiteral("list")] = found.listFile;
    answer[QStringLiteral("notes")] = notes;
    return answer;
}

void noteUntoldStuck(const DefectsOptions& options, const FoundDefects& found, FileOutcome& outcome)
{
    QStringList names;
    for (const DefectsOfPart& part : found.parts)
        if (!part.found.tellsStuck)
            names << part.name;
    if (!names.isEmpty())
        outcome.notes.append(
            {options.out, QStringLiteral("stuck pixels cannot be told from chance in %1: more frames could")
                              .arg(names.join(QStringLiteral(", ")))});
}

ExitCode run(const DefectsOptions& options, Output& output)
{
    FoundDefects found;
    FileOutcome outcome = mapDefects(requestOf(options), output, found);
    if (outcome.code == ExitCode::Done) {
        noteUntoldStuck(options, found, outcome);
        outcome.answer = answerOf(options, found, outcome.notes);
    }
    const ExitCode code = sayOutcome(outcome, QStringLiteral("defects"), options.json, output);
    if (code == ExitCode::Done && !options.json)
        writeText(options, found, output);
    return code;
}

void addOptions(const Command& command, DefectsOptions& options)
{
    command.positional("DARK", options.frames, "Dark frames, or flat ones with --flat").required();
    command
        .value("--out", options.out, "MAP",
               "The map to write; a list of the same name in .txt comes beside it. A name in .txt: the list alone")
        .required();
    command.value("--sigma", options.sigma, "NUMBER", "How many sigma off a pixel is defective (default 5)").positive();
    command.flag("--flat", options.isFlat, "The frames are evenly lit: judge fractions of the light around");
    addGridOption(command, options.grid, "Take the frames for mosaics with these first 2 x 2 pixels");
    command.value("--merge", options.merge, "OLD",
                  "Add the defects of this older list or map; they keep the times since when they are known");
    command.value("--since", options.since, "TIME",
                  "Since when the new defects are there: a UNIX time, or as in 2024-05-01 (default: always)");
    command
        .value("--coordinates", options.coordinates, "ORIGIN",
               "What the list counts from: the top left of the image (default) or of the whole sensor")
        .oneOf({"image", "sensor"});
    command.value("--origin", options.origin, "X,Y",
                  "Where the frames begin on the sensor, if they do not say so themselves");
    addNoReplaceFlag(command, options.refuseReplace, "Leave files alone that exist");
    addQuietFlag(command, options.quiet);
    addJsonFlag(command, options.json);
}

}  // namespace

void addDefectsCommand(const Command& program)
{
    auto options = std::make_shared<DefectsOptions>();
    const Command command = program.subcommand(
        "defects", "Find hot, dead and stuck pixels from dark or flat frames",
        "  orn defects dark-*.dng --out sensor.png\n"
        "  orn defects --flat flat-*.dng --merge sensor.txt --out sensor.png\n"
        "  orn defects --since 2024-05-01 --merge old.txt dark-*.dng --out new.txt\n"
        "\n"
        "In the map, hot pixels are 255, stuck ones 170, dead ones 85 and good ones 0. With three or more\n"
        "frames, a cosmic ray in one of them does no harm; 16 frames tell most stuck pixels from chance.");
    addOptions(command, *options);
    command.setWork([options](Output& output) { return run(*options, output); });
}

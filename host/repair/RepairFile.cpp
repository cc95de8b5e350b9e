#include "RepairFile.h"

#include "ImageReport.h"
#include "Json.h"
#include "MatFit.h"
#include "NoteCollector.h"
#include "Output.h"
#include "PictureFile.h"
#include "RepairOverlay.h"
#include "RepairPlaces.h"
#include "RepairReport.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QRect>

namespace {

/** Why @p sample cannot be replayed on @p image. */
QString whyWrong(const orn::SxRepairedSample& sample, const ep::SxImageInfo& image)
{
    const QRect area(0, 0, image.width, image.height);
    const QString place =
        QStringLiteral("%1 at %2,%3").arg(planeNames(image).value(sample.plane)).arg(sample.x).arg(sample.y);
    if (!area.contains(sample.x, sample.y) || !orn::ImagePlanes(image).value(sample.plane).covers(sample.x, sample.y))
        return QStringLiteral("the image has no ") + place;
    const ep::SxSampleFacts& facts = ep::sampleFacts(image.dataType);
    const int least = facts.isSigned ? -(1 << (facts.bits - 1)) : 0;
    if (sample.newValue < least || sample.newValue >= least + (1 << facts.bits))
        return QStringLiteral("%1 is no value of %2").arg(sample.newValue).arg(QLatin1String(facts.name));
    return QStringLiteral("the image's %1 is not %2").arg(place).arg(sample.oldValue);
}

/** One repair on its way; each step says in the outcome why it fails. */
class Repair {
public:
    Repair(const RepairOptions& options, const QString& input, const QString& output)
        : m_options(options), m_input(input), m_output(output), m_collector(m_outcome.notes),
          m_reportFile(options.report)
    {
        m_outcome.answer = {{QStringLiteral("input"), input}, {QStringLiteral("output"), output}};
    }

    FileOutcome run()
    {
        if (canWriteAll() && load() && (m_options.replay.isEmpty() ? repair() : replay()) && save())
            succeed();
        return m_outcome;
    }

private:
    bool canWriteAll();
    bool load();
    bool repair();
    bool replay();
    bool save();
    bool saveImage(const QString& file);
    void succeed();

    bool failOfInput(const QString& file)
    {
        failInput(m_outcome, file, m_error);
        return false;
    }
    bool failOfOutput(const QString& file)
    {
        failOutput(m_outcome, file, m_error);
        return false;
    }
    bool refuse(const QString& file, const QString& reason)
    {
        m_error = {ep::ExFileError::Refused, reason};
        return failOfInput(file);
    }
    bool explain(unsigned int status, qint32 planeWithoutSource);

    const RepairOptions& m_options;
    const QString m_input;
    const QString m_output;
    FileOutcome m_outcome;
    NoteCollector m_collector;
    ep::SxFileError m_error;
    Picture m_picture;
    ep::CxSafeFile m_reportFile;
    QVector<orn::SxRepairedSample> m_repaired;
};

bool Repair::canWriteAll()
{
    for (const QString& file : {m_output, m_options.overlay})
        if (!file.isEmpty() && !canBeWritten(file, m_error))
            return failOfOutput(file);
    for (const QString& file : {m_output, m_options.report, m_options.overlay})
        if (m_options.refuseReplace && !file.isEmpty() && QFileInfo::exists(file)) {
            m_error = {ep::ExFileError::Refused, QStringLiteral("the file exists already")};
            return failOfOutput(file);
        }
    return true;
}

bool Repair::load()
{
    m_collector.setSubject(m_input);
    if (!loadPicture(m_input, {}, m_picture, m_error))
        return failOfInput(m_input);
    const ep::SxSampleFacts& samples = ep::sampleFacts(m_picture.image.dataType);
    if (samples.isFloat || samples.bytes > 2)
        return refuse(m_input, QStringLiteral("its samples are %1; those of 8 and 16 bits can be repaired")
                                   .arg(QLatin1String(samples.name)));
    if (orn::ImagePlanes(m_picture.image).isEmpty())
        return refuse(m_input, QStringLiteral("its colour-filter cell is too large"));
    return true;
}

/** Says why the library repaired nothing. */
bool Repair::explain(unsigned int status, qint32 planeWithoutSource)
{
    if (planeWithoutSource >= 0)
        return refuse(m_input, QStringLiteral("%1 has samples to repair and no valid one to take")
                                   .arg(planeNames(m_picture.image).value(planeWithoutSource)));
    m_error = {ep::ExFileError::TooLarge, status == ep::StatusOutOfMemory
                                              ? QStringLiteral("there is no memory to repair it")
                                              : QStringLiteral("it cannot be repaired")};
    return failOfInput(m_input);
}

bool Repair::repair()
{
    orn::SxRepairRequest request;
    const QString refused = levelsOfPlanes(m_options.levels, planeNames(m_picture.image), request.levels);
    if (!refused.isEmpty()) {
        failUsage(m_outcome, m_input, refused);
        return false;
    }
    const QString& map = m_options.map;
    m_collector.setSubject(map);
    if (!map.isEmpty() && !readMap(map, m_picture, request.places, m_error))
        return failOfInput(map);
    const QString& maskFile = m_options.mask;
    m_collector.setSubject(maskFile);
    ep::CxScopedBuffer mask;
    if (!maskFile.isEmpty() && !readMask(maskFile, m_picture.image, mask, m_error))
        return failOfInput(maskFile);
    qint32 planeWithoutSource = -1;
    const unsigned int status =
        orn::RepairPlanes(m_picture.image, mask.image(), request, m_repaired, planeWithoutSource);
    return !ep::failed(status) || explain(status, planeWithoutSource);
}

bool Repair::replay()
{
    const QString& file = m_options.replay;
    RepairReport report;
    if (!readRepairReport(file, report, m_error))
        return failOfInput(file);
    const QString difference = differenceFrom(report, m_picture.image);
    if (!difference.isEmpty())
        return refuse(file, difference);
    int wrong = -1;
    if (ep::failed(orn::ReplayRepairs(m_picture.image, report.samples, wrong))) {
        const QString reason = whyWrong(report.samples.value(wrong), m_picture.image);
        return refuse(file, QStringLiteral("sample %1: %2").arg(wrong + 1).arg(reason));
    }
    m_repaired = report.samples;
    return true;
}

bool Repair::saveImage(const QString& file)
{
    m_collector.setSubject(file);
    if (QFileInfo(file).suffix().toLower() == QLatin1String("mat")
        && !fitIntoMat({}, m_picture.image, m_picture.notes, m_error))
        return false;
    return ep::CxImageFormatManager::saveImageToFile(file, m_picture.image, &m_picture.metadata, nullptr,
                                                     m_options.refuseReplace, QString(), &m_error);
}

/**
 * Writes everything. The report, without which the repair cannot be repeated, is on disk before the image and gets its
 * name right after it; so no failure leaves an image without its report.
 */
bool Repair::save()
{
    const QString& overlayFile = m_options.overlay;
    ep::CxScopedBuffer overlay;
    if (!overlayFile.isEmpty() && !drawRepairOverlay(m_picture, m_repaired, overlay, m_error))
        return failOfOutput(overlayFile);
    const QString& reportFile = m_options.report;
    if (!reportFile.isEmpty()) {
        RepairReport report = reportOn(m_picture.image);
        report.samples = m_repaired;
        if (!writeRepairReport(report, reportFile, m_reportFile, m_error))
            return failOfOutput(reportFile);
    }
    if (!saveImage(m_output))
        return failOfOutput(m_output);
    if (!reportFile.isEmpty() && !m_reportFile.commit(m_options.refuseReplace, m_error))
        return failOfOutput(reportFile);
    m_collector.setSubject(overlayFile);
    if (!overlayFile.isEmpty()
        && !ep::CxImageFormatManager::saveImageToFile(overlayFile, overlay.image(), nullptr, nullptr,
                                                      m_options.refuseReplace, QString(), &m_error))
        return failOfOutput(overlayFile);
    return true;
}

void Repair::succeed()
{
    noteWhatIsNotKept(m_output, m_picture);
    const QStringList names = planeNames(m_picture.image);
    QVector<int> counts(names.size());
    for (const orn::SxRepairedSample& sample : qAsConst(m_repaired))
        ++counts[sample.plane];
    QStringList said;
    QJsonArray planes;
    for (int i = 0; i < names.size(); ++i) {
        planes << QJsonObject{{QStringLiteral("name"), names[i]}, {QStringLiteral("repaired"), counts[i]}};
        // The places of a large cell are too many for a line.
        constexpr int listed = 8;
        if (counts[i] > 0 || names.size() <= listed)
            said << QStringLiteral("%1: %2").arg(names[i]).arg(counts[i]);
    }
    for (const QString& note : qAsConst(m_picture.notes))
        m_outcome.notes.append({m_output, note});
    m_outcome.line = QStringLiteral("%1 -> %2: %3 repaired (%4)\n")
                         .arg(printable(m_input), printable(m_output))
                         .arg(m_repaired.size())
                         .arg(said.join(QStringLiteral(", ")));
    m_outcome.answer[QStringLiteral("repaired")] = m_repaired.size();
    m_outcome.answer[QStringLiteral("planes")] = planes;
    m_outcome.answer[QStringLiteral("image")] = jsonOf(recordFacts(m_picture.image, nullptr));
    m_outcome.answer[QStringLiteral("notes")] = QJsonArray::fromStringList(m_picture.notes);
}

bool isSameFile(const QString& a, const QString& b)
{
    const QFileInfo first(a);
    const QFileInfo second(b);
    if (first.exists() && second.exists())
        return first.canonicalFilePath() == second.canonicalFilePath();
    return !a.isEmpty() && !b.isEmpty() && first.absoluteFilePath() == second.absoluteFilePath();
}

/** Why files cannot be written where they are to be, or nothing; an image alone may be written over its input. */
QString refusedNames(const RepairOptions& options, const QString& input, const QString& output)
{
    const QString& report = options.report;
    const QString& overlay = options.overlay;
    QStringList kept{options.mask, options.map, options.replay};
    for (const QString& written : {output, report, overlay}) {
        for (const QString& other : qAsConst(kept))
            if (isSameFile(written, other))
                return QStringLiteral("'%1' would be written over").arg(other);
        kept << written << input;
    }
    return QString();
}

constexpr char nameMark[] = "{}";

}  // namespace

RepairOptions optionsOfOne(const RepairOptions& options, const QString& output)
{
    RepairOptions own = options;
    for (QString* file : {&own.mask, &own.map, &own.replay, &own.report, &own.overlay})
        file->replace(QLatin1String(nameMark), QFileInfo(output).fileName());
    return own;
}

QString refusedForMany(const RepairOptions& options)
{
    const QVector<QPair<const char*, QString>> files{
        {"--report", options.report}, {"--overlay", options.overlay}, {"--replay", options.replay}};
    for (const auto& file : files)
        if (!file.second.isEmpty() && !file.second.contains(QLatin1String(nameMark)))
            return QStringLiteral("%1: this would be one file for all; {} in it stands for the name of each output")
                .arg(QLatin1String(file.first));
    return QString();
}

QString refusedRepair(const RepairOptions& options, const QString& input, const QString& output)
{
    if (options.levels.isEmpty() && options.map.isEmpty() && options.replay.isEmpty())
        return QStringLiteral("nothing says what to repair: --low, --high, --valid, --map or --replay");
    for (const QString& report : {options.report, options.replay})
        if (!report.isEmpty() && !isReportName(report))
            return QStringLiteral("a report is a file of suffix .csv or .json, which '%1' is not").arg(report);
    const QString levels = refusedLevels(options.levels);
    return levels.isEmpty() ? refusedNames(options, input, output) : levels;
}

FileOutcome repairFile(const RepairOptions& options, const QString& input, const QString& output)
{
    return Repair(options, input, output).run();
}

#include "MapDefects.h"

#include "ImageParts.h"
#include "ImageReport.h"
#include "Limits.h"
#include "MetadataReport.h"
#include "Mosaic.h"
#include "NoteCollector.h"
#include "PictureFile.h"
#include "ProgressDisplay.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

/** One run of the command, step by step; each step is false, with the outcome set, when it failed. */
class Run {
public:
    Run(const DefectsRequest& request, Output& output, FoundDefects& found, FileOutcome& outcome)
        : m_request(request), m_output(output), m_found(found), m_outcome(outcome), m_notes(outcome.notes)
    {
    }

    bool chooseFiles();
    bool readOlder();
    bool readFrames();
    bool search();
    bool write();

private:
    bool checkTarget(const QString& file);
    bool load(const QString& file, Picture& frame);
    bool startWith(const QString& file, const Picture& frame);
    bool add(const QString& file, const Picture& frame);
    void describeParts(const QVector<orn::SxDefectPlane>& planes);
    bool writeMap();
    bool failedInput(const QString& file, const ep::SxFileError& error);
    bool failedOutput(const QString& file, const ep::SxFileError& error);

    const DefectsRequest& m_request;
    Output& m_output;
    FoundDefects& m_found;
    FileOutcome& m_outcome;
    NoteCollector m_notes;
    orn::CxDefectSearch m_search;
    orn::SxDefectList m_older;
    ep::CxMetadata m_metadata;  // of the first frame
    orn::SxSensorOrigin m_firstOrigin;
};

bool Run::failedInput(const QString& file, const ep::SxFileError& error)
{
    failInput(m_outcome, file, error);
    return false;
}

bool Run::failedOutput(const QString& file, const ep::SxFileError& error)
{
    failOutput(m_outcome, file, error);
    return false;
}

bool Run::checkTarget(const QString& file)
{
    ep::SxFileError error;
    if (!QFileInfo(QFileInfo(file).path()).isDir())
        error = {ep::ExFileError::Unwritable, QStringLiteral("its folder does not exist")};
    else if (m_request.refuseReplace && QFileInfo::exists(file))
        error = {ep::ExFileError::Refused, QStringLiteral("the file exists already")};
    return !error || failedOutput(file, error);
}

/** @p file with the suffix .txt instead of its own. */
QString listBeside(const QString& file)
{
    const int suffix = QFileInfo(file).suffix().size();
    return file.left(file.size() - suffix) + QStringLiteral("txt");
}

/** Why maps do not come back from files named like @p file as they were: those of photographs do not keep them. */
ep::SxFileError whyNoMap(const QString& file)
{
    const QTemporaryDir folder;
    const QString probe = folder.filePath(QStringLiteral("map.") + QFileInfo(file).suffix());
    ep::CxScopedBuffer map;
    ep::CxScopedBuffer back;
    ep::SxFileError error;
    const QVector<orn::SxDefect> defects{{5, 5, orn::DefectHot, 0}, {9, 6, orn::DefectDead, 0}};
    const bool isKept =
        !ep::failed(orn::DefectMap(16, 16, defects, map))
        && ep::CxImageFormatManager::saveImageToFile(probe, map.image(), nullptr, nullptr, true, QString(), &error)
        && ep::CxImageFormatManager::loadImageFromFile(probe, back.image(), nullptr)
        && ep::SameSamples(map.image(), back.image());
    if (isKept)
        return {};
    if (error.kind == ep::ExFileError::Unwritable)
        return {error.kind, QStringLiteral("its format cannot be tried in %1: %2").arg(QDir::tempPath(), error.reason)};
    return {ep::ExFileError::Refused, QStringLiteral("files of this format do not keep a map as it is; .png does")};
}

bool Run::chooseFiles()
{
    m_found.listFile = m_request.out;
    if (!orn::isDefectListName(m_request.out)) {
        ep::SxFileError error;
        m_found.mapFile = m_request.out;
        m_found.listFile = listBeside(m_request.out);
        if (!canBeWritten(m_found.mapFile, error))
            return failedOutput(m_found.mapFile, error);
        error = whyNoMap(m_found.mapFile);
        if (error)
            return failedOutput(m_found.mapFile, error);
        if (!checkTarget(m_found.mapFile))
            return false;
    }
    return checkTarget(m_found.listFile);
}

bool Run::readOlder()
{
    if (m_request.merge.isEmpty())
        return true;
    ep::SxFileError error;
    m_notes.setSubject(m_request.merge);
    return orn::readDefects(m_request.merge, m_older, error) || failedInput(m_request.merge, error);
}

bool Run::load(const QString& file, Picture& frame)
{
    ep::SxFileError error;
    m_notes.setSubject(file);
    if (!loadPicture(file, {}, frame, error))
        return failedInput(file, error);
    if (m_request.grid.isEmpty())
        return true;
    if (frame.image.channels != 1) {
        failUsage(m_outcome, file,
                  QStringLiteral("--cfa: %1 has %2 channels, a mosaic has one").arg(file).arg(frame.image.channels));
        return false;
    }
    overrideGrid(gridFromName(m_request.grid), frame.image, frame.metadata);
    return true;
}

bool Run::startWith(const QString& file, const Picture& frame)
{
    m_found.frame = frame.image;
    m_metadata = frame.metadata;
    m_firstOrigin = orn::sensorOrigin(frame.metadata);
    m_found.list.origin = m_request.origin.isKnown ? m_request.origin : m_firstOrigin;
    if (m_request.coordinates == orn::DefectCoordinatesImage || m_found.list.origin.isKnown)
        return true;
    failUsage(m_outcome, file,
              QStringLiteral("--coordinates sensor: %1 does not say where it lies on the sensor; --origin X,Y does")
                  .arg(file));
    return false;
}

bool Run::add(const QString& file, const Picture& frame)
{
    const orn::SxSensorOrigin origin = orn::sensorOrigin(frame.metadata);
    const bool sameOrigin = origin.isKnown == m_firstOrigin.isKnown
                            && (!origin.isKnown || (origin.x == m_firstOrigin.x && origin.y == m_firstOrigin.y));
    const unsigned int status = m_search.addFrame(frame.image);
    if (!ep::failed(status) && sameOrigin)
        return true;
    const QString& first = m_request.frames.first();
    if (status == ep::StatusGeometryMismatch)
        return failedInput(
            file, {ep::ExFileError::Refused, QStringLiteral("it is unlike %1: %2, and not %3")
                                                 .arg(first, briefText(frame.image), briefText(m_found.frame))});
    if (!ep::failed(status))
        return failedInput(
            file, {ep::ExFileError::Refused, QStringLiteral("it lies elsewhere on the sensor than %1").arg(first)});
    if (status == ep::StatusUnsupportedType)
        return failedInput(file, {ep::ExFileError::Unsupported, QStringLiteral("its samples are no numbers")});
    return failedInput(file, {ep::ExFileError::TooLarge, QStringLiteral("there is no memory for its defects")});
}

bool Run::readFrames()
{
    ProgressDisplay progress(m_output, m_request.frames.size(), m_request.quiet);
    for (const QString& file : m_request.frames) {
        Picture frame;
        progress.setCurrent(file);
        grantProcessorTime();
        if (!load(file, frame) || (m_search.frames() == 0 && !startWith(file, frame)) || !add(file, frame))
            return false;
        progress.addDone();
    }
    return true;
}

/** The name of the part of the image that @p plane is in. */
QString nameOf(const orn::SxImagePlane& plane, const QVector<ImagePart>& parts)
{
    for (const ImagePart& part : parts)
        for (const SamplePlace& place : part.places)
            if (place.channel == plane.channel && place.first == QPoint(plane.left, plane.top))
                return part.name;
    return QStringLiteral("all");
}

void addUp(orn::SxDefectPlane& sum, const orn::SxDefectPlane& plane)
{
    const double share =
        static_cast<double>(plane.samples) / static_cast<double>(qMax<qint64>(1, sum.samples + plane.samples));
    sum.background += (plane.background - sum.background) * share;
    sum.sigma += (plane.sigma - sum.sigma) * share;
    sum.temporalNoise += (plane.temporalNoise - sum.temporalNoise) * share;
    sum.tellsStuck = sum.tellsStuck && plane.tellsStuck;
    sum.samples += plane.samples;
    sum.hot += plane.hot;
    sum.dead += plane.dead;
    sum.stuck += plane.stuck;
}

void Run::describeParts(const QVector<orn::SxDefectPlane>& planes)
{
    const QVector<ImagePart> parts = imageParts(m_found.frame, commonMetadata(m_metadata));
    const QVector<orn::SxImagePlane> places = orn::ImagePlanes(m_found.frame);
    for (const orn::SxDefectPlane& plane : planes) {
        const QString name = nameOf(places[plane.plane], parts);
        const auto known = std::find_if(m_found.parts.begin(), m_found.parts.end(),
                                        [&](const DefectsOfPart& part) { return part.name == name; });
        if (known == m_found.parts.end())
            m_found.parts.append({name, plane});
        else
            addUp(known->found, plane);
    }
}

bool Run::search()
{
    QVector<orn::SxDefectPlane> planes;
    QVector<orn::SxDefect> defects;
    const unsigned int status = m_search.result(m_request.limits, defects, planes);
    if (status == ep::StatusInvalidArgument)
        return failedInput(m_request.frames.first(),
                           {ep::ExFileError::Refused, QStringLiteral("--flat: there is no light in it")});
    if (ep::failed(status))
        return failedInput(m_request.frames.first(),
                           {ep::ExFileError::TooLarge, QStringLiteral("there is no memory for its defects")});
    for (orn::SxDefect& defect : defects)
        defect.since = m_request.since;
    m_found.found = defects.size();
    m_found.list.defects = orn::uniteDefects(orn::defectsSeenFrom(m_found.list.origin, m_older), defects);
    describeParts(planes);
    return true;
}

/** The frame's metadata, changed to say where on the sensor it lies. */
ep::CxMetadata mapMetadata(const ep::CxMetadata& ofFrame, const ep::SxImageInfo& frame,
                           const orn::SxSensorOrigin& origin)
{
    ep::CxMetadata metadata;
    auto* common = new ep::CxCommonImageMetadata;
    metadata.addMetadata(common);
    if (const ep::CxCommonImageMetadata* known = commonMetadata(ofFrame)) {
        common->cameraMake = known->cameraMake;
        common->cameraModel = known->cameraModel;
        common->captureTime = known->captureTime;
        common->sensorWidth = known->sensorWidth;
        common->sensorHeight = known->sensorHeight;
    }
    if (origin.isKnown) {
        common->leftMargin = origin.x;
        common->topMargin = origin.y;
        common->sensorWidth = qMax(common->sensorWidth, origin.x + frame.width);
        common->sensorHeight = qMax(common->sensorHeight, origin.y + frame.height);
    }
    return metadata;
}

bool Run::writeMap()
{
    ep::CxScopedBuffer map;
    ep::SxFileError error;
    const ep::SxImageInfo& frame = m_found.frame;
    m_notes.setSubject(m_found.mapFile);
    if (ep::failed(orn::DefectMap(frame.width, frame.height, m_found.list.defects, map))) {
        error = {ep::ExFileError::TooLarge, QStringLiteral("there is no memory for it")};
        return failedOutput(m_found.mapFile, error);
    }
    const ep::CxMetadata metadata = mapMetadata(m_metadata, frame, m_found.list.origin);
    return ep::CxImageFormatManager::saveImageToFile(m_found.mapFile, map.image(), &metadata, nullptr,
                                                     m_request.refuseReplace, QString(), &error)
           || failedOutput(m_found.mapFile, error);
}

bool Run::write()
{
    ep::SxFileError error;
    if (!m_found.mapFile.isEmpty() && !writeMap())
        return false;
    return orn::writeDefectList(m_found.listFile, m_found.list, m_request.coordinates, m_request.refuseReplace, error)
           || failedOutput(m_found.listFile, error);
}

}  // namespace

FileOutcome mapDefects(const DefectsRequest& request, Output& output, FoundDefects& found)
{
    FileOutcome outcome;
    Run run(request, output, found, outcome);
    if (run.chooseFiles() && run.readOlder() && run.readFrames() && run.search())
        run.write();
    return outcome;
}

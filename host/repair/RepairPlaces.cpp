#include "RepairPlaces.h"

#include "ImageReport.h"
#include "MetadataReport.h"

#include <orn/orn_core.h>

#include <QFileInfo>
#include <QRect>

namespace {

bool fail(ep::SxFileError& error, const QString& reason)
{
    error = {ep::ExFileError::Refused, reason};
    return false;
}

/** Reads an image that says something of each pixel of @p image. */
bool readMarks(const QString& file, const ep::SxImageInfo& image, const char* what, ep::CxScopedBuffer& marks,
               ep::SxFileError& error)
{
    if (!ep::CxImageFormatManager::loadImageFromFile(file, marks.image(), nullptr, nullptr, &error))
        return false;
    if (marks->channels == 1 && ep::sampleFacts(marks->dataType).bytes == 1 && marks->width == image.width
        && marks->height == image.height)
        return true;
    return fail(error, QStringLiteral("it is %1; a %2 has one channel of 8 bits and the image's %3 x %4 pixels")
                           .arg(briefText(marks.image()), QLatin1String(what))
                           .arg(image.width)
                           .arg(image.height));
}

bool isImageFile(const QString& file)
{
    const QString suffix = QFileInfo(file).suffix().toLower();
    for (const ep::SxFormatInfo& format : ep::CxImageFormatManager::instance()->formats())
        if (format.reads && format.suffixes.contains(suffix))
            return true;
    return false;
}

void note(Picture& picture, int count, const char* what)
{
    if (count > 0)
        picture.notes << QStringLiteral("pixels of the map that %1: %2").arg(QLatin1String(what)).arg(count);
}

/** Keeps those defects that @p picture has. */
void takeDefects(const QVector<orn::SxDefect>& defects, Picture& picture, QVector<QPoint>& places)
{
    const QRect area(0, 0, picture.image.width, picture.image.height);
    const ep::CxCommonImageMetadata* common = commonMetadata(picture.metadata);
    const bool isDated = common && common->captureTime.isValid();
    int outside = 0;
    int later = 0;
    for (const orn::SxDefect& defect : defects) {
        if (!area.contains(defect.x, defect.y))
            ++outside;
        else if (isDated && defect.since > common->captureTime.toSecsSinceEpoch())
            ++later;
        else
            places << QPoint(defect.x, defect.y);
    }
    note(picture, outside, "lie outside of the image");
    note(picture, later, "went bad after the image was taken");
}

}  // namespace

bool readMask(const QString& file, const ep::SxImageInfo& image, ep::CxScopedBuffer& mask, ep::SxFileError& error)
{
    return readMarks(file, image, "mask", mask, error);
}

bool readMap(const QString& file, Picture& picture, QVector<QPoint>& places, ep::SxFileError& error)
{
    if (isImageFile(file)) {
        ep::CxScopedBuffer marks;
        return readMarks(file, picture.image, "map", marks, error)
               && (!ep::failed(orn::NonZeroPixels(marks.image(), places))
                   || fail(error, QStringLiteral("there is no memory for its pixels")));
    }
    orn::SxDefectList list;
    if (!orn::readDefectList(file, list, error))
        return false;
    takeDefects(orn::defectsSeenFrom(orn::sensorOrigin(picture.metadata), list), picture, places);
    return true;
}

#include "SignedPicture.h"

#include "Mosaic.h"

#include <QFileInfo>

namespace {

bool isMat(const QString& path)
{
    return QFileInfo(path).suffix().toLower() == QLatin1String("mat");
}

bool hasPartialCells(const ep::SxImageInfo& image)
{
    const QSize cell = cellSize(image);
    return isMosaic(image) && (image.width % cell.width() != 0 || image.height % cell.height() != 0);
}

}  // namespace

void forgetLevels(ep::CxMetadata& metadata)
{
    auto* common =
        qobject_cast<ep::CxCommonImageMetadata*>(metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
    if (!common)
        return;
    common->colorBitDepth = 0;
    common->blackLevels.clear();
    common->whiteLevel = 0;
}

bool saveSigned(const QString& path, Picture& picture, bool refuseReplace, ep::SxFileError& error)
{
    if (picture.image.channels == 1)
        picture.image.layout = ep::LayoutPacked;  // as writers know mosaics; of one channel it is the same memory
    if (isMat(path) && hasPartialCells(picture.image)) {
        overrideGrid(ep::BayerGridNone, picture.image, picture.metadata);
        picture.notes << QStringLiteral("stored as a plain image, without its grid: a MAT file holds whole cells");
    }
    if (!ep::CxImageFormatManager::saveImageToFile(path, picture.image, &picture.metadata, nullptr, refuseReplace,
                                                   QString(), &error))
        return false;
    noteWhatIsNotKept(path, picture);
    return true;
}

bool canBeMade(const QString& path, bool refuseReplace, ep::SxFileError& error)
{
    if (!canBeWritten(path, error))
        return false;
    if (!refuseReplace || !QFileInfo::exists(path))
        return true;
    error = {ep::ExFileError::Refused, QStringLiteral("the file exists already")};
    return false;
}

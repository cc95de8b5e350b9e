#include "PictureFile.h"

#include "Mosaic.h"

#include <QFileInfo>

namespace {

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

}  // namespace

bool loadPicture(const QString& file, const QMap<QString, QVariant>& options, Picture& picture, ep::SxFileError& error)
{
    if (!ep::CxImageFormatManager::loadImageFromFile(file, picture.storage.image(), &picture.metadata, &options,
                                                     &error))
        return false;
    picture.image = picture.storage.image();
    // Of one channel, both layouts are the same memory; writers know mosaics as packed ones.
    if (picture.image.channels == 1)
        picture.image.layout = ep::LayoutPacked;
    return true;
}

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

void noteWhatIsNotKept(const QString& output, Picture& picture)
{
    const ep::SxFormatInfo format = writtenFormat(output);
    if (isMosaic(picture.image) && !format.mosaic)
        picture.notes
            << QStringLiteral("this format does not keep the grid %1 of the mosaic").arg(gridName(picture.image));
    if (!picture.metadata.isEmpty() && !format.metadata)
        picture.notes << QStringLiteral("this format does not keep metadata");
}

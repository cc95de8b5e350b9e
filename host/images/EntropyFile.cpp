#include "EntropyFile.h"

#include "Mosaic.h"

#include <orn/orn_core.h>

#include <algorithm>

namespace {

/** The planes of @p image, split by channel or by cell, in @p storage where they had to be made. */
bool splitIntoPlanes(const ep::SxImageBuf& image, ep::CxScopedBuffer& storage, ep::SxImageBuf& planes)
{
    planes = image;
    if (image.layout == ep::LayoutPlanar || entropyPlanes(image) == 1)
        return true;
    const QSize cell = isMosaic(image) ? cellSize(image) : QSize(1, 1);
    storage = ep::CxScopedBuffer(image);
    storage->layout = ep::LayoutPlanar;
    storage->stride = 0;
    storage->channels = entropyPlanes(image);
    storage->width = image.width / cell.width();
    storage->height = image.height / cell.height();
    if (ep::failed(storage.allocate()) || ep::failed(ep::ConvertPackPixelToPlanar(image, storage.image())))
        return false;
    planes = storage.image();
    planes.bayerGrid = ep::BayerGridNone;
    return true;
}

/** True when the file holds the first planes of @p planes, as many as are ever read back. */
bool isProved(const QString& file, const QString& prefix, const ep::SxImageBuf& planes)
{
    ep::SxImageBuf expected = planes;
    expected.channels = std::min(planes.channels, entropyPlanesReadBack);
    ep::CxScopedBuffer written;
    return orn::matlab::LoadEntropyImageFromMat(prefix, file, written.image())
           && ep::SameSamples(written.image(), expected);
}

bool fail(ep::SxFileError& error, const QString& reason)
{
    error = {ep::ExFileError::Unwritable, reason};
    return false;
}

}  // namespace

int entropyPlanes(const ep::SxImageInfo& image)
{
    const QSize cell = cellSize(image);
    return isMosaic(image) ? cell.width() * cell.height() : image.channels;
}

bool saveEntropyFile(const QString& path, const ep::SxImageBuf& image, const QString& prefix, bool refuseReplace,
                     ep::SxFileError& error)
{
    ep::CxScopedBuffer storage;
    ep::SxImageBuf planes = ep::emptyImage();
    if (!splitIntoPlanes(image, storage, planes))
        return fail(error, QStringLiteral("there is not enough memory for the planes"));
    ep::CxSafeFile file(path);
    if (!file.create(error))
        return false;
    if (!orn::matlab::SaveEntropyImageToMat(planes, prefix, file.temporaryName(), false))
        return fail(error, QStringLiteral("the planes cannot be written"));
    if (!isProved(file.temporaryName(), prefix, planes))
        return fail(error, QStringLiteral("the written file does not read back as the image; the disk may be full"));
    return file.commit(refuseReplace, error);
}

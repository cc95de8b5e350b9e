#include "ReadImageFile.h"

#include <ep/CxImageData.h>
#include <ep/CxRtti.h>
#include <ep/IxImageDataLoader.h>

#include "CompleteLoadedImage.h"
#include "FormatCatalog.h"

#include <QFileInfo>

namespace ep {

namespace {

/** Why there is no use in asking a loader. */
SxFileError findObstacle(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return {ExFileError::Unreadable, QStringLiteral("the file does not exist")};
    if (file.isDir())
        return {ExFileError::Unreadable, QStringLiteral("it is a folder, not a file")};
    // Opening a pipe or a device could wait for ever.
    if (!file.isFile())
        return {ExFileError::Unreadable, QStringLiteral("it is not a regular file")};
    if (!file.isReadable())
        return {ExFileError::Unreadable, QStringLiteral("there is no permission to read it")};
    return {};
}

/** Lets one loader read the file. */
std::unique_ptr<CxImageData> readWith(IxImageDataLoader& loader, const SxReadRequest& request, SxFileError& error)
{
    loader.setFileName(request.path);
    loader.setOptions(request.options);
    loader.setMemoryLimit(request.memoryLimit);
    std::unique_ptr<CxImageData> data;
    loader.open();  // its result says nothing: a loader may return true without an image
    if (loader.isOpen())
        data.reset(loader.imageData(0));
    error = loader.lastError();
    // A loader may hand out what it has got so far, too.
    if (data && data->image().data && !error)
        return data;
    if (!error)
        error = {ExFileError::Unreadable,
                 QStringLiteral("%1 finds no image in it").arg(CxRtti::displayName(*loader.metaObject()))};
    return nullptr;
}

}  // namespace

std::unique_ptr<CxImageData> readImageFile(FormatCatalog& catalog, const SxReadRequest& request, SxFileError& error)
{
    error = findObstacle(request.path);
    if (error)
        return nullptr;
    FormatCandidates candidates(catalog, ExFormatUse::Read, request.formatName);
    std::unique_ptr<CxImageData> data;
    while (const QMetaObject* metaObject = data ? nullptr : candidates.next()) {
        const std::unique_ptr<QObject> object(metaObject->newInstance());
        SxFileError obstacle;
        if (auto* loader = qobject_cast<IxImageDataLoader*>(object.get()))
            data = readWith(*loader, request, obstacle);
        // What is wrong with the file tells more than that some loader does not serve it.
        if (!error || (error.kind == ExFileError::Unsupported && obstacle))
            error = obstacle;
    }
    if (data) {
        error = completeLoadedImage(*data);
        if (error)
            data.reset();
        return data;
    }
    if (!error)
        error = {ExFileError::Unsupported, candidates.pluginFailure()};
    if (error.reason.isEmpty())
        error.reason = QStringLiteral("the format is not known");
    return nullptr;
}

}  // namespace ep

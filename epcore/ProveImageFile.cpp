#include "ProveImageFile.h"

#include <ep/CxImageData.h>
#include <ep/IxImageDataSaver.h>
#include <ep/SameSamples.h>

#include <QFileInfo>
#include <QVariant>

namespace ep {

namespace {

bool sameDescription(const SxImageInfo& a, const SxImageInfo& b)
{
    return a.width == b.width && a.height == b.height && a.channels == b.channels && a.dataType == b.dataType;
}

}  // namespace

SxFileError proveImageFile(FormatCatalog& catalog, const SxReadRequest& request, const SxImageBuf& image,
                           const IxImageDataSaver& saver)
{
    const qint64 expected = saver.expectedFileSize();
    const qint64 size = QFileInfo(request.path).size();
    if (expected != 0 && size != expected)
        return {ExFileError::Unwritable,
                QStringLiteral("only %1 of %2 bytes could be written").arg(size).arg(expected)};
    SxFileError error;
    const std::unique_ptr<CxImageData> data = readImageFile(catalog, request, error);
    if (!data) {
        if (error.kind == ExFileError::Unsupported && expected != 0)
            return {};
        return {ExFileError::Unwritable, QStringLiteral("what was written cannot be read back: %1").arg(error.reason)};
    }
    const bool isSame =
        saver.property("lossy").toBool() ? sameDescription(data->image(), image) : SameSamples(data->image(), image);
    if (isSame)
        return {};
    return {ExFileError::Unwritable, QStringLiteral("what was written is not what was to be written")};
}

}  // namespace ep

#include "WriteImageFile.h"

#include <ep/ConvertPackPixelToPlanar.h>
#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/CxRtti.h>
#include <ep/CxSafeFile.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/IxImageDataSaver.h>
#include <ep/internal/ImageCheck.h>
#include <ep/internal/MemoryLimit.h>

#include "CommonMetadataItem.h"
#include "FormatCatalog.h"
#include "ProveImageFile.h"
#include "SinglePlane.h"

#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>
#include <iterator>
#include <limits>

namespace ep {

namespace {

/** The same samples in a record that FreeBuffer() leaves alone. */
SxImageBuf borrowed(const SxImageBuf& image)
{
    SxImageBuf record = image;
    std::fill(std::begin(record.bookkeeping), std::end(record.bookkeeping), 0);
    return record;
}

/** The channels of the packed @p image as planes; false when there is no memory. */
bool deinterleave(const SxImageBuf& image, CxScopedBuffer& planes)
{
    planes.reset();
    static_cast<SxImageInfo&>(planes.image()) = image;
    planes->layout = LayoutPlanar;
    planes->stride = 0;
    return !failed(planes.allocate()) && !failed(ConvertPackPixelToPlanar(image, planes.image()));
}

/** What a saver is given: the image in the layout that it takes, with complete metadata. */
bool prepare(const SxWriteRequest& request, const IxImageDataSaver& saver, CxImageData& data)
{
    const SxImageBuf& image = *request.image;
    CxMetadata metadata;
    if (request.metadata)
        metadata = *request.metadata;
    if (image.bitDepth > 0) {
        CxCommonImageMetadata& common = commonItem(metadata, image);
        if (common.colorBitDepth == 0)
            common.colorBitDepth = image.bitDepth;
    }
    data.setMetadata(std::move(metadata));
    SxImageBuf handed = borrowed(image);
    relabelSinglePlane(handed);
    if (image.layout == LayoutPacked && image.channels > 1 && !saver.acceptsInterleavedChannels()) {
        CxScopedBuffer planes;
        if (!deinterleave(image, planes))
            return false;
        handed = planes.take();
    }
    data.setImageShallow(handed, 0, 0, QDateTime::currentDateTime());
    return true;
}

/** @p error, or that the disk is full when that is why. Savers rarely know. */
SxFileError withTrueReason(const SxFileError& error, const QString& written, qint64 expectedBytes)
{
    constexpr qint64 nextToNothing = 64 * 1024;
    const qint64 free = QStorageInfo(QFileInfo(written).absolutePath()).bytesAvailable();
    const qint64 missing = expectedBytes - QFileInfo(written).size();
    if (error.kind == ExFileError::Unwritable && free >= 0 && free < std::max(nextToNothing, missing))
        return {ExFileError::Unwritable, QStringLiteral("the disk is full")};
    return error;
}

/** The memory limit of the proof: an image that the caller holds may be read, however little strangers are granted. */
qint64 proofLimit(const SxWriteRequest& request)
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 planesAndMosaic = 2;
    const internal::CheckedSize bytes =
        internal::rowBytes(*request.image) * internal::storedRows(*request.image).value();
    const qint64 limit = std::max({request.memoryLimit, internal::defaultMemoryLimit(), bytes.value()});
    return limit > most / planesAndMosaic ? most : limit * planesAndMosaic;
}

/** Writes and proves the temporary file @p name. */
SxFileError writeAndProve(FormatCatalog& catalog, const SxWriteRequest& request, IxImageDataSaver& saver,
                          const QString& name)
{
    CxImageData data;
    if (!prepare(request, saver, data))
        return {ExFileError::TooLarge, QStringLiteral("there is not enough memory for its planes")};
    saver.setFileName(name);
    saver.setOptions(request.options);
    const bool saved = saver.saveImage(&data);
    SxFileError error = saver.lastError();
    if (!saved && !error)
        error = {ExFileError::Unwritable,
                 QStringLiteral("%1 could not write it").arg(CxRtti::displayName(*saver.metaObject()))};
    if (!error) {
        data.setImageShallow(emptyImage(), 0, 0, QDateTime());  // the planes are not needed beside what is read back
        const SxReadRequest proof{name, request.formatName, request.options, proofLimit(request)};
        error = proveImageFile(catalog, proof, *request.image, saver);
    }
    return error ? withTrueReason(error, name, saver.expectedFileSize()) : error;
}

SxFileError writeWith(FormatCatalog& catalog, const SxWriteRequest& request, IxImageDataSaver& saver)
{
    SxFileError error;
    CxSafeFile file(request.path);
    if (!file.create(error))
        return error;
    error = writeAndProve(catalog, request, saver, file.temporaryName());
    if (!error)
        file.commit(request.refuseReplace, error);
    return error;
}

}  // namespace

SxFileError writeImageFile(FormatCatalog& catalog, const SxWriteRequest& request)
{
    if (!internal::isSound(*request.image))
        return {ExFileError::Unsupported, QStringLiteral("there is no image to write")};
    if (request.refuseReplace && QFileInfo::exists(request.path))
        return {ExFileError::Refused, QStringLiteral("the file exists already")};
    FormatCandidates candidates(catalog, ExFormatUse::Write, request.formatName);
    SxFileError refusal;
    while (const QMetaObject* metaObject = candidates.next()) {
        const std::unique_ptr<QObject> object(metaObject->newInstance());
        auto* saver = qobject_cast<IxImageDataSaver*>(object.get());
        if (!saver)
            continue;
        const SxFileError error = writeWith(catalog, request, *saver);
        if (error.kind != ExFileError::Refused)
            return error;
        if (!refusal)
            refusal = error;
    }
    if (refusal)
        return refusal;
    const QString& failure = candidates.pluginFailure();
    return {ExFileError::Unsupported, failure.isEmpty() ? QStringLiteral("the format is not known") : failure};
}

}  // namespace ep

#include <ep/CxImageFormatManager.h>

#include <ep/CxImageData.h>
#include <ep/internal/MemoryLimit.h>
#include <ep/internal/OutOfMemory.h>

#include "FormatCatalog.h"
#include "ReadImageFile.h"
#include "WriteImageFile.h"

#include <QFileInfo>

#include <atomic>
#include <exception>
#include <new>

namespace ep {

namespace {

/** The name by which a format is chosen: the file's own, or one with the suffix @p format. */
QString formatName(const QString& path, const QString& format)
{
    if (format.isEmpty())
        return QFileInfo(path).fileName().toLower();
    return (format.startsWith(QLatin1Char('.')) ? format : QLatin1Char('.') + format).toLower();
}

/** Does @p work, which gives the reason of a failure; what it throws becomes one, of kind @p kind. */
template <typename Work>
SxFileError guarded(ExFileError kind, Work&& work) noexcept
{
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return internal::outOfMemory();
    } catch (const std::exception& exception) {
        return {kind, QString::fromLocal8Bit(exception.what())};
    }
}

/** Hands @p result on to a caller that may not want to know. */
bool report(const SxFileError& result, SxFileError* error)
{
    if (error)
        *error = result;
    return !result;
}

}  // namespace

struct CxImageFormatManager::Private {
    FormatCatalog catalog;
    std::atomic<qint64> memoryLimit{0};
    std::atomic<bool> trustsFiles{true};
};

CxImageFormatManager::CxImageFormatManager() : m_d(new Private) {}

CxImageFormatManager::~CxImageFormatManager() = default;

CxImageFormatManager* CxImageFormatManager::instance()
{
    // Never destroyed, as the registry that it asks.
    static CxImageFormatManager* const manager = new CxImageFormatManager;
    return manager;
}

bool CxImageFormatManager::loadImageFromFile(const QString& path, SxImageBuf& image, CxMetadata* metadata)
{
    return loadImageFromFile(path, image, metadata, nullptr, nullptr);
}

bool CxImageFormatManager::loadImageFromFile(const QString& path, SxImageBuf& image, CxMetadata* metadata,
                                             const QMap<QString, QVariant>* options, SxFileError* error)
{
    image = emptyImage();
    const SxFileError result = guarded(ExFileError::Unreadable, [&] {
        CxImageFormatManager* manager = instance();
        SxReadRequest request{path, formatName(path, QString()), {}, manager->memoryLimit()};
        if (options)
            request.options = *options;
        SxFileError failure;
        const std::unique_ptr<CxImageData> data = readImageFile(manager->m_d->catalog, request, failure);
        if (!data)
            return failure;
        if (metadata)
            *metadata = data->metadata();
        image = data->takeImage();
        return failure;
    });
    return report(result, error);
}

bool CxImageFormatManager::saveImageToFile(const QString& path, const SxImageBuf& image, const CxMetadata* metadata,
                                           const QMap<QString, QVariant>* options, bool refuseReplace,
                                           const QString& format)
{
    return saveImageToFile(path, image, metadata, options, refuseReplace, format, nullptr);
}

bool CxImageFormatManager::saveImageToFile(const QString& path, const SxImageBuf& image, const CxMetadata* metadata,
                                           const QMap<QString, QVariant>* options, bool refuseReplace,
                                           const QString& format, SxFileError* error)
{
    const SxFileError result = guarded(ExFileError::Unwritable, [&] {
        CxImageFormatManager* manager = instance();
        SxWriteRequest request;
        request.path = path;
        request.formatName = formatName(path, format);
        request.image = &image;
        request.metadata = metadata;
        if (options)
            request.options = *options;
        request.refuseReplace = refuseReplace;
        request.memoryLimit = manager->memoryLimit();
        return writeImageFile(manager->m_d->catalog, request);
    });
    return report(result, error);
}

QList<SxFormatInfo> CxImageFormatManager::formats() const
{
    return m_d->catalog.formats();
}

void CxImageFormatManager::addPluginFolder(const QString& folder)
{
    m_d->catalog.addPluginFolder(folder);
}

qint64 CxImageFormatManager::memoryLimit() const
{
    const qint64 limit = m_d->memoryLimit;
    return limit > 0 ? limit : internal::defaultMemoryLimit();
}

void CxImageFormatManager::setMemoryLimit(qint64 bytes)
{
    m_d->memoryLimit = bytes;
}

bool CxImageFormatManager::trustsFiles() const
{
    return m_d->trustsFiles;
}

void CxImageFormatManager::setTrustsFiles(bool trusts)
{
    m_d->trustsFiles = trusts;
}

}  // namespace ep

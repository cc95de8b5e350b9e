#include "ReadMatImage.h"

#include "CriticalLog.h"
#include "EntropyPlanes.h"
#include "MatImageAllocation.h"
#include "MatMetadata.h"
#include "MatPlane.h"
#include "MatSampleTypes.h"
#include "ReadMatVariable.h"

#include <ep/ConvertPlanarRawToRaw.h>
#include <ep/CxScopedBuffer.h>
#include <ep/DetectColorBitDepth.h>
#include <ep/ExStatus.h>
#include <ep/ReverseRowOrder.h>

#include <algorithm>
#include <limits>

#include <ep/internal/DefaultMemoryLimit.h>

namespace orn {
namespace matlab {

namespace {

// What every step of one reading needs.
struct Reading {
    MatDirectory& directory;
    QString baseName;
    QString variable;
    qint64 limit;
    ep::SxFileError& error;

    bool refuse(const QString& reason)
    {
        error = {ep::ExFileError::Unsupported, reason};
        return false;
    }
};

QList<QByteArray> readableNames(const ReadMatOptions& options)
{
    if (!options.variable.isEmpty())
        return {options.variable.toLatin1(), metadataName().toLatin1()};
    return entropyVariables(QStringLiteral("PIG")) + entropyVariables(QStringLiteral("PDG"))
           + QList<QByteArray>{(options.baseName + QStringLiteral("_channel_")).toLatin1(), metadataName().toLatin1()};
}

// How many planes the metadata says were written; 0 when it says nothing. Hands the metadata on as well.
qint32 readChannelCount(Reading& reading, ep::CxMetadata& metadata, ep::CxMetadata* result)
{
    MatEntry* const entry = findMetadata(reading.directory);
    if (!entry)
        return 0;
    const bool isValid = readMetadata(reading.directory, *entry, reading.limit, metadata);
    if (!isValid)
        logCritical(QStringLiteral("Failed to load the image metadata."));
    if (result && !metadata.isEmpty())
        *result = metadata;
    const auto* item = findItem<CxMatlabImageMetadata>(metadata);
    return isValid && item ? item->savedChannels : 0;
}

bool readInto(Reading& reading, MatEntry& entry, qint32 plane, ep::CxScopedBuffer& loaded)
{
    return readIntoPlane(reading.directory, entry, reading.limit, loaded.image(), plane, reading.error);
}

// Reads the planes from @p first on into a new image that takes the place of @p image.
bool readPlanes(Reading& reading, MatEntry& first, const std::vector<MatEntry*>& laterPlanes, ep::ExImageLayout layout,
                ep::SxImageBuf& image)
{
    const MatSampleType* const type = readableSampleType(first.matClass);
    if (!type || first.isComplex)
        return reading.refuse(QStringLiteral("images of class %1%2 are not read")
                                  .arg(first.isComplex ? QStringLiteral("complex ") : QString(),
                                       matClassName(first.matClass, first.isLogical)));
    ep::CxScopedBuffer loaded(image);
    loaded->channels = static_cast<qint32>(laterPlanes.size()) + 1;
    loaded->layout = layout;
    if (!allocateImage(first, type->dataType, reading.limit, loaded, reading.error)
        || !readInto(reading, first, 0, loaded))
        return false;
    qint32 plane = 1;
    for (MatEntry* entry : laterPlanes)
        if (!readInto(reading, *entry, plane++, loaded))
            return false;
    ep::FreeBuffer(image);
    image = loaded.take();
    return true;
}

bool readOwnPlanes(Reading& reading, MatEntry& first, qint32 channels, ep::SxImageBuf& image)
{
    if (channels < 1 || static_cast<size_t>(channels) > reading.directory.entries().size())
        return reading.refuse(
            QStringLiteral("the metadata names %1 planes, which the file does not hold").arg(channels));
    // Looked up before memory is asked for: the number of planes is only what a text says.
    std::vector<MatEntry*> laterPlanes;
    for (qint32 plane = 1; plane < channels; ++plane) {
        const QString name = numberedPlaneName(reading.baseName, plane);
        MatEntry* const entry = reading.directory.find(name);
        if (!entry)
            return reading.refuse(QStringLiteral("the variable \"%1\" is missing").arg(name));
        if (!entry->isMatrix() || entry->matClass != first.matClass)
            return reading.refuse(QStringLiteral("the variable \"%1\" is not like the first plane").arg(name));
        laterPlanes.push_back(entry);
    }
    return readPlanes(reading, first, laterPlanes, ep::LayoutPlanar, image);
}

void rebuildMosaic(ep::ExBayerGrid grid, ep::SxImageBuf& image)
{
    constexpr qint32 largestPlane = std::numeric_limits<qint32>::max() / 2;
    ep::CxScopedBuffer mosaic(image);
    mosaic->stride = 0;
    mosaic->channels = 1;
    mosaic->layout = ep::LayoutPacked;
    mosaic->bayerGrid = grid;
    const bool fits = image.width <= largestPlane && image.height <= largestPlane;
    if (fits) {
        mosaic->width *= 2;
        mosaic->height *= 2;
    }
    if (!fits || ep::failed(mosaic.allocate()) || ep::failed(ep::ConvertPlanarRawToRaw(image, mosaic.image(), grid))) {
        logCritical(QStringLiteral("Failed to convert the image to RAW."));
        return;
    }
    ep::FreeBuffer(image);
    image = mosaic.take();
}

// The depth that the source declared counts where it is larger than what the samples show and fits their type.
void raiseBitDepth(qint32 declared, ep::SxImageBuf& image)
{
    const bool fits8 = image.dataType == ep::DataTypeUInt8 && declared >= 1 && declared <= 8;
    const bool fits16 = image.dataType == ep::DataTypeUInt16 && declared >= 9 && declared <= 16;
    if (fits8 || fits16)
        image.bitDepth = std::max(image.bitDepth, declared);
}

// Undoes what writing did to the image, as far as the metadata tells.
void restore(const ep::CxMetadata& metadata, ep::SxImageBuf& image)
{
    if (image.dataType == ep::DataTypeUInt16)
        ep::DetectColorBitDepth(image, image.bitDepth);
    const auto* layout = findItem<CxMatlabImageMetadata>(metadata);
    if (layout && layout->reverseRows)
        ep::ReverseRowOrder(image);
    const auto* common = findItem<ep::CxCommonImageMetadata>(metadata);
    if (!common)
        return;
    const bool wasMosaic = common->bayerGrid <= ep::BayerGridGRBG && common->layout == ep::LayoutPacked;
    if (wasMosaic && image.channels == colourPlanes && image.layout == ep::LayoutPlanar)
        rebuildMosaic(static_cast<ep::ExBayerGrid>(common->bayerGrid), image);
    raiseBitDepth(common->colorBitDepth, image);
}

// Files of this library by their metadata, any other file by its first matrix unless a name was given.
bool readOwnOrForeign(Reading& reading, ep::SxImageBuf& image, ep::CxMetadata* result)
{
    ep::CxMetadata metadata;
    const qint32 channels = readChannelCount(reading, metadata, result);
    if (channels != 0) {
        const QString name = numberedPlaneName(reading.baseName, 0);
        MatEntry* const first = reading.directory.find(name);
        if (!first)
            return reading.refuse(QStringLiteral("the variable \"%1\" is missing").arg(name));
        if (!first->isMatrix()) {
            reading.refuse(QStringLiteral("the variable \"%1\" is not two-dimensional").arg(name));
            return true;
        }
        if (!readOwnPlanes(reading, *first, channels, image))
            return false;
    } else if (!reading.variable.isEmpty()) {
        return readMatVariable(reading.directory, reading.variable, reading.limit, image, reading.error);
    } else if (MatEntry* const first = reading.directory.firstMatrix()) {
        if (!readPlanes(reading, *first, {}, ep::LayoutPacked, image))
            return false;
    } else {
        reading.refuse(QStringLiteral("there is no two-dimensional array of numbers"));
    }
    restore(metadata, image);
    return true;
}

// An array by its own name. A plane of ours comes upright, as it would as part of its image.
bool readArray(Reading& reading, ep::SxImageBuf& image)
{
    if (!readMatVariable(reading.directory, reading.variable, reading.limit, image, reading.error))
        return false;
    ep::CxMetadata metadata;
    if (image.channels == 1 && reading.variable.contains(QStringLiteral("_channel_")))
        readChannelCount(reading, metadata, nullptr);
    restore(metadata, image);
    return true;
}

bool readNamed(Reading& reading, ep::SxImageBuf& image, ep::CxMetadata* metadata)
{
    if (reading.directory.find(reading.variable) || !reading.directory.find(numberedPlaneName(reading.variable, 0)))
        return readArray(reading, image);
    reading.baseName = reading.variable;
    return readOwnOrForeign(reading, image, metadata);
}

}  // namespace

bool readMatImage(const QString& path, const ReadMatOptions& options, ep::SxImageBuf& image, bool& isEntropy,
                  ep::CxMetadata* metadata, ep::SxFileError& error)
{
    isEntropy = false;
    error = ep::SxFileError();
    MatDirectory directory;
    const qint64 limit = options.memoryLimit > 0 ? options.memoryLimit : ep::internal::defaultMemoryLimit();
    if (!directory.open(path, readableNames(options), limit, error)) {
        ep::FreeBuffer(image);
        return false;
    }
    const bool isNamed = !options.variable.isEmpty();
    const QString prefix = isNamed ? QString() : entropyPrefix(directory);
    if (!prefix.isEmpty()) {
        isEntropy = readEntropyPlanes(directory, prefix, limit, image, error);
        return isEntropy;
    }
    Reading reading{directory, options.baseName, options.variable, limit, error};
    const bool isRead = isNamed ? readNamed(reading, image, metadata) : readOwnOrForeign(reading, image, metadata);
    if (!isRead)
        ep::FreeBuffer(image);
    return isRead;
}

}  // namespace matlab
}  // namespace orn

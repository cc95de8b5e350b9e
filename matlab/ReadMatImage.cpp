#include "ReadMatImage.h"

#include "CriticalLog.h"
#include "EntropyPlanes.h"
#include "MatImageAllocation.h"
#include "MatMetadata.h"
#include "MatMosaic.h"
#include "MatRestoration.h"
#include "MatSampleTypes.h"
#include "ReadMatVariable.h"

#include <ep/CxImageFormatManager.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/MosaicCell.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

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

// The planes of one image and what is to be made of them.
struct Planes {
    std::vector<MatEntry*> entries;  // in the order of the image's channels; at least one
    ep::ExImageLayout layout;
    MatRestoration restoration;
};

// The mosaic that the planes of the image @p info are read into at once, so that they never are an image of their own.
// Without storage when that is not to be, or not possible.
ep::CxScopedBuffer mosaicOf(const Reading& reading, const Planes& planes, const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer mosaic;
    const MatRestoration& restoration = planes.restoration;
    if (!restoration.isMosaic(info) || !ep::internal::isBayerGrid(restoration.grid)
        || !describeMosaic(info, restoration.grid, mosaic.image()))
        return mosaic;
    const PlaneTarget plane = {ep::sampleFacts(info.dataType).bytes, {nullptr, 0, 0, info.width, info.height}};
    const bool hasPieces = std::all_of(planes.entries.begin(), planes.entries.end(), [&](const MatEntry* entry) {
        return fillsByPieces(reading.directory, *entry, plane);
    });
    if (hasPieces && ep::failed(mosaic.allocate()))
        mosaic.reset();
    return mosaic;
}

// Plane by plane in the order of the file, which is the quickest on a disk.
bool readPlanar(Reading& reading, const Planes& planes, ep::SxImageBuf& image, quint16* bits)
{
    std::vector<qint32> order(planes.entries.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(),
              [&](qint32 a, qint32 b) { return planes.entries[size_t(a)] < planes.entries[size_t(b)]; });
    for (const qint32 plane : order) {
        const ep::internal::PlaneView view = ep::internal::planeView(image, plane);
        const PlaneTarget target = {ep::sampleFacts(image.dataType).bytes,
                                    planes.restoration.reversesRows ? view.reversedRows() : view, bits};
        if (!readIntoPlane(reading.directory, *planes.entries[size_t(plane)], reading.limit, target, reading.error))
            return false;
    }
    return true;
}

// Reads the planes into a new image that takes the place of @p image, as it was before it was written.
bool readPlanes(Reading& reading, const Planes& planes, ep::SxImageBuf& image)
{
    const MatEntry& first = *planes.entries.front();
    const MatSampleType* const type = readableSampleType(first.matClass);
    if (!type || first.isComplex)
        return reading.refuse(QStringLiteral("images of class %1%2 are not read")
                                  .arg(first.isComplex ? QStringLiteral("complex ") : QString(),
                                       matClassName(first.matClass, first.isLogical)));
    ep::CxScopedBuffer loaded(image);
    loaded->channels = static_cast<qint32>(planes.entries.size());
    loaded->layout = planes.layout;
    if (!describeImage(first, type->dataType, reading.limit, loaded.image(), reading.error))
        return false;
    quint16 bits = 0;
    quint16* const wantedBits = type->dataType == ep::DataTypeUInt16 ? &bits : nullptr;
    ep::CxScopedBuffer mosaic = mosaicOf(reading, planes, loaded.image());
    if (mosaic->data) {
        loaded = std::move(mosaic);
        if (!readIntoMosaic(reading.directory, planes.entries, loaded.image(), planes.restoration.reversesRows,
                            wantedBits, reading.error))
            return false;
    } else if (!allocateImage(loaded, reading.error) || !readPlanar(reading, planes, loaded.image(), wantedBits)) {
        return false;
    }
    planes.restoration.finish(loaded.image(), bits);
    // Without memory for the mosaic the planes stay, which is no failure, but is told.
    if (planes.restoration.isMosaic(loaded.image()) && ep::internal::isBayerGrid(planes.restoration.grid))
        reading.error = {ep::ExFileError::TooLarge, QStringLiteral("there is not enough memory for its mosaic")};
    ep::FreeBuffer(image);
    image = loaded.take();
    return true;
}

bool readOwnPlanes(Reading& reading, MatEntry& first, qint32 channels, const MatRestoration& restoration,
                   ep::SxImageBuf& image)
{
    if (channels < 1 || static_cast<size_t>(channels) > reading.directory.entries().size())
        return reading.refuse(
            QStringLiteral("the metadata names %1 planes, which the file does not hold").arg(channels));
    // Looked up before memory is asked for: the number of planes is only what a text says.
    Planes planes = {{&first}, ep::LayoutPlanar, restoration};
    for (qint32 plane = 1; plane < channels; ++plane) {
        const QString name = numberedPlaneName(reading.baseName, plane);
        MatEntry* const entry = reading.directory.find(name);
        if (!entry)
            return reading.refuse(QStringLiteral("the variable \"%1\" is missing").arg(name));
        if (!entry->isMatrix() || entry->matClass != first.matClass)
            return reading.refuse(QStringLiteral("the variable \"%1\" is not like the first plane").arg(name));
        planes.entries.push_back(entry);
    }
    return readPlanes(reading, planes, image);
}

// Files of this library by their metadata, any other file by its first matrix unless a name was given.
bool readOwnOrForeign(Reading& reading, ep::SxImageBuf& image, ep::CxMetadata* result)
{
    ep::CxMetadata metadata;
    const qint32 channels = readChannelCount(reading, metadata, result);
    const MatRestoration restoration(metadata);
    if (channels != 0) {
        const QString name = numberedPlaneName(reading.baseName, 0);
        MatEntry* const first = reading.directory.find(name);
        if (!first)
            return reading.refuse(QStringLiteral("the variable \"%1\" is missing").arg(name));
        if (!first->isMatrix()) {
            reading.refuse(QStringLiteral("the variable \"%1\" is not two-dimensional").arg(name));
            return true;
        }
        return readOwnPlanes(reading, *first, channels, restoration, image);
    }
    if (!reading.variable.isEmpty())
        return readMatVariable(reading.directory, reading.variable, reading.limit, image, reading.error);
    if (MatEntry* const first = reading.directory.firstMatrix())
        return readPlanes(reading, {{first}, ep::LayoutPacked, restoration}, image);
    // The caller's own image is taken for what was read.
    reading.refuse(QStringLiteral("there is no two-dimensional array of numbers"));
    restoration.apply(image);
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
    MatRestoration(metadata).apply(image);
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
    const qint64 limit =
        options.memoryLimit > 0 ? options.memoryLimit : ep::CxImageFormatManager::instance()->memoryLimit();
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
    // The metadata alone may be lost: the image is then not what was written.
    else if (!directory.readFailure().isEmpty())
        error = {ep::ExFileError::Unreadable, directory.readFailure()};
    return isRead;
}

}  // namespace matlab
}  // namespace orn

#include <ep/IxImageDataLoader.h>

#include <ep/AllocBuffer.h>
#include <ep/CxImageData.h>
#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/HistogramMasked.h>
#include <ep/SetChannel.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include "MosaicCell.h"

#include <algorithm>
#include <memory>
#include <new>

namespace ep {

namespace {

using internal::ConstPlaneView;
using internal::planeView;
using internal::PlaneView;

/** The image of an open loader's frame; null when there is none. */
std::unique_ptr<CxImageData> frameOf(IxImageDataLoader& loader, int frame)
{
    if (!loader.isOpen() || frame < 0 || frame >= loader.frameCount())
        return nullptr;
    std::unique_ptr<CxImageData> data(loader.imageData(frame));
    return data && internal::isSound(data->image()) ? std::move(data) : nullptr;
}

/** Which samples of an image go into a smaller one: runs of @p cell samples, @p step cells apart. */
struct SxSelection {
    QPoint corner;
    QSize size;  // of the smaller image
    QSize cell;
    int step;
};

/** The column (or row) in the larger image of column @p position of the smaller one. */
qint32 selected(qint32 position, qint32 cell, int step)
{
    return position / cell * cell * step + position % cell;
}

template <typename Sample>
void copySelection(const ConstPlaneView& from, const PlaneView& to, const SxSelection& selection)
{
    for (qint32 y = 0; y < to.height; ++y) {
        const qint32 row = selection.corner.y() + selected(y, selection.cell.height(), selection.step);
        for (qint32 x = 0; x < to.width; ++x) {
            const qint32 column = selection.corner.x() + selected(x, selection.cell.width(), selection.step);
            internal::storeSample(to.sample(x, y), internal::loadSample<Sample>(from.sample(column, row)));
        }
    }
}

/** Replaces the image of @p data by the selected samples; null when there is no memory. */
std::unique_ptr<CxImageData> cutDown(std::unique_ptr<CxImageData> data, const SxSelection& selection)
{
    const SxImageBuf& whole = data->image();
    CxScopedBuffer part(whole);
    part->width = selection.size.width();
    part->height = selection.size.height();
    part->stride = 0;
    part->bayerGrid = gridSeenFrom(whole.bayerGrid, selection.corner);
    if (failed(part.allocate()))
        return nullptr;
    for (qint32 channel = 0; channel < whole.channels; ++channel)
        internal::visitSampleSize(sampleFacts(whole.dataType).bytes, [&](auto tag) {
            using Sample = typename decltype(tag)::Type;
            copySelection<Sample>(planeView(whole, channel), planeView(part.image(), channel), selection);
        });
    CxMetadata metadata = data->metadata();
    moveMosaicOrigin(metadata, whole, selection.corner);
    data->setMetadata(std::move(metadata));
    data->setImageShallow(part.take(), data->frame(), data->timestamp(), data->dateTime());
    return data;
}

/** How many cells of @p cell samples lie in @p length samples, partial ones left out. */
qint32 cellCount(qint32 length, qint32 cell)
{
    return std::max(1, length / cell);
}

/** The smallest step at which every step-th of @p cells cells of @p cell samples fit into @p limit samples. */
int stepToFit(qint32 cells, qint32 cell, qint32 limit)
{
    const qint32 fitting = cellCount(limit, cell);
    return (cells - 1) / fitting + 1;
}

SxSelection thumbnailOf(const SxImageInfo& image, const QSize& size)
{
    // A mosaic narrower than its cell has no whole one: what there is of it is the cell then.
    const QSize cell = mosaicCell(image).boundedTo({image.width, image.height});
    const QSize cells(cellCount(image.width, cell.width()), cellCount(image.height, cell.height()));
    const int step = std::max(stepToFit(cells.width(), cell.width(), size.width()),
                              stepToFit(cells.height(), cell.height(), size.height()));
    if (step == 1 && image.width <= size.width() && image.height <= size.height())
        return {{0, 0}, {image.width, image.height}, {1, 1}, 1};
    const QSize kept((cells.width() - 1) / step + 1, (cells.height() - 1) / step + 1);
    const QSize samples(kept.width() * cell.width(), kept.height() * cell.height());
    return {{0, 0}, samples.boundedTo(size), cell, step};
}

}  // namespace

IxImageDataLoader::IxImageDataLoader(QObject* parent) : IxDataLoader(parent) {}

IxImageDataLoader::~IxImageDataLoader() = default;

IxData* IxImageDataLoader::data(int frame)
try {
    return isOpen() && frame >= 0 && frame < frameCount() ? imageData(frame) : nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}

CxImageData* IxImageDataLoader::dataRoi(const QRect& roi, int frame)
try {
    std::unique_ptr<CxImageData> data = frameOf(*this, frame);
    if (!data)
        return nullptr;
    const QRect part = roi.intersected({0, 0, data->image().width, data->image().height});
    if (roi.isEmpty() || part.isEmpty())
        return nullptr;
    return cutDown(std::move(data), {part.topLeft(), part.size(), {1, 1}, 1}).release();
} catch (const std::bad_alloc&) {
    return nullptr;
}

double IxImageDataLoader::frameRate() const
{
    return 0.0;
}

bool IxImageDataLoader::hasRandomAccess() const
{
    return true;
}

bool IxImageDataLoader::loadHistogram(int frame, CxImageHistogram& histogram)
{
    constexpr qint32 mostBits = 16;
    const std::unique_ptr<CxImageData> data = frameOf(*this, frame);
    if (!data)
        return false;
    const SxImageBuf& image = data->image();
    CxScopedBuffer mask;
    mask->width = image.width;
    mask->height = image.height;
    mask->channels = 1;
    mask->bitDepth = 8;
    mask->dataType = DataTypeUInt8;
    if (failed(mask.allocate()) || failed(SetChannel(mask.image(), 0, 1)))
        return false;
    const qint32 bits = image.bitDepth > 0 ? image.bitDepth : sampleFacts(image.dataType).bits;
    try {
        histogram.resize(image.channels, 1 << std::min(bits, mostBits));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return !failed(HistogramMasked(image, mask.image(), histogram));
}

CxImageData* IxImageDataLoader::loadThumbnail(int frame, const QSize& size)
try {
    if (size.isEmpty())
        return nullptr;
    std::unique_ptr<CxImageData> data = frameOf(*this, frame);
    if (!data)
        return nullptr;
    const SxSelection selection = thumbnailOf(data->image(), size);
    return cutDown(std::move(data), selection).release();
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool IxImageDataLoader::loadRoi(const QRect& roi, int frame, SxImageBuf& image)
{
    const std::unique_ptr<CxImageData> part(dataRoi(roi, frame));
    if (!part)
        return false;
    image = part->takeImage();
    return true;
}

bool IxImageDataLoader::loadMetadata(int frame, CxMetadata& metadata)
try {
    const std::unique_ptr<CxImageData> data = frameOf(*this, frame);
    if (data)
        metadata = data->metadata();
    return data != nullptr;
} catch (const std::bad_alloc&) {
    return false;
}

bool IxImageDataLoader::globalMetadata(CxMetadata& metadata)
{
    return loadMetadata(0, metadata);
}

}  // namespace ep

#include "MatMosaic.h"

#include <ep/CxScopedBuffer.h>
#include <ep/ExStatus.h>
#include <ep/internal/CopyPlane.h>
#include <ep/internal/MosaicCell.h>

#include <algorithm>

namespace orn {
namespace matlab {

namespace {

using ep::internal::MosaicCell;
using ep::internal::PlaneView;

// A planar image of one piece of columns of each plane, and room for a piece as the file holds it.
struct Band {
    ep::CxScopedBuffer planes;
    ep::CxScopedBuffer piece;

    bool allocate(const ep::SxImageInfo& mosaic)
    {
        const qint32 height = mosaic.height / 2;
        const qint64 columnBytes = static_cast<qint64>(height) * ep::sampleFacts(mosaic.dataType).bytes;
        planes = ep::CxScopedBuffer(mosaic);
        planes->layout = ep::LayoutPlanar;
        planes->channels = 4;
        planes->stride = 0;
        planes->height = height;
        planes->width = columnsPerPiece(columnBytes * planes->channels, mosaic.width / 2);
        piece = ep::CxScopedBuffer(planes.image());
        piece->channels = 1;
        piece->stride = 0;
        return !ep::failed(planes.allocate()) && !ep::failed(piece.allocate());
    }
    PlaneView plane(qint32 index, qint32 columns)
    {
        PlaneView view = ep::internal::planeView(planes.image(), index);
        view.width = columns;
        return view;
    }
};

void merge(Band& band, qint32 columns, const PlaneView& mosaic, ep::ExBayerGrid grid, qint32 sampleBytes)
{
    const MosaicCell cell = {2, 2, grid};
    ep::internal::copyPlanes(sampleBytes, 4, [&](qint32 i) {
        return ep::internal::PlanePair{band.plane(i, columns), cell.planeOf(mosaic, i)};
    });
}

}  // namespace

bool readIntoMosaic(MatDirectory& directory, const std::vector<MatEntry*>& planes, ep::SxImageBuf& mosaic,
                    bool isReversed, quint16* bits, ep::SxFileError& error)
{
    Band band;
    if (!band.allocate(mosaic)) {
        error = {ep::ExFileError::TooLarge, QStringLiteral("there is not enough memory for the image")};
        return false;
    }
    const qint32 sampleBytes = ep::sampleFacts(mosaic.dataType).bytes;
    const qint32 width = mosaic.width / 2;
    qint32 columns = 0;
    for (qint32 x = 0; x < width; x += columns) {
        columns = std::min(band.planes->width, width - x);
        qint32 index = 0;
        for (MatEntry* entry : planes) {
            const PlaneView view = band.plane(index++, columns);
            const PlaneTarget target = {sampleBytes, isReversed ? view.reversedRows() : view, bits};
            if (!readColumns(directory, *entry, x, target, static_cast<unsigned char*>(band.piece->data), error))
                return false;
        }
        PlaneView part = ep::internal::planeView(mosaic, 0);
        part.base = part.sample(2 * x, 0);
        part.width = 2 * columns;
        merge(band, columns, part, mosaic.bayerGrid, sampleBytes);
    }
    return true;
}

}  // namespace matlab
}  // namespace orn

#include <orn/ImagePlanes.h>

#include <ep/internal/ImageCheck.h>
#include <ep/internal/MosaicCell.h>

namespace orn {

namespace {

using ep::internal::CellPosition;
using ep::internal::MosaicCell;

bool hasGrid(const ep::SxImageInfo& image)
{
    return image.channels == 1
           && (ep::internal::isBayerGrid(image.bayerGrid)
               || (image.bayerGrid == ep::BayerGridCell && MosaicCell::of(image, image.bayerGrid).isValid()));
}

QVector<SxImagePlane> placesOf(const MosaicCell& cell)
{
    // The cells of cameras have up to 36 samples; a larger one comes from a damaged file.
    constexpr qint64 mostPlaces = 1024;
    QVector<SxImagePlane> planes;
    if (cell.planes() > mostPlaces)
        return planes;
    for (qint32 place = 0; place < cell.planes(); ++place) {
        const CellPosition first = cell.position(place);
        planes << SxImagePlane{0, first.column, first.row, cell.width, cell.height};
    }
    return planes;
}

}  // namespace

QVector<SxImagePlane> ImagePlanes(const ep::SxImageInfo& image)
{
    QVector<SxImagePlane> planes;
    if (ep::internal::checkDescription(image))
        return planes;
    if (hasGrid(image))
        return placesOf(MosaicCell::of(image, image.bayerGrid));
    for (qint32 channel = 0; channel < image.channels; ++channel)
        planes << SxImagePlane{channel, 0, 0, 1, 1};
    return planes;
}

}  // namespace orn

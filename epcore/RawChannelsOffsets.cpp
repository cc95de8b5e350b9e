#include <ep/RawChannelsOffsets.h>

#include <ep/internal/MosaicCell.h>

#include <limits>

namespace ep {

bool RawChannelsOffsets(const SxImageBuf& mosaic, qint32& red, qint32& green1, qint32& blue, qint32& green2)
{
    const qint32 bytes = sampleFacts(mosaic.dataType).bytes;
    if (!internal::isBayerGrid(mosaic.bayerGrid) || mosaic.channels != 1 || bytes == 0)
        return false;
    if (mosaic.stride > std::numeric_limits<qint32>::max() - bytes)
        return false;  // the last offset could not be told
    const auto offset = [&](qint32 plane) {
        const internal::CellPosition place = internal::bayerPosition(mosaic.bayerGrid, plane);
        return place.row * mosaic.stride + place.column * bytes;
    };
    red = offset(0);
    green1 = offset(1);
    blue = offset(2);
    green2 = offset(3);
    return true;
}

}  // namespace ep

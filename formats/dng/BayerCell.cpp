#include "BayerCell.h"

#include <ep/RawChannelsOffsets.h>

namespace ep {
namespace dng {

std::array<int, 4> bayerPlanePositions(ExBayerGrid grid)
{
    // In a mosaic of one cell of bytes, offsets are positions.
    unsigned char cell[4] = {};
    SxImageBuf mosaic = emptyImage();
    mosaic.width = mosaic.height = mosaic.stride = 2;
    mosaic.channels = 1;
    mosaic.bitDepth = 8;
    mosaic.dataType = DataTypeUInt8;
    mosaic.bayerGrid = grid;
    mosaic.data = cell;
    std::array<qint32, 4> positions = {};
    RawChannelsOffsets(mosaic, positions[0], positions[1], positions[2], positions[3]);
    return positions;
}

QString bayerColors(ExBayerGrid grid)
{
    const std::array<int, 4> positions = bayerPlanePositions(grid);
    QString colors(4, QLatin1Char('?'));
    for (int plane = 0; plane < 4; ++plane)
        colors[positions[static_cast<size_t>(plane)]] = QLatin1Char("RGBG"[plane]);
    return colors;
}

ExBayerGrid bayerGridOf(const QString& colors)
{
    for (const ExBayerGrid grid : {BayerGridBGGR, BayerGridRGGB, BayerGridGBRG, BayerGridGRBG})
        if (bayerColors(grid) == colors)
            return grid;
    return BayerGridNone;
}

}  // namespace dng
}  // namespace ep

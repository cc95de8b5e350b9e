#include "BayerCell.h"

#include <ep/internal/MosaicCell.h>

namespace ep {
namespace dng {

std::array<int, 4> bayerPlanePositions(ExBayerGrid grid)
{
    std::array<int, 4> positions = {};
    for (int plane = 0; plane < 4; ++plane) {
        const internal::CellPosition place = internal::bayerPosition(grid, plane);
        positions[static_cast<size_t>(plane)] = place.row * 2 + place.column;
    }
    return positions;
}

QString bayerColors(ExBayerGrid grid)
{
    return QLatin1String(internal::bayerLetters[grid]);
}

ExBayerGrid bayerGridOf(const QString& colors)
{
    return internal::bayerGridOf(colors.toLatin1().toStdString());
}

}  // namespace dng
}  // namespace ep

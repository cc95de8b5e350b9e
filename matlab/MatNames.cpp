#include "MatNames.h"

namespace orn {
namespace matlab {

namespace {

// A mosaic stored as one plane. Cells of other sizes have no letters, and give no name at all.
QString mosaicName(const QString& base, ep::ExBayerGrid grid)
{
    switch (grid) {
    case ep::BayerGridBGGR: return base + QStringLiteral("_BGGR");
    case ep::BayerGridRGGB: return base + QStringLiteral("_RGGB");
    case ep::BayerGridGBRG: return base + QStringLiteral("_GBRG");
    case ep::BayerGridGRBG: return base + QStringLiteral("_GRBG");
    default: return QString();
    }
}

}  // namespace

QString numberedPlaneName(const QString& base, int plane)
{
    // Not one template: a base name may itself hold a %1.
    return base + QStringLiteral("_channel_%1").arg(plane + 1);
}

QString colourPlaneName(const QString& base, int plane)
{
    static constexpr const char* colours[colourPlanes] = {"R", "G1", "B", "G2"};
    return base + QStringLiteral("_channel_") + QLatin1String(colours[plane]);
}

QString writtenPlaneName(const ep::SxImageInfo& written, const QString& base, bool raw, int plane)
{
    if (raw && written.channels == colourPlanes && written.layout == ep::LayoutPlanar)
        return colourPlaneName(base, plane);
    if (written.bayerGrid == ep::BayerGridNone || written.channels != 1)
        return numberedPlaneName(base, plane);
    return mosaicName(base, written.bayerGrid);
}

}  // namespace matlab
}  // namespace orn

#include "DngMosaic.h"

#include <dng/BayerCell.h>
#include <dng/DngPacket.h>
#include <ep/DetectColorBitDepth.h>
#include <ep/internal/CheckedSize.h>
#include <ep/internal/CommonItem.h>
#include <ep/internal/PlaneView.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ep {
namespace tiff {
namespace {

using namespace internal;

// What LibRaw takes for a picture at all, and with it most RAW developers.
constexpr qint32 leastSide = 22;
constexpr qint32 mostSide = 64000;
// Readers pass longer packets over.
constexpr int mostPacketBytes = 5000000;

bool refuse(SxFileError& error, const QString& reason)
{
    error = {ExFileError::Refused, reason};
    return false;
}

bool checkImage(const SxImageBuf& image, SxFileError& error)
{
    if (!isSound(image))
        return refuse(error, QStringLiteral("there is no image"));
    if (image.channels != 1)
        return refuse(
            error,
            QStringLiteral("DNG is written for mosaics of one channel; the image has %1 channels").arg(image.channels));
    const ExImageDataType type = image.dataType;
    if (type != DataTypeUInt8 && type != DataTypeUInt16)
        return refuse(error, QStringLiteral("DNG is written for uint8 and uint16 mosaics, not %1")
                                 .arg(QLatin1String(sampleFacts(type).name)));
    if (std::min(image.width, image.height) < leastSide || std::max(image.width, image.height) > mostSide)
        return refuse(error, QStringLiteral("RAW developers take mosaics of %1 to %2 samples per side, not %3 x %4")
                                 .arg(leastSide)
                                 .arg(mostSide)
                                 .arg(image.width)
                                 .arg(image.height));
    // The offsets of DNG have 32 bits; the metadata needs its place, too.
    constexpr qint64 mostBytes = std::numeric_limits<quint32>::max() - (qint64(64) << 20);
    if (!(CheckedSize(image.width) * image.height * sampleFacts(type).bytes).fits(mostBytes))
        return refuse(error, QStringLiteral("DNG holds at most 4 GiB"));
    return true;
}

bool describeCell(DngMosaic& mosaic, SxFileError& error)
{
    const SxImageBuf& image = *mosaic.image;
    mosaic.cellWidth = mosaic.cellHeight = 2;
    switch (image.bayerGrid) {
    case BayerGridBGGR:
    case BayerGridRGGB:
    case BayerGridGBRG:
    case BayerGridGRBG: mosaic.colors = dng::bayerColors(image.bayerGrid); return true;
    case BayerGridCell: break;
    default: return refuse(error, QStringLiteral("the image has no colour-filter grid"));
    }
    // RAW developers know no other cells than 2 x 2 and this one.
    if (image.patternWidth != 6 || image.patternHeight != 6)
        return refuse(error, QStringLiteral("DNG is written for cells of 2 x 2 and 6 x 6 samples, not %1 x %2")
                                 .arg(image.patternWidth)
                                 .arg(image.patternHeight));
    mosaic.cellWidth = mosaic.cellHeight = 6;
    mosaic.colors = mosaic.common->patternColors.toUpper();
    if (mosaic.colors.isEmpty())
        return refuse(error, QStringLiteral("the colours of the 6 x 6 cell are not known"));
    const bool isRgb = std::all_of(mosaic.colors.cbegin(), mosaic.colors.cend(),
                                   [](QChar c) { return QStringLiteral("RGB").contains(c); });
    if (mosaic.colors.size() != 36 || !isRgb)
        return refuse(error, QStringLiteral("the colours of the 6 x 6 cell are not 36 of R, G and B"));
    return true;
}

/** Black levels by cell position, from those by colour plane. */
QVector<double> cellBlackLevels(const DngMosaic& mosaic)
{
    const QVector<double>& levels = mosaic.common->blackLevels;
    // Rationals hold no negative level, and a level that is no number says nothing.
    const bool isSound = std::all_of(levels.cbegin(), levels.cend(),
                                     [](double level) { return level >= 0 && level < std::ldexp(1.0, 32); });
    const int cellSize = mosaic.cellWidth * mosaic.cellHeight;
    if (!isSound || (levels.size() != 1 && levels.size() != cellSize))
        return {};
    if (levels.size() == 1 || mosaic.image->bayerGrid == BayerGridCell)
        return levels;
    QVector<double> cell(4);
    const std::array<int, 4> positions = dng::bayerPlanePositions(mosaic.image->bayerGrid);
    for (int plane = 0; plane < 4; ++plane)
        cell[positions[static_cast<size_t>(plane)]] = levels[plane];
    return cell;
}

void settleDepth(DngMosaic& mosaic)
{
    const SxImageBuf& image = *mosaic.image;
    const qint32 bits = sampleFacts(image.dataType).bits;
    const qint32 declared = mosaic.common->colorBitDepth;
    // The record may only say how many bits its type has, or how many the samples happen to use.
    qint32 used = 1;
    DetectColorBitDepth(image, used);
    mosaic.bitDepth = std::clamp(std::max(used, declared > 0 ? declared : image.bitDepth), 1, bits);
    mosaic.whiteLevel =
        mosaic.common->whiteLevel > 0 ? mosaic.common->whiteLevel : std::ldexp(1.0, mosaic.bitDepth) - 1;
}

}  // namespace

bool describeDngMosaic(const CxImageData& data, DngMosaic& mosaic, SxFileError& error)
{
    mosaic.image = &data.image();
    const CxCommonImageMetadata* item = internal::findCommonItem(data.metadata());
    mosaic.common.reset(item ? static_cast<CxCommonImageMetadata*>(item->clone()) : new CxCommonImageMetadata);
    if (!checkImage(*mosaic.image, error) || !describeCell(mosaic, error))
        return false;
    mosaic.blackLevels = cellBlackLevels(mosaic);
    settleDepth(mosaic);
    SxImageInfo info = *mosaic.image;
    info.bitDepth = mosaic.bitDepth;
    mosaic.packet = dng::writeDngPacket(info, data.metadata());
    if (mosaic.packet.size() > mostPacketBytes)
        return refuse(error, QStringLiteral("the metadata is too long for DNG"));
    return true;
}

}  // namespace tiff
}  // namespace ep

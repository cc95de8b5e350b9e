#include "WriteDngTags.h"

#include "WriteTiffMetadata.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ep {
namespace tiff {
namespace {

constexpr quint16 illuminantD65 = 21;

// XYZ (D65) to linear sRGB: with it and equal multipliers, colours come out as the samples have them.
const QVector<double> neutralMatrix{3.2406, -1.5372, -0.4986, -0.9689, 1.8758, 0.0415, 0.0557, -0.2040, 1.0570};

bool setFloats(TiffFile& file, uint32_t tag, const QVector<double>& values)
{
    QVector<float> floats;
    for (const double value : values)
        floats.append(static_cast<float>(value));
    return file.set(tag, static_cast<int>(floats.size()), floats.constData());
}

bool setVersion(TiffFile& file, const DngMosaic& mosaic)
{
    const quint8 version[4] = {1, 4, 0, 0};
    const quint8 readable[4] = {1, quint8(mosaic.isDeflated ? 4 : 1), 0, 0};
    const QString model = (mosaic.common->cameraMake + QLatin1Char(' ') + mosaic.common->cameraModel).simplified();
    const QByteArray name = model.isEmpty() ? QByteArrayLiteral("Unknown camera") : model.toUtf8();
    return file.set(TIFFTAG_DNGVERSION, version) && file.set(TIFFTAG_DNGBACKWARDVERSION, readable)
           && file.set(TIFFTAG_UNIQUECAMERAMODEL, name.constData());
}

bool setCell(TiffFile& file, const DngMosaic& mosaic)
{
    const quint16 repeat[2] = {quint16(mosaic.cellHeight), quint16(mosaic.cellWidth)};
    QByteArray pattern;
    for (const QChar color : mosaic.colors)
        pattern.append(static_cast<char>(QStringLiteral("RGB").indexOf(color)));
    const quint8 planes[3] = {0, 1, 2};
    constexpr int rectangular = 1;
    return file.set(TIFFTAG_CFAREPEATPATTERNDIM, repeat)
           && file.set(TIFFTAG_CFAPATTERN, int(pattern.size()), pattern.constData())
           && file.set(TIFFTAG_CFAPLANECOLOR, 3, planes) && file.set(TIFFTAG_CFALAYOUT, rectangular);
}

bool setLevels(TiffFile& file, const DngMosaic& mosaic)
{
    if (!mosaic.blackLevels.isEmpty()) {
        const bool isOne = mosaic.blackLevels.size() == 1;
        const quint16 repeat[2] = {quint16(isOne ? 1 : mosaic.cellHeight), quint16(isOne ? 1 : mosaic.cellWidth)};
        if (!file.set(TIFFTAG_BLACKLEVELREPEATDIM, repeat) || !setFloats(file, TIFFTAG_BLACKLEVEL, mosaic.blackLevels))
            return false;
    }
    constexpr double most = std::numeric_limits<quint32>::max();
    const auto white = static_cast<quint32>(std::clamp(std::ceil(mosaic.whiteLevel), 1.0, most));
    return file.set(TIFFTAG_WHITELEVEL, 1, &white);
}

bool setColors(TiffFile& file, const CxCommonImageMetadata& common)
{
    QVector<double> neutral;
    for (const double factor : common.whiteBalance)
        neutral.append(1 / factor);
    const auto isUsable = [](double value) { return std::isfinite(value) && value > 1e-6 && value < 1e6; };
    if (neutral.size() != 3 || !std::all_of(neutral.cbegin(), neutral.cend(), isUsable))
        neutral = {1, 1, 1};
    QVector<double> matrix = common.colorMatrix;
    const auto isNumber = [](double value) { return std::isfinite(value) && std::abs(value) < 1e6; };
    if (matrix.size() != 9 || !std::all_of(matrix.cbegin(), matrix.cend(), isNumber))
        matrix = neutralMatrix;
    return setFloats(file, TIFFTAG_COLORMATRIX1, matrix) && file.set(TIFFTAG_CALIBRATIONILLUMINANT1, illuminantD65)
           && setFloats(file, TIFFTAG_ASSHOTNEUTRAL, neutral);
}

}  // namespace

bool writeDngTags(TiffFile& file, const DngMosaic& mosaic)
{
    quint64 exif = 0;
    return writeExifDirectory(file, *mosaic.common, exif) && (exif == 0 || file.set(TIFFTAG_EXIFIFD, exif))
           && setCommonTags(file, *mosaic.common) && setVersion(file, mosaic) && setCell(file, mosaic)
           && setLevels(file, mosaic) && setColors(file, *mosaic.common)
           && file.set(TIFFTAG_XMLPACKET, int(mosaic.packet.size()), mosaic.packet.constData());
}

}  // namespace tiff
}  // namespace ep

/**
 * @file
 * Captures and photographs as a camera makes them, for tests that write and read files.
 */
#pragma once

#include "TestImages.h"

#include <ep/epcore.h>

#include <QString>
#include <QStringList>

#include <cmath>

namespace testing {

/** The X-Trans cell, row by row. */
inline QString xTransColors()
{
    return QStringLiteral("GGRGGB"
                          "GGBGGR"
                          "BRGRBG"
                          "GGBGGR"
                          "GGRGGB"
                          "RBGBRG");
}

/** A mosaic of @p bits bits under @p grid; grid 5 is the X-Trans cell. */
inline ep::CxScopedBuffer cameraMosaic(ep::ExBayerGrid grid, int width, int height, int bits = 14, quint32 seed = 1)
{
    auto mosaic = randomImage(describe(ep::DataTypeUInt16, width, height), seed);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            setSample<quint16>(mosaic.image(), x, y, 0,
                               quint16(sampleAt<quint16>(mosaic.image(), x, y) >> (16 - bits)));
    // The largest value makes the depth certain, which readers find from the samples.
    setSample<quint16>(mosaic.image(), width / 2, height / 2, 0, quint16((1 << bits) - 1));
    mosaic->bitDepth = bits;
    mosaic->bayerGrid = grid;
    mosaic->patternWidth = grid == ep::BayerGridNone ? 0 : grid == ep::BayerGridCell ? 6 : 2;
    mosaic->patternHeight = mosaic->patternWidth;
    return mosaic;
}

/** What a camera says of such a capture. */
inline ep::CxMetadata cameraMetadata(const ep::SxImageInfo& mosaic)
{
    const QStringList colors{
        QStringLiteral("BGGR"), QStringLiteral("RGGB"), QStringLiteral("GBRG"), QStringLiteral("GRBG"), QString(),
        xTransColors()};
    auto* common = new ep::CxCommonImageMetadata;
    common->bayerGrid = mosaic.bayerGrid;
    common->patternWidth = mosaic.patternWidth;
    common->patternHeight = mosaic.patternHeight;
    common->patternColors = colors[mosaic.bayerGrid];
    common->colorBitDepth = mosaic.bitDepth;
    common->blackLevels = {512};
    common->whiteLevel = std::ldexp(1.0, mosaic.bitDepth) - 1;
    common->cameraMake = QStringLiteral("Make");
    common->cameraModel = QStringLiteral("Model 7");
    common->exposureTime = 0.004;
    common->iso = 200;
    common->aperture = 5.6;
    ep::CxMetadata metadata;
    metadata.addMetadata(common);
    return metadata;
}

/** The common item of @p metadata; null when there is none. */
inline const ep::CxCommonImageMetadata* commonItem(const ep::CxMetadata& metadata)
{
    return qobject_cast<const ep::CxCommonImageMetadata*>(
        metadata.findItem(ep::CxCommonImageMetadata::staticMetaObject));
}

}  // namespace testing

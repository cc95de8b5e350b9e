// A mosaic as a camera gives it.
#pragma once

#include <ep/epcore.h>

#include <cstring>
#include <random>

/** Twelve noisy bits over a gradient from left to right. */
inline ep::CxScopedBuffer noisyMosaic(int width, int height)
{
    ep::CxScopedBuffer mosaic;
    mosaic->width = width;
    mosaic->height = height;
    mosaic->channels = 1;
    mosaic->bitDepth = 12;
    mosaic->dataType = ep::DataTypeUInt16;
    mosaic->bayerGrid = ep::BayerGridRGGB;
    mosaic->patternWidth = mosaic->patternHeight = 2;
    if (ep::failed(mosaic.allocate()))
        return mosaic;
    std::mt19937 random(1);
    auto* row = static_cast<char*>(mosaic->data);
    for (int y = 0; y < height; ++y, row += mosaic->stride)
        for (int x = 0; x < width; ++x) {
            const auto sample = static_cast<quint16>(unsigned(x) * 3000 / unsigned(width) + (random() & 63));
            std::memcpy(row + 2 * x, &sample, sizeof(sample));
        }
    return mosaic;
}

/**
 * @file
 * Images for formats: every sample is a number that its type and depth can hold.
 */
#pragma once

#include "TestImages.h"

namespace testing {

/** Noise in integers of @p bits bits; in floats, fractions that differ from sample to sample. */
inline ep::CxScopedBuffer noise(ep::ExImageDataType type, int bits, int channels,
                                ep::ExImageLayout layout = ep::LayoutPacked)
{
    constexpr int columns = 67;
    constexpr int rows = 45;
    constexpr int paddingBytes = 3;
    ep::CxScopedBuffer image = randomImage(describe(type, columns, rows, channels, layout, paddingBytes));
    image->bitDepth = bits;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            for (int c = 0; c < channels; ++c) {
                const double number = (x * 45.0 + y * 3.0 + c) / 7;
                if (type == ep::DataTypeFloat)
                    setSample(image.image(), x, y, c, static_cast<float>(number));
                else if (type == ep::DataTypeDouble)
                    setSample(image.image(), x, y, c, number);
                else if (type == ep::DataTypeUInt16)
                    setSample(image.image(), x, y, c,
                              static_cast<quint16>(sampleAt<quint16>(image.image(), x, y, c) >> (16 - bits)));
            }
    return image;
}

}  // namespace testing

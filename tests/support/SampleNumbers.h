/**
 * @file
 * Samples of any type as numbers, for references that tests compare with.
 */
#pragma once

#include "TestImages.h"

#include <cmath>

namespace testing {

/** The sample as a number, by a switch of its own. */
inline long double numberOf(const ep::SxImageBuf& image, int x, int y, int c = 0)
{
    switch (image.dataType) {
    case ep::DataTypeInt8: return sampleAt<qint8>(image, x, y, c);
    case ep::DataTypeUInt8: return sampleAt<quint8>(image, x, y, c);
    case ep::DataTypeInt16: return sampleAt<qint16>(image, x, y, c);
    case ep::DataTypeUInt16: return sampleAt<quint16>(image, x, y, c);
    case ep::DataTypeInt32: return sampleAt<qint32>(image, x, y, c);
    case ep::DataTypeUInt32: return sampleAt<quint32>(image, x, y, c);
    case ep::DataTypeFloat: return static_cast<long double>(sampleAt<float>(image, x, y, c));
    case ep::DataTypeDouble: return static_cast<long double>(sampleAt<double>(image, x, y, c));
    case ep::DataTypeInt64: return sampleAt<qint64>(image, x, y, c);
    case ep::DataTypeUInt64: return sampleAt<quint64>(image, x, y, c);
    default: qFatal("no numbers");
    }
}

/** Sets a sample to a number that its type holds. */
inline void setNumber(ep::SxImageBuf& image, int x, int y, int c, double value)
{
    const auto whole = static_cast<qint64>(value);
    switch (ep::sampleFacts(image.dataType).bytes) {
    case 1: return setSample(image, x, y, c, static_cast<quint8>(whole));
    case 2: return setSample(image, x, y, c, static_cast<quint16>(whole));
    case 4:
        return image.dataType == ep::DataTypeFloat ? setSample(image, x, y, c, static_cast<float>(value))
                                                   : setSample(image, x, y, c, static_cast<quint32>(whole));
    default:
        return image.dataType == ep::DataTypeDouble ? setSample(image, x, y, c, value)
                                                    : setSample(image, x, y, c, static_cast<quint64>(whole));
    }
}

inline bool isReal(ep::ExImageDataType type)
{
    return type == ep::DataTypeFloat || type == ep::DataTypeDouble;
}

/** A random image whose samples are numbers: any integers, and real ones of a modest size. */
inline ep::CxScopedBuffer numbers(const ep::SxImageInfo& info, quint32 seed = 1)
{
    auto image = randomImage(info, seed);
    std::mt19937 random(seed + 1);
    for (int c = 0; isReal(info.dataType) && c < info.channels; ++c)
        for (int y = 0; y < info.height; ++y)
            for (int x = 0; x < info.width; ++x)
                setNumber(image.image(), x, y, c, random() / 65536.0 - 30000);
    return image;
}

}  // namespace testing

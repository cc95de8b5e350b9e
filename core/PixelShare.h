/**
 * @file
 * Percentages of the pixels of an image.
 */
#pragma once

#include <ep/SxImageBuf.h>

namespace orn {

/**
 * How many pixels @p percent (0 to 100) of @p image are, rounded towards zero. The product of width and height is one
 * of signed 32 bits: from 2^31 pixels on it wraps, and the share can be negative.
 */
inline qint64 pixelShare(const ep::SxImageInfo& image, double percent)
{
    const auto wrapped = static_cast<qint32>(static_cast<quint32>(image.width) * static_cast<quint32>(image.height));
    return static_cast<qint64>(wrapped * percent / 100);
}

}  // namespace orn

/**
 * @file
 * How far apart two samples are.
 */
#pragma once

#include <ep/SxImageBuf.h>

#include <cmath>
#include <limits>

namespace orn {

/** True for integers that a double cannot hold exactly. */
inline bool needsLongDouble(const ep::SxImageInfo& image)
{
    return image.dataType == ep::DataTypeInt64 || image.dataType == ep::DataTypeUInt64;
}

/** |a - b|. Two NaNs are equal; a NaN is infinitely far from a number. */
template <typename Real>
Real sampleDistance(Real a, Real b)
{
    if (a == b || (std::isnan(a) && std::isnan(b)))
        return 0;
    const Real distance = std::fabs(a - b);
    return std::isnan(distance) ? std::numeric_limits<Real>::infinity() : distance;
}

}  // namespace orn

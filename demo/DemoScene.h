/**
 * @file
 * What the demonstration camera looks at.
 */
#pragma once

#include <array>

namespace demo {

/** Linear light in red, green and blue (sRGB primaries); 1 is a sunlit white. */
using Color = std::array<double, 3>;

/** Width of the scene, whose height is 1. */
constexpr double sceneWidth = 1.5;

/**
 * The light from the place @p x to the right of the left edge and @p y below the upper one: a red-roofed house with a
 * yellow sun in the sky left of it and a flag with the letter F right of it, on a meadow, above a row of colour
 * patches. Nothing in it is symmetric, so that a picture that is turned, mirrored or has its colours exchanged shows
 * it.
 */
Color sceneLight(double x, double y);

}  // namespace demo

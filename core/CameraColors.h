/**
 * @file
 * From a camera's colours to those of a screen.
 */
#pragma once

#include <QVector>

#include <array>
#include <vector>

namespace orn {

/** A 3 x 3 matrix, row by row. */
using ColorMatrix = std::array<double, 9>;

/**
 * The matrix from white-balanced camera RGB to linear sRGB, for a camera whose response to XYZ (D65) is the 3 x 3
 * matrix @p cameraFromXyz, row by row. Grey stays grey: every row of the response to sRGB is scaled to the sum 1 before
 * it is inverted, since the white balance has already made white equal in all channels.
 * @return false when there is no such matrix
 */
bool screenFromCamera(const QVector<double>& cameraFromXyz, ColorMatrix& matrix);

/** Multiplies every triple of @p samples by @p matrix. */
void applyColorMatrix(const ColorMatrix& matrix, std::vector<float>& samples);

}  // namespace orn

#include "CameraColors.h"

#include <cmath>
#include <cstddef>

namespace orn {

namespace {

/** Linear sRGB to XYZ (D65), IEC 61966-2-1. */
constexpr ColorMatrix xyzFromScreen = {0.4124, 0.3576, 0.1805, 0.2126, 0.7152, 0.0722, 0.0193, 0.1192, 0.9505};

std::size_t at(int row, int column)
{
    return static_cast<std::size_t>(row % 3 * 3 + column % 3);
}

ColorMatrix product(const ColorMatrix& a, const ColorMatrix& b)
{
    ColorMatrix result{};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            for (int i = 0; i < 3; ++i)
                result[at(row, column)] += a[at(row, i)] * b[at(i, column)];
    return result;
}

bool scaleRowsToOne(ColorMatrix& matrix)
{
    for (int row = 0; row < 3; ++row) {
        const double sum = matrix[at(row, 0)] + matrix[at(row, 1)] + matrix[at(row, 2)];
        if (!(std::fabs(sum) > 1e-9))
            return false;
        for (int column = 0; column < 3; ++column)
            matrix[at(row, column)] /= sum;
    }
    return true;
}

/** By cofactors; with indices modulo 3 their signs come by themselves. */
bool invert(const ColorMatrix& m, ColorMatrix& inverse)
{
    const auto cofactor = [&](int row, int column) {
        return m[at(row + 1, column + 1)] * m[at(row + 2, column + 2)]
               - m[at(row + 1, column + 2)] * m[at(row + 2, column + 1)];
    };
    const double determinant = m[0] * cofactor(0, 0) + m[1] * cofactor(0, 1) + m[2] * cofactor(0, 2);
    if (!(std::fabs(determinant) > 1e-9))
        return false;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            inverse[at(column, row)] = cofactor(row, column) / determinant;
    return true;
}

}  // namespace

bool screenFromCamera(const QVector<double>& cameraFromXyz, ColorMatrix& matrix)
{
    if (cameraFromXyz.size() != 9)
        return false;
    ColorMatrix camera{};
    for (std::size_t i = 0; i < camera.size(); ++i)
        camera[i] = cameraFromXyz[static_cast<int>(i)];
    ColorMatrix response = product(camera, xyzFromScreen);
    return scaleRowsToOne(response) && invert(response, matrix);
}

void applyColorMatrix(const ColorMatrix& matrix, std::vector<float>& samples)
{
    std::array<float, 9> m{};
    for (std::size_t i = 0; i < m.size(); ++i)
        m[i] = static_cast<float>(matrix[i]);
    for (std::size_t i = 0; i + 2 < samples.size(); i += 3) {
        const float r = samples[i];
        const float g = samples[i + 1];
        const float b = samples[i + 2];
        for (std::size_t row = 0; row < 3; ++row)
            samples[i + row] = m[3 * row] * r + m[3 * row + 1] * g + m[3 * row + 2] * b;
    }
}

}  // namespace orn

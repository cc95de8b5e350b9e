#include "DemoScene.h"

#include <algorithm>

namespace demo {
namespace {

struct Rectangle {
    double left, top, right, bottom;

    bool contains(double x, double y) const { return x >= left && x < right && y >= top && y < bottom; }
};

constexpr Color white{0.90, 0.90, 0.90};
constexpr Color red{0.45, 0.03, 0.02};
constexpr Color wall{0.75, 0.62, 0.40};
constexpr Color wood{0.10, 0.05, 0.02};
constexpr Color pane{0.20, 0.40, 0.60};
constexpr Color pole{0.25, 0.25, 0.25};
constexpr Color sun{1.00, 0.80, 0.10};

constexpr Color patches[] = {{0.45, 0.02, 0.02}, {0.02, 0.30, 0.03}, {0.02, 0.04, 0.40}, {0.70, 0.60, 0.02},
                             {0.45, 0.05, 0.35}, {0.02, 0.35, 0.45}, {0.90, 0.90, 0.90}, {0.60, 0.60, 0.60},
                             {0.36, 0.36, 0.36}, {0.18, 0.18, 0.18}, {0.09, 0.09, 0.09}, {0.03, 0.03, 0.03}};

Color mix(const Color& a, const Color& b, double part)
{
    Color color{};
    for (size_t i = 0; i < color.size(); ++i)
        color[i] = a[i] + (b[i] - a[i]) * part;
    return color;
}

bool inCircle(double x, double y, double centreX, double centreY, double radius)
{
    return (x - centreX) * (x - centreX) + (y - centreY) * (y - centreY) < radius * radius;
}

Color background(double x, double y)
{
    const double hill = 0.62 - 0.10 * (x - 0.5) * (x - 0.5) + 0.05 * x;
    if (y > hill)
        return mix({0.10, 0.35, 0.04}, {0.05, 0.18, 0.02}, std::min((y - hill) / 0.3, 1.0));
    if (inCircle(x, y, 0.25, 0.20, 0.09))
        return sun;
    return mix({0.08, 0.22, 0.65}, {0.55, 0.70, 0.90}, y / 0.65);
}

/** Paints the house where it stands. */
void paintHouse(double x, double y, Color& color)
{
    const Rectangle walls{0.55, 0.45, 0.95, 0.75};
    const Rectangle door{0.62, 0.57, 0.70, 0.75};
    const Rectangle window{0.78, 0.52, 0.89, 0.62};
    const Rectangle chimney{0.83, 0.22, 0.88, 0.40};
    const double roofHalf = (y - 0.25) * 1.2;
    if (chimney.contains(x, y))
        color = wood;
    if (y >= 0.25 && y < 0.45 && x >= 0.75 - roofHalf && x < 0.75 + roofHalf)
        color = red;
    if (walls.contains(x, y))
        color = wall;
    if (door.contains(x, y))
        color = wood;
    if (window.contains(x, y))
        color = pane;
}

/** Paints the flag, whose letter tells left from right and top from bottom. */
void paintFlag(double x, double y, Color& color)
{
    if (Rectangle{1.14, 0.18, 1.16, 0.76}.contains(x, y))
        color = pole;
    if (!Rectangle{1.16, 0.20, 1.40, 0.48}.contains(x, y))
        return;
    const Rectangle letter[] = {{1.22, 0.23, 1.255, 0.45}, {1.22, 0.23, 1.35, 0.265}, {1.22, 0.32, 1.32, 0.355}};
    const bool isLetter =
        std::any_of(std::begin(letter), std::end(letter), [&](const Rectangle& bar) { return bar.contains(x, y); });
    color = isLetter ? red : white;
}

void paintPatches(double x, double y, Color& color)
{
    constexpr int count = sizeof(patches) / sizeof(patches[0]);
    constexpr double side = 0.10;
    constexpr double left = (sceneWidth - count * side) / 2;
    const double place = (x - left) / side;
    if (y < 0.84 || y >= 0.95 || place < 0 || place >= count)
        return;
    const auto patch = static_cast<int>(place);
    // A dark gap between two patches.
    color = place - patch < 0.92 ? patches[patch] : Color{0.01, 0.01, 0.01};
}

}  // namespace

Color sceneLight(double x, double y)
{
    Color color = background(x, y);
    paintHouse(x, y, color);
    paintFlag(x, y, color);
    paintPatches(x, y, color);
    return color;
}

}  // namespace demo

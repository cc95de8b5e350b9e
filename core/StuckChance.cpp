#include "StuckChance.h"

#include <cmath>
#include <limits>

namespace orn {

namespace {

const double rootOfTwo = std::sqrt(2.0);

/** Part of the normal numbers that lie below @p x. */
double below(double x)
{
    return std::erfc(-x / rootOfTwo) / 2;
}

}  // namespace

double expectedRange(int count)
{
    if (count < 2)
        return 0;
    // The integral of 1 - below^n - (1 - below)^n, which is even, from 0 to where nothing is left.
    constexpr double end = 9;
    constexpr int steps = 4500;
    double sum = 0;
    for (int i = 0; i < steps; ++i) {
        const double part = below((i + 0.5) * end / steps);
        sum += 1 - std::pow(part, count) - std::pow(1 - part, count);
    }
    return 2 * sum * end / steps;
}

double sameByChance(double noise, int frames)
{
    if (!(noise > 0) || frames < 2)
        return 1;
    double sum = 0;
    // Values further off than nine sigma add nothing that a double holds.
    const double last = std::ceil(9 * noise) + 1;
    if (last > 1000)  // the sum has become an integral
        return std::pow(noise * std::sqrt(2 * M_PI), 1.0 - frames) / std::sqrt(double(frames));
    for (double k = -last; k <= last; ++k)
        sum += std::pow(below((k + 0.5) / noise) - below((k - 0.5) / noise), frames);
    return sum;
}

double noiseThatTellsStuck(int frames, double pixels, double expected)
{
    double high = 1e12;
    if (!(sameByChance(high, frames) * pixels < expected))
        return std::numeric_limits<double>::infinity();
    double low = 0;
    for (int i = 0; i < 100; ++i) {
        const double middle = low == 0 ? high / 16 : (low + high) / 2;
        if (sameByChance(middle, frames) * pixels < expected)
            high = middle;
        else
            low = middle;
    }
    return high;
}

}  // namespace orn

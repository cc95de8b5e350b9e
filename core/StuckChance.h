/**
 * @file
 * How likely a sound pixel shows one value in every frame.
 */
#pragma once

namespace orn {

/** Expected difference of the largest and the smallest of @p count normal numbers of sigma 1; 0 for fewer than two. */
double expectedRange(int count);

/**
 * Probability that @p frames samples with normal noise of @p noise quantisation steps, around the middle of a step,
 * come out as the same value: the sum over the values k of p_k^frames. Nowhere else is it larger.
 */
double sameByChance(double noise, int frames);

/**
 * The noise, in quantisation steps, from which on fewer than @p expected of @p pixels pixels are expected to show the
 * same value in @p frames frames; infinite when no noise is enough.
 */
double noiseThatTellsStuck(int frames, double pixels, double expected);

}  // namespace orn

/**
 * @file
 * The defects of one colour plane.
 */
#pragma once

#include "FrameStack.h"

#include <orn/CxDefectSearch.h>

namespace orn {

/**
 * Judges the samples of @p plane of @p stack.
 * @param kinds  one byte per sample of the plane: gets the ExDefectKind of those that are defective, the rest keep
 * theirs
 * @param answer  samples, background, noise and counts are filled
 * @return false for flat frames without light
 */
bool judgePlane(const FrameStack& stack, const SxImagePlane& plane, const SxDefectLimits& limits,
                const ep::internal::PlaneView& kinds, SxDefectPlane& answer);

}  // namespace orn

/**
 * @file
 * A picture of where an image was repaired.
 */
#pragma once

#include "PictureFile.h"

#include <orn/orn_core.h>

/**
 * Draws @p picture as `orn preview` does, upright, with the pixels of @p repaired marked.
 * @return false, with @p error set, when it cannot be drawn
 */
bool drawRepairOverlay(const Picture& picture, const QVector<orn::SxRepairedSample>& repaired,
                       ep::CxScopedBuffer& overlay, ep::SxFileError& error);

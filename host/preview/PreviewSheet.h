/**
 * @file
 * Many images on one picture.
 */
#pragma once

#include "PreviewRequest.h"

/** Draws a grid of previews with their file names; a DrawPreview. */
ExitCode drawContactSheet(const PreviewRequest& request, Output& output);

/**
 * @file
 * The histogram of an image as a picture.
 */
#pragma once

#include "PreviewRequest.h"

/** Draws a plot per channel or colour, as PNG, SVG or PDF; a DrawPreview. */
ExitCode drawHistogram(const PreviewRequest& request, Output& output);

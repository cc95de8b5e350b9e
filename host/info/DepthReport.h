/**
 * @file
 * What is to be said of the bits of an image's samples.
 */
#pragma once

#include "Facts.h"

#include <ep/epcore.h>

/**
 * The bits of the container, the declared ones and those in use, and where in the container these lie. Reads the whole
 * image. @p common may be null.
 */
Facts depthFacts(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common);

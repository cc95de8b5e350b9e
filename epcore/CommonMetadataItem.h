/**
 * @file
 * The common item of a metadata container.
 */
#pragma once

#include <ep/SxImageBuf.h>

namespace ep {

class CxCommonImageMetadata;
class CxMetadata;

/** The first common item of @p metadata; where there is none, a new one that describes the layout of @p image. */
CxCommonImageMetadata& commonItem(CxMetadata& metadata, const SxImageInfo& image);

}  // namespace ep

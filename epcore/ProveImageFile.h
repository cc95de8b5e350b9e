/**
 * @file
 * Whether a written file holds the image that was to be written.
 */
#pragma once

#include "ReadImageFile.h"

#include <ep/SxImageBuf.h>

namespace ep {

class IxImageDataSaver;

/**
 * Compares the file of @p request with @p image, which @p saver has just written to it without a complaint:
 * - its size with what the saver expects, where it knows that;
 * - its samples, or only its description when the saver's property "lossy" is true, by reading it back.
 * A file of exactly the expected size that no loader serves is taken as it is.
 *
 * @return the reason when it is not that image
 */
SxFileError proveImageFile(FormatCatalog& catalog, const SxReadRequest& request, const SxImageBuf& image,
                           const IxImageDataSaver& saver);

}  // namespace ep

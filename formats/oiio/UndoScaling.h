/**
 * @file
 * Samples of fewer bits than their type.
 */
#pragma once

#include <ep/SxImageBuf.h>

namespace ep {
namespace oiio {

/**
 * Brings an unsigned image of samples that had @p bits bits in the file, and were scaled up to their whole type, back
 * to the numbers of the file, and sets its bitDepth. Scaling repeats the bits:
 * @verbatim
 *   12 bits  abcdefghijkl   16 bits  abcdefghijklabcd
 * @endverbatim
 * Samples that were not scaled stay as they are. When there are such of both kinds, nothing is changed.
 */
void undoScaling(SxImageBuf& image, int bits);

}  // namespace oiio
}  // namespace ep

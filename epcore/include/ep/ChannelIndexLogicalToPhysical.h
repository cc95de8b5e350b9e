/**
 * @file
 * From the channel as people count it to its place in the pixel.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * The position in which logical channel @p channel of @p image is stored.
 *
 * Logical order is red, green, blue. With FormatCodeReversedColors and at least three channels, 0 and 2 change
 * places; every other code, channel and image keeps the index as it is:
 * @verbatim
 *   formatCode 2:   logical  R G B A        stored  B G R A
 *                            0 1 2 3                2 1 0 3
 * @endverbatim
 */
EP_EXPORT int ChannelIndexLogicalToPhysical(int channel, const SxImageBuf& image);

}  // namespace ep

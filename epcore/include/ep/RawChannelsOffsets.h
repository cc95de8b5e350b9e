/**
 * @file
 * Where each colour plane's sample lies in the cell of a mosaic.
 */
#pragma once

#include <ep/Export.h>
#include <ep/SxImageBuf.h>

namespace ep {

/**
 * Gives, for the planes R, G1, B, G2 of the one-channel mosaic @p mosaic, the offset in bytes of that plane's
 * sample inside a 2 x 2 cell, from the first byte of the cell's top-left sample:
 * @verbatim
 *            +-------------+-------------+
 *            | 0           | b           |      b = bytes per sample
 *            +-------------+-------------+
 *            | stride      | stride + b  |
 *            +-------------+-------------+
 * @endverbatim
 * Sample (x, y) of plane p is then at byte 2 y stride + 2 x b + offset(p) of the mosaic.
 *
 * @return false, with the offsets untouched, when the grid is not one of 0 to 3, the mosaic has several channels
 *         or its sample type is unknown. The data pointer is not looked at.
 */
EP_EXPORT bool RawChannelsOffsets(const SxImageBuf& mosaic, qint32& red, qint32& green1, qint32& blue, qint32& green2);

}  // namespace ep

/**
 * @file
 * The samples of a portable map, into its file.
 */
#pragma once

#include "PnmHeader.h"

#include <ep/SxImageBuf.h>

class QIODevice;

namespace ep {
namespace pnm {

/**
 * Writes every sample of @p image, which is packed or planar and which @p header was chosen for, colours red first.
 * False when @p device does not take all of it.
 */
bool writeRaster(QIODevice& device, const PnmHeader& header, const SxImageBuf& image);

}  // namespace pnm
}  // namespace ep

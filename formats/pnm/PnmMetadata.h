/**
 * @file
 * Metadata in the comments of a portable map.
 */
#pragma once

#include "PnmHeader.h"

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

namespace ep {
namespace pnm {

/**
 * The comments that carry @p metadata, brought up to date with the grid and depth of @p image; none for an image of
 * which nothing is known.
 *
 * The XML text of the metadata stands in lines that begin with "#:", in printable ASCII with everything else and '%'
 * as %XX. No line is longer than 70 bytes: that much every reader takes, while some break at 255.
 * @verbatim
 *   P5
 *   #:<metadata><item class="ep::CxCommonImageMetadata"> ... 70 bytes
 *   #: ... </item></metadata>
 *   640 480
 * @endverbatim
 */
QByteArrayList metadataComments(const CxMetadata& metadata, const SxImageInfo& image);

/**
 * The metadata of a map: what its metadata comments bring, and what its header says, which is put into the attributes
 * "MAXVAL", "TUPLTYPE", "SCALE" (float maps with a unit other than 1), "PHOTOMETRIC" (bitmaps: "0 is white") and
 * "COMMENT" (the other comments). Damaged metadata comments bring less and are no failure.
 *
 * @p image gets the grid that the comments name, where it makes sense for this image.
 */
CxMetadata metadataOf(const PnmHeader& header, SxImageInfo& image);

/**
 * The tuple type that suits an arbitrary map: what @p metadata say where that fits the other fields of @p header, else
 * the plain one for one and three channels, else none. Nothing tells whether a further channel is opacity.
 */
QByteArray tupleTypeFor(const CxMetadata& metadata, const PnmHeader& header);

}  // namespace pnm
}  // namespace ep

/**
 * @file
 * Metadata in the header of a FITS file.
 */
#pragma once

#include "FitsImage.h"

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

namespace ep {
namespace fits {

/**
 * The metadata of @p source, and what they tell of its image into @p image: the grid and the depth.
 *
 * Metadata that the saver of this module left in the remarks come back as they were. Keywords stand before them, since
 * another program may have changed those since; see FitsKeywords.h. Keywords without a place elsewhere become
 * attributes by their names.
 */
CxMetadata readFitsMetadata(const FitsImage& source, SxImageBuf& image);

/**
 * The lines of a header that tell the metadata of @p image and its grid and depth to other programs, and after them all
 * of it in remarks, so that it comes back identical: as XML text in lines that begin with "#:", in printable ASCII with
 * everything else, blanks and '%' as %XX.
 */
QByteArray metadataCards(const CxMetadata& metadata, const SxImageBuf& image);

}  // namespace fits
}  // namespace ep

/**
 * @file
 * Metadata in the attributes of OpenImageIO.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

#include <OpenImageIO/imageio.h>

namespace ep {
namespace oiio {

struct OiioFormat;

/**
 * The metadata that the attributes @p spec of a file tell: the common ones in their fields, the others by their name in
 * the attributes. Binary ones (a colour profile) come as base64 text. A description that CxOiioImageSaver wrote brings
 * everything back that was known, the grid and the depth of @p image too, which are set where they suit it.
 */
CxMetadata readOiioMetadata(const OIIO::ImageSpec& spec, SxImageBuf& image);

/**
 * Puts @p metadata into the attributes @p spec of a file that is to be written: what is common under the names that
 * every program knows, and all of it as XML text in the description, as far as the format has room for it.
 */
void writeOiioMetadata(const CxMetadata& metadata, const SxImageInfo& image, const OiioFormat& format,
                       OIIO::ImageSpec& spec);

}  // namespace oiio
}  // namespace ep

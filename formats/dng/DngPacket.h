/**
 * @file
 * What the tags of a DNG file cannot say exactly.
 */
#pragma once

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>
#include <ep/CxScopedBuffer.h>

#include <QByteArray>

namespace ep {
namespace dng {

/**
 * The XMP packet of the DNG files written here. The tags are true and suffice for any RAW developer; the packet holds
 * every metadata item as it was, the sample type and the exact depth, so that a mosaic comes back the same.
 */
struct DngPacket {
    SxImageInfo image{};  ///< the image as it was saved: size, type, depth and grid
    CxMetadata metadata;  ///< all of its metadata
};

/** The packet for @p image, as XMP. */
QByteArray writeDngPacket(const SxImageInfo& image, const CxMetadata& metadata);

/** Reads the packet in @p xmp; false, with @p packet empty, when there is none of ours or it is unsound. */
bool readDngPacket(const QByteArray& xmp, DngPacket& packet);

/** True when the packet belongs to @p image and was not carried over from another one: same size and grid. */
bool belongsTo(const DngPacket& packet, const SxImageInfo& image);

/**
 * Gives @p image the integer type and the depth it was saved with, where the samples allow it: LibRaw widens 8-bit
 * samples, and deflated integers stand in the file as whole floats. False when there is not enough memory.
 */
bool restoreSamples(const DngPacket& packet, CxScopedBuffer& image);

/**
 * The metadata of the packet, corrected by what the tags say: @p tags wins where a tag no longer agrees with the
 * packet, because a program that does not know the packet has edited the file.
 */
CxMetadata restoreMetadata(const DngPacket& packet, const CxCommonImageMetadata& tags);

}  // namespace dng
}  // namespace ep

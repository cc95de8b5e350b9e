/**
 * @file
 * Entropy images: planes of 64-bit floats under a short prefix of their own.
 */
#pragma once

#include <orn/Export.h>

#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {
namespace matlab {

/**
 * Reads the planes stored under @p prefix ("PIG", without underscore) from the MAT file @p path.
 *
 * When "PREFIX_channel_R" exists, the planes are "_channel_R", "_channel_G1", "_channel_B", "_channel_G2", up to the
 * first that is missing; otherwise "_channel_1" to "_channel_3". The first must be a two-dimensional real double
 * matrix; the later ones are taken to be like it, and are zero where their data ends early.
 *
 * @param image receives doubles of depth 64, planar when there are several planes, else packed; the caller frees it.
 * Untouched, and not released, on failure
 * @return false when the file cannot be opened, holds no plane of the prefix, or one that does not serve
 */
ORN_EXPORT bool LoadEntropyImageFromMat(QString const& prefix, QString const& path, ep::SxImageBuf& image);

/**
 * Creates the MAT file @p path with @p image under the base name @p name, through AddImage() with its raw flag off. The
 * image is written in whatever sample type it has; only doubles are read back by LoadEntropyImageFromMat().
 * @return true when the image was written; on failure the created file stays
 */
ORN_EXPORT bool SaveEntropyImageToMat(ep::SxImageBuf const& image, QString const& name, QString const& path,
                                      bool reverseRows);

}  // namespace matlab
}  // namespace orn

/**
 * @file
 * Reading an image from a MAT file.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {
namespace matlab {

/**
 * Reads the image of the MAT file @p path. Three kinds of files are understood, tried in this order:
 * - entropy images, told by a variable "PIG_channel_R", "PIG_channel_1", "PDG_channel_R" or "PDG_channel_1":
 *   see LoadEntropyImageFromMat(); metadata is not read;
 * - files written by CxMatlabImageSaver: the planes "ep_image_channel_1", ... as many as the metadata variable
 *   "ep_image_metadata" says. Row reversal is undone, four raw planes become a mosaic again;
 * - any other file: its first two-dimensional dense numeric variable, as a packed one-channel image.
 *
 * Samples are copied without conversion. 64-bit integers and complex variables are refused. A later plane shorter than
 * the first is filled with zeros. The bit depth of unsigned 16-bit images is detected from the samples, or the
 * metadata's if that is larger.
 *
 * @param image      receives the image, allocated here; the caller frees it. Memory that it held is released on most
 * failures
 * @param isEntropy  true exactly when the file was read as an entropy image
 * @param metadata   may be null; receives a copy of the file's metadata when there is any
 * @return true on success. True as well, with @p image untouched, when "ep_image_channel_1" is not two-dimensional and
 * when the file has no two-dimensional numeric variable
 *
 * Unsound metadata and a mosaic that cannot be rebuilt are said in Qt's critical log; the load goes on.
 */
ORN_EXPORT bool LoadImageFromMat(QString const& path, ep::SxImageBuf& image, bool& isEntropy, ep::CxMetadata* metadata);

}  // namespace matlab
}  // namespace orn

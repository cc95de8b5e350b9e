/**
 * @file
 * One image as a page of a TIFF file.
 */
#pragma once

#include "TiffFile.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/SxImageBuf.h>

namespace ep {
namespace tiff {

/** What CxTiffImageSaver lets its users choose. */
struct TiffWriteOptions {
    quint16 compression = 1;  ///< TIFF's code of the compression
    bool isBig = false;       ///< BigTIFF whatever the size
};

/**
 * Creates the file @p path with @p image as its only page, the tags that @p common can fill and @p description as image
 * description. The image must be sound and of a sample type that TIFF has. Rows are handed to libtiff as they lie in
 * memory or a strip at a time; there is never a second copy of the image.
 *
 * False, with the reason in @p error, when anything could not be written; the file may then be there in part.
 */
bool writeTiffImage(const QString& path, const SxImageBuf& image, const CxCommonImageMetadata& common,
                    const QByteArray& description, const TiffWriteOptions& options, SxFileError& error);

}  // namespace tiff
}  // namespace ep

/**
 * @file
 * Writing the one image of a FITS file.
 */
#pragma once

#include <ep/CxMetadata.h>
#include <ep/SxFileError.h>
#include <ep/SxImageBuf.h>

#include <QString>

namespace ep {
namespace fits {

/** Why FITS cannot hold @p image; empty when it can. */
QString obstacle(const SxImageBuf& image);

/**
 * Writes @p image, which has no obstacle, with @p metadata to the file @p path. The size that the file must have goes
 * into @p fileBytes. False, with the reason in @p error, when the file could not be written.
 */
bool writeFitsImage(const QString& path, const SxImageBuf& image, const CxMetadata& metadata, qint64& fileBytes,
                    SxFileError& error);

}  // namespace fits
}  // namespace ep

/**
 * @file
 * Reading an image from a MAT file, with the choices and the reasons that the public function has no room for.
 */
#pragma once

#include "MatNames.h"

#include <ep/CxMetadata.h>
#include <ep/SxFileError.h>
#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {
namespace matlab {

/** What to read. A plain value. */
struct ReadMatOptions {
    QString baseName = defaultBaseName();  ///< base name of the planes; that of the metadata is always the same
    qint64 memoryLimit = 0;        ///< most bytes that the image may take; 0 or less: the format manager's limit
    QString variable = QString();  ///< reads this array alone; empty: what LoadImageFromMat() would take
};

/**
 * What LoadImageFromMat() does, for planes of any base name, or for one array that is chosen by name. Where no variable
 * has that name, it may be the base name of an image with metadata.
 * @param error receives why there is no image. It is set as well where the result is true and @p image untouched,
 * because the file holds nothing that serves, or @p image the planes of a mosaic for which there is no memory,
 * or an image without its metadata, which the system could not read
 */
bool readMatImage(const QString& path, const ReadMatOptions& options, ep::SxImageBuf& image, bool& isEntropy,
                  ep::CxMetadata* metadata, ep::SxFileError& error);

}  // namespace matlab
}  // namespace orn

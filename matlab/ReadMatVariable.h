/**
 * @file
 * Reading one array of a MAT file by its name.
 */
#pragma once

#include "MatDirectory.h"

#include <ep/SxImageBuf.h>

#include <QString>

namespace orn {
namespace matlab {

/**
 * Reads the array @p name into @p image: rows x columns becomes one channel, rows x columns x N become N planes.
 * Samples keep their type and stay where they are; logical ones become 0 and 1 of unsigned 8 bits.
 *
 * @param limit most bytes that the image may take
 * @param error receives why there is no image: no such variable (with the names that there are), or one that is no
 * image. @p image is untouched then
 */
bool readMatVariable(MatDirectory& directory, const QString& name, qint64 limit, ep::SxImageBuf& image,
                     ep::SxFileError& error);

}  // namespace matlab
}  // namespace orn

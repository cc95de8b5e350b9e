/**
 * @file
 * Is a MAT file what its tags say?
 */
#pragma once

#include <ep/SxFileError.h>

#include <QString>

namespace orn {
namespace matlab {

/**
 * Walks the structure of the MAT file @p path before matio reads it. matio takes the sizes in a file on trust: it asks
 * for the memory they name, and where the file ends early it leaves the rest of its buffers as they were.
 *
 * @param memoryLimit most bytes that matio may need to describe the file's variables
 * @return no error when every element of a version 4 or 5 file lies within the file (compressed ones are expanded to
 * see), the types of stored numbers are known and counts fit what holds them. Of a version 7.3 file only the presence
 * is checked.
 */
ep::SxFileError checkMatFile(const QString& path, qint64 memoryLimit);

}  // namespace matlab
}  // namespace orn

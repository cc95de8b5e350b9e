/**
 * @file
 * MAT files and plain variables in them.
 */
#pragma once

#include <orn/Export.h>

#include <QString>

namespace orn {
namespace matlab {

/**
 * Opens the MAT file @p path for reading. Any version that matio knows.
 * @return a handle for this library's functions, to be released with MatClose(); null when the file cannot be opened
 */
ORN_EXPORT void* MatOpenRead(QString const& path);

/**
 * Creates the MAT file @p path, version 5, replacing an existing file.
 * @return a handle for AddVar() and AddImage(), to be released with MatClose(); null when the file cannot be created
 */
ORN_EXPORT void* MatOpenWrite(QString const& path);

/** Closes the file; true when matio reports no error. False for a null handle. */
ORN_EXPORT bool MatClose(void* mat);

/**
 * Writes the text @p value as the variable @p name: a char array of one row, one column per byte of its UTF-8 form,
 * without a terminating zero. An empty text gives a 1 x 0 array.
 * @return false for an empty name, a null handle, and when matio refuses the variable. A failing write is not noticed
 * here.
 */
ORN_EXPORT bool AddVar(void* mat, QString const& value, QString const& name);

/**
 * Writes @p rows x @p cols doubles as the matrix @p name, uncompressed. The values are taken in the order in which they
 * lie in memory, which MATLAB reads column by column:
 * @verbatim
 *    data = 1 2 3 4 5 6, rows 2, cols 3   ->   1 3 5
 *                                              2 4 6
 * @endverbatim
 * @return false for a null handle and when matio refuses the variable. A failing write is not noticed here.
 */
ORN_EXPORT bool AddVar(void* mat, double* data, int rows, int cols, QString const& name);

}  // namespace matlab
}  // namespace orn

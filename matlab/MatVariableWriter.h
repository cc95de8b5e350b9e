/**
 * @file
 * The one place where a variable is written.
 */
#pragma once

#include <QString>

#include <matio.h>

namespace orn {
namespace matlab {

/** Most bytes of a variable's element: matio writes a larger one as an empty element, silently. */
constexpr qint64 largestElement = 0x7fffffff;

/** Bytes that a variable of @p dataBytes bytes of data takes in a version 5 file, its own tag included. */
qint64 matVariableBytes(const QString& name, qint64 dataBytes);

/**
 * Writes the @p rows x @p columns array at @p data, which lies column by column, uncompressed.
 * @return false when @p mat is null or matio refuses the variable. Whether it reached the disk is not known here: matio
 * buffers, and reports success on a full disk.
 */
bool writeVariable(mat_t* mat, const QString& name, matio_classes matClass, matio_types matType, qint64 rows,
                   qint64 columns, const void* data);

}  // namespace matlab
}  // namespace orn

/**
 * @file
 * From the data of a variable to a plane of an image.
 */
#pragma once

#include "MatDirectory.h"

#include <ep/SxImageBuf.h>
#include <ep/internal/PlaneView.h>

namespace orn {
namespace matlab {

/** Where the samples of a plane go, and what is learnt of them on the way. A plain value. */
struct PlaneTarget {
    qint32 sampleBytes;
    ep::internal::PlaneView view;  ///< reversed where the file holds the bottom row first
    quint16* bits = nullptr;       ///< unless null: receives in addition all bits that are set in 16-bit samples
};

/**
 * Copies the data of @p entry, taken as samples of the target's size in columns of the target's height, into
 * @p target. Where it ends early the rest of the plane becomes zero:
 * @verbatim
 *    variable, 2 x 2       as columns of height 3      plane, 3 x 3
 *       a c                     a d .                     a d 0
 *       b d                     b . .                     b 0 0
 *                               c . .                     c 0 0
 * @endverbatim
 * A variable that has pieces is read piece by piece, so that it is never in memory beside the image as a whole.
 * @param limit most bytes that a variable may take that has to be read whole
 */
bool readIntoPlane(MatDirectory& directory, MatEntry& entry, qint64 limit, const PlaneTarget& target,
                   ep::SxFileError& error);

/** True when @p entry can be read piece by piece into a plane of @p target's size, and fills it. */
bool fillsByPieces(const MatDirectory& directory, const MatEntry& entry, const PlaneTarget& target);

/** Columns that are read at once from planes that take @p columnBytes bytes per column; at least one. */
qint32 columnsPerPiece(qint64 columnBytes, qint32 width);

/**
 * Reads the columns from @p column on of @p entry, for which fillsByPieces() is true, as many as @p target has, through
 * @p piece, which has room for them.
 */
bool readColumns(MatDirectory& directory, MatEntry& entry, qint32 column, const PlaneTarget& target,
                 unsigned char* piece, ep::SxFileError& error);

/**
 * As readIntoPlane(), from the data that @p variable holds, beginning with its element @p first.
 */
void copyIntoPlane(const matvar_t& variable, const PlaneTarget& target, qint64 first = 0);

}  // namespace matlab
}  // namespace orn

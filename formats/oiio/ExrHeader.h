/**
 * @file
 * What OpenImageIO does not check of the headers of OpenEXR files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/** What the header of an OpenEXR file states, over all its parts. */
struct ExrHeader {
    /** Why the reader must not see the file: it takes memory, and fills it, for attributes and blocks before it looks
     * whether they are there, and what a block without compression lacks from memory that nobody wrote. */
    QString flaw;
    qint64 largestBlock = 0;  ///< bytes of the lines, or the tile, that are decompressed at once
    int compression = 0;      ///< the highest code
};

ExrHeader readExrHeader(const QString& path);

}  // namespace oiio
}  // namespace ep

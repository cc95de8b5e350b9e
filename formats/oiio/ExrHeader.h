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
    /** False: the file ends before its attributes, for which the reader takes memory, and fills it, before it looks. */
    bool isWhole = false;
    qint64 largestBlock = 0;  ///< bytes of the lines, or the tile, that are decompressed at once
    int compression = 0;      ///< the highest code
};

ExrHeader readExrHeader(const QString& path);

}  // namespace oiio
}  // namespace ep

/**
 * @file
 * What OpenImageIO does not check of the headers of OpenEXR files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/**
 * Why the file @p path must not be opened; empty when it may. The reader takes memory for what an attribute announces,
 * and fills it, before it looks how much of it is there.
 */
QString exrFlaw(const QString& path);

/** Bytes of the largest block of lines, or tile, that is decompressed at once, as the header of the file @p path says.
 */
qint64 exrBlockBytes(const QString& path);

/** The code of the compression of the file @p path; of several, the highest. */
int exrCompression(const QString& path);

}  // namespace oiio
}  // namespace ep

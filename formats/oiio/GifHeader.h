/**
 * @file
 * What OpenImageIO does not tell, or not check, of GIF files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/** Why OpenImageIO must not see the GIF file @p path: samples without a colour, for which it reads on behind its table.
 * Empty when it may. */
QString gifFlaw(const QString& path);

/** Bytes of what the reader of GIF files keeps of the screen that the header of the file @p path states, at once. */
qint64 gifScreenBytes(const QString& path);

}  // namespace oiio
}  // namespace ep

/**
 * @file
 * What OpenImageIO does not check of the headers of DPX files.
 */
#pragma once

#include <QString>

namespace ep {
namespace oiio {

/** Why OpenImageIO must not see the DPX file @p path, which it would believe: it takes what a file lacks from memory
 * that nobody wrote. Empty when it may. */
QString dpxFlaw(const QString& path);

}  // namespace oiio
}  // namespace ep

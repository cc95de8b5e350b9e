/**
 * @file
 * What a host calls after loading and before unloading the library.
 */
#pragma once

#include <orn/Export.h>

namespace orn {

/**
 * Registers the five MAT plug-in classes with ep::CxRtti, each without a plug-in object; from then on MAT files go
 * through ep::CxImageFormatManager. Always true. Call it once, on the start-up thread.
 */
ORN_EXPORT bool Init();

/** Counterpart of Init(). Always true; nothing is unregistered, and the library stays mapped. */
ORN_EXPORT bool Finish();

}  // namespace orn

/**
 * @file
 * How much memory one image may take unless somebody sets a limit.
 */
#pragma once

#include <QtGlobal>

namespace ep {

/** Half of the machine's memory, in bytes. */
qint64 defaultMemoryLimit();

}  // namespace ep

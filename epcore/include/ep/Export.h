/**
 * @file
 * Visibility of the exported names of epcore.
 */
#pragma once

#include <QtGlobal>

#if defined(EPCORE_LIBRARY)
#define EP_EXPORT Q_DECL_EXPORT
#else
#define EP_EXPORT Q_DECL_IMPORT
#endif

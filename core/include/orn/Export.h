/**
 * @file
 * Visibility of the exported names of orn_core.
 */
#pragma once

#include <QtGlobal>

#if defined(ORN_CORE_LIBRARY)
#define ORN_EXPORT Q_DECL_EXPORT
#else
#define ORN_EXPORT Q_DECL_IMPORT
#endif

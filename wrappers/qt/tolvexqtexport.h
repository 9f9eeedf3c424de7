#pragma once

// TOLVEXQT_EXPORT marks what the Qt wrapper library offers the programs and
// tests that link it rather than load it.

#include <QtCore/qglobal.h>

#if defined(TOLVEXQT_BUILDING_LIBRARY)
#define TOLVEXQT_EXPORT Q_DECL_EXPORT
#else
#define TOLVEXQT_EXPORT Q_DECL_IMPORT
#endif

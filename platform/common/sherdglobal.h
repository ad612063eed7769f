#pragma once
// Export macro of libsherd. Every class and function that a host application
// links against carries SHERD_EXPORT; everything else stays hidden in the
// shared library (the build hides symbols by default).
#include <QtCore/qglobal.h>

#if defined(SHERD_BUILDING_LIBRARY)
#define SHERD_EXPORT Q_DECL_EXPORT
#else
#define SHERD_EXPORT Q_DECL_IMPORT
#endif

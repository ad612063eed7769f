#pragma once
// The module's logger: Log(module, level, printf-format, ...).
//
// Level 0 is an error, 1 information; higher levels are debug detail and are
// dropped unless setMaxLevel raises the bound. Lines go to stderr unless
// redirected to a file or silenced. Every call is thread-safe: a line is
// formatted outside the lock and written whole under it.
#include "platform/common/sherdglobal.h"

#include <functional>

class QString;

#if defined(__GNUC__)
#define SHERD_PRINTF_FORMAT(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define SHERD_PRINTF_FORMAT(fmt, args)
#endif

SHERD_EXPORT void Log(const char* module, int level, const char* format, ...) SHERD_PRINTF_FORMAT(3, 4);

namespace SherdLog {
enum Level { Error = 0, Info = 1, Debug = 2 };

// Receives each line that passes the level bound (module, level, formatted text).
using Sink = std::function<void(const char* module, int level, const QString& text)>;

SHERD_EXPORT void toStderr();                 // the default
SHERD_EXPORT bool toFile(const QString& path); // appends; false (and stderr kept) when it cannot be opened
SHERD_EXPORT void silence();
SHERD_EXPORT void setSink(Sink sink); // replaces the output; an empty sink restores stderr
SHERD_EXPORT void setMaxLevel(int level);
SHERD_EXPORT int maxLevel();
} // namespace SherdLog

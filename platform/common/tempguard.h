#pragma once
// Keeps decrypted copies from outliving the process that made them.
//
// Every process's temporary root is a folder "sherd-<pid>-XXXXXX", owner-only
// (0700), under SHERD_TEMP or the system's temporary folder. Normal exit
// removes it (the QTemporaryDir that owns it); these two helpers cover the
// other ends:
//  - install() removes the root when SIGINT, SIGTERM or SIGHUP ends the
//    process, then lets the signal take its default course (the exit status
//    still says which signal it was);
//  - sweepStale() removes, at the next start, roots whose process is gone
//    (SIGKILL, a crash, a power cut). A root is only removed when its name
//    has our pattern, it belongs to this user, and no process of that pid
//    exists; everything else in the folder is left alone.
//
// The signal handler uses only async-signal-safe system calls (open, getdents,
// unlinkat, close) on a path copied at install time.
#include <QString>

namespace TempGuard {
// The prefix of a root's name for this process: "sherd-<pid>-".
QString rootPrefix();
// Removes stale roots directly inside base; returns how many were removed.
int sweepStale(const QString& base);
// Removes root when a terminating signal arrives. One root per process; a
// second call replaces the first.
void install(const QString& root);
} // namespace TempGuard

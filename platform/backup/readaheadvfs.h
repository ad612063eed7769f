#pragma once
// An SQLite VFS for one long read-only scan of a large database: it passes
// everything to the default VFS, but reads the main database file in chunks
// of 256 KiB and serves the pages from the last chunk. A scan of a manifest
// of hundreds of thousands of records reads its pages nearly in order, so one
// system call then serves 64 pages instead of one, without mapping the file
// (a file that shrinks under a mapping kills the process; a short read here is
// only an error).
//
// Only for files that nothing writes while they are open: open them with
// SQLITE_OPEN_READONLY and the URI parameter immutable=1. Files opened any
// other way get no read-ahead.
//
// What it buys (bench_backup, BM_OpenAndIterate against BM_BareSqliteScan
// through the default VFS, 300,000 records): opening a manifest went from
// 1.40-1.49x to 0.94-1.06x of the bare scan; before it, a third of the scan's
// time was spent in pread.

namespace ReadAheadVfs {
// The registered VFS's name for sqlite3_open_v2, or nullptr (the default VFS)
// when it cannot be registered.
const char* name();
} // namespace ReadAheadVfs

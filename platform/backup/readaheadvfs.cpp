#include "platform/backup/readaheadvfs.h"

#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {
constexpr int kChunk = 256 * 1024;

sqlite3_vfs g_vfs;
sqlite3_vfs* g_base = nullptr;

// Our file: the base VFS's file object follows it in the same allocation.
struct File {
  sqlite3_file base;
  sqlite3_file* real;
  char* chunk;              // null: no read-ahead for this file
  sqlite3_int64 chunkStart; // file offset of chunk[0]
  int chunkLength;          // valid bytes in chunk
  sqlite3_int64 size;       // the file's size when opened (it does not change)
};

sqlite3_file* realOf(sqlite3_file* f) { return reinterpret_cast<File*>(f)->real; }

int fileClose(sqlite3_file* f) {
  File* p = reinterpret_cast<File*>(f);
  const int rc = p->real->pMethods ? p->real->pMethods->xClose(p->real) : SQLITE_OK;
  std::free(p->chunk);
  p->chunk = nullptr;
  return rc;
}

int fileRead(sqlite3_file* f, void* out, int amount, sqlite3_int64 offset) {
  File* p = reinterpret_cast<File*>(f);
  if (!p->chunk || amount > kChunk || offset < 0 || offset + amount > p->size)
    return p->real->pMethods->xRead(p->real, out, amount, offset); // including short reads at the end
  if (offset < p->chunkStart || offset + amount > p->chunkStart + p->chunkLength) {
    const sqlite3_int64 start = offset - offset % 4096;
    const int length = int(p->size - start < kChunk ? p->size - start : kChunk);
    p->chunkLength = 0;
    const int rc = p->real->pMethods->xRead(p->real, p->chunk, length, start);
    if (rc != SQLITE_OK)
      return rc == SQLITE_IOERR_SHORT_READ ? SQLITE_IOERR_READ : rc; // the file shrank: an error, not zeros
    p->chunkStart = start;
    p->chunkLength = length;
    if (offset + amount > start + length)
      return p->real->pMethods->xRead(p->real, out, amount, offset);
  }
  std::memcpy(out, p->chunk + (offset - p->chunkStart), size_t(amount));
  return SQLITE_OK;
}

int fileWrite(sqlite3_file* f, const void* data, int amount, sqlite3_int64 offset) {
  File* p = reinterpret_cast<File*>(f);
  p->chunkLength = 0;
  return p->real->pMethods->xWrite(p->real, data, amount, offset);
}
int fileTruncate(sqlite3_file* f, sqlite3_int64 size) {
  File* p = reinterpret_cast<File*>(f);
  p->chunkLength = 0;
  return p->real->pMethods->xTruncate(p->real, size);
}
int fileSync(sqlite3_file* f, int flags) { return realOf(f)->pMethods->xSync(realOf(f), flags); }
int fileSize(sqlite3_file* f, sqlite3_int64* size) { return realOf(f)->pMethods->xFileSize(realOf(f), size); }
int fileLock(sqlite3_file* f, int level) { return realOf(f)->pMethods->xLock(realOf(f), level); }
int fileUnlock(sqlite3_file* f, int level) { return realOf(f)->pMethods->xUnlock(realOf(f), level); }
int fileCheckReservedLock(sqlite3_file* f, int* out) { return realOf(f)->pMethods->xCheckReservedLock(realOf(f), out); }
int fileControl(sqlite3_file* f, int op, void* arg) { return realOf(f)->pMethods->xFileControl(realOf(f), op, arg); }
int fileSectorSize(sqlite3_file* f) { return realOf(f)->pMethods->xSectorSize(realOf(f)); }
int fileDeviceCharacteristics(sqlite3_file* f) { return realOf(f)->pMethods->xDeviceCharacteristics(realOf(f)); }

// Version 1 methods: no shared memory and no mapping, which read-only,
// immutable files never need.
const sqlite3_io_methods g_methods = {1,
                                      fileClose,
                                      fileRead,
                                      fileWrite,
                                      fileTruncate,
                                      fileSync,
                                      fileSize,
                                      fileLock,
                                      fileUnlock,
                                      fileCheckReservedLock,
                                      fileControl,
                                      fileSectorSize,
                                      fileDeviceCharacteristics,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr};

int vfsOpen(sqlite3_vfs*, const char* name, sqlite3_file* f, int flags, int* outFlags) {
  File* p = reinterpret_cast<File*>(f);
  std::memset(p, 0, sizeof *p);
  p->real = reinterpret_cast<sqlite3_file*>(p + 1);
  const int rc = g_base->xOpen(g_base, name, p->real, flags, outFlags);
  if (rc != SQLITE_OK)
    return rc; // pMethods stays null: SQLite does not close a file that failed to open
  p->base.pMethods = &g_methods;
  const bool readAhead = (flags & SQLITE_OPEN_MAIN_DB) && (flags & SQLITE_OPEN_READONLY) && name &&
                         sqlite3_uri_boolean(name, "immutable", 0);
  if (readAhead && p->real->pMethods->xFileSize(p->real, &p->size) == SQLITE_OK && p->size > kChunk)
    p->chunk = static_cast<char*>(std::malloc(kChunk)); // small files gain nothing
  return SQLITE_OK;
}

int vfsDelete(sqlite3_vfs*, const char* name, int syncDir) { return g_base->xDelete(g_base, name, syncDir); }
int vfsAccess(sqlite3_vfs*, const char* name, int flags, int* out) { return g_base->xAccess(g_base, name, flags, out); }
int vfsFullPathname(sqlite3_vfs*, const char* name, int n, char* out) {
  return g_base->xFullPathname(g_base, name, n, out);
}
void* vfsDlOpen(sqlite3_vfs*, const char* name) { return g_base->xDlOpen(g_base, name); }
void vfsDlError(sqlite3_vfs*, int n, char* out) { g_base->xDlError(g_base, n, out); }
void (*vfsDlSym(sqlite3_vfs*, void* h, const char* sym))(void) { return g_base->xDlSym(g_base, h, sym); }
void vfsDlClose(sqlite3_vfs*, void* h) { g_base->xDlClose(g_base, h); }
int vfsRandomness(sqlite3_vfs*, int n, char* out) { return g_base->xRandomness(g_base, n, out); }
int vfsSleep(sqlite3_vfs*, int us) { return g_base->xSleep(g_base, us); }
int vfsCurrentTime(sqlite3_vfs*, double* out) { return g_base->xCurrentTime(g_base, out); }
int vfsGetLastError(sqlite3_vfs*, int n, char* out) {
  return g_base->xGetLastError ? g_base->xGetLastError(g_base, n, out) : 0;
}
int vfsCurrentTimeInt64(sqlite3_vfs*, sqlite3_int64* out) {
  if (g_base->iVersion >= 2 && g_base->xCurrentTimeInt64)
    return g_base->xCurrentTimeInt64(g_base, out);
  double now = 0;
  const int rc = g_base->xCurrentTime(g_base, &now);
  *out = sqlite3_int64(now * 86400000.0);
  return rc;
}

const char* registerVfs() {
  if (sqlite3_initialize() != SQLITE_OK)
    return nullptr;
  g_base = sqlite3_vfs_find(nullptr);
  if (!g_base)
    return nullptr;
  g_vfs.iVersion = 2;
  g_vfs.szOsFile = int(sizeof(File)) + g_base->szOsFile;
  g_vfs.mxPathname = g_base->mxPathname;
  g_vfs.zName = "sherd-readahead";
  g_vfs.xOpen = vfsOpen;
  g_vfs.xDelete = vfsDelete;
  g_vfs.xAccess = vfsAccess;
  g_vfs.xFullPathname = vfsFullPathname;
  g_vfs.xDlOpen = vfsDlOpen;
  g_vfs.xDlError = vfsDlError;
  g_vfs.xDlSym = vfsDlSym;
  g_vfs.xDlClose = vfsDlClose;
  g_vfs.xRandomness = vfsRandomness;
  g_vfs.xSleep = vfsSleep;
  g_vfs.xCurrentTime = vfsCurrentTime;
  g_vfs.xGetLastError = vfsGetLastError;
  g_vfs.xCurrentTimeInt64 = vfsCurrentTimeInt64;
  return sqlite3_vfs_register(&g_vfs, 0) == SQLITE_OK ? g_vfs.zName : nullptr;
}
} // namespace

namespace ReadAheadVfs {
const char* name() {
  static std::once_flag once;
  static const char* registered = nullptr;
  std::call_once(once, [] { registered = registerVfs(); });
  return registered;
}
} // namespace ReadAheadVfs

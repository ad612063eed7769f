#pragma once
// Thin wrappers over SQLite's open and prepare calls, so that every reader opens
// databases the same way. The C library's header stays out of this one.
#include "platform/common/sherdglobal.h"

class QString;
struct sqlite3;
struct sqlite3_stmt;

class SHERD_EXPORT SqlUtils {
public:
  // Opens the database read-only (SQLite result code, 0 on success). On failure
  // *db is set to null and nothing needs closing; on success the caller closes
  // it with sqlite3_close. Readers hand it their own copies under the temporary
  // root, never a file inside a backup: SQLite may still create the -shm index
  // beside a database that has a write-ahead log.
  static int openSqlite(const QString& path, sqlite3** db);

  // sqlite3_prepare_v2 with its contract: 0 on success, *stmt null on failure.
  static int prepareSqlite(sqlite3* db, const char* sql, int nByte, sqlite3_stmt** stmt, const char** tail);

  // Whether the open database has a table (or view) of that name, case ignored.
  static bool hasTable(sqlite3* db, const QString& table);
  // Whether the table has that column, case ignored.
  static bool hasColumn(sqlite3* db, const QString& table, const QString& column);
};

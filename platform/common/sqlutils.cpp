#include "platform/common/sqlutils.h"

#include <QString>

#include <sqlite3.h>

int SqlUtils::openSqlite(const QString& path, sqlite3** db) {
  if (!db)
    return SQLITE_MISUSE;
  *db = nullptr;
  const QByteArray name = path.toUtf8();
  sqlite3* handle = nullptr;
  int rc = sqlite3_open_v2(name.constData(), &handle, SQLITE_OPEN_READONLY, nullptr);
  if (rc == SQLITE_OK) {
    // A file that is not a database opens fine and fails at the first read;
    // touch the schema now so that the caller sees the failure here.
    rc = sqlite3_exec(handle, "select count(*) from sqlite_master", nullptr, nullptr, nullptr);
  }
  if (rc != SQLITE_OK) {
    sqlite3_close(handle);
    return rc;
  }
  sqlite3_busy_timeout(handle, 2000);
  *db = handle;
  return SQLITE_OK;
}

int SqlUtils::prepareSqlite(sqlite3* db, const char* sql, int nByte, sqlite3_stmt** stmt, const char** tail) {
  if (stmt)
    *stmt = nullptr;
  if (!db || !sql || !stmt)
    return SQLITE_MISUSE;
  return sqlite3_prepare_v2(db, sql, nByte, stmt, tail);
}

bool SqlUtils::hasTable(sqlite3* db, const QString& table) {
  sqlite3_stmt* stmt = nullptr;
  if (prepareSqlite(db, "select 1 from sqlite_master where type in ('table','view') and lower(name) = lower(?1)", -1,
                    &stmt, nullptr) != SQLITE_OK)
    return false;
  const QByteArray name = table.toUtf8();
  sqlite3_bind_text(stmt, 1, name.constData(), name.size(), SQLITE_TRANSIENT);
  const bool found = sqlite3_step(stmt) == SQLITE_ROW;
  sqlite3_finalize(stmt);
  return found;
}

bool SqlUtils::hasColumn(sqlite3* db, const QString& table, const QString& column) {
  sqlite3_stmt* stmt = nullptr;
  if (prepareSqlite(db, "select 1 from pragma_table_info(?1) where lower(name) = lower(?2)", -1, &stmt, nullptr) !=
      SQLITE_OK)
    return false;
  const QByteArray t = table.toUtf8();
  const QByteArray c = column.toUtf8();
  sqlite3_bind_text(stmt, 1, t.constData(), t.size(), SQLITE_TRANSIENT);
  sqlite3_bind_text(stmt, 2, c.constData(), c.size(), SQLITE_TRANSIENT);
  const bool found = sqlite3_step(stmt) == SQLITE_ROW;
  sqlite3_finalize(stmt);
  return found;
}

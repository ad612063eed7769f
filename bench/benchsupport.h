#pragma once
// The bare SQLite scan the load benchmarks set a reader's load beside.
#include <QString>

#include <sqlite3.h>

namespace bench {

// Steps through every row of the statement and touches every column's bytes,
// with nothing done to them: the floor under a reader's load of the same rows.
inline qint64 bareScanBytes(const QString& path, const char* sql) {
  sqlite3* db = nullptr;
  sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  qint64 sum = 0;
  const int columns = sqlite3_column_count(stmt);
  while (sqlite3_step(stmt) == SQLITE_ROW)
    for (int c = 0; c < columns; ++c)
      sum += sqlite3_column_bytes(stmt, c);
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return sum;
}

} // namespace bench

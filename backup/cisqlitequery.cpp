#include "backup/cisqlitequery.h"

#include "platform/common/log.h"
#include "platform/common/sqlutils.h"
#include "service/progress.h"

#include <QFile>

#include <sqlite3.h>

namespace {
const char* const kModule = "iTunesBackup";
} // namespace

CISQLiteQuery::CISQLiteQuery() : m_progress(nullptr), m_step(0.0) {}

CISQLiteQuery::~CISQLiteQuery() = default;

QString CISQLiteQuery::customSql(sqlite3*) { return QString(); }

void CISQLiteQuery::query(const QStringList& files, CIProgressCallback* progress) {
  for (const QString& path : files) {
    if (!QFile::exists(path)) {
      Log(kModule, 0, "Not exists: %s", path.toUtf8().constData());
      continue;
    }
    if (path.isEmpty())
      continue;
    const int count = countRows(path, m_countSqls);
    if (count <= 0)
      continue;
    m_progress = progress;
    if (progress)
      m_step = double(progress->range()) / double(count);
    for (const QString& sql : qAsConst(m_sqls)) {
      if (execSql(path, sql) < 0)
        break;
    }
  }
}

int CISQLiteQuery::countRows(const QString& path, const QStringList& countSqls) {
  sqlite3* db = nullptr;
  if (SqlUtils::openSqlite(path, &db) != 0) {
    Log(kModule, 0, "Fail to open db file: %s", path.toUtf8().constData());
    return -2;
  }
  int count = 0;
  bool failed = false;
  for (const QString& sql : countSqls) {
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt* stmt = nullptr;
    if (SqlUtils::prepareSqlite(db, text.constData(), -1, &stmt, nullptr) != 0) {
      Log(kModule, 0, "Fail to query sql \"%s\" for db %s", text.constData(), path.toUtf8().constData());
      failed = true;
      break;
    }
    // Replaced, not added: with several statements the last one decides.
    if (sqlite3_step(stmt) == SQLITE_ROW)
      count = sqlite3_column_int(stmt, 0);
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  return failed ? -1 : count;
}

int CISQLiteQuery::execSql(const QString& path, const QString& sql) {
  sqlite3* db = nullptr;
  if (SqlUtils::openSqlite(path, &db) != 0) {
    Log(kModule, 0, "Fail to open db file: %s", path.toUtf8().constData());
    return -2;
  }
  const QString custom = customSql(db);
  const QByteArray text = (custom.isEmpty() ? sql : custom).toUtf8();
  sqlite3_stmt* stmt = nullptr;
  if (SqlUtils::prepareSqlite(db, text.constData(), -1, &stmt, nullptr) != 0) {
    // The listed statement names the query in the log, even when a replacement
    // was the one that failed.
    Log(kModule, 0, "Fail to query sql \"%s\" for db %s", sql.toUtf8().constData(), path.toUtf8().constData());
    sqlite3_close(db);
    return -1;
  }
  int rows = 0;
  while (sqlite3_step(stmt) == SQLITE_ROW) {
    if (!onRow(stmt))
      break;
    ++rows;
    if (m_progress && !m_progress->progress(m_step))
      break;
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return rows;
}

QString CISQLiteQuery::columnText(sqlite3_stmt* stmt, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
  if (!text)
    return QString();
  return QString::fromUtf8(text, sqlite3_column_bytes(stmt, column));
}

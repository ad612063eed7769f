#include "backup/cisqlitequery.h"

#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
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
    // No path: the backup holds no such database, so there is nothing to read
    // (the reader says so where it knows the app's name).
    if (path.isEmpty()) {
      Log(kModule, 2, "no database to query");
      continue;
    }
    if (!QFile::exists(path)) {
      Log(kModule, 0, "%s is missing: nothing read from it", path.toUtf8().constData());
      continue;
    }
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
  SqlDatabase db;
  QString error;
  if (!db.open(path, &error)) {
    Log(kModule, 0, "%s", error.toUtf8().constData());
    return OpenFailed;
  }
  int count = 0;
  for (const QString& sql : countSqls) {
    SqlStatement stmt(db, sql);
    if (!stmt.isValid()) {
      Log(kModule, 0, "%s: %s; its rows are not read", qPrintable(path),
          qPrintable(db.sqliteMessage()));
      return PrepareFailed;
    }
    // Replaced, not added: with several statements the last one decides.
    if (stmt.step())
      count = SqlRow(stmt).integer();
  }
  return count;
}

int CISQLiteQuery::execSql(const QString& path, const QString& sql) {
  SqlDatabase db;
  QString error;
  if (!db.open(path, &error)) {
    Log(kModule, 0, "%s", error.toUtf8().constData());
    return OpenFailed;
  }
  const QString custom = customSql(db.handle());
  SqlStatement stmt(db, custom.isEmpty() ? sql : custom);
  if (!stmt.isValid()) {
    // The listed statement names the query in the log, even when a replacement
    // was the one that failed.
    Log(kModule, 0, "%s: %s; its rows are not read", qPrintable(path),
        qPrintable(db.sqliteMessage()));
    return PrepareFailed;
  }
  int rows = 0;
  while (stmt.step()) {
    if (!onRow(stmt.handle()))
      break;
    ++rows;
    if (m_progress && !m_progress->progress(m_step))
      break;
  }
  return rows;
}

QString CISQLiteQuery::columnText(sqlite3_stmt* stmt, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
  if (!text)
    return QString();
  return QString::fromUtf8(text, sqlite3_column_bytes(stmt, column));
}

#include "samples/sqlitefile.h"

#include <QFile>

#include <sqlite3.h>

namespace fixture {

bool writeSqliteFile(const QString& path, const QStringList& statements, QString* error) {
  QFile::remove(path);
  sqlite3* db = nullptr;
  if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK) {
    sqlite3_close(db);
    if (error)
      *error = QStringLiteral("cannot create %1").arg(path);
    return false;
  }
  auto exec = [&](const QString& sql) {
    char* msg = nullptr;
    const bool ok = sqlite3_exec(db, sql.toUtf8().constData(), nullptr, nullptr, &msg) == SQLITE_OK;
    if (!ok && error)
      *error = QString::fromUtf8(msg);
    sqlite3_free(msg);
    return ok;
  };
  bool ok = exec(QStringLiteral("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; BEGIN"));
  for (const QString& s : statements)
    ok = ok && exec(s);
  ok = ok && exec(QStringLiteral("COMMIT"));
  sqlite3_close(db);
  return ok;
}

QString sqlQuoted(const QString& text) {
  return QLatin1Char('\'') + QString(text).replace(QLatin1Char('\''), QStringLiteral("''")) + QLatin1Char('\'');
}

QString sqlNullable(const QString& text) { return text.isNull() ? QStringLiteral("NULL") : sqlQuoted(text); }

QString sqlQuotedOrNull(const QString& text) { return text.isEmpty() ? QStringLiteral("NULL") : sqlQuoted(text); }

} // namespace fixture

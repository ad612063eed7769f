// libFuzzer target: the deleted-record carver over a database file and its
// write-ahead log. The input is the database; from the log's magic number on
// (when present) it is the -wal file beside it. Every table of the schema
// that SQLite can still read is carved.
#include "platform/sqlitecarve/sqlitecarver.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>

namespace {
bool writeFile(const QString& path, const QByteArray& bytes) {
  QFile f(path);
  if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
    return false;
  return f.write(bytes) == bytes.size();
}

QStringList tablesOf(const QString& path) {
  QStringList tables;
  sqlite3* db = nullptr;
  const QByteArray uri = "file:" + QFile::encodeName(path) + "?immutable=1";
  if (sqlite3_open_v2(uri.constData(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr) == SQLITE_OK) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type='table'", -1, &st, nullptr) == SQLITE_OK)
      while (sqlite3_step(st) == SQLITE_ROW && tables.size() < 8)
        tables << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
    sqlite3_finalize(st);
  }
  sqlite3_close(db);
  return tables;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QTemporaryDir dir;
  const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
  const QString path = QDir(dir.path()).filePath(QStringLiteral("db.sqlite"));
  const int wal = input.indexOf(QByteArray("\x37\x7f\x06\x82", 4));
  QFile::remove(path + QStringLiteral("-wal"));
  if (!writeFile(path, wal >= 0 ? input.left(wal) : input))
    return 0;
  if (wal >= 0 && !writeFile(path + QStringLiteral("-wal"), input.mid(wal)))
    return 0;
  for (const QString& table : tablesOf(path)) {
    QString error;
    sqlitecarve::CarveStats stats;
    const auto records = sqlitecarve::carveTable(path, table, {}, &error, &stats);
    for (const auto& r : records)
      (void)r.from.text();
  }
  return 0;
}

// libFuzzer target: a database file read through the read-ahead VFS, as the
// manifest is: every table of the schema is scanned to its end.
#include "platform/backup/readaheadvfs.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QTemporaryDir dir;
  const QString path = QDir(dir.path()).filePath(QStringLiteral("db.sqlite"));
  QFile f(path);
  if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
    return 0;
  f.write(reinterpret_cast<const char*>(data), qint64(size));
  f.close();
  const QByteArray uri = "file:" + QFile::encodeName(path) + "?immutable=1";
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(uri.constData(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, ReadAheadVfs::name()) ==
      SQLITE_OK) {
    std::vector<std::string> tables;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type='table'", -1, &st, nullptr) == SQLITE_OK) {
      while (sqlite3_step(st) == SQLITE_ROW && tables.size() < 16)
        tables.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
    }
    sqlite3_finalize(st);
    for (const std::string& t : tables) {
      std::string sql = "SELECT * FROM \"";
      for (char c : t)
        sql += c == '"' ? std::string("\"\"") : std::string(1, c);
      sql += "\"";
      if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) == SQLITE_OK) {
        int rows = 0;
        while (sqlite3_step(st) == SQLITE_ROW && ++rows < 10000)
          for (int i = 0; i < sqlite3_column_count(st); ++i)
            (void)sqlite3_column_bytes(st, i);
      }
      sqlite3_finalize(st);
    }
  }
  sqlite3_close(db);
  return 0;
}

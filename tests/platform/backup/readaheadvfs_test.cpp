#include "platform/backup/readaheadvfs.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <random>

namespace {
// A database of several megabytes: far more than one read-ahead chunk. With
// wal, its header marks it as a write-ahead-log database whose log has been
// folded in and removed, as a manifest can be.
QString writeLargeDb(const QString& path, bool wal = false) {
  sqlite3* db = nullptr;
  sqlite3_open(path.toUtf8().constData(), &db);
  if (wal)
    sqlite3_exec(db, "pragma journal_mode=wal", nullptr, nullptr, nullptr);
  sqlite3_exec(db,
               "create table t(id integer primary key, name text, data blob);"
               "begin;"
               "with recursive n(i) as (select 1 union all select i + 1 from n where i < 20000) "
               "insert into t select i, printf('row-%08d-%s', i, hex(randomblob(40))), randomblob(i % 300) from n;"
               "commit;",
               nullptr, nullptr, nullptr);
  sqlite3_close(db); // the last connection folds the log in and deletes it
  return path;
}

sqlite3* openImmutable(const QString& path, const char* vfs) {
  const QByteArray uri = "file:" + path.toUtf8() + "?mode=ro&immutable=1";
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(uri.constData(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, vfs) != SQLITE_OK) {
    sqlite3_close(db);
    return nullptr;
  }
  return db;
}

// Every row of the table in scan order, or of the given rows one by one (as
// an index lookup reads them); the last step's result code in *rc. onRow runs
// as each row arrives, before its columns are read.
QByteArray readRows(sqlite3* db, const std::vector<int>& ids, int* rc, const std::function<void()>& onRow = {}) {
  QByteArray out;
  sqlite3_stmt* st = nullptr;
  sqlite3_prepare_v2(db, ids.empty() ? "select id, name, data from t" : "select id, name, data from t where id = ?", -1,
                     &st, nullptr);
  auto take = [&] {
    while ((*rc = sqlite3_step(st)) == SQLITE_ROW) {
      if (onRow)
        onRow();
      out += QByteArray::number(sqlite3_column_int(st, 0));
      out += reinterpret_cast<const char*>(sqlite3_column_text(st, 1));
      out += QByteArray(static_cast<const char*>(sqlite3_column_blob(st, 2)), sqlite3_column_bytes(st, 2)).toHex();
    }
  };
  if (ids.empty())
    take();
  for (int id : ids) {
    sqlite3_reset(st);
    sqlite3_bind_int(st, 1, id);
    take();
  }
  sqlite3_finalize(st);
  return out;
}

TEST(ReadAheadVfs, ReadsWhatTheDefaultReads) {
  ASSERT_NE(ReadAheadVfs::name(), nullptr);
  QTemporaryDir dir;
  const QString large = writeLargeDb(dir.filePath("large.db"));
  ASSERT_GT(QFileInfo(large).size(), 4 << 20);
  std::vector<int> shuffled(3000);
  std::mt19937 rng(7);
  for (int& id : shuffled)
    id = int(rng() % 20000) + 1;
  struct Row {
    const char* name;
    QString path;
    std::vector<int> ids;
  } rows[] = {
      {"large, scan", large, {}},
      {"large, lookups in random order", large, shuffled},
      {"write-ahead-log header, log folded in", writeLargeDb(dir.filePath("wal.db"), true), {}},
  };
  for (const Row& r : rows) {
    sqlite3* plain = openImmutable(r.path, nullptr);
    sqlite3* ahead = openImmutable(r.path, ReadAheadVfs::name());
    ASSERT_TRUE(plain && ahead) << r.name;
    int rcPlain = 0, rcAhead = 0;
    const QByteArray expected = readRows(plain, r.ids, &rcPlain);
    EXPECT_FALSE(expected.isEmpty()) << r.name;
    EXPECT_EQ(readRows(ahead, r.ids, &rcAhead), expected) << r.name;
    EXPECT_EQ(rcAhead, SQLITE_DONE) << r.name;
    sqlite3_close(plain);
    sqlite3_close(ahead);
  }
}

// A file cut short, before opening or while a scan runs, ends the scan with
// an error; the rows it gives are never made of zeros read past the end.
TEST(ReadAheadVfs, AFileCutShortIsAnError) {
  QTemporaryDir dir;
  const QString source = writeLargeDb(dir.filePath("source.db"));
  sqlite3* whole = openImmutable(source, nullptr);
  int rc = 0;
  const QByteArray all = readRows(whole, {}, &rc);
  sqlite3_close(whole);
  for (bool whileOpen : {false, true}) {
    const QString path = dir.filePath(whileOpen ? "shrinks.db" : "cut.db");
    QFile::remove(path);
    ASSERT_TRUE(QFile::copy(source, path));
    const qint64 half = QFileInfo(path).size() / 2;
    if (!whileOpen)
      QFile::resize(path, half);
    sqlite3* db = openImmutable(path, ReadAheadVfs::name());
    ASSERT_TRUE(db);
    int n = 0; // the statement may already fail to prepare on the cut file
    const QByteArray got = readRows(db, {}, &rc, [&] {
      if (whileOpen && ++n == 100)
        QFile::resize(path, half);
    });
    EXPECT_NE(rc, SQLITE_DONE) << whileOpen;
    EXPECT_NE(rc, SQLITE_OK) << whileOpen;
    EXPECT_TRUE(all.startsWith(got)) << whileOpen; // what came before the error is true data
    EXPECT_LT(got.size(), all.size()) << whileOpen;
    sqlite3_close(db);
  }
}
} // namespace

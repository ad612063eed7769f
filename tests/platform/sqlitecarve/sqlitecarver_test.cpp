#include "platform/sqlitecarve/sqlitecarver.h"

#include "tests/support/testdata.h"

#include <QFile>
#include <QMap>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

using namespace sqlitecarve;

namespace {
// A row of the test table: kind repeats the id so that a record whose columns
// slid shows at once.
struct Row {
  qint64 id;
  qint64 kind;
  QString body;
  double at;
};

QString bodyOf(qint64 id, int length) {
  QString s = QStringLiteral("row %1 ").arg(id);
  while (s.size() < length)
    s += QStringLiteral("héllo-%1 ").arg(id * 7 % 1000);
  return s.left(length);
}

// A database built and changed through SQLite, copied (with its log) while
// the connection is still open, so that a log is not checkpointed away.
class Store {
public:
  Store(const QString& path, bool wal, int pageSize) : m_path(path) {
    sqlite3_open(path.toUtf8().constData(), &m_db);
    exec(QStringLiteral("pragma page_size=%1; pragma secure_delete=off; pragma auto_vacuum=none;").arg(pageSize));
    if (wal)
      exec(QStringLiteral("pragma journal_mode=wal; pragma wal_autocheckpoint=0;"));
  }
  ~Store() { sqlite3_close(m_db); }
  void exec(const QString& sql) {
    char* err = nullptr;
    EXPECT_EQ(sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, &err), SQLITE_OK) << err;
    sqlite3_free(err);
  }
  void insert(const Row& r) {
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(m_db, "insert into t(id, kind, body, at) values(?,?,?,?)", -1, &s, nullptr);
    sqlite3_bind_int64(s, 1, r.id);
    sqlite3_bind_int64(s, 2, r.kind);
    const QByteArray b = r.body.toUtf8();
    sqlite3_bind_text(s, 3, b.constData(), b.size(), SQLITE_TRANSIENT);
    sqlite3_bind_double(s, 4, r.at);
    EXPECT_EQ(sqlite3_step(s), SQLITE_DONE);
    sqlite3_finalize(s);
  }
  QString snapshot(const QString& target) const {
    for (const char* suffix : {"", "-wal"}) {
      QFile::remove(target + suffix);
      if (QFile::exists(m_path + suffix))
        QFile::copy(m_path + suffix, target + suffix);
    }
    return target;
  }

private:
  QString m_path;
  sqlite3* m_db = nullptr;
};

QVector<CarvedRecord> carveFile(const QString& path, QString* error = nullptr) {
  TableLayout layout = describeTable(path, QStringLiteral("t"), error);
  SqliteCarver carver;
  if (!layout.isValid() || !carver.open(path, error))
    return {};
  return carver.carve(layout);
}

struct Case {
  const char* name;
  bool wal;
  int pageSize;
  int rows;
  int bodyLength;
  QVector<qint64> deleted;
  bool rowidsKept; // the log or whole freed pages keep the rowids
};
} // namespace

class CarveCase : public ::testing::TestWithParam<Case> {};

// Deleted rows come back exactly, live rows never, whatever held the bytes.
TEST_P(CarveCase, RecoversExactlyTheDeletedRows) {
  const Case& c = GetParam();
  QTemporaryDir dir;
  QMap<qint64, Row> rows;
  QString copy;
  {
    Store store(dir.filePath(QStringLiteral("live.db")), c.wal, c.pageSize);
    store.exec(QStringLiteral("create table t(id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, body VARCHAR, at "
                              "TIMESTAMP)"));
    store.exec(QStringLiteral("begin"));
    for (int i = 1; i <= c.rows; ++i) {
      // Row 7 is long enough to spill onto overflow pages.
      const Row r{i, i, bodyOf(i, i == 7 ? 3 * c.pageSize : c.bodyLength + i % 13), 600000000.25 + i};
      rows.insert(r.id, r);
      store.insert(r);
    }
    store.exec(QStringLiteral("commit"));
    // A freelist with a trunk already, as a store in use has: pages freed
    // later become its leaves and keep their bytes.
    store.exec(QStringLiteral("create table pad(x); insert into pad values(zeroblob(%1)); drop table pad")
                   .arg(4 * c.pageSize));
    QStringList ids;
    for (qint64 id : c.deleted)
      ids << QString::number(id);
    store.exec(QStringLiteral("delete from t where id in (%1)").arg(ids.join(QLatin1Char(','))));
    copy = store.snapshot(dir.filePath(QStringLiteral("copy.db")));
  }
  const QVector<CarvedRecord> found = carveFile(copy);
  // A row can only come back while its bytes are still there (rebalancing
  // the tree moves and overwrites cells): look for its text's two ends.
  QByteArray bytes;
  for (const char* suffix : {"", "-wal"}) {
    QFile f(copy + QLatin1String(suffix));
    if (f.open(QIODevice::ReadOnly))
      bytes += f.readAll();
  }
  auto remains = [&](const Row& row) {
    const QByteArray b = row.body.toUtf8();
    return bytes.contains(b.left(40)) && bytes.contains(b.right(40));
  };

  QMap<QString, const CarvedRecord*> byBody;
  for (const CarvedRecord& r : found) {
    ASSERT_EQ(r.values.size(), 4);
    EXPECT_FALSE(byBody.contains(r.values.at(2).toString()))
        << "listed twice: " << r.from.text().toStdString() << " and " << byBody.value(r.values.at(2).toString())->from.text().toStdString();
    byBody.insert(r.values.at(2).toString(), &r);
  }
  int remaining = 0;
  for (const Row& row : rows) {
    const bool deleted = c.deleted.contains(row.id);
    const CarvedRecord* r = byBody.value(row.body, nullptr);
    if (!deleted) {
      EXPECT_EQ(r, nullptr) << "live row " << row.id << " recovered";
      continue;
    }
    if (!remains(row))
      continue;
    ++remaining;
    ASSERT_NE(r, nullptr) << "row " << row.id << " not recovered";
    EXPECT_EQ(r->values.at(1).toLongLong(), row.kind);
    EXPECT_DOUBLE_EQ(r->values.at(3).toDouble(), row.at);
    if (r->hasRowid) {
      EXPECT_EQ(r->values.at(0).toLongLong(), row.id);
    } else {
      EXPECT_TRUE(r->values.at(0).isNull());
    }
    if (c.rowidsKept) {
      EXPECT_TRUE(r->hasRowid) << "row " << row.id << " from " << r->from.text().toStdString();
    }
  }
  QSet<QString> bodies;
  for (const Row& row : rows)
    bodies.insert(row.body);
  for (const CarvedRecord& r : found)
    EXPECT_TRUE(bodies.contains(r.values.at(2).toString())) << "invented: " << r.from.text().toStdString() << " " << testdata::fields(r.values.at(1), r.values.at(2)).toStdString();
  EXPECT_EQ(found.size(), remaining);
  EXPECT_GE(remaining, c.deleted.size() / 2) << "the case no longer shows what it is about";
}

INSTANTIATE_TEST_SUITE_P(
    Stores, CarveCase,
    ::testing::Values(
        Case{"RollbackMiddle", false, 1024, 200, 60, {50, 51, 52, 120}, false},
        Case{"RollbackPageEdges", false, 1024, 200, 60, {1, 11, 12, 200}, false},
        Case{"RollbackOverflow", false, 1024, 40, 60, {6, 7, 8}, false},
        Case{"RollbackSmallRecords", false, 1024, 100, 20, {3, 40, 41, 99}, false},
        Case{"RollbackWholePages", false, 1024, 300, 60, [] {
               QVector<qint64> v;
               for (int i = 30; i <= 180; ++i)
                 v << i;
               return v;
             }(), false},
        Case{"WalMiddle", true, 1024, 200, 60, {50, 51, 52, 120}, true},
        Case{"WalOverflow", true, 4096, 40, 60, {7, 30}, true},
        Case{"WalWholePages", true, 1024, 300, 60, [] {
               QVector<qint64> v;
               for (int i = 30; i <= 180; ++i)
                 v << i;
               return v;
             }(), true}),
    [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

// A free block whose header wiped the record header's length and the first
// serial type of a column that is not a rowid alias: the type is rebuilt from
// the block's size.
TEST(SqliteCarver, RebuildsALostFirstSerialType) {
  struct Lost {
    const char* name;
    const char* type;  // declared type of column k
    const char* value; // SQL literal of column k
    QVariant expected;
    bool guessed;
  };
  const Lost cases[] = {
      {"text", "TEXT", "'abc'", QStringLiteral("abc"), false},
      {"two-byte integer", "INTEGER", "300", qint64(300), false},
      {"real", "REAL", "2.5", 2.5, false},
      {"zero-size integer", "INTEGER", "1", QVariant(), true},
  };
  for (const Lost& l : cases) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("kv.db"));
    testdata::execSqlite(path, {QStringLiteral("pragma page_size=1024"), QStringLiteral("pragma secure_delete=off"),
                                QStringLiteral("create table t(k %1, v INTEGER, w TEXT)").arg(QLatin1String(l.type)),
                                QStringLiteral("insert into t values('first', 1, 'x')"),
                                QStringLiteral("insert into t values(%1, 77, 'gone row')").arg(l.value),
                                QStringLiteral("insert into t values('third', 3, 'y')"),
                                QStringLiteral("delete from t where v = 77")});
    const QVector<CarvedRecord> found = carveFile(path);
    ASSERT_EQ(found.size(), 1) << l.name;
    const CarvedRecord& r = found.first();
    EXPECT_TRUE(r.from.rebuilt) << l.name;
    EXPECT_EQ(r.from.origin, Origin::FreeBlock) << l.name;
    EXPECT_EQ(r.values.at(0), l.expected) << l.name;
    EXPECT_EQ(r.values.at(1).toLongLong(), 77) << l.name;
    EXPECT_EQ(r.values.at(2).toString(), QStringLiteral("gone row")) << l.name;
    EXPECT_EQ(bool(r.guessedColumns & 1), l.guessed) << l.name;
  }
}

// Of several versions of one row in the log, only the newest is listed; a
// version equal to the live row is not listed at all.
TEST(SqliteCarver, ListsTheNewestVersionOnce) {
  QTemporaryDir dir;
  QString copy;
  {
    Store store(dir.filePath(QStringLiteral("v.db")), true, 1024);
    store.exec(QStringLiteral("create table t(id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, body VARCHAR, at REAL)"));
    for (int i = 1; i <= 5; ++i)
      store.insert({i, i, bodyOf(i, 40), 1.5});
    for (int v = 1; v <= 3; ++v)
      store.exec(QStringLiteral("update t set body = 'version %1' where id = 2").arg(v));
    store.exec(QStringLiteral("update t set body = 'unchanged' where id = 4"));
    store.exec(QStringLiteral("delete from t where id = 2"));
    copy = store.snapshot(dir.filePath(QStringLiteral("copy.db")));
  }
  const QVector<CarvedRecord> found = carveFile(copy);
  int versionsOf2 = 0;
  for (const CarvedRecord& r : found) {
    if (r.hasRowid && r.rowid == 2) {
      ++versionsOf2;
      EXPECT_EQ(r.values.at(2).toString(), QStringLiteral("version 3"));
      EXPECT_FALSE(r.rowidLive);
    }
    if (r.hasRowid && r.rowid == 4) {
      EXPECT_TRUE(r.rowidLive) << "an older version of a live row is marked as such";
    }
    EXPECT_NE(r.values.at(2).toString(), QStringLiteral("unchanged"));
  }
  EXPECT_EQ(versionsOf2, 1);
}

// Damaged files: no crash, and nothing recovered that was never written
// (a flipped byte inside a deleted text may change that one byte).
TEST(SqliteCarver, DamagedFilesInventNothing) {
  QTemporaryDir dir;
  QStringList written;
  QString original;
  {
    Store store(dir.filePath(QStringLiteral("d.db")), true, 1024);
    store.exec(QStringLiteral("create table t(id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, body VARCHAR, at REAL)"));
    for (int i = 1; i <= 120; ++i) {
      const Row r{i, i, bodyOf(i, i == 9 ? 2500 : 50), double(i)};
      written << r.body;
      store.insert(r);
    }
    store.exec(QStringLiteral("delete from t where id % 3 = 0"));
    original = store.snapshot(dir.filePath(QStringLiteral("orig.db")));
  }
  auto resembles = [&](const QString& body) {
    for (const QString& w : written) {
      if (w.size() != body.size())
        continue;
      int diff = 0;
      for (int i = 0; i < w.size() && diff < 2; ++i)
        diff += w.at(i) != body.at(i);
      if (diff < 2)
        return true;
    }
    return false;
  };
  QFile f(original);
  ASSERT_TRUE(f.open(QIODevice::ReadOnly));
  const QByteArray db = f.readAll();
  QFile w(original + QStringLiteral("-wal"));
  ASSERT_TRUE(w.open(QIODevice::ReadOnly));
  const QByteArray wal = w.readAll();
  const QString damaged = dir.filePath(QStringLiteral("damaged.db"));
  QRandomGenerator rng(21);
  struct Damage {
    const char* name;
    std::function<void(QByteArray&, QByteArray&)> apply;
  };
  const Damage damages[] = {
      {"bit flips in the file", [&](QByteArray& d, QByteArray&) {
         for (int i = 0; i < 40; ++i)
           d.data()[rng.bounded(100, d.size())] ^= char(1 << rng.bounded(8));
       }},
      {"bit flips in the log", [&](QByteArray&, QByteArray& l) {
         for (int i = 0; i < 40; ++i)
           l.data()[rng.bounded(32, l.size())] ^= char(1 << rng.bounded(8));
       }},
      {"file truncated mid-page", [&](QByteArray& d, QByteArray&) { d.truncate(d.size() / 2 + 333); }},
      {"log truncated mid-frame", [&](QByteArray&, QByteArray& l) { l.truncate(l.size() * 2 / 3 + 77); }},
      {"zeroed page headers", [&](QByteArray& d, QByteArray& l) {
         for (int p = 1024; p < d.size(); p += 1024)
           d[p] = char(0x0d), d[p + 5] = 0, d[p + 6] = 0;
         for (int p = 32 + 24; p < l.size(); p += 1024 + 24)
           l[p + 1] = char(0xff), l[p + 2] = char(0xff);
       }},
  };
  for (const Damage& dmg : damages) {
    for (int round = 0; round < 20; ++round) {
      QByteArray d = db;
      QByteArray l = wal;
      dmg.apply(d, l);
      testdata::writeFile(damaged, d);
      testdata::writeFile(damaged + QStringLiteral("-wal"), l);
      SqliteCarver carver;
      if (!carver.open(damaged))
        continue;
      TableLayout layout;
      layout.name = QStringLiteral("t");
      layout.rootPage = 2;
      layout.columns = {{QStringLiteral("id"), Affinity::Integer, true},
                      {QStringLiteral("kind"), Affinity::Integer, false, true},
                      {QStringLiteral("body"), Affinity::Text},
                      {QStringLiteral("at"), Affinity::Real}};
      for (const CarvedRecord& r : carver.carve(layout)) {
        EXPECT_TRUE(resembles(r.values.at(2).toString()))
            << dmg.name << ": invented " << r.from.text().toStdString() << " "
            << testdata::fields(r.rowid, r.values.at(1), r.values.at(2), r.values.at(3)).toStdString();
      }
    }
  }
}

TEST(SqliteCarver, RefusesWhatIsNotADatabase) {
  QTemporaryDir dir;
  const QString path = testdata::writeFile(dir.filePath(QStringLiteral("x.db")), QByteArray(4096, 'x'));
  SqliteCarver carver;
  QString error;
  EXPECT_FALSE(carver.open(path, &error));
  EXPECT_TRUE(error.contains(path));
  EXPECT_FALSE(describeTable(path, QStringLiteral("t"), &error).isValid());
}

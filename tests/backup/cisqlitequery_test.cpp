#include "backup/cisqlitequery.h"

#include "platform/common/log.h"
#include "service/progress.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <vector>

namespace {
const char* const kTable = "create table t(id integer primary key, name text);"
                           "insert into t values(1,'a'),(2,'b'),(3,'c'),(4,'d');";

// Captures the logger's lines for the life of the object.
struct LogCapture {
  LogCapture() {
    SherdLog::setSink([this](const char* module, int level, const QString& text) {
      lines << QStringLiteral("%1/%2 %3").arg(QLatin1String(module)).arg(level).arg(text);
    });
  }
  ~LogCapture() { SherdLog::toStderr(); }
  QStringList lines;
};

// A sink with a range that refuses every call from the `refuseFrom`th on (1-based; 0: never).
class Sink : public CIProgressCallback {
public:
  Sink(int range, int refuseFrom) : m_range(range), m_refuseFrom(refuseFrom) {}
  void initRange(int r) override { m_range = r; }
  int range() override { return m_range; }
  bool progress(double amount) override {
    amounts.push_back(amount);
    return m_refuseFrom == 0 || int(amounts.size()) < m_refuseFrom;
  }
  bool finish() override { return true; }
  void download(bool) override {}
  std::vector<double> amounts;

private:
  int m_range;
  int m_refuseFrom;
};

// Records column 0 of every row it is handed; refuses the row whose value is `refuseId`.
class RecordingQuery : public CISQLiteQuery {
public:
  std::vector<qint64> handed;
  qint64 refuseId = -1;
  QString replacement;
  int customSqlCalls = 0;
  double step() const { return m_step; }

protected:
  bool onRow(sqlite3_stmt* stmt) override {
    const qint64 id = sqlite3_column_int64(stmt, 0);
    handed.push_back(id);
    return id != refuseId;
  }
  QString customSql(sqlite3* db) override {
    ++customSqlCalls;
    EXPECT_NE(db, nullptr);
    return replacement;
  }
};

QString makeDb(const QTemporaryDir& dir, const QString& name, const char* sql) {
  const QString path = dir.filePath(name);
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.toUtf8().constData(), &db), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  sqlite3_close(db);
  return path;
}

QString makeGarbage(const QTemporaryDir& dir, const QString& name) {
  const QString path = dir.filePath(name);
  QFile f(path);
  EXPECT_TRUE(f.open(QIODevice::WriteOnly));
  f.write(QByteArray(2048, 'x'));
  return path;
}

// How each candidate file of a case is made.
enum FileKind { Table, Missing, Garbage };

struct QueryCase {
  const char* name;
  std::vector<FileKind> files;
  QStringList sqls, countSqls;
  const char* replacement; // customSql's answer
  qint64 refuseId;         // the row onRow refuses, -1 none
  int sinkRange;           // 0: null sink
  int refuseFrom;          // the sink's first refused call, 0 never
  std::vector<qint64> handed;
  QStringList log; // "{0}", "{1}" stand for the files' paths
  double step;     // m_step after the run
};

const QString kSelect = QStringLiteral("select id from t order by id");
const QString kSelect10 = QStringLiteral("select id + 10 from t order by id");
const QString kCount = QStringLiteral("select count(*) from t");
// The line of a statement the file's schema refuses: the file and SQLite's reason.
QString failed(const char* why, int file) {
  return QStringLiteral("iTunesBackup/0 {%2}: %1; its rows are not read").arg(QLatin1String(why)).arg(file);
}

// clang-format off
const QueryCase kCases[] = {
    {"reads every row of every file", {Table, Table}, {kSelect}, {kCount}, "", -1, 0, 0, {1, 2, 3, 4, 1, 2, 3, 4}, {}, 0},
    {"missing first file is logged and the second read", {Missing, Table}, {kSelect}, {kCount}, "", -1, 0, 0,
     {1, 2, 3, 4}, {"iTunesBackup/0 {0} is missing: nothing read from it"}, 0},
    {"no count statement reads nothing", {Table}, {kSelect}, {}, "", -1, 0, 0, {}, {}, 0},
    {"counts 0 then 2: the last decides", {Table}, {kSelect}, {QStringLiteral("select 0"), QStringLiteral("select 2")},
     "", -1, 100, 0, {1, 2, 3, 4}, {}, 50},
    {"count that cannot be prepared skips the file", {Table, Table}, {kSelect},
     {QStringLiteral("select count(*) from nowhere")}, "", -1, 0, 0, {},
     {failed("no such table: nowhere", 0), failed("no such table: nowhere", 1)}, 0},
    {"refused row ends its statement only", {Table}, {kSelect, kSelect10}, {kCount}, "", 2, 0, 0,
     {1, 2, 11, 12, 13, 14}, {}, 0},
    {"replacement statement is run", {Table}, {kSelect}, {kCount}, "select id * 100 from t order by id", -1, 0, 0,
     {100, 200, 300, 400}, {}, 0},
    {"failing replacement is logged with the listed statement", {Table}, {kSelect}, {kCount}, "select nope from t",
     -1, 0, 0, {}, {failed("no such column: nope", 0)}, 0},
    {"failing select skips the file's later statements, not the next file", {Table, Table},
     {QStringLiteral("select nope from t"), kSelect}, {kCount}, "", -1, 0, 0, {},
     {failed("no such column: nope", 0), failed("no such column: nope", 1)}, 0},
    {"sink's stop ends the statement, later statements still start", {Table}, {kSelect, kSelect10}, {kCount}, "",
     -1, 100, 2, {1, 2, 11}, {}, 25},
    {"garbage file cannot be opened", {Garbage, Table}, {kSelect}, {kCount}, "", -1, 0, 0, {1, 2, 3, 4},
     {"iTunesBackup/0 cannot open {0}: file is not a database"}, 0},
};
// clang-format on

TEST(QueryRun, ReadsWhatTheRulesAllow) {
  for (const QueryCase& c : kCases) {
    SCOPED_TRACE(c.name);
    QTemporaryDir dir;
    QStringList files;
    for (size_t i = 0; i < c.files.size(); ++i) {
      const QString name = QStringLiteral("db%1.sqlite").arg(i);
      switch (c.files[i]) {
      case Table:
        files << makeDb(dir, name, kTable);
        break;
      case Missing:
        files << dir.filePath(name);
        break;
      case Garbage:
        files << makeGarbage(dir, name);
        break;
      }
    }
    RecordingQuery q;
    q.m_sqls = c.sqls;
    q.m_countSqls = c.countSqls;
    q.replacement = QString::fromUtf8(c.replacement);
    q.refuseId = c.refuseId;
    Sink sink(c.sinkRange, c.refuseFrom);
    LogCapture log;
    q.query(files, c.sinkRange ? &sink : nullptr);

    EXPECT_EQ(q.handed, c.handed);
    QStringList expectedLog;
    for (QString line : c.log) {
      for (int i = 0; i < files.size(); ++i)
        line.replace(QStringLiteral("{%1}").arg(i), files[i]);
      expectedLog << line;
    }
    EXPECT_EQ(log.lines, expectedLog);
    EXPECT_DOUBLE_EQ(q.step(), c.step);
    if (c.sinkRange) {
      // One step of range / count per accepted row.
      for (double a : sink.amounts)
        EXPECT_DOUBLE_EQ(a, c.step);
      size_t accepted = 0;
      for (qint64 id : c.handed)
        accepted += id != c.refuseId;
      EXPECT_EQ(sink.amounts.size(), accepted);
    }
  }
}

TEST(QueryHelpers, ExecSqlCountsAcceptedRowsAndConsultsCustomSqlPerRun) {
  QTemporaryDir dir;
  const QString db = makeDb(dir, QStringLiteral("a.sqlite"), kTable);
  LogCapture log;
  RecordingQuery q;
  q.refuseId = 3;
  EXPECT_EQ(q.execSql(db, kSelect), 2); // rows 1 and 2; row 3 refused and not counted
  EXPECT_EQ(q.execSql(db, QStringLiteral("select bad")), CISQLiteQuery::PrepareFailed);
  EXPECT_EQ(q.execSql(makeGarbage(dir, QStringLiteral("g")), kSelect), CISQLiteQuery::OpenFailed);
  EXPECT_EQ(q.customSqlCalls, 2); // not called when the database cannot be opened
  EXPECT_EQ(log.lines.size(), 2);
}

TEST(QueryHelpers, ColumnTextDecodesUtf8ByLength) {
  QTemporaryDir dir;
  const QString path = makeDb(dir, QStringLiteral("a.sqlite"),
                              "create table s(v);"
                              "insert into s values('Grüße 😀'),(NULL),(''),(cast(x'610062' as text)),(42);");
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(db, "select v from s order by rowid", -1, &stmt, nullptr), SQLITE_OK);
  const QString expected[] = {QStringLiteral("Grüße 😀"), QString(), QString(), QString::fromUtf8("a\0b", 3),
                              QStringLiteral("42")};
  for (const QString& e : expected) {
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_EQ(CISQLiteQuery::columnText(stmt, 0), e);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

} // namespace

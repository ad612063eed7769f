#include "platform/common/sqlrow.h"
#include "samples/sqlitefile.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

namespace {

// One row of every storage class, and a second row of NULLs, in a table the
// statement test can also query with a bound parameter.
QString makeDb(const QTemporaryDir& dir) {
  const QString path = dir.filePath(QStringLiteral("row.sqlite"));
  QString error;
  EXPECT_TRUE(fixture::writeSqliteFile(path,
                              {QStringLiteral("create table t(pk integer, n integer, s text, d real, b blob)"),
                               QStringLiteral("insert into t values(5000000000, 7, 'héllo', 2.5, x'00ff10')"),
                               QStringLiteral("insert into t values(6, NULL, NULL, NULL, NULL)")},
                              &error))
      << error.toStdString();
  return path;
}

TEST(SqlRow, ReadsColumnsInOrder) {
  QTemporaryDir dir;
  SqlDatabase db;
  ASSERT_TRUE(db.open(makeDb(dir)));
  struct Case {
    const char* name;
    qint64 pk;
    std::function<void(SqlRow&)> check;
  } cases[] = {
      {"every storage class", 5000000000LL,
       [](SqlRow& r) {
         EXPECT_EQ(r.int64(), 5000000000LL);
         EXPECT_EQ(r.integer(), 7);
         EXPECT_EQ(r.text(), QString::fromUtf8("héllo"));
         EXPECT_DOUBLE_EQ(r.real(), 2.5);
         EXPECT_EQ(r.blob(), QByteArray("\x00\xff\x10", 3));
         EXPECT_EQ(r.column(), 5);
       }},
      {"NULLs read as empty values", 6,
       [](SqlRow& r) {
         r.skip();
         EXPECT_TRUE(r.isNull());
         EXPECT_EQ(r.int64Or(-1), -1);
         EXPECT_TRUE(r.text().isNull());
         EXPECT_EQ(r.real(), 0.0);
         EXPECT_TRUE(r.blob().isEmpty());
       }},
      {"peeking does not move", 5000000000LL,
       [](SqlRow& r) {
         EXPECT_EQ(r.type(), SqlRow::Integer);
         EXPECT_FALSE(r.isNull());
         r.skip(2);
         EXPECT_EQ(r.type(), SqlRow::Text);
         EXPECT_EQ(r.text(), QString::fromUtf8("héllo"));
         EXPECT_EQ(r.int64Or(-1), 2); // a real read as an integer
       }},
      {"past the last column reads as NULL", 6,
       [](SqlRow& r) {
         r.skip(5);
         EXPECT_TRUE(r.isNull());
         EXPECT_EQ(r.int64(), 0);
         EXPECT_TRUE(r.text().isNull());
       }},
  };
  SqlStatement stmt(db, QStringLiteral("select pk, n, s, d, b from t where pk = ?1"));
  ASSERT_TRUE(stmt.isValid()) << stmt.errorString().toStdString();
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    stmt.reset();
    stmt.bind(1, c.pk);
    ASSERT_TRUE(stmt.step());
    SqlRow r(stmt);
    c.check(r);
    EXPECT_FALSE(stmt.step()); // one row per key
  }
}

TEST(SqlDatabase, FailuresNameTheFileOrStatement) {
  QTemporaryDir dir;
  const QString good = makeDb(dir);
  const QString junk = dir.filePath(QStringLiteral("junk.sqlite"));
  QFile f(junk);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write(QByteArray(4096, 'x'));
  f.close();

  struct Case {
    const char* name;
    QString path;
  } cases[] = {{"missing file", dir.filePath(QStringLiteral("none.sqlite"))}, {"not a database", junk}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    SqlDatabase db;
    QString why;
    EXPECT_FALSE(db.open(c.path, &why));
    EXPECT_FALSE(db.isOpen());
    EXPECT_TRUE(why.contains(c.path)) << why.toStdString();
  }

  SqlDatabase db;
  ASSERT_TRUE(db.open(good));
  EXPECT_TRUE(db.hasTable(QStringLiteral("T")));
  EXPECT_TRUE(db.hasColumn(QStringLiteral("t"), QStringLiteral("B")));
  SqlStatement missing(db, QStringLiteral("select zmissing from t"));
  EXPECT_FALSE(missing.isValid());
  EXPECT_FALSE(missing.step());
  EXPECT_TRUE(missing.errorString().contains(QStringLiteral("zmissing")));
  // Opened read-only: a write is refused and says so.
  SqlStatement write(db, QStringLiteral("insert into t values(1, 1, 'x', 1, x'')"));
  ASSERT_TRUE(write.isValid());
  EXPECT_FALSE(write.step());
  EXPECT_FALSE(write.errorString().isEmpty());

  // A moved-from owner gives up its handle, so it is closed once.
  SqlDatabase moved(std::move(db));
  EXPECT_TRUE(moved.isOpen());
  EXPECT_FALSE(db.isOpen());
}

} // namespace

TEST(SqlTextCache, HandsOutTheSameTextForTheSameBytes) {
  const QByteArray longText(200, 'x');
  struct Case {
    const char* name;
    QList<QByteArray> reads; // in order; the last one is checked
    bool sharedWithFirst;    // the last read shares the first read's string
  } cases[] = {
      {"a repeated text is shared", {"US", "US"}, true},
      {"a repeat after others is shared", {"Raleigh, NC", "US", "com.apple.Telephony", "Raleigh, NC"}, true},
      {"different bytes give their own text", {"US", "GB"}, false},
      {"a prefix is not the same text", {"Raleigh", "Raleigh, NC"}, false},
      {"long texts are decoded each time", {longText, longText}, false},
      {"an empty text is empty, not null", {"", ""}, true},
      {"multibyte texts decode", {"Zürich", "Zürich"}, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    SqlTextCache cache;
    QList<QString> got;
    for (const QByteArray& b : c.reads)
      got << cache.text(b.constData(), b.size());
    for (int i = 0; i < got.size(); ++i) {
      EXPECT_EQ(got[i], QString::fromUtf8(c.reads[i])) << i;
      EXPECT_FALSE(got[i].isNull()) << i;
    }
    EXPECT_EQ(got.first().constData() == got.last().constData(), c.sharedWithFirst);
  }

  // Many distinct texts through few slots: each read still gives its own bytes.
  SqlTextCache cache;
  for (int round = 0; round < 2; ++round)
    for (int i = 0; i < 500; ++i) {
      const QByteArray b = "place " + QByteArray::number(i);
      ASSERT_EQ(cache.text(b.constData(), b.size()), QString::fromLatin1(b)) << i;
    }
}

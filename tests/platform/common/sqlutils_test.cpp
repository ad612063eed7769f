#include "platform/common/sqlutils.h"

#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {
QString makeDb(const QTemporaryDir& dir, const char* name, const char* sql) {
  const QString path = dir.filePath(QString::fromLatin1(name));
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.toUtf8().constData(), &db), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  return path;
}

TEST(SqlUtils, OpenReadOnlyAndProbeSchema) {
  QTemporaryDir dir;
  const QString path = makeDb(dir, "a.sqlite", "create table ZWAMESSAGE(Z_PK integer, ZTEXT text); insert into ZWAMESSAGE values(1,'x');");
  sqlite3* db = nullptr;
  ASSERT_EQ(SqlUtils::openSqlite(path, &db), SQLITE_OK);
  EXPECT_TRUE(SqlUtils::hasTable(db, QStringLiteral("zwamessage")));
  EXPECT_FALSE(SqlUtils::hasTable(db, QStringLiteral("zwachatsession")));
  EXPECT_TRUE(SqlUtils::hasColumn(db, QStringLiteral("ZWAMESSAGE"), QStringLiteral("ztext")));
  EXPECT_FALSE(SqlUtils::hasColumn(db, QStringLiteral("ZWAMESSAGE"), QStringLiteral("zmissing")));
  // Read-only: a write is refused.
  EXPECT_NE(sqlite3_exec(db, "insert into ZWAMESSAGE values(2,'y')", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  EXPECT_NE(SqlUtils::prepareSqlite(db, "select nothing from nowhere", -1, &stmt, nullptr), SQLITE_OK);
  EXPECT_EQ(stmt, nullptr);
  ASSERT_EQ(SqlUtils::prepareSqlite(db, "select count(*) from zwamessage", -1, &stmt, nullptr), SQLITE_OK);
  ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(stmt, 0), 1);
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

TEST(SqlUtils, OpenFailuresLeaveNoHandle) {
  QTemporaryDir dir;
  const QString garbage = dir.filePath(QStringLiteral("garbage.sqlite"));
  QFile f(garbage);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write(QByteArray(4096, 'x'));
  f.close();
  struct Row {
    const char* name;
    QString path;
  } rows[] = {
      {"missing file", dir.filePath(QStringLiteral("missing.sqlite"))},
      {"not a database", garbage},
      {"a folder", dir.path()},
  };
  for (const auto& r : rows) {
    sqlite3* db = reinterpret_cast<sqlite3*>(&f); // any non-null value
    EXPECT_NE(SqlUtils::openSqlite(r.path, &db), SQLITE_OK) << r.name;
    EXPECT_EQ(db, nullptr) << r.name;
  }
  EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("missing.sqlite"))));
}
} // namespace

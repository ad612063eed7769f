#include "platform/common/sqlutils.h"

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
  EXPECT_TRUE(SqlUtils::hasColumn(db, QStringLiteral("ZWAMESSAGE"), QStringLiteral("ztext")));
  // Read-only: a write is refused.
  EXPECT_NE(sqlite3_exec(db, "insert into ZWAMESSAGE values(2,'y')", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  EXPECT_NE(SqlUtils::prepareSqlite(db, "select nothing from nowhere", -1, &stmt, nullptr), SQLITE_OK);
  EXPECT_EQ(stmt, nullptr);
  sqlite3_close(db);
}

} // namespace

#include "readers/messengers/line/linequeries.h"

#include "tests/support/testdata.h"

#include <gtest/gtest.h>

namespace {
using LineQueries = testdata::ErrorLogTest;

// The member join table is numbered by entity; a group table of the same
// shape must not be taken for the chats' one.
TEST_F(LineQueries, MemberTableOfAnotherNumbering) {
  const QString db = testdata::execSqlite(
      dir.filePath(QStringLiteral("Line.sqlite")),
      {QStringLiteral("create table Z_3MEMBERS(Z_3GROUPS integer, Z_14MEMBERS integer);"
                      "create table Z_2MEMBERS(Z_2CHATS integer, Z_14MEMBERS integer);"
                      "insert into Z_3MEMBERS values(1, 99);"
                      "insert into Z_2MEMBERS values(4, 8); insert into Z_2MEMBERS values(4, 9);")});
  CLineChatMembersQuery members;
  members.query({db}, nullptr);
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  EXPECT_EQ(members.links().value(4), (QList<qint64>{8, 9}));
  EXPECT_EQ(members.links().size(), 1);
}
} // namespace

#include "readers/messengers/kik/kikqueries.h"

#include "tests/support/testdata.h"

#include <gtest/gtest.h>

namespace {
using KikQueries = testdata::ErrorLogTest;

// The join tables under the numbering the statements name, under the sample
// device's numbering, and missing: the same rows in the first two cases, the
// COUNT included (it would otherwise fail and skip the file).
TEST_F(KikQueries, JoinTablesAreFoundWhateverTheirNumbers) {
  const struct {
    const char *name, *schema, *chatTable, *memberTable; // tables null: not filled
  } cases[] = {
      {"sample",
       "create table Z_3MESSAGES(Z_3CHAT integer, Z_5MESSAGES integer);"
       "create table Z_6MEMBERS(Z_6MEMBERSINVERSE integer, Z_6MEMBERS integer);"
       "create table Z_6ADMINSINVERSE(Z_6ADMINSINVERSE integer, Z_6ADMINS integer);",
       "Z_3MESSAGES", "Z_6MEMBERS"},
      {"named",
       "create table Z_4MESSAGES(Z_4CHAT integer, Z_6MESSAGES integer);"
       "create table Z_9MEMBERS(Z_9MEMBERSINVERSE integer, Z_9MEMBERS integer);",
       "Z_4MESSAGES", "Z_9MEMBERS"},
      // A table of the right name but another shape is not taken.
      {"missing", "create table Z_7MESSAGES(Z_7USER integer, Z_5MESSAGES integer);", nullptr, nullptr},
  };
  for (const auto& c : cases) {
    errors.clear();
    QString sql = QLatin1String(c.schema);
    if (c.chatTable) // rows out of key order: the messages come back by ascending key
      sql += QStringLiteral("insert into %1 values(2, 11); insert into %1 values(2, 10); insert into %1 values(5, 12);"
                            "insert into %2 values(24, 8); insert into %2 values(24, 15);")
                 .arg(QLatin1String(c.chatTable), QLatin1String(c.memberTable));
    const QString db = testdata::execSqlite(dir.filePath(QLatin1String(c.name)), {sql});
    CKikChatMessagesQuery inChat;
    CKikChatMemberQuery inGroup;
    inChat.query({db}, nullptr);
    inGroup.query({db}, nullptr);
    if (c.chatTable) {
      EXPECT_TRUE(errors.isEmpty()) << c.name << ": " << errors.join(QLatin1Char('\n')).toStdString();
      EXPECT_EQ(inChat.links().value(2), (QList<qint64>{10, 11})) << c.name;
      EXPECT_EQ(inGroup.links().value(24), (QList<qint64>{8, 15})) << c.name;
    } else {
      EXPECT_TRUE(inChat.links().isEmpty() && inGroup.links().isEmpty());
      EXPECT_EQ(errors.size(), 2) << errors.join(QLatin1Char('\n')).toStdString(); // one failed COUNT each
    }
  }
}
} // namespace

#include "readers/messengers/line/linequeries.h"

#include "tests/support/testdata.h"

#include <QVariant>

#include <gtest/gtest.h>

namespace {
const char* const kSchema =
    "create table ZUSER(Z_PK integer primary key, ZMID varchar, ZNAME varchar);"
    "create table ZGROUP(Z_PK integer primary key, ZID varchar, ZNAME varchar);"
    "create table ZCHAT(Z_PK integer primary key, ZMID varchar, ZLASTMESSAGE integer);"
    "create table ZMESSAGE(Z_PK integer primary key, ZID varchar, ZSENDER integer, ZSENDSTATUS integer,"
    " ZCONTENTTYPE integer, ZCHAT integer, ZTIMESTAMP integer, ZTEXT varchar, ZLONGITUDE float);";

class LineQueries : public testdata::ErrorLogTest {
protected:
  QString makeDb(const QByteArray& statements) {
    return testdata::execSqlite(dir.filePath(QStringLiteral("Line.sqlite")),
                                {QString::fromUtf8(QByteArray(kSchema) + statements)});
  }
};

TEST_F(LineQueries, EachColumnLandsInItsField) {
  const QString db = makeDb("create table Z_1MEMBERS(Z_1CHATS integer, Z_12MEMBERS integer);"
                            "insert into ZUSER values(5000000001, 'u01', 'Ann');"
                            "insert into ZGROUP values(1, 'c01', 'Old name');"
                            "insert into ZGROUP values(2, 'c01', 'Team');"
                            "insert into ZCHAT values(7000000002, 'c01', 3);"
                            "insert into Z_1MEMBERS values(7000000002, 5000000001);"
                            "insert into ZMESSAGE values(3, '1234', 5000000001, 1, 7, 7000000002,"
                            " 2305843010787423523, 'hi', 47980.0);"
                            "insert into ZMESSAGE values(4, '1235', NULL, 1, 0, 7000000002, 1, NULL, NULL);");
  CLineUserQuery users;
  CLineGroupQuery groups;
  CLineChatSessionQuery chats;
  CLineMessageQuery messages;
  CLineChatMembersQuery members;
  for (CISQLiteQuery* q : std::initializer_list<CISQLiteQuery*>{&users, &groups, &chats, &messages, &members})
    q->query({db}, nullptr);
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

  EXPECT_EQ(users.namesByMid().value(QStringLiteral("u01")), QStringLiteral("Ann"));
  EXPECT_EQ(users.namesByKey().value(5000000001LL), QStringLiteral("Ann"));
  EXPECT_EQ(groups.names().value(QStringLiteral("c01")), QStringLiteral("Team")); // the later row wins
  ASSERT_EQ(chats.chats().size(), 1);
  EXPECT_EQ(testdata::fields(chats.chats()[0]->key, chats.chats()[0]->mid), QStringLiteral("7000000002|c01"));
  EXPECT_EQ(members.links().value(7000000002LL), QList<qint64>{5000000001LL});
  ASSERT_EQ(messages.messageCount(), 2);
  const QList<LineMessage*> list = messages.messagesByChat().value(7000000002LL);
  ASSERT_EQ(list.size(), 2);
  // Ascending time stamp: the owner's message (time stamp 1, NULL sender, text and sticker) first.
  const LineMessage& own = *list[0];
  EXPECT_EQ(testdata::fields(own.outgoing, own.sender, own.text, own.sticker), QStringLiteral("true|0||0"));
  const LineMessage& m = *list[1];
  EXPECT_EQ(testdata::fields(m.id, m.sender, m.outgoing, m.sendStatus, m.type, m.chat, m.timestamp, m.text, m.sticker),
            QStringLiteral("1234|5000000001|false|1|7|7000000002|2305843010787423523|hi|47980")); // bit 61 kept here
}

TEST_F(LineQueries, TypeDerivation) {
  struct Row {
    int contentType, sendStatus, type;
  } const rows[] = {
      {6, 1, 0}, {13, 1, 4}, {14, 1, 8}, {100, 2, 5}, {1, 1, 1}, {7, 3, 7}, {18, 1, 18}, // kept as it is
      {6, 0, 6}, // a send status of 0 is a system line whatever the content
      {1, 0, 6},
  };
  for (const Row& r : rows)
    EXPECT_EQ(CLineMessageQuery::deriveType(r.contentType, r.sendStatus), r.type)
        << r.contentType << "/" << r.sendStatus;
}

TEST_F(LineQueries, MemberTableOfAnotherNumbering) {
  const QString db = makeDb("create table Z_3MEMBERS(Z_3GROUPS integer, Z_14MEMBERS integer);"
                            "create table Z_2MEMBERS(Z_2CHATS integer, Z_14MEMBERS integer);"
                            "insert into Z_3MEMBERS values(1, 99);"
                            "insert into Z_2MEMBERS values(4, 8); insert into Z_2MEMBERS values(4, 9);");
  CLineChatMembersQuery members;
  members.query({db}, nullptr);
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  EXPECT_EQ(members.links().keys(), QList<qint64>{4});
  EXPECT_EQ(members.links().value(4), (QList<qint64>{8, 9}));
}
} // namespace

#include "readers/messengers/kik/kikqueries.h"

#include "tests/support/testdata.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {
// The tables as one Kik version names them: KikChat 4, KikMessage 6, KikUser 9.
const char* const kSchema =
    "create table ZKIKUSER(Z_PK integer primary key, ZDISPLAYNAME varchar, ZJID varchar);"
    "create table ZKIKCHAT(Z_PK integer primary key, ZUSER integer);"
    "create table ZKIKATTACHMENT(Z_PK integer primary key, ZTYPE integer, ZMESSAGE integer, ZCONTENT varchar);"
    "create table ZKIKMESSAGE(Z_PK integer primary key, ZTYPE integer, ZSTATE integer, ZFLAGS integer,"
    " ZUSER integer, ZTIMESTAMP timestamp, ZBODY varchar);"
    "create table Z_4MESSAGES(Z_4CHAT integer, Z_6MESSAGES integer, primary key(Z_4CHAT, Z_6MESSAGES));"
    "create table Z_9MEMBERS(Z_9MEMBERSINVERSE integer, Z_9MEMBERS integer,"
    " primary key(Z_9MEMBERSINVERSE, Z_9MEMBERS));";

class KikQueries : public testdata::ErrorLogTest {
protected:
  QString makeDb(const QString& name, const QByteArray& statements) {
    return testdata::execSqlite(dir.filePath(name), {QString::fromUtf8(statements)});
  }
  // Runs the six queries on the database.
  void queryAll(const QString& db, const QString& base) {
    media.reset(new CKikMediaQuery(base));
    for (CISQLiteQuery* q :
         std::initializer_list<CISQLiteQuery*>{&users, &chats, &chatMessages, &members, media.get(), &messages})
      q->query({db}, nullptr);
  }
  CKikUserQuery users;
  CKikChatSessionQuery chats;
  CKikChatMessagesQuery chatMessages;
  CKikChatMemberQuery members;
  std::unique_ptr<CKikMediaQuery> media;
  CKikMessageQuery messages;
};

TEST_F(KikQueries, EachColumnLandsInItsField) {
  queryAll(makeDb(QStringLiteral("kik.sqlite"),
                  QByteArray(kSchema) + "insert into ZKIKUSER values(9000000001, 'Ann', 'ann_x@talk.kik.com');"
                                        "insert into ZKIKCHAT values(3, 9000000001);"
                                        "insert into ZKIKATTACHMENT values(1, 7, 8000000002, 'uuid-1');"
                                        "insert into ZKIKMESSAGE values(8000000002, 2, 30, 4, 9000000001,"
                                        " 457348996.921, 'uuid-1');"
                                        "insert into Z_4MESSAGES values(3, 8000000002);"
                                        "insert into Z_9MEMBERS values(24, 25);"),
           QStringLiteral("cores/private/1/"));
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  EXPECT_EQ(users.names().value(9000000001LL), QStringLiteral("Ann"));
  EXPECT_EQ(users.jids().value(9000000001LL), QStringLiteral("ann_x@talk.kik.com"));
  ASSERT_EQ(chats.chats().size(), 1);
  EXPECT_EQ(testdata::fields(chats.chats()[0]->chat, chats.chats()[0]->user), QStringLiteral("3|9000000001"));
  EXPECT_EQ(chatMessages.links().value(3), QList<qint64>{8000000002LL});
  EXPECT_EQ(members.links().value(24), QList<qint64>{25});
  const KikAttachment* a = media->attachments().value(8000000002LL);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(testdata::fields(a->type, a->message, a->dataCachePath, a->attachmentPath),
            QStringLiteral("7|8000000002|cores/private/1/content_manager/data_cache/uuid-1|"
                           "cores/private/1/attachments/uuid-1"));
  const KikMessage* m = messages.messages().value(8000000002LL);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(testdata::fields(m->key, m->outgoing, m->state, m->kind, m->user, m->timestamp, m->body),
            QStringLiteral("8000000002|true|30|4|9000000001|457348996.921|uuid-1"));
  EXPECT_EQ(messages.keysByUser().value(9000000001LL), QList<qint64>{8000000002LL});
}

// The join tables under the numbering the statements name, under the sample
// device's numbering, and missing: the same rows in the first two cases, the
// COUNT included (it would otherwise fail and skip the file).
TEST_F(KikQueries, JoinTablesAreFoundWhateverTheirNumbers) {
  const struct {
    const char *name, *schema, *chatTable, *memberTable; // tables null: not filled
  } cases[] = {
      {"named",
       "create table Z_4MESSAGES(Z_4CHAT integer, Z_6MESSAGES integer);"
       "create table Z_9MEMBERS(Z_9MEMBERSINVERSE integer, Z_9MEMBERS integer);",
       "Z_4MESSAGES", "Z_9MEMBERS"},
      {"sample",
       "create table Z_3MESSAGES(Z_3CHAT integer, Z_5MESSAGES integer);"
       "create table Z_6MEMBERS(Z_6MEMBERSINVERSE integer, Z_6MEMBERS integer);"
       "create table Z_6ADMINSINVERSE(Z_6ADMINSINVERSE integer, Z_6ADMINS integer);",
       "Z_3MESSAGES", "Z_6MEMBERS"},
      // A table of the right name but another shape is not taken.
      {"missing", "create table Z_7MESSAGES(Z_7USER integer, Z_5MESSAGES integer);", nullptr, nullptr},
  };
  for (const auto& c : cases) {
    errors.clear();
    QByteArray sql(c.schema);
    if (c.chatTable) // rows out of key order: the messages come back by ascending key
      sql += QStringLiteral("insert into %1 values(2, 11); insert into %1 values(2, 10); insert into %1 values(5, 12);"
                            "insert into %2 values(24, 8); insert into %2 values(24, 15);")
                 .arg(QLatin1String(c.chatTable), QLatin1String(c.memberTable))
                 .toUtf8();
    const QString db = makeDb(QStringLiteral("%1.sqlite").arg(QLatin1String(c.name)), sql);
    CKikChatMessagesQuery inChat;
    CKikChatMemberQuery inGroup;
    inChat.query({db}, nullptr);
    inGroup.query({db}, nullptr);
    if (c.chatTable) {
      EXPECT_TRUE(errors.isEmpty()) << c.name << ": " << errors.join(QLatin1Char('\n')).toStdString();
      EXPECT_EQ(inChat.links().value(2), (QList<qint64>{10, 11})) << c.name;
      EXPECT_EQ(inChat.links().value(5), QList<qint64>{12}) << c.name;
      EXPECT_EQ(inGroup.links().value(24), (QList<qint64>{8, 15})) << c.name;
    } else {
      EXPECT_TRUE(inChat.links().isEmpty() && inGroup.links().isEmpty());
      EXPECT_EQ(errors.size(), 2) << errors.join(QLatin1Char('\n')).toStdString(); // one failed COUNT each
    }
    // The statements stay as listed for the next database.
    EXPECT_EQ(inChat.m_countSqls, QStringList{QStringLiteral("select count(*) from z_4messages")});
  }
}

TEST_F(KikQueries, ChatKeysFollowTheMessageListAndDropUnknownOnes) {
  CKikMessageQuery q;
  q.query({makeDb(QStringLiteral("k.sqlite"), QByteArray(kSchema) +
                                                  "insert into ZKIKMESSAGE values(29, 2, 78, 0, 8, 300.5, 'c');"
                                                  "insert into ZKIKMESSAGE values(30, 1, 16, 0, 8, 200.0, 'b');"
                                                  "insert into ZKIKMESSAGE values(27, 2, 94, 0, 8, 100.0, 'a');")},
          nullptr);
  EXPECT_EQ(q.keys(), (QList<qint64>{27, 30, 29}));
  EXPECT_EQ(q.position(30), 1);
  EXPECT_EQ(q.position(28), -1);
  QList<qint64> ordered;
  for (const KikMessage* m : q.inMessageOrder({29, 28, 30, 27}))
    ordered << m->key;
  EXPECT_EQ(ordered, (QList<qint64>{27, 30, 29}));
}

// The sample device's database, read as the sqlite3 shell reads it.
TEST_F(KikQueries, RealDatabase) {
  const QString db = testdata::copyReal(QStringLiteral(SHERD_REALDATA_DIR "/kik/kik.sqlite"),
                                        dir.filePath(QStringLiteral("kik.sqlite")));
  if (db.isEmpty())
    GTEST_SKIP() << "no real Kik database";
  queryAll(db, QString());
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

  EXPECT_EQ(users.names().size(), 25);
  EXPECT_EQ(users.names().value(24), QStringLiteral("EveryoneButRoss"));
  EXPECT_EQ(users.jids().value(24), QStringLiteral("1100024090445_g@groups.kik.com"));
  EXPECT_EQ(users.names().value(9), QString::fromUtf8("Sin \xF0\x9F\x98\x88"));
  ASSERT_EQ(chats.chats().size(), 6);
  EXPECT_EQ(testdata::fields(chats.chats()[0]->chat, chats.chats()[0]->user), QStringLiteral("1|2"));
  int links = 0;
  for (const QList<qint64>& l : chatMessages.links())
    links += l.size();
  EXPECT_EQ(links, 61); // message 2 is in two chats
  EXPECT_EQ(chatMessages.links().value(2).size(), 44);
  EXPECT_EQ(chatMessages.links().value(6), (QList<qint64>{2, 27, 28, 29, 30, 60}));
  QList<qint64> group = members.links().value(24);
  std::sort(group.begin(), group.end());
  EXPECT_EQ(group, (QList<qint64>{8, 15, 23, 25}));
  EXPECT_EQ(media->attachments().size(), 2);
  EXPECT_EQ(media->attachments().value(20)->type, 6);
  EXPECT_EQ(messages.messages().size(), 60);
  EXPECT_LT(messages.position(30), messages.position(29)); // message 30 was written before message 29
  EXPECT_EQ(messages.messages().value(8)->kind, 6);
  EXPECT_EQ(messages.messages().value(20)->kind, 4);
}
} // namespace

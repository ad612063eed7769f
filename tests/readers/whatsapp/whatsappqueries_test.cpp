#include "readers/whatsapp/whatsappqueries.h"

#include "tests/support/testdata.h"

#include <QVariant>

#include <gtest/gtest.h>

namespace {
// The columns the queries read, plus the ones their WHERE and ORDER BY use.
const char* const kSchema =
    "create table ZWACHATSESSION(Z_PK integer primary key, ZCONTACTABID integer, ZSESSIONTYPE integer,"
    " ZPARTNERNAME varchar, ZCONTACTJID varchar, ZREMOVED integer, ZHIDDEN integer, ZLASTMESSAGEDATE timestamp);"
    "create table ZWAGROUPMEMBER(Z_PK integer primary key, ZCONTACTABID integer, ZCHATSESSION integer,"
    " ZCONTACTNAME varchar, ZMEMBERJID varchar);"
    "create table ZWAMEDIAITEM(Z_PK integer primary key, ZFILESIZE integer, ZMOVIEDURATION integer, ZMESSAGE integer,"
    " ZMEDIALOCALPATH varchar, ZMEDIAURL varchar, ZVCARDNAME varchar, ZVCARDSTRING varchar, ZXMPPTHUMBPATH varchar,"
    " ZTITLE varchar, ZAUTHORNAME varchar);"
    "create table ZWAMESSAGE(Z_PK integer primary key, ZGROUPEVENTTYPE integer, ZISFROMME integer,"
    " ZMESSAGESTATUS integer, ZMESSAGETYPE integer, ZCHATSESSION integer, ZGROUPMEMBER integer, ZMEDIAITEM integer,"
    " ZPARENTMESSAGE integer, ZMESSAGEDATE timestamp, ZTEXT varchar, ZTOJID varchar, ZSORT integer);"
    "create table ZWAPROFILEPICTUREITEM(Z_PK integer primary key, ZJID varchar, ZPATH varchar);";

template <typename List> QList<qint64> pksOf(const List& records) {
  QList<qint64> pks;
  for (const auto* r : records)
    pks << r->pk;
  return pks;
}

class WhatsappQueries : public testdata::ErrorLogTest {
protected:
  QString makeDb(const QString& name, const char* rows) {
    return testdata::execSqlite(dir.filePath(name), {QString::fromLatin1(kSchema), QString::fromUtf8(rows)});
  }
  void queryAll(const QStringList& files) {
    for (CISQLiteQuery* q : std::initializer_list<CISQLiteQuery*>{&sessions, &members, &media, &messages, &pictures})
      q->query(files, nullptr);
  }
  CWAChatSessionQuery sessions;
  CWAChatMemberQuery members;
  CWAMediaQuery media;
  CWAMessageQuery messages;
  CWAProfilePicQuery pictures;
};

TEST_F(WhatsappQueries, ColumnsNullsRowSelectionAndOrder) {
  const QString db = makeDb(
      QStringLiteral("ChatStorage.sqlite"),
      // Sessions: one hidden (left out), the rest newest last message first.
      "insert into ZWACHATSESSION(Z_PK, ZHIDDEN, ZLASTMESSAGEDATE) values(1, 0, 100), (2, 1, 900), (3, 0, 300);"
      "insert into ZWAMEDIAITEM values(5, 6000000003, 42, 11, 'Media/a.jpg', 'https://u', 'vname',"
      " 'vstring', 'Media/a.thumb', 'caption', 'author');"
      // Messages: by session, then by the app's sort key, whatever the pk or date.
      "insert into ZWAMESSAGE values(11, 2, 1, 8, 1, 3, 3, 5, 10, 704736382.967263, 'hi', 'bob@s', 2);"
      "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT) values(4, 3, 1), (12, 1, 1);"
      "insert into ZWAGROUPMEMBER(Z_PK, ZCHATSESSION) values(1, 5), (2, 6), (3, 5);"
      // Profile pictures: the later row of a jid wins.
      "insert into ZWAPROFILEPICTUREITEM(Z_PK, ZJID, ZPATH) values(1, 'a', 'first'), (2, 'a', 'second');");
  queryAll({db});
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

  EXPECT_EQ(pksOf(sessions.sessions()), (QList<qint64>{3, 1}));
  EXPECT_EQ(sessions.countRows(db, sessions.m_countSqls), 2) << "hidden sessions are not counted";
  EXPECT_EQ(pksOf(messages.messages()), (QList<qint64>{12, 4, 11}));
  EXPECT_EQ(pksOf(members.membersBySession().value(5)), (QList<qint64>{1, 3}));
  EXPECT_EQ(pictures.pictures().value(QStringLiteral("a")), QStringLiteral("second"));

  const WAMediaItem& a = *media.mediaItems().value(5);
  EXPECT_EQ(testdata::fields(a.pk, a.fileSize, a.movieDuration, a.message, a.localPath, a.mediaUrl, a.vcardName,
                             a.vcardString, a.thumbPath, a.title, a.authorName),
            QStringLiteral("5|6000000003|42|11|Media/a.jpg|https://u|vname|vstring|Media/a.thumb|caption|author"));
  const WAMessage& g = *messages.messageMap().value(11);
  EXPECT_EQ(testdata::fields(g.groupEventType, g.isFromMe, g.messageStatus, g.messageType, g.chatSession,
                             g.groupMember, g.mediaItem, g.parentMessage, g.messageDate, g.text, g.toJid),
            QStringLiteral("2|1|8|1|3|3|5|10|704736382.967263|hi|bob@s")); // fractions kept
  const WAMessage& e = *messages.messageMap().value(4);
  EXPECT_EQ(testdata::fields(e.groupMember, e.mediaItem, e.messageDate, e.text), QStringLiteral("0|0|0|"));
}

TEST_F(WhatsappQueries, RepeatedKeysAcrossFilesReplaceWithoutLeaking) {
  // The maps point at the second file's records, the lists keep both, and
  // every record is freed (the sanitizer build checks the latter).
  const char* rows = "insert into ZWAGROUPMEMBER values(1, 0, 9, 'Ann', 'a@s');"
                     "insert into ZWAMEDIAITEM(Z_PK, ZTITLE) values(1, 't');"
                     "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT) values(1, 9, 1);"
                     "insert into ZWACHATSESSION(Z_PK, ZHIDDEN) values(1, 0);";
  queryAll({makeDb(QStringLiteral("a.sqlite"), rows), makeDb(QStringLiteral("b.sqlite"), rows)});
  EXPECT_EQ(members.members().value(1), members.membersBySession().value(9).value(1));
  EXPECT_EQ(media.mediaItems().size(), 1);
  EXPECT_EQ(messages.messageMap().value(1), messages.messages().value(1));
  EXPECT_EQ(sessions.sessions().size(), 2);
}

TEST(WhatsappStatus, SentWhenNonZeroAndLowBitsNotBothSet) {
  const struct {
    int status;
    bool sent;
  } rows[] = {{0, false}, {1, true}, {2, true}, {3, false}, {4, true}, {7, false}, {-1, false}};
  for (const auto& r : rows)
    EXPECT_EQ(CWAMessageQuery::isSentStatus(r.status), r.sent) << "status " << r.status;
}

TEST(WhatsappGroupEvent, TextOfEachEventCode) {
  const struct {
    int code;
    const char *text, *actor, *target;
    bool self;
    const char* expected;
  } rows[] = {
      {0, "x", "Bob", "Ann", false, ""},
      {1, "Trip", "", "", false, "You changed the subject to \"Trip\""},
      {1, "Trip", "Bob", "", false, "Bob changed the subject to \"Trip\""},
      {2, "a@s", "", "Ann", false, "Ann added you"},
      {2, "me@s", "", "", true, "You were added"},      // no actor: self does not matter
      {2, "me@s", "Bob", "Ann", true, "You added Bob"}, // self wins over a known target
      {2, "a@s", "Bob", "Ann", false, "Ann added Bob"},
      {2, "a@s", "Bob", "", false, "Bob joined"},
      {3, "", "Bob", "", false, "Bob left"},
      {4, "", "Bob", "", false, "Bob changed the group icon"},
      {5, "", "Bob", "", false, "Bob deleted the group icon"},
      {7, "a@s", "", "Ann", false, "You were removed"}, // the opposite sense from code 2
      {7, "a@s", "", "", false, " removed you"},
      {7, "a@s", "Bob", "Ann", false, "Ann removed Bob"},
      {7, "a@s", "Bob", "", false, "Bob was removed"},
      {8, "12", "Bob", "", false, "You created a broadcast list with 12 recipients"},
      {10, "", "Bob", "", false, "Bob is now an admin"},
      {12, "", "", "", false, "You created this group"},
      {12, "Trip", "Bob", "", false, "Bob created \"Trip\""},
      {6, "x", "Bob", "", false, "Unknown group event 6"},
      // Names are filled in at once: a "%1" inside one is not substituted again.
      {12, "50%1 off", "B%1", "", false, "B%1 created \"50%1 off\""},
  };
  for (const auto& r : rows)
    EXPECT_EQ(CWAMessageQuery::groupEventText(r.code, QString::fromUtf8(r.text), QString::fromUtf8(r.actor),
                                              QString::fromUtf8(r.target), r.self),
              QString::fromUtf8(r.expected))
        << r.code << " " << r.actor << "/" << r.target << "/" << r.self;
}

TEST(WhatsappGroupEvent, ActorTargetAndSelfComeFromTheMessageAndMembers) {
  WAGroupMember ann{1, 0, QStringLiteral("Ann"), QStringLiteral("ann@s")};
  WAGroupMember ann2{4, 0, QStringLiteral("Ann (old)"), QStringLiteral("ann@s")};
  WAGroupMember bob{2, 0, QStringLiteral("Bob"), QStringLiteral("bob@s")};
  const QMap<qint64, WAGroupMember*> members{{4, &ann2}, {2, &bob}, {1, &ann}};
  const struct {
    qint64 member;
    const char *text, *toJid, *expected;
  } rows[] = {
      {2, "ann@s", "", "Ann added Bob"}, // the target is the first member by pk with the jid
      {2, "me@s", "me@s", "You added Bob"},
      {99, "ann@s", "", "Ann added you"}, // an unknown actor counts as the owner
  };
  for (const auto& r : rows) {
    WAMessage m;
    m.messageType = CWAMessageQuery::GroupEventType;
    m.groupEventType = 2;
    m.groupMember = r.member;
    m.text = QString::fromUtf8(r.text);
    m.toJid = QString::fromUtf8(r.toJid);
    EXPECT_EQ(CWAMessageQuery::groupEventText(m, members), QString::fromUtf8(r.expected)) << r.expected;
  }
}
} // namespace

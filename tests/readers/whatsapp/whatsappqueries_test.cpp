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
  // Runs the five queries on the files.
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

TEST_F(WhatsappQueries, EachColumnLandsInItsFieldAndNullsReadAsZeroOrEmpty) {
  const QString db = makeDb(
      QStringLiteral("ChatStorage.sqlite"),
      "insert into ZWACHATSESSION values(7, 8000000001, 1, 'Team', 'g1@g.us', 1, 0, 10);"
      "insert into ZWAGROUPMEMBER values(3, 9000000002, 7, 'Ann', 'ann@s.whatsapp.net');"
      "insert into ZWAMEDIAITEM values(5, 6000000003, 42, 11, 'Media/a.jpg', 'https://u', 'vname',"
      " 'vstring', 'Media/a.thumb', 'caption', 'author');"
      "insert into ZWAMEDIAITEM(Z_PK) values(2);"
      "insert into ZWAMESSAGE values(11, 2, 1, 8, 1, 7, 3, 5, 10, 704736382.967263, 'hi', 'bob@s.whatsapp.net', 1);"
      "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT) values(4, 7, 2);"
      "insert into ZWAPROFILEPICTUREITEM values(1, 'ann@s.whatsapp.net', 'Media/Profile/1-2');");
  queryAll({db});
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

  ASSERT_EQ(sessions.sessions().size(), 1);
  const WAChatSession& s = *sessions.sessions()[0];
  EXPECT_EQ(testdata::fields(s.pk, s.contactAbId, s.sessionType, s.partnerName, s.contactJid, s.removed),
            QStringLiteral("7|8000000001|1|Team|g1@g.us|1"));
  const WAGroupMember& m = *members.members().value(3);
  EXPECT_EQ(testdata::fields(m.pk, m.contactAbId, m.contactName, m.memberJid),
            QStringLiteral("3|9000000002|Ann|ann@s.whatsapp.net"));
  EXPECT_EQ(members.membersBySession().keys(), QList<qint64>{7});
  const WAMediaItem& a = *media.mediaItems().value(5);
  EXPECT_EQ(testdata::fields(a.pk, a.fileSize, a.movieDuration, a.message, a.localPath, a.mediaUrl, a.vcardName, a.vcardString,
                   a.thumbPath, a.title, a.authorName),
            QStringLiteral("5|6000000003|42|11|Media/a.jpg|https://u|vname|vstring|Media/a.thumb|caption|author"));
  const WAMediaItem& n = *media.mediaItems().value(2);
  EXPECT_EQ(testdata::fields(n.fileSize, n.localPath, n.thumbPath), QStringLiteral("0||"));

  ASSERT_EQ(messages.messages().size(), 2);
  const WAMessage& g = *messages.messages()[0];
  EXPECT_EQ(messages.messageMap().value(11), &g);
  EXPECT_EQ(testdata::fields(g.pk, g.groupEventType, g.isFromMe, g.messageStatus, g.messageType, g.chatSession, g.groupMember,
                   g.mediaItem, g.parentMessage, g.messageDate, g.text, g.toJid),
            QStringLiteral("11|2|1|8|1|7|3|5|10|704736382.967263|hi|bob@s.whatsapp.net")); // fractions kept
  const WAMessage& e = *messages.messages()[1];
  EXPECT_EQ(testdata::fields(e.groupMember, e.mediaItem, e.parentMessage, e.messageDate, e.text, e.toJid),
            QStringLiteral("0|0|0|0||"));
  EXPECT_EQ(pictures.pictures().value(QStringLiteral("ann@s.whatsapp.net")), QStringLiteral("Media/Profile/1-2"));
}

TEST_F(WhatsappQueries, RowSelectionAndOrder) {
  const QString db =
      makeDb(QStringLiteral("ChatStorage.sqlite"),
             // Sessions: one hidden (left out), the rest newest last message first.
             "insert into ZWACHATSESSION(Z_PK, ZHIDDEN, ZLASTMESSAGEDATE) values(1, 0, 100), (2, 1, 900), (3, 0, 300),"
             " (4, 0, 200);"
             // Messages: by session, then by the app's sort key, whatever the pk or date.
             "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT, ZMESSAGEDATE) values(10, 2, 1, 5), (11, 1, 2, 1),"
             " (12, 1, 1, 9), (13, 2, 2, 0);"
             "insert into ZWAGROUPMEMBER(Z_PK, ZCHATSESSION) values(1, 5), (2, 6), (3, 5);"
             // Profile pictures: the later row of a jid wins.
             "insert into ZWAPROFILEPICTUREITEM(Z_PK, ZJID, ZPATH) values(1, 'a', 'first'), (2, 'b', 'other'),"
             " (3, 'a', 'second');");
  queryAll({db});
  EXPECT_EQ(pksOf(sessions.sessions()), (QList<qint64>{3, 4, 1}));
  EXPECT_EQ(sessions.countRows(db, sessions.m_countSqls), 3) << "hidden sessions are not counted";
  EXPECT_EQ(pksOf(messages.messages()), (QList<qint64>{12, 11, 10, 13}));
  EXPECT_EQ(pksOf(members.membersBySession().value(5)), (QList<qint64>{1, 3})) << "members per chat in row order";
  EXPECT_EQ(pictures.pictures().size(), 2);
  EXPECT_EQ(pictures.pictures().value(QStringLiteral("a")), QStringLiteral("second"));
}

TEST_F(WhatsappQueries, RepeatedKeysAcrossFilesReplaceWithoutLeaking) {
  // Two copies of the same database: the maps point at the second file's
  // records, the lists keep both, and every record is freed (the sanitizer
  // build checks the latter).
  const char* rows = "insert into ZWAGROUPMEMBER values(1, 0, 9, 'Ann', 'a@s');"
                     "insert into ZWAMEDIAITEM(Z_PK, ZTITLE) values(1, 't');"
                     "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT) values(1, 9, 1);"
                     "insert into ZWACHATSESSION(Z_PK, ZHIDDEN) values(1, 0);";
  const QStringList files{makeDb(QStringLiteral("a.sqlite"), rows), makeDb(QStringLiteral("b.sqlite"), rows)};
  queryAll(files);
  EXPECT_EQ(members.members().size(), 1);
  EXPECT_EQ(members.membersBySession().value(9).size(), 2);
  EXPECT_EQ(members.members().value(1), members.membersBySession().value(9)[1]);
  EXPECT_EQ(media.mediaItems().size(), 1);
  EXPECT_EQ(messages.messages().size(), 2);
  EXPECT_EQ(messages.messageMap().value(1), messages.messages()[1]);
  EXPECT_EQ(sessions.sessions().size(), 2);
}

TEST(WhatsappStatus, SentWhenNonZeroAndLowBitsNotBothSet) {
  const struct {
    int status;
    bool sent;
  } rows[] = {{0, false}, {1, true}, {2, true},   {3, false}, {4, true},   {5, true}, {6, true},
              {7, false}, {8, true}, {11, false}, {12, true}, {-1, false}, {-4, true}};
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
      {2, "a@s", "", "", false, "You were added"},
      {2, "me@s", "", "", true, "You were added"},      // no actor: self does not matter
      {2, "me@s", "Bob", "Ann", true, "You added Bob"}, // self wins over a known target
      {2, "a@s", "Bob", "Ann", false, "Ann added Bob"}, // target first, as the texts are filled
      {2, "a@s", "Bob", "", false, "Bob joined"},
      {3, "", "", "", false, "You left"},
      {3, "", "Bob", "", false, "Bob left"},
      {4, "", "", "", false, "You changed the group icon"},
      {4, "", "Bob", "", false, "Bob changed the group icon"},
      {5, "", "", "", false, "You deleted the group icon"},
      {5, "", "Bob", "", false, "Bob deleted the group icon"},
      {7, "a@s", "", "Ann", false, "You were removed"}, // the opposite sense from code 2
      {7, "a@s", "", "", false, " removed you"},
      {7, "me@s", "Bob", "Ann", true, "You removed Bob"},
      {7, "a@s", "Bob", "Ann", false, "Ann removed Bob"},
      {7, "a@s", "Bob", "", false, "Bob was removed"},
      {8, "12", "Bob", "", false, "You created a broadcast list with 12 recipients"},
      {10, "", "", "", false, "You're now an admin"},
      {10, "", "Bob", "", false, "Bob is now an admin"},
      {12, "", "", "", false, "You created this group"},
      {12, "", "Bob", "", false, "Bob created this group"},
      {12, "Trip", "Bob", "", false, "Bob created \"Trip\""},
      {12, "Trip", "", "", false, "You created \"Trip\""},
      {6, "x", "Bob", "", false, "Unknown group event 6"},
      {9, "", "", "", false, "Unknown group event 9"},
      {13, "", "", "", false, "Unknown group event 13"},
      {-1, "", "", "", false, "Unknown group event -1"},
      // Names are filled in at once: a "%2" inside the first is not substituted again.
      {2, "a@s", "Bob", "A%2", false, "A%2 added Bob"},
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
    const char* name;
    qint64 member;
    const char *text, *toJid, *expected;
  } rows[] = {
      {"actor added a known target (first by pk)", 2, "ann@s", "", "Ann added Bob"},
      {"recipient's own jid", 2, "me@s", "me@s", "You added Bob"},
      {"unknown actor pk counts as the owner", 99, "ann@s", "", "Ann added you"},
      {"owner, unknown target", 0, "zed@s", "", "You were added"},
  };
  for (const auto& r : rows) {
    WAMessage m;
    m.messageType = CWAMessageQuery::GroupEventType;
    m.groupEventType = 2;
    m.groupMember = r.member;
    m.text = QString::fromUtf8(r.text);
    m.toJid = QString::fromUtf8(r.toJid);
    EXPECT_EQ(CWAMessageQuery::groupEventText(m, members), QString::fromUtf8(r.expected)) << r.name;
  }
}

// A real iOS 15 database, copied with its companions before it is opened.
TEST_F(WhatsappQueries, RealIos15ChatStorage) {
  const QString files = testdata::copyReal(QStringLiteral(SHERD_REALDATA_DIR "/whatsapp-ios15/ChatStorage.sqlite"),
                                           dir.filePath(QStringLiteral("ChatStorage.sqlite")));
  if (files.isEmpty())
    GTEST_SKIP() << "no real WhatsApp database";
  queryAll({files});

  ASSERT_EQ(sessions.sessions().size(), 5);
  EXPECT_EQ(sessions.sessions()[0]->contactJid, QStringLiteral("19198887386@s.whatsapp.net")); // newest chat
  EXPECT_EQ(members.members().size(), 8);
  EXPECT_EQ(members.membersBySession().size(), 4); // the four groups
  EXPECT_EQ(media.mediaItems().size(), 7);
  EXPECT_TRUE(media.mediaItems().value(2)->localPath.startsWith(QStringLiteral("Media/19198887386@s.whatsapp.net/")));
  EXPECT_EQ(media.mediaItems().value(2)->fileSize, 42073);
  ASSERT_EQ(messages.messages().size(), 32);
  EXPECT_EQ(pictures.pictures().value(QStringLiteral("19198887386@s.whatsapp.net")),
            QStringLiteral("Media/Profile/19198887386-1683042868"));

  // Every ordinary message of the sample has status 8 (sent); system rows 0.
  // The group events are the creation of each group and the owner's addition.
  int sent = 0;
  QMap<QString, int> events;
  for (const WAMessage* m : messages.messages()) {
    sent += CWAMessageQuery::isSentStatus(m->messageStatus);
    if (m->messageType == CWAMessageQuery::GroupEventType)
      ++events[CWAMessageQuery::groupEventText(*m, members.members())];
  }
  EXPECT_EQ(sent, 21);
  EXPECT_EQ(events,
            (QMap<QString, int>{{QStringLiteral("You created this group"), 4}, {QStringLiteral("You were added"), 2}}));
}
} // namespace

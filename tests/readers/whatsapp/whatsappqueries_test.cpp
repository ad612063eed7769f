#include "readers/whatsapp/whatsappqueries.h"

#include "platform/common/log.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

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

QString makeDb(const QTemporaryDir& dir, const QString& name, const char* rows, const char* schema = kSchema) {
  const QString path = dir.filePath(name);
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.toUtf8().constData(), &db), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(db, schema, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  EXPECT_EQ(sqlite3_exec(db, rows, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  sqlite3_close(db);
  return path;
}

class WhatsappQueries : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    SherdLog::setSink([this](const char*, int, const QString& text) { log << text; });
  }
  void TearDown() override { SherdLog::toStderr(); }
  QTemporaryDir dir;
  QStringList log;
};

TEST_F(WhatsappQueries, EachColumnLandsInItsField) {
  // Distinct values in every column, so that a swapped index shows.
  const QString db =
      makeDb(dir, QStringLiteral("ChatStorage.sqlite"),
             "insert into ZWACHATSESSION values(7, 8000000001, 1, 'Team', 'g1@g.us', 1, 0, 10);"
             "insert into ZWAGROUPMEMBER values(3, 9000000002, 7, 'Ann', 'ann@s.whatsapp.net');"
             "insert into ZWAMEDIAITEM values(5, 6000000003, 42, 11, 'Media/a.jpg', 'https://u', 'vname',"
             " 'vstring', 'Media/a.thumb', 'caption', 'author');"
             "insert into ZWAMESSAGE values(11, 2, 1, 8, 1, 7, 3, 5, 10, 704736382.967263, 'hi',"
             " 'bob@s.whatsapp.net', 1);"
             "insert into ZWAPROFILEPICTUREITEM values(1, 'ann@s.whatsapp.net', 'Media/Profile/1-2');");
  CWAChatSessionQuery sessions;
  CWAChatMemberQuery members;
  CWAMediaQuery media;
  CWAMessageQuery messages;
  CWAProfilePicQuery pictures;
  for (CISQLiteQuery* q : std::initializer_list<CISQLiteQuery*>{&sessions, &members, &media, &messages, &pictures})
    q->query({db}, nullptr);
  EXPECT_TRUE(log.isEmpty()) << log.join(QLatin1Char('\n')).toStdString();

  ASSERT_EQ(sessions.sessions().size(), 1);
  const WAChatSession& s = *sessions.sessions()[0];
  EXPECT_EQ(s.pk, 7);
  EXPECT_EQ(s.contactAbId, 8000000001LL);
  EXPECT_EQ(s.sessionType, 1);
  EXPECT_EQ(s.partnerName, QStringLiteral("Team"));
  EXPECT_EQ(s.contactJid, QStringLiteral("g1@g.us"));
  EXPECT_EQ(s.removed, 1);

  ASSERT_EQ(members.members().size(), 1);
  const WAGroupMember& m = *members.members().value(3);
  EXPECT_EQ(m.pk, 3);
  EXPECT_EQ(m.contactAbId, 9000000002LL);
  EXPECT_EQ(m.contactName, QStringLiteral("Ann"));
  EXPECT_EQ(m.memberJid, QStringLiteral("ann@s.whatsapp.net"));
  ASSERT_EQ(members.membersBySession().keys(), QList<qint64>{7});

  ASSERT_EQ(media.mediaItems().size(), 1);
  const WAMediaItem& a = *media.mediaItems().value(5);
  EXPECT_EQ(a.pk, 5);
  EXPECT_EQ(a.fileSize, 6000000003LL);
  EXPECT_EQ(a.movieDuration, 42);
  EXPECT_EQ(a.message, 11);
  EXPECT_EQ(a.localPath, QStringLiteral("Media/a.jpg"));
  EXPECT_EQ(a.mediaUrl, QStringLiteral("https://u"));
  EXPECT_EQ(a.vcardName, QStringLiteral("vname"));
  EXPECT_EQ(a.vcardString, QStringLiteral("vstring"));
  EXPECT_EQ(a.thumbPath, QStringLiteral("Media/a.thumb"));
  EXPECT_EQ(a.title, QStringLiteral("caption"));
  EXPECT_EQ(a.authorName, QStringLiteral("author"));

  ASSERT_EQ(messages.messages().size(), 1);
  const WAMessage& g = *messages.messages()[0];
  EXPECT_EQ(messages.messageMap().value(11), &g);
  EXPECT_EQ(g.pk, 11);
  EXPECT_EQ(g.groupEventType, 2);
  EXPECT_EQ(g.isFromMe, 1);
  EXPECT_EQ(g.messageStatus, 8);
  EXPECT_EQ(g.messageType, 1);
  EXPECT_EQ(g.chatSession, 7);
  EXPECT_EQ(g.groupMember, 3);
  EXPECT_EQ(g.mediaItem, 5);
  EXPECT_EQ(g.parentMessage, 10);
  EXPECT_DOUBLE_EQ(g.messageDate, 704736382.967263); // fractions kept
  EXPECT_EQ(g.text, QStringLiteral("hi"));
  EXPECT_EQ(g.toJid, QStringLiteral("bob@s.whatsapp.net"));

  EXPECT_EQ(pictures.pictures().value(QStringLiteral("ann@s.whatsapp.net")), QStringLiteral("Media/Profile/1-2"));
}

TEST_F(WhatsappQueries, NullColumnsReadAsZeroAndEmpty) {
  const QString db = makeDb(dir, QStringLiteral("ChatStorage.sqlite"),
                            "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT) values(4, 1, 1);"
                            "insert into ZWAMEDIAITEM(Z_PK) values(2);");
  CWAMessageQuery messages;
  messages.query({db}, nullptr);
  CWAMediaQuery media;
  media.query({db}, nullptr);
  ASSERT_EQ(messages.messages().size(), 1);
  const WAMessage& m = *messages.messages()[0];
  EXPECT_EQ(m.groupMember, 0);
  EXPECT_EQ(m.mediaItem, 0);
  EXPECT_EQ(m.parentMessage, 0);
  EXPECT_EQ(m.messageDate, 0.0);
  EXPECT_TRUE(m.text.isEmpty());
  EXPECT_TRUE(m.toJid.isEmpty());
  ASSERT_EQ(media.mediaItems().size(), 1);
  EXPECT_TRUE(media.mediaItems().value(2)->localPath.isEmpty());
  EXPECT_EQ(media.mediaItems().value(2)->fileSize, 0);
}

TEST_F(WhatsappQueries, RowSelectionAndOrder) {
  const QString db =
      makeDb(dir, QStringLiteral("ChatStorage.sqlite"),
             // Sessions: one hidden (left out), the rest newest last message first.
             "insert into ZWACHATSESSION(Z_PK, ZHIDDEN, ZLASTMESSAGEDATE) values(1, 0, 100), (2, 1, 900), (3, 0, 300),"
             " (4, 0, 200);"
             // Messages: by session, then by the app's sort key, whatever the pk or date.
             "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT, ZMESSAGEDATE) values(10, 2, 1, 5), (11, 1, 2, 1),"
             " (12, 1, 1, 9), (13, 2, 2, 0);"
             // Members: per chat in row order.
             "insert into ZWAGROUPMEMBER(Z_PK, ZCHATSESSION) values(1, 5), (2, 6), (3, 5);"
             // Profile pictures: the later row of a jid wins.
             "insert into ZWAPROFILEPICTUREITEM(Z_PK, ZJID, ZPATH) values(1, 'a', 'first'), (2, 'b', 'other'),"
             " (3, 'a', 'second');");
  CWAChatSessionQuery sessions;
  sessions.query({db}, nullptr);
  QList<qint64> pks;
  for (const WAChatSession* s : sessions.sessions())
    pks << s->pk;
  EXPECT_EQ(pks, (QList<qint64>{3, 4, 1}));
  EXPECT_EQ(sessions.countRows(db, sessions.m_countSqls), 3) << "hidden sessions are not counted";

  CWAMessageQuery messages;
  messages.query({db}, nullptr);
  pks.clear();
  for (const WAMessage* m : messages.messages())
    pks << m->pk;
  EXPECT_EQ(pks, (QList<qint64>{12, 11, 10, 13}));
  EXPECT_EQ(messages.messageMap().keys(), (QList<qint64>{10, 11, 12, 13}));

  CWAChatMemberQuery members;
  members.query({db}, nullptr);
  ASSERT_EQ(members.membersBySession().value(5).size(), 2);
  EXPECT_EQ(members.membersBySession().value(5)[0]->pk, 1);
  EXPECT_EQ(members.membersBySession().value(5)[1]->pk, 3);
  EXPECT_EQ(members.membersBySession().value(6).size(), 1);

  CWAProfilePicQuery pictures;
  pictures.query({db}, nullptr);
  EXPECT_EQ(pictures.pictures().size(), 2);
  EXPECT_EQ(pictures.pictures().value(QStringLiteral("a")), QStringLiteral("second"));
}

TEST_F(WhatsappQueries, OnlyHiddenSessionsReadNothing) {
  const QString db = makeDb(dir, QStringLiteral("ChatStorage.sqlite"),
                            "insert into ZWACHATSESSION(Z_PK, ZHIDDEN) values(1, 1), (2, 1);");
  CWAChatSessionQuery sessions;
  sessions.query({db}, nullptr);
  EXPECT_TRUE(sessions.sessions().isEmpty());
  EXPECT_TRUE(log.isEmpty());
}

TEST_F(WhatsappQueries, RepeatedKeysAcrossFilesReplaceWithoutLeaking) {
  // Two copies of the same database: the maps point at the second file's
  // records, the lists keep both, and every record is freed (the sanitizer
  // build checks the latter).
  const char* rows = "insert into ZWAGROUPMEMBER values(1, 0, 9, 'Ann', 'a@s');"
                     "insert into ZWAMEDIAITEM(Z_PK, ZTITLE) values(1, 't');"
                     "insert into ZWAMESSAGE(Z_PK, ZCHATSESSION, ZSORT) values(1, 9, 1);"
                     "insert into ZWACHATSESSION(Z_PK, ZHIDDEN) values(1, 0);";
  const QStringList files{makeDb(dir, QStringLiteral("a.sqlite"), rows), makeDb(dir, QStringLiteral("b.sqlite"), rows)};
  CWAChatMemberQuery members;
  members.query(files, nullptr);
  EXPECT_EQ(members.members().size(), 1);
  EXPECT_EQ(members.membersBySession().value(9).size(), 2);
  EXPECT_EQ(members.members().value(1), members.membersBySession().value(9)[1]);
  CWAMediaQuery media;
  media.query(files, nullptr);
  EXPECT_EQ(media.mediaItems().size(), 1);
  CWAMessageQuery messages;
  messages.query(files, nullptr);
  EXPECT_EQ(messages.messages().size(), 2);
  EXPECT_EQ(messages.messageMap().value(1), messages.messages()[1]);
  CWAChatSessionQuery sessions;
  sessions.query(files, nullptr);
  EXPECT_EQ(sessions.sessions().size(), 2);
}

TEST_F(WhatsappQueries, MissingColumnLeavesTheQueryEmptyAndIsLogged) {
  // An older schema without the removed flag.
  const QString db =
      makeDb(dir, QStringLiteral("old.sqlite"), "insert into ZWACHATSESSION values(1, 0, 0, 'x', 'y', 0, 5);",
             "create table ZWACHATSESSION(Z_PK integer primary key, ZCONTACTABID integer,"
             " ZSESSIONTYPE integer, ZPARTNERNAME varchar, ZCONTACTJID varchar, ZHIDDEN integer,"
             " ZLASTMESSAGEDATE timestamp);");
  CWAChatSessionQuery sessions;
  sessions.query({db}, nullptr);
  EXPECT_TRUE(sessions.sessions().isEmpty());
  ASSERT_EQ(log.size(), 1);
  EXPECT_TRUE(log[0].startsWith(QStringLiteral("Fail to query sql \"select z_pk, zcontactabid")))
      << log[0].toStdString();
  CWAMessageQuery messages; // no such table at all: the count fails first
  messages.query({db}, nullptr);
  EXPECT_TRUE(messages.messages().isEmpty());
  ASSERT_EQ(log.size(), 2);
  EXPECT_TRUE(log[1].startsWith(QStringLiteral("Fail to query sql \"select count(*) from zwamessage\"")));
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

struct EventCase {
  int code;
  const char* text;
  const char* actor;
  const char* target;
  bool self;
  const char* expected;
};

const EventCase kEvents[] = {
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
    {11, "", "", "", false, "Unknown group event 11"},
    {13, "", "", "", false, "Unknown group event 13"},
    {-1, "", "", "", false, "Unknown group event -1"},
    // Names are filled in at once: a "%2" inside the first is not substituted again.
    {2, "a@s", "Bob", "A%2", false, "A%2 added Bob"},
    {12, "50%1 off", "B%1", "", false, "B%1 created \"50%1 off\""},
};

class WhatsappGroupEvent : public ::testing::TestWithParam<EventCase> {};

TEST_P(WhatsappGroupEvent, Text) {
  const EventCase& c = GetParam();
  EXPECT_EQ(CWAMessageQuery::groupEventText(c.code, QString::fromUtf8(c.text), QString::fromUtf8(c.actor),
                                            QString::fromUtf8(c.target), c.self),
            QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(Cases, WhatsappGroupEvent, ::testing::ValuesIn(kEvents),
                         [](const ::testing::TestParamInfo<EventCase>& info) {
                           return "row" + std::to_string(info.index);
                         });

TEST(WhatsappGroupEventInputs, ActorTargetAndSelfComeFromTheMessageAndMembers) {
  WAGroupMember ann{1, 0, QStringLiteral("Ann"), QStringLiteral("ann@s")};
  WAGroupMember ann2{4, 0, QStringLiteral("Ann (old)"), QStringLiteral("ann@s")};
  WAGroupMember bob{2, 0, QStringLiteral("Bob"), QStringLiteral("bob@s")};
  const QMap<qint64, WAGroupMember*> members{{4, &ann2}, {2, &bob}, {1, &ann}};
  const struct {
    const char* name;
    qint64 member;
    const char* text;
    const char* toJid;
    const char* expected;
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
TEST(WhatsappRealData, Ios15ChatStorage) {
  const QString src = QStringLiteral(SHERD_REALDATA_DIR "/whatsapp-ios15");
  if (!QFile::exists(src + QStringLiteral("/ChatStorage.sqlite")))
    GTEST_SKIP() << "no real data at " << src.toStdString();
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  for (const char* suffix : {"", "-wal", "-shm"}) {
    const QString name = QStringLiteral("ChatStorage.sqlite") + QString::fromLatin1(suffix);
    const QString to = dir.filePath(name);
    if (QFile::copy(src + QLatin1Char('/') + name, to))
      QFile::setPermissions(to, QFile::ReadOwner | QFile::WriteOwner);
  }
  const QStringList files{dir.filePath(QStringLiteral("ChatStorage.sqlite"))};
  CWAChatSessionQuery sessions;
  CWAChatMemberQuery members;
  CWAMediaQuery media;
  CWAMessageQuery messages;
  CWAProfilePicQuery pictures;
  for (CISQLiteQuery* q : std::initializer_list<CISQLiteQuery*>{&sessions, &members, &media, &messages, &pictures})
    q->query(files, nullptr);

  ASSERT_EQ(sessions.sessions().size(), 5);
  EXPECT_EQ(sessions.sessions()[0]->contactJid, QStringLiteral("19198887386@s.whatsapp.net")); // newest chat
  EXPECT_EQ(sessions.sessions()[0]->sessionType, 0);
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
  int sent = 0, created = 0, added = 0;
  for (const WAMessage* m : messages.messages()) {
    sent += CWAMessageQuery::isSentStatus(m->messageStatus);
    if (m->messageType != CWAMessageQuery::GroupEventType)
      continue;
    const QString text = CWAMessageQuery::groupEventText(*m, members.members());
    if (text == QStringLiteral("You created this group"))
      ++created;
    else if (text == QStringLiteral("You were added"))
      ++added;
    else
      ADD_FAILURE() << "unexpected event text " << text.toStdString();
  }
  EXPECT_EQ(sent, 21);
  EXPECT_EQ(created, 4);
  EXPECT_EQ(added, 2);
}
} // namespace

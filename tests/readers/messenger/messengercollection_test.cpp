#include "readers/messengers/messenger/messengeritunescollection.h"

#include "model/oxbackup.h"
#include "platform/backup/mobilebackup.h"
#include "samples/apps/messenger.h"
#include "tests/readers/messengers/common/chattest.h"
#include "tests/support/testdata.h"

#include <gtest/gtest.h>

#include <memory>

namespace {
using chattest::itemNamed;

// Media files by name from a folder standing in for the backup's media cache.
class FolderMessenger : public CMessengerCollection {
public:
  explicit FolderMessenger(const QString& folder) : m_folder(folder) {}
  QString cachedMediaPath(const QString& fileName) override { return chattest::fileIn(m_folder, fileName); }

private:
  QString m_folder;
};

using MessengerChats = testdata::ErrorLogTest;

QStringList lines(const OxWhatsappItem* item) {
  QStringList out;
  for (const OxWhatsappMsg* m : item->detailContent()->messages())
    out << testdata::fields(int(m->type()), m->isFromMe(), m->member(), m->content(), !m->media().isEmpty());
  return out;
}

TEST_F(MessengerChats, LightspeedThreadsAndMessages) {
  const qint64 me = 10, ann = 11, bob = 12, group = 900;
  fixture::LightspeedStore s;
  s.owner = me;
  s.contacts = {{me, QStringLiteral("Me")}, {ann, QStringLiteral("Ann")}, {bob, QStringLiteral("Bob")}};
  // Ann's thread lists no participants: it is keyed by her id.
  s.threads = {{ann, 1, QString(), {}}, {group, 2, QStringLiteral("Trip"), {me, ann, bob, 13}}, {77, 1, QString(), {}}};
  s.messages = {
      {QStringLiteral("m1"), ann, ann, 1000, QStringLiteral("hello"), false},
      {QStringLiteral("m2"), ann, me, 2000, QStringLiteral("hi"), false},
      {QStringLiteral("m3"), ann, ann, 3000, QStringLiteral("look"), false},
      {QStringLiteral("m4"), ann, me, 4000, QString(), false},
      {QStringLiteral("m5"), ann, ann, 5000, QStringLiteral("oops"), true},
      {QStringLiteral("m6"), group, bob, 6000, QString(), false},
      {QStringLiteral("m7"), group, 13, 7000, QStringLiteral("see"), false},
  };
  s.attachments = {
      {QStringLiteral("m3"), QStringLiteral("a.jpg"), QString(), QString(), false},
      {QStringLiteral("m4"), QString(), QStringLiteral("Missed video call"), QString(), false},
      {QStringLiteral("m6"), QStringLiteral("plan.pdf"), QString(), QString(), false},
      {QStringLiteral("m7"), QString(), QStringLiteral("Map"), QStringLiteral("maps.example"), true},
  };
  testdata::writeFile(dir.filePath(QStringLiteral("a.jpg")), "x");
  for (const bool view : {false, true}) {
    s.messagesAsView = view;
    FolderMessenger messenger(dir.path());
    OxBackup registry;
    messenger.readDatabase(&registry, nullptr,
                           testdata::writeSqliteDb(dir.filePath(QStringLiteral("ls%1.db").arg(view)),
                                                   fixture::lightspeedStatements(s)));
    EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
    OxData* list = registry.getMessengerMsg();
    ASSERT_EQ(list->count(OxData::CountRaw), 2) << view; // thread 77 has no messages
    OxWhatsappItem* annChat = itemNamed(list, QStringLiteral("Ann"));
    OxWhatsappItem* trip = itemNamed(list, QStringLiteral("Trip"));
    ASSERT_TRUE(annChat && trip) << view;
    EXPECT_EQ(testdata::fields(annChat->value(1), annChat->value(2)), testdata::fields(QStringLiteral("Ann"), ann));
    EXPECT_EQ(testdata::fields(trip->value(1), trip->value(2)),
              testdata::fields(QStringLiteral("Ann, Bob, 13"), QStringLiteral("11, 12, 13")));
    EXPECT_EQ(lines(annChat), (QStringList{
                                  testdata::fields(0, false, QStringLiteral("Ann"), QStringLiteral("hello"), false),
                                  testdata::fields(0, true, QString(), QStringLiteral("hi"), false),
                                  testdata::fields(1, false, QStringLiteral("Ann"), QStringLiteral("look"), true),
                                  testdata::fields(6, true, QString(), QStringLiteral("Missed video call"), false),
                                  testdata::fields(0, false, QStringLiteral("Ann"),
                                                   QStringLiteral("This message was unsent"), false),
                              }));
    EXPECT_EQ(lines(trip), (QStringList{
                               testdata::fields(8, false, QStringLiteral("Bob"), QStringLiteral("plan.pdf"), false),
                               testdata::fields(0, false, QStringLiteral("13"), QStringLiteral("see\nMap\nmaps.example"),
                                                false),
                           }));
  }
}

TEST_F(MessengerChats, OrcaGeneration) {
  fixture::OrcaStore s;
  s.threads = {{QStringLiteral("ONE_TO_ONE:5:7"), QString(), QStringLiteral(R"([{"user_key":"FACEBOOK:7","name":"Kim"}])")},
               {QStringLiteral("ONE_TO_ONE:5:8"), QString(), QString()},
               {QStringLiteral("GROUP:42"), QStringLiteral("Band"), QStringLiteral(R"(["FACEBOOK:5","FACEBOOK:8"])")}};
  s.users = {{QStringLiteral("FACEBOOK:8"), QStringLiteral("Lou")}};
  s.messages = {
      {QStringLiteral("o1"), QStringLiteral("ONE_TO_ONE:5:7"), QStringLiteral(R"({"user_key":"FACEBOOK:7","name":"Kim"})"),
       1000, QStringLiteral("hey"), QString(), QString()},
      {QStringLiteral("o2"), QStringLiteral("ONE_TO_ONE:5:7"), QStringLiteral(R"({"user_key":"FACEBOOK:5"})"), 2000,
       QString(), QString(), QStringLiteral(R"({"latitude":1.5,"longitude":2.25})")},
      {QStringLiteral("o3"), QStringLiteral("GROUP:42"), QStringLiteral(R"({"user_key":"FACEBOOK:8"})"), 3000,
       QString(), QStringLiteral(R"([{"filename":"song.mp3"}])"), QString()},
  };
  FolderMessenger messenger(dir.path());
  OxBackup registry;
  messenger.readDatabase(&registry, nullptr,
                         testdata::writeSqliteDb(dir.filePath(QStringLiteral("orca2.db")), fixture::orcaStatements(s)));
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  OxData* list = registry.getMessengerMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 2);
  OxWhatsappItem* kim = itemNamed(list, QStringLiteral("Kim"));
  OxWhatsappItem* band = itemNamed(list, QStringLiteral("Band"));
  ASSERT_TRUE(kim && band);
  // 5 is in both one-to-one keys: the owner.
  EXPECT_EQ(lines(kim), (QStringList{testdata::fields(0, false, QStringLiteral("Kim"), QStringLiteral("hey"), false),
                                     testdata::fields(5, true, QString(), QStringLiteral("1.500000, 2.250000"), false)}));
  EXPECT_EQ(lines(band), (QStringList{testdata::fields(0, false, QStringLiteral("Lou"), QStringLiteral("song.mp3"), false)}));

  const struct {
    QHash<qint64, int> ids;
    int threads;
    qint64 owner;
  } owners[] = {{{{5, 2}, {7, 1}, {8, 1}}, 2, 5}, {{{5, 1}, {7, 1}}, 1, 0}, {{}, 0, 0}};
  for (const auto& o : owners)
    EXPECT_EQ(CMessengerCollection::orcaOwner(o.ids, o.threads), o.owner) << o.threads;
}

TEST_F(MessengerChats, BadInputs) {
  const struct {
    const char* name;
    QStringList statements; // empty: garbage bytes
    int chats;
  } cases[] = {
      {"garbage.db", {}, 0},
      {"other.db", {QStringLiteral("create table threads(thread_key integer)")}, 0},
      // No owner, no is_unsent column, no attachments: the message still shows, received.
      {"old.db",
       {QStringLiteral("create table threads(thread_key integer, thread_type integer, thread_name text)"),
        QStringLiteral("create table messages(message_id text, thread_key integer, sender_id integer, text text,"
                       " timestamp_ms integer)"),
        QStringLiteral("insert into threads values(1, 2, 'G')"),
        QStringLiteral("insert into messages values('x', 1, 3, 'kept', 0)")},
       1},
  };
  for (const auto& c : cases) {
    errors.clear();
    const QString path = dir.filePath(QLatin1String(c.name));
    if (c.statements.isEmpty())
      testdata::writeFile(path, QByteArray(4096, 'q'));
    else
      testdata::writeSqliteDb(path, c.statements);
    CMessengerCollection messenger;
    OxBackup registry;
    messenger.readDatabase(&registry, nullptr, path);
    EXPECT_EQ(registry.getMessengerMsg()->count(OxData::CountRaw), c.chats) << c.name;
    EXPECT_FALSE(errors.isEmpty()) << c.name;
    EXPECT_TRUE(errors.join(QLatin1Char('\n')).contains(path)) << c.name;
  }
}

TEST_F(MessengerChats, SampleBackupPrefersLightspeedPlainAndEncrypted) {
  fixture::OrcaStore orca;
  orca.threads = {{QStringLiteral("GROUP:1"), QStringLiteral("Old"), QString()}};
  orca.messages = {{QStringLiteral("o"), QStringLiteral("GROUP:1"), QString(), 1, QStringLiteral("old"), QString(), QString()}};
  QByteArray orcaDb;
  QString error;
  ASSERT_TRUE(fixture::makeSqliteDb(fixture::orcaStatements(orca), false, &orcaDb, nullptr, &error));
  QList<fixture::StoredFile> files = fixture::sampleMessengerFiles();
  files << fixture::file(QStringLiteral("AppDomain-com.facebook.Messenger"), QStringLiteral("Library/Caches/orca2.db"), orcaDb);
  for (const char* password : {"", "fb-pass"}) {
    const QString folder = dir.filePath(QStringLiteral("backup%1").arg(*password ? 1 : 0));
    fixture::BackupPlan plan;
    plan.password = QString::fromLatin1(password);
    ASSERT_TRUE(fixture::writeBackup(folder, plan, files, &error)) << qPrintable(error);
    const QByteArray before = fixture::folderChecksum(folder);
    std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder, plan.password));
    ASSERT_TRUE(backup) << password;
    OxBackup registry;
    {
      CMessengeriTunesCollection messenger(&registry);
      messenger.setSwitches(true, false);
      messenger.load(backup.get());
    }
    EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(fixture::folderChecksum(folder), before);
    OxData* list = registry.getMessengerMsg();
    ASSERT_EQ(list->count(OxData::CountRaw), 2) << password;
    EXPECT_EQ(itemNamed(list, QStringLiteral("Old")), nullptr);
    OxWhatsappItem* lena = itemNamed(list, QStringLiteral("Lena Fischer"));
    ASSERT_TRUE(lena);
    EXPECT_TRUE(QFile::exists(lena->detailContent()->messages().at(2)->media())) << password;
  }
}
} // namespace

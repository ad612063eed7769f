#include "readers/messengers/kik/kikitunescollection.h"

#include "model/oxbackup.h"
#include "platform/backup/mobilebackup.h"
#include "tests/readers/messengers/common/chattest.h"
#include "samples/apps/kik.h"
#include "tests/support/testdata.h"

#include <gtest/gtest.h>

#include <memory>

namespace {
using chattest::itemNamed;
using fixture::KikStore;

// Kik's files in a folder; registered attachments are recorded.
class FolderKik : public CKikCollection {
public:
  explicit FolderKik(const QString& folder) : m_folder(folder) {}
  QString mediaFilePath(const QString& path) override { return chattest::fileIn(m_folder, path); }
  void registerAttachment(const QString& attachmentPath, const QString& dataCachePath, int type) override {
    registered << QStringLiteral("%1|%2|%3").arg(attachmentPath, dataCachePath).arg(type);
  }
  QStringList registered;

private:
  QString m_folder;
};

class KikChats : public testdata::ErrorLogTest {
protected:
  QString writeDb(const KikStore& store) {
    return testdata::writeSqliteDb(dir.filePath(QStringLiteral("kik%1.sqlite").arg(++m_dbs)),
                                   fixture::kikStatements(store));
  }
  void writeFile(const QString& relative, const QByteArray& data) { testdata::writeFile(dir.filePath(relative), data); }

  int m_dbs = 0;
};

TEST_F(KikChats, GroupChatWithEveryKindOfMessage) {
  KikStore s;
  s.users = {{1, QStringLiteral("Me"), QStringLiteral("me_a1@talk.kik.com"), 258},
             {2, QStringLiteral("Ann"), QStringLiteral("ann_x@talk.kik.com")},
             {3, QStringLiteral("Bob"), QString()}, // no jid known (NULL)
             {9, QStringLiteral("Trip"), QStringLiteral("11_g@groups.kik.com"), 9}};
  s.chats = {{5, 9}};
  struct Row {
    qint64 pk;
    int type, state, flags;
    qint64 user;
    const char* body;
    int expectType;
    bool fromMe, sentDone;
    const char* content;
  } const rows[] = {
      {1, 3, 0, 4, 9, "You started a group", 6, true, true, "You started a group"}, // system line whatever the flags
      {2, 1, 16, 0, 2, "hi all", 0, false, true, "hi all"},
      {3, 2, 2, 0, 9, "pending", 0, true, false, "pending"},   // state 2: the send is not done
      {4, 1, 16, 0, 3, nullptr, 0, false, true, ""},           // NULL body
      {5, 1, 16, 4, 2, "c-pic", 1, false, true, ""},           // picture
      {6, 1, 16, 4, 3, "c-vid", 2, false, true, ""},           // video by its attachment type
      {7, 1, 16, 4, 2, "c-gallery-video", 2, false, true, ""}, // picture whose descriptor names a video kind
      {8, 1, 16, 4, 2, "c-nothing", 1, false, true, ""},       // descriptor missing from the folder
      {9, 1, 16, 4, 3, "no-row", 4, false, true, ""},          // no attachment row: the flags stay the type
      {10, 1, 16, 99, 2, "odd", 0, false, true, ""},           // unknown flags without attachment: fallback type
      {14, 6, 16, 99, 2, "odd type", 0, false, true, ""},      // an unknown type keeps its flags as the kind
      {11, 2, 94, 0, 9, "bye", 0, true, true, "bye"},
  };
  int at = 0;
  for (const Row& r : rows) {
    s.messages << fixture::KikMessageRow{
        r.pk, r.type, r.state, r.flags, r.user, 1000.0 * ++at, r.body ? QString::fromLatin1(r.body) : QString()};
    s.chatMessages << qMakePair(qint64(5), r.pk);
  }
  // Not in key order: a chat lists its messages in the message list's order,
  // and a key the message table lacks is dropped.
  s.chatMessages << qMakePair(qint64(5), qint64(77));
  s.attachments = {{1, 6, 5, QStringLiteral("c-pic")},
                   {2, 7, 6, QStringLiteral("c-vid")},
                   {3, 6, 7, QStringLiteral("c-gallery-video")},
                   {4, 6, 8, QStringLiteral("c-nothing")}};
  writeFile(QStringLiteral("base/attachments/c-pic"), "bplist00 com.kik.ext.gallery");
  writeFile(QStringLiteral("base/attachments/c-vid"), "bplist00 com.kik.ext.camera");
  // Shorter than the bytes the test reads; the kind is named in any case.
  writeFile(QStringLiteral("base/attachments/c-gallery-video"), "app-id com.kik.ext.Video-Camera");

  FolderKik kik(dir.path());
  kik.setBaseFolder(QStringLiteral("base/"));
  OxBackup registry;
  kik.readDatabase(&registry, nullptr, writeDb(s));
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

  OxData* list = registry.getKikMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 1);
  auto* item = static_cast<OxWhatsappItem*>(list->at(0, false));
  EXPECT_EQ(item->value(0), QStringLiteral("Trip"));
  // Senders in the order of their first messages; the owner adds none.
  EXPECT_EQ(item->value(1), QStringLiteral("Ann(ann_x@talk.kik.com), Bob"));
  EXPECT_EQ(item->value(4), QStringLiteral("bye"));
  EXPECT_TRUE(item->showLastMes());

  const QList<OxWhatsappMsg*>& msgs = item->detailContent()->messages();
  ASSERT_EQ(msgs.size(), int(sizeof(rows) / sizeof(rows[0])));
  for (int i = 0; i < msgs.size(); ++i) {
    const Row& r = rows[i];
    EXPECT_EQ(testdata::fields(int(msgs[i]->type()), msgs[i]->isFromMe(), msgs[i]->isSentDone(), msgs[i]->content()),
              testdata::fields(r.expectType, r.fromMe, r.sentDone, QString::fromLatin1(r.content)))
        << r.pk;
    EXPECT_EQ(msgs[i]->msgDate().toSecsSinceEpoch(), 978307200 + 1000 * (i + 1)) << r.pk;
  }
  EXPECT_EQ(msgs[1]->member(), QStringLiteral("Ann"));
  EXPECT_EQ(msgs[4]->media(), dir.filePath(QStringLiteral("base/attachments/c-pic")));
  EXPECT_TRUE(msgs[4]->isReadThumbFileData());
  EXPECT_TRUE(msgs[7]->media().isEmpty());
  // Every attachment row is registered, with the type its file gave.
  ASSERT_EQ(kik.registered.size(), 4);
  EXPECT_EQ(kik.registered[0], QStringLiteral("base/attachments/c-pic|base/content_manager/data_cache/c-pic|1"));
  EXPECT_TRUE(kik.registered[2].endsWith(QStringLiteral("/c-gallery-video|2"))) << qPrintable(kik.registered[2]);
  EXPECT_TRUE(kik.registered[3].endsWith(QStringLiteral("/c-nothing|1"))) << qPrintable(kik.registered[3]);
}

TEST_F(KikChats, MissingTablesLeaveTheListEmpty) {
  FolderKik kik(dir.path());
  OxBackup registry;
  kik.readDatabase(&registry, nullptr,
                   testdata::writeSqliteDb(dir.filePath(QStringLiteral("empty.sqlite")),
                                           {QStringLiteral("create table zother(z_pk integer)")}));
  EXPECT_EQ(registry.getKikMsg()->count(OxData::CountRaw), 0);
  EXPECT_GE(errors.size(), 6); // one failed COUNT per query
}

TEST_F(KikChats, FileScanKeepsKikFilesAndEndsAtTheFirstEmptyRecord) {
  const QString group = QStringLiteral("AppDomainGroup-group.com.kik.chat");
  const QString app = QStringLiteral("AppDomain-com.kik.chat");
  const struct {
    char domain; // g the group's, a the app's, o another
    const char* path;
    qint64 size;
    int kept; // 0 not kept, 1 under its path, 2 under "/" and its path
  } recs[] = {
      {'g', "cores/private/a1/kik.sqlite", 10, 1},
      {'g', "cores/private/a1/kik.sqlite-wal", 10, 1},
      {'g', "cores/private/a1/attachments/u1", 10, 2},
      {'g', "cores/private/a1/other/x", 10, 0},
      {'a', "Documents/cache.bin", 10, 1},
      {'a', "Documents/settings.plist", 10, 0},
      {'o', "cores/private/a1/attachments/u2", 10, 0},
      {'g', "cores/private/a1/attachments/empty", 0, 0}, // ends the scan
      {'g', "cores/private/b2/kik.sqlite", 10, 0},
  };
  CKikiTunesCollection kik(nullptr);
  QStringList kept;
  int i = 0;
  for (const auto& r : recs) {
    BackupFileRecord rec;
    rec.domain = r.domain == 'g' ? group : r.domain == 'a' ? app : QStringLiteral("HomeDomain");
    rec.relativePath = QString::fromLatin1(r.path);
    rec.size = r.size;
    if (!kik.scanRecord(i++, rec))
      break;
    if (r.kept)
      kept << (r.kept == 2 ? QStringLiteral("/") : QString()) + rec.relativePath;
  }
  EXPECT_EQ(i, 8);
  kept.sort();
  EXPECT_EQ(kik.fileMap().keys(), kept);
  // The -wal companion does not move the base folder.
  EXPECT_EQ(kik.baseFolder(), QStringLiteral("cores/private/a1/"));
}

TEST_F(KikChats, TypeOfHeader) {
  EXPECT_EQ(CKikiTunesCollection::typeOfHeader(QByteArray::fromHex("89504e470d0a1a0a")), 1);         // PNG
  EXPECT_EQ(CKikiTunesCollection::typeOfHeader(QByteArray::fromHex("00000018667479706d703432")), 2); // MP4
  EXPECT_EQ(CKikiTunesCollection::typeOfHeader("plain text"), 8);
  EXPECT_EQ(CKikiTunesCollection::typeOfHeader(QByteArray()), 8);
}

TEST_F(KikChats, SampleBackupReadOnlyWithMediaFromTheBackup) {
  const QString folder = dir.filePath(QStringLiteral("backup"));
  QString error;
  ASSERT_TRUE(fixture::writeBackup(folder, fixture::BackupPlan(), fixture::sampleKikFiles(), &error))
      << qPrintable(error);
  const QByteArray before = fixture::folderChecksum(folder);
  std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder));
  ASSERT_TRUE(backup);
  OxBackup registry;
  {
    CKikiTunesCollection kik(&registry);
    kik.setSwitches(true, false);
    kik.load(backup.get());
    // Both attachments met their full files in the attachment pass.
    EXPECT_EQ(kik.attachmentTypes().size(), 2);
  }
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  EXPECT_EQ(fixture::folderChecksum(folder), before);

  OxData* list = registry.getKikMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 3);
  EXPECT_EQ(list->at(0, false)->value(0), QStringLiteral("Weekend trip")); // newest chat first
  OxWhatsappItem* ann = itemNamed(list, QStringLiteral("Ann Lee"));
  ASSERT_NE(ann, nullptr);
  EXPECT_TRUE(QFileInfo(ann->value(5)).isFile()); // the profile picture
  const OxWhatsappMsg* picture = ann->detailContent()->messages().at(2);
  EXPECT_EQ(int(picture->type()), 1);
  EXPECT_TRUE(QFile::exists(picture->media()));
}

// The sample device's database (join tables Z_3MESSAGES and Z_6MEMBERS).
TEST_F(KikChats, RealDatabase) {
  const QString db = testdata::copyReal(QStringLiteral(SHERD_REALDATA_DIR "/kik/kik.sqlite"),
                                        dir.filePath(QStringLiteral("kik.sqlite")));
  if (db.isEmpty())
    GTEST_SKIP() << "no real Kik database";
  FolderKik kik(dir.path());
  OxBackup registry;
  kik.readDatabase(&registry, nullptr, db);
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

  OxData* list = registry.getKikMsg();
  QStringList counts;
  for (int i = 0; i < list->count(OxData::CountRaw); ++i) {
    auto* item = static_cast<OxWhatsappItem*>(list->at(i, false));
    counts << QStringLiteral("%1 %2").arg(item->value(0)).arg(item->detailContent()->messages().size());
  }
  counts.sort();
  EXPECT_EQ(counts.join(QLatin1Char(',')), QStringLiteral("EveryoneButRoss 44,Ken Doh 6,Kik Team 1,Rofl Harris 3,"
                                                          "Sina Babadi 5,Solid Snake 2"));
  OxWhatsappItem* group = itemNamed(list, QStringLiteral("EveryoneButRoss"));
  EXPECT_TRUE(group->value(1).startsWith(QStringLiteral("Sina Babadi(sbabadi61_jet@talk.kik.com), Solid Snake(")))
      << qPrintable(group->value(1));
  EXPECT_EQ(group->value(1).count(QLatin1Char('(')), 5);
  // Message 30 was written before message 29 in the chat with Ken Doh.
  const QList<OxWhatsappMsg*>& ken = itemNamed(list, QStringLiteral("Ken Doh"))->detailContent()->messages();
  EXPECT_EQ(ken.at(3)->content(), QStringLiteral("Response"));
  EXPECT_EQ(ken.at(4)->content(), QStringLiteral("Test 3"));
}
} // namespace

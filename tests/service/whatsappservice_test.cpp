#include "service/whatsappservice.h"

#include "model/oxabstractitem.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "samples/apps/notes.h"
#include "samples/backupfixture.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>


namespace {
// A backup root without "-" in its path, so that the retry without "-" only
// changes the identifier.
class ServiceTest : public ::testing::Test {
protected:
  void SetUp() override {
    SherdLog::silence();
    ASSERT_TRUE(root.isValid());
    qputenv("SHERD_BACKUP_ROOT", root.path().toUtf8());
  }
  void TearDown() override {
    qunsetenv("SHERD_BACKUP_ROOT");
    SherdLog::toStderr();
  }
  void makeBackup(const QString& name, const QString& password = QString()) {
    fixture::BackupPlan plan;
    plan.password = password;
    QString error;
    ASSERT_TRUE(fixture::writeBackup(
        root.filePath(name), plan,
        {fixture::file(QStringLiteral("HomeDomain"), QStringLiteral("Library/x.txt"), QByteArray("x"))}, &error))
        << qPrintable(error);
  }
  static void addChat(WhatsappService& s) {
    auto* item = OxWhatsappItem::createItem();
    item->setDetailContent(new OxWhatsappChat);
    s.getOxData(0)->append(item);
  }

  QTemporaryDir root{QDir::tempPath() + QStringLiteral("/sherdsvcXXXXXX")};
};

TEST_F(ServiceTest, IdentifierFormsAndTheRetryWithoutHyphens) {
  makeBackup(QStringLiteral("abcdef"));
  makeBackup(QStringLiteral("plain"));
  struct Row {
    const char* identifier;
    int result; // "abc-def" is found on the second attempt
  } rows[] = {{"abc-def", 0}, {"a-b-c-d-e-f", 0}, {"missing", -1}, {"pla-in-x", -1}};
  for (const auto& r : rows) {
    WhatsappService s(QString::fromLatin1(r.identifier), false);
    EXPECT_EQ(s.loadWhatsappOnly(), r.result) << r.identifier;
  }
  WhatsappService byPath(root.filePath(QStringLiteral("plain")), false);
  EXPECT_EQ(byPath.loadWhatsappOnly(), 0);
  // A path names one folder: its hyphens are the user's, not a device's.
  WhatsappService byHyphenedPath(root.filePath(QStringLiteral("abc-def")), false);
  EXPECT_EQ(byHyphenedPath.loadWhatsappOnly(), -1);
}

// Loading notes writes nothing beside the backups: a "rotated" folder a user
// keeps there stays as it is. The decrypted and turned images go to the
// service's own folder under the temporary root, which goes with the service.
TEST_F(ServiceTest, NotesScratchFolderIsTheServicesOwnUnderTheTemporaryRoot) {
  QString error;
  ASSERT_TRUE(fixture::writeBackup(root.filePath(QStringLiteral("phone")), fixture::BackupPlan(),
                                   fixture::notes::sampleNoteFiles(), &error))
      << qPrintable(error);
  for (const char* name : {"rotated/holiday.jpg", "rotated/attach_1.png", "rotated/letters/mum.txt"}) {
    const QString path = root.filePath(QLatin1String(name));
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(name);
  }
  const QByteArray before = fixture::folderChecksum(root.path());

  QString scratch;
  {
    WhatsappService service(QStringLiteral("phone"), false);
    service.setNotePasswords({fixture::notes::kSamplePassword});
    for (int load = 0; load < 2; ++load) { // the second load empties the folder first
      ASSERT_TRUE(service.onBeginLoadWhatsappOnly());
      service.loadWhatsappOnly(7);
      service.onEndLoadWhatsappOnly();
    }
    OxData* notes = service.getOxData(7);
    for (int row = 0; row < notes->count(OxData::CountRaw); ++row)
      for (const OxNoteItem::NotePiece* piece : static_cast<OxNoteItem*>(notes->at(row, false))->notePieces())
        if (piece->content.contains(QLatin1String("/rotated/")))
          scratch = QFileInfo(piece->content).path();
    ASSERT_FALSE(scratch.isEmpty()) << "no decrypted image in the scratch folder";
    EXPECT_TRUE(scratch.startsWith(Utils::tempPath())) << qPrintable(scratch);
    EXPECT_EQ(QDir(scratch).entryList(QDir::Files).size(), 2); // the decrypted sketch and its turned copy
  }
  EXPECT_FALSE(QFileInfo::exists(scratch));
  EXPECT_EQ(fixture::folderChecksum(root.path()), before);
}

TEST_F(ServiceTest, EncryptedBackupsNeedThePassword) {
  makeBackup(QStringLiteral("locked"), QStringLiteral("s3cret"));
  struct Row {
    const char* password;
    int result;
  } rows[] = {{nullptr, -1}, {"wrong", -1}, {"s3cret", 0}};
  for (const auto& r : rows) {
    WhatsappService s(QStringLiteral("locked"), false);
    if (r.password)
      s.setBackupPassword(QString::fromLatin1(r.password));
    EXPECT_EQ(s.loadWhatsappOnly(), r.result) << (r.password ? r.password : "(none)");
    EXPECT_TRUE(r.result == 0 || !s.lastOpenError().isEmpty());
  }
}

// A backup without WhatsApp loads nothing and succeeds; a load clears the
// registry, a failed one keeps it and releases the lock.
TEST_F(ServiceTest, ALoadClearsTheRegistryAFailedOneKeepsIt) {
  makeBackup(QStringLiteral("dev"));
  WhatsappService s(QStringLiteral("dev"), true);
  addChat(s);
  EXPECT_EQ(s.loadWhatsappOnly(), 0);
  EXPECT_EQ(s.getOxData(0)->count(OxData::CountRaw), 0);
  addChat(s);
  QDir(root.filePath(QStringLiteral("dev"))).removeRecursively();
  EXPECT_EQ(s.loadWhatsappOnly(), -1);
  EXPECT_EQ(s.getOxData(0)->count(OxData::CountRaw), 1);
  EXPECT_FALSE(s.onBeginLoadWhatsappOnly());
  s.onEndLoadWhatsappOnly();
  s.loadWhatsappOnly(OxBackup::DataTypeCount); // no such type: nothing read, nothing cleared
  EXPECT_EQ(s.getOxData(OxBackup::WhatsApp)->count(OxData::CountRaw), 1);
}

TEST_F(ServiceTest, SessionCountsAreCachedUntilTheNextLoad) {
  makeBackup(QStringLiteral("dev"));
  WhatsappService s(QStringLiteral("dev"), false);
  EXPECT_EQ(s.msgSessionCount(), 0u);
  addChat(s);
  EXPECT_EQ(s.msgSessionCount(), 0u); // cached
  s.getOxData(7)->append(new OxAbstractItem(1));
  EXPECT_EQ(s.OtherSessionCount(), 1u);
  ASSERT_TRUE(s.onBeginLoadWhatsappOnly());
  addChat(s);
  addChat(s);
  s.onEndLoadWhatsappOnly();
  EXPECT_EQ(s.msgSessionCount(), 2u);
  EXPECT_EQ(s.OtherSessionCount(), 0u);
}

} // namespace

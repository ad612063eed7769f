#include "service/whatsappservice.h"

#include "model/oxabstractitem.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/log.h"
#include "samples/backupfixture.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

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
  EXPECT_EQ(s.getOxData(0)->count(0), 0);
  addChat(s);
  QDir(root.filePath(QStringLiteral("dev"))).removeRecursively();
  EXPECT_EQ(s.loadWhatsappOnly(), -1);
  EXPECT_EQ(s.getOxData(0)->count(0), 1);
  EXPECT_FALSE(s.onBeginLoadWhatsappOnly());
  s.onEndLoadWhatsappOnly();
  EXPECT_TRUE(s.loadWhatsappOnly(11));
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

TEST_F(ServiceTest, DestructionWaitsForARunningLoad) {
  makeBackup(QStringLiteral("dev"));
  auto* s = new WhatsappService(QStringLiteral("dev"), false);
  ASSERT_TRUE(s->onBeginLoadWhatsappOnly());
  std::atomic<bool> destroyed{false};
  std::thread destroyer([&] {
    delete s;
    destroyed = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(destroyed.load());
  s->onEndLoadWhatsappOnly();
  destroyer.join();
  EXPECT_TRUE(destroyed.load());
}
} // namespace

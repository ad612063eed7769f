#include "platform/backup/nzbackup.h"

#include "platform/backup/mobilebackup.h"

#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "samples/backupfixture.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

namespace {
void touch(const QString& path) {
  QDir().mkpath(QFileInfo(path).path());
  QFile f(path);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  f.write("x");
}

class NzBackupTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(m_root.isValid());
    qputenv("SHERD_BACKUP_ROOT", m_root.path().toUtf8());
    SherdLog::silence();
  }
  void TearDown() override {
    qunsetenv("SHERD_BACKUP_ROOT");
    SherdLog::toStderr();
  }
  QTemporaryDir m_root;
};

TEST_F(NzBackupTest, DeviceBackupPath) {
  const QString root = QDir(m_root.path()).absolutePath();
  QDir().mkpath(root + QStringLiteral("/00008030001A2B3C4D5E802E"));
  struct Row {
    QString identifier;
    QString expected;
  } rows[] = {
      {QStringLiteral("0123456789abcdef0123456789abcdef01234567"), root}, // not there: still the root
      {QStringLiteral("00008030-001A2B3C4D5E802E"), root},                // found without its hyphen
      {QStringLiteral("/some/where/else/0123"), QStringLiteral("/some/where/else")},
  };
  for (const Row& r : rows)
    EXPECT_EQ(NzBackup::getDeviceBackupPath(r.identifier), r.expected) << qPrintable(r.identifier);
}

TEST_F(NzBackupTest, ListsBackupsNewestFirst) {
  fixture::BackupPlan older;
  older.deviceName = QStringLiteral("Old Phone");
  older.date = QDateTime(QDate(2019, 1, 2), QTime(3, 4, 5), Qt::UTC);
  older.generation = fixture::BackupPlan::Mbdb;
  fixture::BackupPlan newer;
  newer.password = QStringLiteral("pw");
  QString err;
  const QList<fixture::StoredFile> files = {fixture::file("HomeDomain", "a", "1")};
  ASSERT_TRUE(fixture::writeBackup(m_root.filePath("aaaa"), older, files, &err)) << qPrintable(err);
  ASSERT_TRUE(fixture::writeBackup(m_root.filePath("bbbb"), newer, files, &err)) << qPrintable(err);
  QDir().mkpath(m_root.filePath("not-a-backup"));
  const QList<BackupSummary> list = NzBackup::listBackups();
  ASSERT_EQ(list.size(), 2);
  EXPECT_TRUE(list[0].encrypted);
  EXPECT_EQ(list[1].deviceName, "Old Phone");
  EXPECT_EQ(list[1].date, older.date);
}

TEST(UtilsTest, TempPathIsOnePerProcess) {
  const QString t = Utils::tempPath();
  ASSERT_TRUE(t.endsWith(QLatin1Char('/')) && QFileInfo(t).isDir()) << qPrintable(t);
  struct Row {
    QString path;
    bool inside;
  } rows[] = {{t + QStringLiteral("Whatsapp/x/y"), true},
              {t + QStringLiteral("a/../../x"), false},
              {t.chopped(1) + QStringLiteral("Whatsapp"), false}}; // a sibling, not inside
  for (const Row& r : rows)
    EXPECT_EQ(Utils::isInsideTempPath(r.path), r.inside) << qPrintable(r.path);
}

// $SHERD_TEMP moves the root, and the root goes away with its process: run
// this test binary again as a child that only prints its root.
TEST(UtilsTest, TempRootFollowsSherdTempAndEndsWithProcess) {
  if (qEnvironmentVariableIsSet("SHERD_TEMP_CHILD")) {
    const QString root = Utils::tempPath();
    QFile f(root + QStringLiteral("left-behind"));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    std::printf("ROOT=%s\n", qPrintable(root));
    return;
  }
  QTemporaryDir base;
  QProcess child;
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert(QStringLiteral("SHERD_TEMP"), base.path());
  env.insert(QStringLiteral("SHERD_TEMP_CHILD"), QStringLiteral("1"));
  child.setProcessEnvironment(env);
  child.start(QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath(),
              {QStringLiteral("--gtest_filter=UtilsTest.TempRootFollowsSherdTempAndEndsWithProcess")});
  ASSERT_TRUE(child.waitForFinished(60000));
  const QString out = QString::fromLocal8Bit(child.readAllStandardOutput());
  const int at = out.indexOf(QStringLiteral("ROOT="));
  ASSERT_GE(at, 0) << qPrintable(out);
  const QString root = out.mid(at + 5).section(QLatin1Char('\n'), 0, 0).trimmed();
  EXPECT_TRUE(root.startsWith(QFileInfo(base.path()).canonicalFilePath() + QLatin1Char('/'))) << qPrintable(root);
  EXPECT_FALSE(QFileInfo::exists(root));
  EXPECT_NE(root, Utils::tempPath());
}

// clearDir empties folders inside the temporary root only: never a "rotated"
// folder beside the backups, a backup, the root itself or a path that climbs
// out of it.
TEST_F(NzBackupTest, ClearDirRefusesEveryFolderOutsideTheTemporaryRoot) {
  QTemporaryDir outside; // under the system folder, beside the temporary root
  const QString scratch = Utils::tempPath() + QStringLiteral("cleartest");
  const QString rotated = m_root.filePath(QStringLiteral("rotated"));
  const QString backup = m_root.filePath(QStringLiteral("0123abcd"));
  struct Row {
    const char* name;
    QString folder;
    bool cleared;
  } rows[] = {
      {"inside the temporary root", scratch, true},
      {"rotated folder of the backup root", rotated, false},
      {"a backup folder", backup, false},
      {"the temporary root itself", Utils::tempPath(), false},
      {"climbing out of the root",
       Utils::tempPath() + QStringLiteral("cleartest/../../") + QFileInfo(outside.path()).fileName(), false},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    touch(scratch + "/a/b/c.txt");
    touch(rotated + "/x.jpg");
    touch(backup + "/Info.plist");
    touch(outside.filePath("keep/me.txt"));
    // A link inside a scratch folder to an outside folder: only the link goes.
    QFile::link(outside.filePath("keep"), scratch + "/link");
    EXPECT_EQ(CCommonUtils::clearDir(r.folder), r.cleared);
    const QString canon = QFileInfo(r.folder).canonicalFilePath();
    EXPECT_TRUE(QFileInfo(canon).isDir()); // the folder itself stays
    EXPECT_EQ(QDir(canon).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System), r.cleared);
    for (const QString& kept : {outside.filePath("keep/me.txt"), backup + "/Info.plist", rotated + "/x.jpg"})
      EXPECT_TRUE(QFileInfo::exists(kept)) << qPrintable(kept);
  }
}
} // namespace

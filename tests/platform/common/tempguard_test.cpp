#include "platform/common/tempguard.h"

#include "platform/common/log.h"
#include "platform/common/utils.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {
TEST(TempGuard, SweepRemovesOnlyRootsOfEndedProcesses) {
  SherdLog::silence();
  QTemporaryDir base;
  ASSERT_TRUE(base.isValid());
  const QString self = QString::number(qint64(getpid()));
  struct Row {
    const char* name;
    QString folder;
    bool symlink;
    bool kept;
  } rows[] = {
      {"a root whose process is gone", QStringLiteral("sherd-2147483646-abc123"), false, false},
      {"this process's own root", QStringLiteral("sherd-%1-abc123").arg(self), false, true},
      {"a root of a running process", QStringLiteral("sherd-1-abc123"), false, true},
      {"a name of another pattern", QStringLiteral("sherd-abc123"), false, true},
      {"a user's own folder", QStringLiteral("keep-me"), false, true},
      {"a link with a root's name", QStringLiteral("sherd-2147483645-abc123"), true, true},
  };
  QTemporaryDir elsewhere;
  for (const Row& r : rows) {
    const QString path = QDir(base.path()).filePath(r.folder);
    if (r.symlink) {
      ASSERT_TRUE(QFile::link(elsewhere.path(), path));
    } else {
      ASSERT_TRUE(QDir().mkpath(path + QStringLiteral("/inner")));
      QFile f(path + QStringLiteral("/inner/decrypted.sqlite"));
      ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
  }
  EXPECT_EQ(TempGuard::sweepStale(base.path()), 1);
  for (const Row& r : rows)
    EXPECT_EQ(QFileInfo::exists(QDir(base.path()).filePath(r.folder)), r.kept) << r.name;
  EXPECT_TRUE(QDir(elsewhere.path()).exists()); // a link's target is never followed
  SherdLog::toStderr();
}

TEST(TempGuard, TheRootIsOwnerOnlyAndNamedForThisProcess) {
  const QString root = Utils::tempPath();
  ASSERT_FALSE(root.isEmpty());
  const QFileInfo fi(QDir::cleanPath(root)); // without the trailing "/"
  EXPECT_TRUE(fi.fileName().startsWith(TempGuard::rootPrefix()));
  EXPECT_EQ(fi.permissions() & (QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                                QFile::WriteOther | QFile::ExeOther),
            QFile::Permissions());
}
} // namespace

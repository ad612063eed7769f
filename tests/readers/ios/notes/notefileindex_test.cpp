// The file index answers every search as a walk over the whole file list does.
#include "readers/ios/notes/notefileindex.h"

#include "platform/backup/mobilebackup.h"
#include "tests/support/backupfixture.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

namespace {
using namespace fixture;

TEST(NoteFileIndex, FindsWhatAWalkOverTheListFinds) {
  const QString notes = QStringLiteral("AppDomainGroup-group.com.apple.notes");
  const QString a = QStringLiteral("0C6A7E1B-55D2-4A0B-8F0E-6D2A9C1B7E11");
  const QString b = QStringLiteral("0c6a7e1b-55d2-4a0b-8f0e-6d2a9c1b7e11"); // same letters, other case
  const QStringList paths = {
      QStringLiteral("Accounts/X/Media/%1/photo.jpeg").arg(a),
      QStringLiteral("Accounts/X/Previews/%1-1-192x144-0.png").arg(a),
      QStringLiteral("Accounts/X/Previews/%1-1-192x144-0-oriented.png").arg(a),
      QStringLiteral("Accounts/X/Media/%1/photo.jpeg").arg(b),
      // Two UUIDs run together: the second starts inside the first's tail.
      QStringLiteral("Accounts/X/FallbackImages/%1-%2.png").arg(a, QStringLiteral("9E8D7C6B-5A49-4382-9170-6F5E4D3C2B03")),
      QStringLiteral("Media/plain-name/file.bin"),
      QStringLiteral("NoteStore.sqlite"),
  };
  QList<StoredFile> files;
  for (const QString& p : paths)
    files << file(notes, p, "x");
  files << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/%1.png").arg(a), "x");
  QTemporaryDir dir;
  QString error;
  ASSERT_TRUE(writeBackup(dir.filePath("b"), BackupPlan(), files, &error)) << error.toStdString();
  std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(dir.filePath("b")));
  ASSERT_TRUE(backup);
  NoteFileIndex index;
  index.build(backup.get());
  const QStringList queries = {a, b, a + QStringLiteral("-1-192x144-0"), QStringLiteral("9E8D7C6B-5A49-4382-9170-6F5E4D3C2B03"),
                               QStringLiteral("plain-name"), QStringLiteral("Media"), QStringLiteral("absent"),
                               QString()};
  for (const QString& domain : {notes, QStringLiteral("HomeDomain"), QStringLiteral("OtherDomain")}) {
    for (const QString& q : queries) {
      QVector<int> walked;
      for (int i = 0; i < backup->fileCount() && !q.isEmpty(); ++i)
        if (backup->fileAt(i).domain == domain && backup->fileAt(i).relativePath.contains(q))
          walked << i;
      EXPECT_EQ(index.find(domain, q), walked) << domain.toStdString() << " " << q.toStdString();
    }
  }
}

} // namespace

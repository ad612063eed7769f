#include "platform/backup/nzbackup.h"

#include "platform/backup/backupinfo_p.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

QStringList NzBackup::backupRoots() {
  const QString over = qEnvironmentVariable("SHERD_BACKUP_ROOT");
  if (!over.isEmpty())
    return {QDir::cleanPath(over)};
  QStringList roots;
  const QString home = QDir::homePath();
#if defined(Q_OS_WIN)
  const QString appData = qEnvironmentVariable("APPDATA");
  if (!appData.isEmpty())
    roots << QDir::cleanPath(appData + QStringLiteral("/Apple Computer/MobileSync/Backup"));
  const QString profile = qEnvironmentVariable("USERPROFILE", home);
  roots << QDir::cleanPath(profile + QStringLiteral("/Apple/MobileSync/Backup"));
#elif defined(Q_OS_MACOS)
  roots << home + QStringLiteral("/Library/Application Support/MobileSync/Backup");
#else
  // idevicebackup2 has no default folder; this is the one its users and the
  // desktop front-ends built on it commonly pick.
  roots << home + QStringLiteral("/.local/share/MobileSync/Backup");
  roots << home + QStringLiteral("/MobileSync/Backup");
#endif
  return roots;
}

QString NzBackup::getDeviceBackupPath(const QString& identifier) {
  if (identifier.contains(QLatin1Char('/')) || identifier.contains(QLatin1Char('\\')) ||
      QFileInfo(identifier).isAbsolute()) {
    QString p = QDir::cleanPath(QDir::fromNativeSeparators(identifier));
    return QFileInfo(p).absolutePath();
  }
  const QStringList roots = backupRoots();
  QString bare = identifier;
  bare.remove(QLatin1Char('-'));
  for (const QString& root : roots) {
    const QDir dir(root);
    if (!identifier.isEmpty() && (dir.exists(identifier) || dir.exists(bare)))
      return dir.absolutePath();
  }
  return roots.isEmpty() ? QString() : QDir(roots.first()).absolutePath();
}

QList<BackupSummary> NzBackup::listBackups(const QString& root) {
  const QStringList roots = root.isEmpty() ? backupRoots() : QStringList{root};
  QList<BackupSummary> out;
  for (const QString& r : roots) {
    const QDir dir(r);
    const QFileInfoList subs = dir.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& sub : subs) {
      const QDir b(sub.absoluteFilePath());
      if (!b.exists(QStringLiteral("Info.plist")) && !b.exists(QStringLiteral("Manifest.plist")))
        continue;
      const BackupProperties props = readBackupProperties(sub.absoluteFilePath());
      BackupSummary s;
      s.folder = sub.absoluteFilePath();
      s.identifier = sub.fileName();
      s.deviceName = props.info.deviceName;
      s.productVersion = props.info.productVersion;
      s.date = props.info.lastBackupDate;
      s.encrypted = props.info.encrypted;
      out.append(s);
    }
  }
  std::stable_sort(out.begin(), out.end(),
                   [](const BackupSummary& a, const BackupSummary& b) { return a.date > b.date; });
  return out;
}

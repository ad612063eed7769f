#pragma once
// NzBackup: where device backups live on this host, and which ones are there.
#include "platform/common/sherdglobal.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

struct SHERD_EXPORT BackupSummary {
  QString folder;     // the backup folder's absolute path
  QString identifier; // the folder's name (the device's UDID, or an archive name)
  QString deviceName;
  QString productVersion;
  QDateTime date; // last backup, UTC
  bool encrypted = false;
};

class SHERD_EXPORT NzBackup {
public:
  // The folders that hold device backups on this host, most likely first:
  // $SHERD_BACKUP_ROOT alone when it is set; otherwise the host's usual
  // folders (both iTunes folders on Windows, MobileSync on macOS, and on other
  // hosts the folder where idevicebackup2 backups are usually kept).
  static QStringList backupRoots();

  // The folder that holds the device backup named by the identifier, so that
  // QDir(result).absoluteFilePath(identifier) is the backup. An identifier
  // that is a path (absolute, or with a separator) gives its parent folder; a
  // bare name gives the first backup root holding it (also tried without
  // hyphens), else the first backup root.
  static QString getDeviceBackupPath(const QString& identifier);

  // The backups directly inside a folder (the backup roots when empty),
  // newest first. Sub-folders without Info.plist or Manifest.plist are left out.
  static QList<BackupSummary> listBackups(const QString& root = QString());
};

#pragma once
// Reading a backup folder's property lists (Info, Manifest, Status). Private.
#include "platform/backup/mobilebackup.h"

#include <QByteArray>

struct BackupProperties {
  BackupInfo info;
  bool hasInfo = false;
  bool hasManifest = false;
  QByteArray keybag;      // Manifest.plist BackupKeyBag
  QByteArray manifestKey; // Manifest.plist ManifestKey (encrypted, iOS 10.2 and later)
};

// Reads what the three property lists of the folder hold; absent or unreadable
// lists leave their fields empty and are logged.
BackupProperties readBackupProperties(const QString& folder);

#pragma once
// MobileBackup: one opened iTunes/Finder backup folder, read-only.
//
// Opening reads the device's property lists and the manifest's records once;
// no stored file is read until a caller asks for it. Encrypted backups need the
// password at opening; each stored file is then decrypted only when asked for,
// once, into a private folder under the temporary root that goes away with the
// object. Nothing is ever written inside the backup folder.
//
// Not thread-safe: one thread uses an opened backup at a time.
#include "platform/common/sherdglobal.h"

#include <QDateTime>
#include <QString>

#include <memory>

// What the backup's property lists say about the device and the backup.
struct SHERD_EXPORT BackupInfo {
  QString deviceName;
  QString displayName;
  QString productType;    // e.g. iPhone12,1
  QString productName;    // e.g. iPhone 11, when the host wrote it
  QString productVersion; // iOS version
  QString buildVersion;
  QString serialNumber;
  QString imei;
  QString imei2;
  QString meid;
  QString phoneNumber;
  QString iccid;
  QString uniqueIdentifier;
  QDateTime lastBackupDate; // UTC
  QString manifestVersion;  // Manifest.plist "Version"
  QString snapshotState;    // Status.plist; "finished" after a complete run
  bool encrypted = false;
  bool passcodeSet = false;

  // Whether the last backup run finished (or nothing says otherwise).
  bool isComplete() const { return snapshotState.isEmpty() || snapshotState == QLatin1String("finished"); }
};

// One regular file of the backup.
struct SHERD_EXPORT BackupFileRecord {
  QString domain;       // e.g. HomeDomain, AppDomainGroup-group.com.apple.notes
  QString relativePath; // inside the domain, no leading '/'
  quint32 modified = 0; // modification time, Unix seconds
  qint64 size = 0;      // bytes; for a decrypted file, its decrypted length
  QString fileId;       // name of the stored file (40 hex digits)
  int protectionClass = 0; // the data-protection class the device gave the file (0 when not recorded)

  bool isNull() const { return fileId.isEmpty(); }
  // The last component of the relative path.
  QString fileName() const;
};

class SHERD_EXPORT MobileBackup {
public:
  enum class Error {
    None,
    NotFound,         // no folder at the path
    NotABackup,       // no manifest, or a manifest that cannot be read at all
    PasswordRequired, // encrypted, and no password given
    WrongPassword,    // encrypted, and the password does not unlock it
    Damaged,          // the keybag or an encrypted manifest cannot be used
  };
  enum class Generation { ManifestDb, Mbdb };

  // Opens the backup folder. Returns null, with a logged reason that
  // lastError() repeats, when it is not a backup that can be read. The password
  // is needed for encrypted backups only and is not kept; the keys derived
  // from it stay in memory for the life of the object.
  static MobileBackup* loadFromPath(const QString& path, const QString& password = QString());
  // Why the last loadFromPath of this thread returned null (empty after success).
  static QString lastError();
  static Error lastErrorCode();

  ~MobileBackup();
  MobileBackup(const MobileBackup&) = delete;
  MobileBackup& operator=(const MobileBackup&) = delete;

  QString path() const;
  Generation generation() const;
  bool isEncrypted() const;
  const BackupInfo& backupInfo() const;

  // The regular files, in the manifest's order except that empty files come
  // after all others. Out-of-range indexes give a null record.
  int fileCount() const;
  BackupFileRecord fileAt(int index) const;
  // The index of the regular file with that domain and relative path, or -1.
  int findFile(const QString& domain, const QString& relativePath) const;

  // Records that are not regular files, counted apart.
  int directoryCount() const;
  int linkCount() const;
  int otherCount() const; // unknown kinds and unreadable records

  // A readable local path of the file's content: the stored file itself in a
  // plain backup; a decrypted copy (made once, then reused) in an encrypted
  // one. Empty, with a logged reason, when the content is absent or cannot be
  // decrypted. Never write to the returned path.
  QString filePath(int index);

  // The record whose local file (as filePath gives it: the stored file, or its
  // decrypted copy) is at that path; -1 for any other path.
  int indexOfLocalPath(const QString& localPath) const;

  // Copies the file's content to destFolder/<file name> (destFolder is made when
  // missing and must lie inside the temporary root). Returns the copy's path,
  // or empty with a logged reason.
  QString extractFile(int index, const QString& destFolder);

  // Copies a database and the -wal, -shm and -journal companions that the
  // backup holds, under their real names, into the folder destPrefix (made when
  // missing, inside the temporary root), so that SQLite replays the log when
  // the copy is opened. Returns the database copy's path; empty when the
  // backup lacks the file or it cannot be copied.
  QString generalSqlDbFile(const QString& destPrefix, const QString& domain, const QString& relativePath);

private:
  MobileBackup();
  struct Private;
  std::unique_ptr<Private> d;
};

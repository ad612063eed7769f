#pragma once
// Writes complete synthetic device backups for tests, benchmarks and the demo:
// Info.plist, Manifest.plist, Status.plist, the manifest of either generation
// (Manifest.db or Manifest.mbdb) and the stored files, plain or encrypted with
// a password. App writers (samples/apps/) produce the StoredFile lists
// that go into a backup.
#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

namespace fixture {

struct StoredFile {
  enum Kind { File, Directory, Link };
  QString domain;
  QString relativePath;
  QByteArray data;
  Kind kind = File;
  quint32 modified = 1600000000; // Unix seconds
  quint32 protectionClass = 3;
  QString linkTarget;
  qint64 recordedSize = -1; // size written into the manifest; -1 = the data's length
  bool omitContent = false; // named in the manifest, no stored file on disk
};

StoredFile file(const QString& domain, const QString& relativePath, const QByteArray& data);
StoredFile directory(const QString& domain, const QString& relativePath);
StoredFile link(const QString& domain, const QString& relativePath, const QString& target);

struct BackupPlan {
  enum Generation { ManifestDb, Mbdb };
  Generation generation = ManifestDb;
  QString password; // non-empty: an encrypted backup
  // Key derivation of the keybag. Real backups use 10,000,000 and 10,000;
  // small counts keep tests fast. sha256Iterations 0 writes the older keybag
  // that derives with SHA-1 only.
  int sha256Iterations = 50;
  int sha1Iterations = 10;
  bool encryptManifestDb = true;      // encrypted Manifest.db with a ManifestKey
  bool padManifestDb = true;          // false: that Manifest.db without PKCS#7 padding
  QList<QByteArray> extraKeybagItems; // raw items put after the keybag's header
  bool writeContents = true;          // false: manifest only (large benchmark backups)

  QString deviceName = QStringLiteral("Test iPhone");
  QString productType = QStringLiteral("iPhone12,1");
  QString productVersion; // empty: 15.4.1 for Manifest.db, 9.3.5 for Manifest.mbdb
  QString buildVersion = QStringLiteral("19E258");
  QString serialNumber = QStringLiteral("F2LXK0AAHG7F");
  QString imei = QStringLiteral("356789012345678");
  QString phoneNumber = QStringLiteral("+1 555 0100");
  QString uniqueIdentifier = QStringLiteral("00008030-001A2B3C4D5E802E");
  QDateTime date = QDateTime(QDate(2022, 5, 1), QTime(12, 0), Qt::UTC);
  QString snapshotState = QStringLiteral("finished");
};

// One keybag item: 4-byte tag, big-endian length, value.
QByteArray keybagItem(const QByteArray& tag, const QByteArray& value);
QByteArray keybagInt(const QByteArray& tag, quint32 value);

// Writes the backup into folder (created; must not hold a backup already).
bool writeBackup(const QString& folder, const BackupPlan& plan, const QList<StoredFile>& files, QString* error);

// Where writeBackup put the stored file of a record.
QString storedPath(const QString& folder, const BackupPlan& plan, const QString& domain, const QString& relativePath);

// SHA-256 over every file's relative path, size and content under the folder,
// in name order: equal before and after means nothing changed.
QByteArray folderChecksum(const QString& folder);

// The bytes of an SQLite database made by running the statements. With
// wal=true the database is in WAL mode and *wal receives the log holding the
// statements' rows (the main file then lacks them until a checkpoint).
bool makeSqliteDb(const QStringList& statements, bool wal, QByteArray* db, QByteArray* walBytes, QString* error);

} // namespace fixture

#pragma once
// WhatsappService: the entry a host application drives. One service serves one
// device backup for its whole life: it opens the backup, empties the registry,
// runs the reader of each data type, and hands the filled lists back.
//
// Host's calling order: construct; optionally setContactToNameMap and
// setBackupPassword; then loadWhatsappOnly() for everything, or
// onBeginLoadWhatsappOnly / loadWhatsappOnly(type)... / onEndLoadWhatsappOnly
// for chosen types; then getOxData, msgSessionCount, OtherSessionCount; at last
// destroy.
//
// Traps worth knowing:
//  - onBeginLoadWhatsappOnly keeps the load lock even when it fails: the caller
//    must call onEndLoadWhatsappOnly either way, and a second begin without an
//    end blocks for ever.
//  - loadWhatsappOnly() returns 0 without releasing the lock when a shutdown
//    was requested between its begin and its first reader. shutdownService
//    never interrupts a running load.
//  - The identifier is tried as it is, then once more with every "-" removed.
//  - The destructor waits for a running load. The opened backup is kept for
//    the life of the service (readers' decrypted copies live as long as it).
//  - The notes reader's scratch folder ("rotated", for decrypted and turned
//    attachment images) is the service's own, under the temporary root
//    (Utils::tempPath): emptied before each notes load and removed with the
//    service. Nothing is ever written beside the backup.
#include "platform/backup/mobilebackup.h"
#include "platform/common/sherdglobal.h"

#include <QMap>
#include <QSemaphore>
#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>

class CIProgressCallback;
class OxBackup;
class OxData;
class QDir;

class SHERD_EXPORT WhatsappService {
public:
  WhatsappService(const QString& backupIdentifier, bool hostFlag);
  virtual ~WhatsappService();
  WhatsappService(const WhatsappService&) = delete;
  WhatsappService& operator=(const WhatsappService&) = delete;

  bool onBeginLoadWhatsappOnly();
  int loadWhatsappOnly();
  bool loadWhatsappOnly(int type);
  void onEndLoadWhatsappOnly();

  OxData* getOxData(int type);
  unsigned msgSessionCount();
  unsigned OtherSessionCount();

  void setContactToNameMap(QMap<QString, QString>& contactToName, QMap<int, QString>& idToName);
  void setParam4DB(const QString& deviceBackupFolder);
  void shutdownService();

  // The password of an encrypted backup, used by the following loads; an empty
  // one means none. Plain backups ignore it.
  void setBackupPassword(const QString& password);
  // The sink that the following loads of one type report to (not owned; null:
  // none). The caller starts its range before each type; the type's reader
  // (for call history, the calls reader) drives it.
  void setProgress(CIProgressCallback* progress) { m_progress = progress; }
  // Passwords tried on password-protected notes by the following loads.
  void setNotePasswords(const QStringList& passwords) { m_notePasswords = passwords; }
  // Whether the following loads also recover the rows that the apps deleted
  // but their databases still hold (WhatsApp messages and chats, calls,
  // Safari visits, legacy notes), flagged ItemDeleted. On by default.
  void setRecoverDeleted(bool on) { m_recoverDeleted = on; }
  bool recoverDeleted() const { return m_recoverDeleted; }
  // Why the last load could not open the backup (empty after a success).
  QString lastOpenError() const { return m_lastOpenError; }
  MobileBackup::Error lastOpenErrorCode() const { return m_lastOpenErrorCode; }
  // The backup that the last load opened, or null.
  MobileBackup* openedBackup() const { return m_mobileBackup; }
  // The registry that the loads fill.
  OxBackup* backupRegistry() const { return m_backup; }
  // Stores the opened backup's device facts (name, version, serial number,
  // phone number, product type, IMEI, last backup date as UTC ISO text) as
  // the registry's properties, in OxBackup::Property order. Nothing when no
  // backup is open.
  void fillBackupProperties();

private:
  MobileBackup* loadMobileBackup(const QDir& folder, QString suffix);
  QString makeNoteTempPath();

  QString m_deviceBackupFolder;
  QString m_backupIdentifier;
  OxBackup* m_backup = nullptr;
  QSemaphore m_loadLock{1};
  unsigned m_msgSessionCount = 0;
  unsigned m_otherSessionCount = 0;
  bool m_msgCountCached = false;
  bool m_otherCountCached = false;
  MobileBackup* m_mobileBackup = nullptr;
  std::atomic<bool> m_shutdown{false}; // set from the host's thread, read by the loading one
  QMap<QString, QString> m_contactToName;
  QMap<int, QString> m_idToName;
  bool m_hostFlag;
  // Backups opened by this service: the current one, and earlier ones whose
  // files the registry may still show after a failed load. A successful load
  // empties the registry and frees the earlier ones.
  struct Opened;
  std::unique_ptr<Opened> m_opened;
  QString m_password;
  QStringList m_notePasswords;
  bool m_recoverDeleted = true;
  CIProgressCallback* m_progress = nullptr;
  QString m_lastOpenError;
  MobileBackup::Error m_lastOpenErrorCode = MobileBackup::Error::None;
  QString m_scratchFolder; // this service's folder under the temporary root, made on first use
};

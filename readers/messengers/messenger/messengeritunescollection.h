#pragma once
// CMessengeriTunesCollection: Messenger's data in an opened device backup.
//
// load() scans the backup's Messenger files and reads every Lightspeed
// database it found (one per account that used the app), each copied with its
// -wal and -shm companions into the temporary root's "Messenger" folder; only
// when there is none does it read the older orca2.db the same way.
//
// File scan, in the backup's order, over the app's own container and its group
// container; empty records are passed over. Kept under their relative paths:
// lightspeed-userDatabases/<id>.db and orca2.db with their companions; kept
// under "/" plus their relative path, and found by file name: the media of
// lightspeed-TAMStorage/ (the encrypted chats' media cache). A later record of
// the same path wins.
#include "backup/cidatacollection.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/messenger/messengercollection.h"

#include <QHash>
#include <QStringList>

class MobileBackup;
class OxBackup;
struct BackupFileRecord;

class CMessengeriTunesCollection : public CIDataCollection, public CMessengerCollection {
public:
  // The registry is not owned; its Messenger list receives the chats.
  explicit CMessengeriTunesCollection(OxBackup* registry);
  ~CMessengeriTunesCollection() override;

  void load(MobileBackup* backup) override;

  QString dbFilePath(const QString& name) override;
  QString mediaFilePath(const QString& path) override;
  QString cachedMediaPath(const QString& fileName) override;

  // The steps of load(), for tests.
  void setBackup(MobileBackup* backup) { m_backup = backup; }
  void scanFiles();
  void scanRecord(int index, const BackupFileRecord& record);
  const QMap<QString, MessengerFileEntry>& fileMap() const { return m_files.map(); }
  // The databases load() reads, in that order.
  QStringList databases() const;

private:
  MobileBackup* m_backup = nullptr; // not owned
  MessengerFiles m_files;           // path -> backup record
  QHash<QString, QString> m_byName; // media file name -> its key
  OxBackup* m_registry;             // not owned
};

#pragma once
// CViberiTunesCollection: Viber's data in an opened device backup.
//
// load() scans the backup's Viber files, copies Contacts.data (with the -wal
// and -shm companions the backup holds) into the temporary root's "Viber"
// folder and reads it: its chats into the registry's Viber list when the chat
// switch is on, its calls into the call list when one was given (setCallList).
// The service reads the chats with data type 3 and the calls with data type
// 10, so either load stands alone.
//
// File scan, in the backup's order; empty records are passed over. Kept:
//  - the shared group container: com.viber/database/Contacts.data (and its
//    companions) under their relative paths; the base folder is the path
//    before "database/Contacts.data". Avatars (".../ViberIcons/") under "/"
//    plus their relative path;
//  - the app's own container: Documents/Attachments/ and Documents/Thumbnails/
//    under "/" plus their relative path.
// A later record of the same path wins.
#include "backup/cidatacollection.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/viber/vibercollection.h"

class MobileBackup;
class OxBackup;
class OxData;
struct BackupFileRecord;

class CViberiTunesCollection : public CIDataCollection, public CViberCollection {
public:
  // The registry is not owned; its Viber list receives the chats.
  explicit CViberiTunesCollection(OxBackup* registry);
  ~CViberiTunesCollection() override;

  // The list that receives the calls (not owned); none by default.
  void setCallList(OxData* calls) { m_calls = calls; }

  void load(MobileBackup* backup) override;

  QString dbFilePath(const QString& name) override;
  QString mediaFilePath(const QString& path) override;

  // The steps of load(), for tests.
  void setBackup(MobileBackup* backup) { m_backup = backup; }
  void scanFiles();
  void scanRecord(int index, const BackupFileRecord& record);
  const QMap<QString, MessengerFileEntry>& fileMap() const { return m_files.map(); }

private:
  MobileBackup* m_backup = nullptr; // not owned
  MessengerFiles m_files;           // path -> backup record
  OxBackup* m_registry;             // not owned
  OxData* m_calls = nullptr;        // not owned
  QString m_copy;                   // the working copy of the database, once made
};

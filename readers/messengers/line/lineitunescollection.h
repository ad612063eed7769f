#pragma once
// CLineiTunesCollection: Line's data in an opened device backup.
//
// load() scans the backup's Line files, copies Line.sqlite (with the -wal and
// -shm companions the backup holds) into the temporary root's "Line" folder
// and reads it into the registry's Line list.
//
// File scan, in the backup's order; empty records are passed over. Kept, by
// path:
//  - the shared group container: Line.sqlite (and its companions) under their
//    relative paths as they are; the base folder is the database's path
//    without "Messages/Line.sqlite". Thumbnails ("/Message Thumbnails/") under
//    "/" + their relative path;
//  - the app's own container: originals ("/Message Attachments/"), owned
//    stickers ("/Owned Sticons/packages/") and album pictures
//    ("/LineAlbumData/") under "/" + their relative path.
// A path is looked up with a leading "/" added; a later record of the same
// path wins.
#include "backup/cidatacollection.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/line/linecollection.h"

#include <QMap>
#include <QString>

class MobileBackup;
class OxBackup;
struct BackupFileRecord;

// What the scan keeps of a backup file record.
using LineFileEntry = MessengerFileEntry;

class CLineiTunesCollection : public CIDataCollection, public CLineCollection {
public:
  // The registry is not owned; its Line list receives the chats.
  explicit CLineiTunesCollection(OxBackup* registry);
  ~CLineiTunesCollection() override;

  // Scans the backup and reads the database. The backup is not owned.
  void load(MobileBackup* backup) override;

  QString dbFilePath(const QString& name) override;
  QString mediaFilePath(const QString& path) override;
  QString mediaFileName(const QString& key, int type) override;

  // The steps of load(), for tests.
  void setBackup(MobileBackup* backup) { m_backup = backup; }
  void scanFiles();
  void scanRecord(int index, const BackupFileRecord& record);
  const QMap<QString, LineFileEntry>& fileMap() const { return m_files.map(); }

private:
  MobileBackup* m_backup = nullptr; // not owned
  MessengerFiles m_files;           // path -> backup record
  OxBackup* m_registry;                 // not owned
};

#pragma once
// CKikiTunesCollection: Kik's data in an opened device backup.
//
// load() scans the backup's Kik files, copies kik.sqlite (with the -wal and
// -shm companions the backup holds) into the temporary root's "Kiki" folder,
// reads it into the registry's Kik list, and then passes over the attachment
// files.
//
// File scan. The records are read in the backup's order and the scan ENDS at
// the first record of size 0 (the backup library lists empty files last, so
// that loses nothing of a real backup). Kept, by path:
//  - the shared group container: kik.sqlite (and its companions) under their
//    relative paths as they are; the base folder is the folder of kik.sqlite.
//    Files under "/content_manager/data_cache/", "/attachments/",
//    "/smiley_storage/" or "profpix/thumb_" under "/" + their relative path;
//  - the app's own container: files under "Documents/" that are neither
//    property lists nor databases, under their relative paths.
// A path is looked up with a leading "/" added.
//
// The attachment pass types each kept file by its first bytes (picture, MP4
// video, other) and pairs full attachment files with their descriptors; what
// it finds goes to addMediaFile, which lists nothing: Kik attachments show as
// the media of their messages only.
#include "backup/cidatacollection.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/kik/kikcollection.h"

#include <QMap>
#include <QString>

class MobileBackup;
class OxBackup;
struct BackupFileRecord;

// What the scan keeps of a backup file record.
using KikFileEntry = MessengerFileEntry;

class CKikiTunesCollection : public CIDataCollection, public CKikCollection {
public:
  // The registry is not owned; its Kik list receives the chats.
  explicit CKikiTunesCollection(OxBackup* registry);
  ~CKikiTunesCollection() override;

  // Scans the backup, then reads the database and passes over the
  // attachments, each on a half of the progress sink's range. The backup is
  // not owned.
  void load(MobileBackup* backup) override;

  QString dbFilePath(const QString& name) override;
  QString mediaFilePath(const QString& path) override;
  QString mediaFileName(const QString& key, int type) override;
  void registerAttachment(const QString& attachmentPath, const QString& dataCachePath, int type) override;

  // The steps of load(), for tests. scanFiles reads the backup given to
  // setBackup (or load) through scanRecord, which files one record and
  // answers false when the scan must end there.
  void setBackup(MobileBackup* backup) { m_backup = backup; }
  void scanFiles();
  bool scanRecord(int index, const BackupFileRecord& record);
  void attachmentPass(CIProgressCallback* progress);
  const QMap<QString, KikFileEntry>& fileMap() const { return m_files.map(); }
  const QMap<QString, int>& attachmentTypes() const { return m_attachmentTypes; }
  const QMap<QString, QString>& attachmentThumbs() const { return m_attachmentThumbs; }

  // The message type of a file by its first bytes: 1 for a picture (PNG,
  // JFIF, EXIF, HEIC), 2 for an MP4 video, else 8.
  static int typeOfHeader(const QByteArray& header);

protected:
  // A Kik file found by the attachment pass. Kik attachments are shown only as
  // the media of their messages, so this lists nothing.
  void addMediaFile(OxBackup* registry, const QString& name, const QString& path, qint64 size,
                    const QString& thumbnail);

private:
  MobileBackup* m_backup = nullptr;          // not owned
  MessengerFiles m_files;                    // path -> backup record
  QMap<QString, int> m_attachmentTypes;      // "/" + data-cache path -> message type
  QMap<QString, QString> m_attachmentThumbs; // "/" + data-cache path -> "/" + descriptor path
  OxBackup* m_registry;                      // not owned
};

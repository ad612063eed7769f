#pragma once
// CWhatsappiTunesCollection: WhatsApp's data in an opened device backup.
//
// load() indexes the backup's WhatsApp files, builds the alias table that maps
// the paths the database stores to them, copies ChatStorage.sqlite (with the
// -wal and -shm companions the backup holds) into the temporary root's
// "Whatsapp" folder, and reads it into the registry's WhatsApp list.
//
// File index. Files of two domains are indexed by a key that starts with "/":
//  - the shared group container (current layout): the database as
//    "/Documents/ChatStorage.sqlite", and files whose path contains "Media/" or
//    "gif/" under "/" + their relative path ("/Message/Media/<jid>/...",
//    "/Media/Profile/...");
//  - the app's own container (older layout): every file under "/" + its
//    relative path ("/Documents/ChatStorage.sqlite", "/Library/Media/...").
// Empty files are left out, and a later record of the same key wins.
//
// Alias table. The database names media relative to the folder above them
// ("Media/<jid>/d/0/<uuid>.jpg"), while the backup holds them under
// "Message/Media/..." or "Library/Media/...": each key starting with
// "/Message/Media/" or "/Library/Media/" is also reachable without its first
// folder. A path is looked up with a leading "/", through the alias table,
// in the file index.
//
// Display names of media files are the backup record's modification time in
// the system locale's short date form, a point and the file's suffix ("mp4"
// is written "MOV").
#include "backup/cidatacollection.h"
#include "readers/whatsapp/whatsappcollection.h"

#include <QHash>
#include <QMap>
#include <QString>

class MobileBackup;
class OxBackup;

// What the index keeps of a backup file record.
struct WAFileEntry {
  int index = -1;       // the record's index in the backup
  QString domain;       // the record's domain
  QString relativePath; // the record's path inside its domain
  quint32 modified = 0; // Unix seconds
  qint64 size = 0;
};

class CWhatsappiTunesCollection : public CIDataCollection, public CWhatsappCollection {
public:
  // Both bases carry the switch; it is the chat reader's that counts.
  void setRecoverDeleted(bool on) {
    CIDataCollection::setRecoverDeleted(on);
    CWhatsappCollection::setRecoverDeleted(on);
  }
  // The registry is not owned; its WhatsApp list receives the chats.
  explicit CWhatsappiTunesCollection(OxBackup* registry);
  ~CWhatsappiTunesCollection() override;

  // Indexes the backup, then runs the media pass and readDatabase, each on a
  // half of the progress sink's range. The backup is not owned.
  void load(MobileBackup* backup) override;

  QString dbFilePath(const QString& name) override;
  QString mediaFilePath(const QString& path) override;
  QString mediaFileName(const QString& path, const QString& source) override;

  // The steps of load(), for tests. buildFileIndex reads the backup given to
  // setBackup (or load); mediaPass fills the alias table.
  void setBackup(MobileBackup* backup) { m_backup = backup; }
  void buildFileIndex();
  void mediaPass(CIProgressCallback* progress);
  const QMap<QString, WAFileEntry>& fileIndex() const { return m_fileIndex; }
  const QHash<QString, QString>& aliasTable() const { return m_aliases; }
  // The alias of an index key: without "/Library" or "/Message" in front of
  // "/Media/", else the key itself.
  static QString aliasOf(const QString& key);
  // The index entry of a path as the database stores it, or null.
  const WAFileEntry* findFile(const QString& path) const;

private:
  MobileBackup* m_backup = nullptr;      // not owned
  QMap<QString, WAFileEntry> m_fileIndex; // key path -> backup record
  OxBackup* m_registry;                   // not owned
  QHash<QString, QString> m_aliases;      // path as stored, with "/" -> index key
};

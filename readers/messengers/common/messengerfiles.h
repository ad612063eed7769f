#pragma once
// MessengerFiles: the files a messenger reader keeps from a backup's file scan.
//
// The Kik and Line backup locators walk the backup's records, pick the files
// their app needs and file each under a key (its relative path, or "/" plus
// it). This map holds what they keep and answers the look-ups both make
// afterwards: a file by path (a leading "/" is added first), its readable local
// path, and a working copy of a database with its companions.
//
// Which records are kept, and what an empty record does to the scan, stay with
// each reader: Kik ends its scan at the first empty record, Line passes empty
// records over.
#include <QMap>
#include <QString>

class MobileBackup;
struct BackupFileRecord;

// What the scan keeps of a backup file record.
struct MessengerFileEntry {
  int index = -1; // the record's index in the backup
  QString domain;
  QString relativePath;
  quint32 modified = 0; // Unix seconds
  qint64 size = 0;
};

class MessengerFiles {
public:
  // The display name of a media file of that modification time (Unix
  // seconds) holding a message of that type: the time in the system locale's
  // short form, a point, and "jpg" for type 1, "MOV" for type 2, nothing else.
  static QString mediaFileName(quint32 modified, int type);

  void clear() { m_files.clear(); }
  // Files the record found at that index under the key; a later record of the
  // same key wins.
  void insert(const QString& key, int index, const BackupFileRecord& record);

  // The entry kept under "/" + path (path as given when it starts with "/").
  const MessengerFileEntry* find(const QString& path) const;
  // The entry kept under exactly that key.
  const MessengerFileEntry* findKey(const QString& key) const;
  // A readable local path of the file kept under "/" + path, or empty.
  QString localPath(MobileBackup* backup, const QString& path) const;
  // Copies the database kept under exactly that key (with the companions the
  // backup holds) below the temporary root's folder of that name; the copy's
  // path, or empty.
  QString copyDatabase(MobileBackup* backup, const QString& key, const QString& tempFolder) const;

  const QMap<QString, MessengerFileEntry>& map() const { return m_files; }
  int size() const { return m_files.size(); }

  // The message type a file name's extension suggests: 1 picture, 2 video,
  // 3 sound, 8 any other file.
  static int typeOfFileName(const QString& name);

  // The path with a leading "/" (unchanged when it has one).
  static QString slashed(const QString& path);

private:
  QMap<QString, MessengerFileEntry> m_files; // key -> backup record
};

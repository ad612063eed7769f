#pragma once
// An index of a backup's file records for the notes reader's attachment
// searches, built once per load: records by domain, and by every UUID-shaped
// token of their relative paths. A search for an identifier then looks only
// at the records whose paths hold the identifier's first UUID (every path that
// contains the identifier holds it), and checks the exact rule on those; so
// the answer is the one a scan of the whole list gives, without the scan.
#include <QHash>
#include <QSet>
#include <QString>
#include <QVector>

class MobileBackup;

class NoteFileIndex {
public:
  void build(MobileBackup* backup);
  // Indexes of the records of the domain whose relative path contains the
  // identifier (case-sensitive), in the backup's order.
  QVector<int> find(const QString& domain, const QString& identifier) const;
  // The first UUID-shaped token of a text, upper-cased; empty when none.
  static QString firstUuid(const QString& text);

private:
  MobileBackup* m_backup = nullptr;
  QHash<QString, QVector<int>> m_byDomain;
  QHash<QString, QVector<int>> m_byToken; // key: domain + '\n' + UUID token (upper-case)
};

// Local copies of the backup's attachment files under one folder of the
// temporary root, each made at most once per load and only when a note shows
// the file. A copy keeps the file's own name: it goes into "files" under the
// folder, or, when another file already took that name, into a sub-folder
// named by its record number.
class NoteFileCopies {
public:
  void reset(MobileBackup* backup, const QString& folder);
  // The copy of record index; empty when it cannot be made (asked again, the
  // answer is the same, without a second try).
  QString copy(int index);

private:
  MobileBackup* m_backup = nullptr;
  QString m_folder;
  QHash<int, QString> m_copies;
  QSet<QString> m_names; // names taken in "files"
};

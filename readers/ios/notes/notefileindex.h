#pragma once
// An index of a backup's file records for the notes reader's attachment
// searches, built once per load: records by domain, and by every UUID-shaped
// token of their relative paths. A search for an identifier then looks only
// at the records whose paths hold the identifier's first UUID (every path that
// contains the identifier holds it), and checks the exact rule on those; so
// the answer is the one a scan of the whole list gives, without the scan.
#include <QHash>
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

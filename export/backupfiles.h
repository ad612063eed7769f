#pragma once
// The backup's own files as files: a listing of the records that match a
// domain and a path pattern, and their extraction into a folder as
// DIR/<domain>/<relative path>, decrypted, with their modification times.
// Each part of a path is made safe the way every exported name is (no "..",
// separators or control characters; capped in length), so nothing lands
// outside DIR whatever the manifest says.
#include "export/exporter.h"

#include <QList>
#include <QString>

class CIProgressCallback;
class MobileBackup;
struct BackupFileRecord;

// Which records: the domain and the relative path each match a pattern in
// which "*" stands for any run of characters (also "/") and "?" for one; an
// empty pattern matches everything. Case counts, as it does in a manifest.
class SHERD_EXPORT BackupFileFilter {
public:
  BackupFileFilter(const QString& domainPattern = QString(), const QString& pathPattern = QString());
  ~BackupFileFilter();
  BackupFileFilter(const BackupFileFilter&);
  BackupFileFilter& operator=(const BackupFileFilter&);
  bool matches(const BackupFileRecord& record) const;
  // The indexes of the matching records, in the backup's order.
  QList<int> select(const MobileBackup& backup) const;

private:
  struct Private;
  Private* d;
};

struct SHERD_EXPORT ExtractSummary {
  int files = 0;
  QList<ExportSkip> skipped; // what = the record's "domain/relative path"
  bool cancelled = false;
  QString error; // the folder refused; nothing written
  QString line() const;
};

// Writes the records into outputFolder (absent or empty), one progress step
// per record; a sink answering false stops between two files.
SHERD_EXPORT ExtractSummary extractBackupFiles(MobileBackup& backup, const QList<int>& records,
                                               const QString& outputFolder, CIProgressCallback* progress = nullptr);

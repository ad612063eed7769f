#pragma once
// How every subcommand turns its BACKUP argument into a backup folder.
//
// An existing folder, relative ("sample", "../x", "a/b/x") or absolute, is
// used as given. Only when no such folder exists is a bare name taken as a
// backup's identifier in the default backup folders (NzBackup::backupRoots),
// tried as written and then with every "-" removed, the way backup tools
// sometimes name a device. The checks that explain a refusal best come first:
// a file is not a folder, a folder that cannot be read says so, and a folder
// with neither manifest is not a backup.
#include <QString>
#include <QStringList>

namespace cli {
struct ResolvedBackup {
  QString folder; // absolute path; empty when refused
  QString error;  // why it was refused, as the first line a person reads
  bool ok() const { return !folder.isEmpty(); }
};

ResolvedBackup resolveBackup(const QString& argument, const QStringList& roots);
} // namespace cli

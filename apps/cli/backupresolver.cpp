#include "apps/cli/backupresolver.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <dirent.h>

namespace cli {
namespace {
// Whether the folder's entries can be listed; access() would say yes to root
// and no to a folder on a file system that ignores the mode bits.
bool canList(const QString& folder) {
  DIR* dir = opendir(QFile::encodeName(folder).constData());
  if (!dir)
    return errno != EACCES && errno != EPERM;
  closedir(dir);
  return true;
}

ResolvedBackup check(const QString& name, const QString& path) {
  const QFileInfo info(path);
  const QString folder = QDir::cleanPath(info.absoluteFilePath());
  if (!info.isDir())
    return {QString(), QStringLiteral("'%1' is a file, not a folder").arg(name)};
  if (!canList(folder))
    return {QString(), QStringLiteral("cannot read '%1': permission denied").arg(name)};
  const QDir dir(folder);
  if (!dir.exists(QStringLiteral("Manifest.db")) && !dir.exists(QStringLiteral("Manifest.mbdb")))
    return {QString(), QStringLiteral("'%1' is not a backup (no Manifest.db or Manifest.mbdb)").arg(name)};
  return {folder, QString()};
}
} // namespace

ResolvedBackup resolveBackup(const QString& argument, const QStringList& roots) {
  if (argument.isEmpty())
    return {QString(), QStringLiteral("no backup named (give a folder or a backup's identifier)")};
  if (QFileInfo::exists(argument))
    return check(argument, argument);
  const bool bareName = !argument.contains(QLatin1Char('/')) && !QFileInfo(argument).isAbsolute();
  if (bareName) {
    QString withoutHyphens = argument;
    withoutHyphens.remove(QLatin1Char('-'));
    for (const QString& name : {argument, withoutHyphens}) {
      for (const QString& root : roots) {
        const QString candidate = QDir(root).filePath(name);
        if (QFileInfo::exists(candidate))
          return check(QDir::toNativeSeparators(candidate), candidate);
      }
    }
  }
  QStringList searched;
  for (const QString& root : roots)
    searched << QDir::toNativeSeparators(root);
  if (!bareName || searched.isEmpty())
    return {QString(), QStringLiteral("no folder '%1' here").arg(argument)};
  return {QString(), QStringLiteral("no folder '%1' here, and no backup '%1' in %2")
                         .arg(argument, searched.join(QStringLiteral(", ")))};
}
} // namespace cli

// sherd list [ROOT]: the device backups in the default backup folders, or in ROOT.
#include "apps/cli/commands.h"
#include "apps/cli/console.h"
#include "apps/cli/loadoptions.h"

#include "platform/backup/nzbackup.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <cstdio>

namespace cli {
int runList(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral(
      "List the device backups in ROOT, or in the default backup folders ($SHERD_BACKUP_ROOT when set)."));
  addCommonOptions(parser);
  parser.addPositionalArgument(QStringLiteral("ROOT"), QStringLiteral("Folder that holds device backups."),
                               QStringLiteral("[ROOT]"));
  const int early = parseCommonOptions(parser, args, "list");
  if (early >= 0)
    return early;
  const QStringList positional = parser.positionalArguments();
  if (positional.size() > 1) {
    console::error(QStringLiteral("at most one ROOT argument"));
    return ExitUsage;
  }
  const QString root = positional.value(0);
  if (!root.isEmpty() && !QFileInfo(root).isDir()) {
    console::error(QFileInfo::exists(root) ? QStringLiteral("'%1' is a file, not a folder").arg(root)
                                           : QStringLiteral("no folder '%1' here").arg(root));
    return ExitBackupNotFound;
  }
  const QList<BackupSummary> backups = NzBackup::listBackups(root);
  if (backups.isEmpty()) {
    console::note(QStringLiteral("no backups in %1")
                      .arg(root.isEmpty() ? NzBackup::backupRoots().join(QStringLiteral(", ")) : root));
    return ExitOk;
  }
  std::printf("%-42s %-24s %-8s %-20s %s\n", "IDENTIFIER", "DEVICE", "IOS", "DATE (UTC)", "ENCRYPTED");
  for (const BackupSummary& b : backups)
    std::printf("%-42s %-24s %-8s %-20s %s\n", qPrintable(b.identifier), qPrintable(b.deviceName),
                qPrintable(b.productVersion), qPrintable(b.date.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))),
                b.encrypted ? "yes" : "no");
  return ExitOk;
}
} // namespace cli

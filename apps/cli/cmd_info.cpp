// sherd info: what a backup folder says about its device, and how many files it holds.
#include "apps/cli/commands.h"
#include "apps/cli/loadoptions.h"

#include "platform/backup/mobilebackup.h"

#include <QCommandLineParser>

#include <cstdio>
#include <memory>

namespace cli {
namespace {
void row(const char* label, const QString& value) {
  if (!value.isEmpty())
    std::printf("  %-18s %s\n", label, qPrintable(value));
}
} // namespace

int runInfo(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Show a backup's device properties and file counts."));
  addLoadOptions(parser, false);
  LoadOptions options;
  const int early = parseLoadOptions(parser, args, "info", false, &options);
  if (early >= 0)
    return early;
  std::unique_ptr<MobileBackup> backup;
  const int failed =
      unlockBackup(options, [&](const QString& password, MobileBackup::Error* code, QString* why) {
        backup.reset(MobileBackup::loadFromPath(options.backup, password));
        *code = MobileBackup::lastErrorCode();
        *why = MobileBackup::lastError();
        return backup != nullptr;
      });
  if (failed >= 0)
    return failed;
  const BackupInfo& i = backup->backupInfo();
  std::printf("%s\n", qPrintable(backup->path()));
  row("Device name", i.deviceName);
  row("Product", i.productName.isEmpty() ? i.productType : i.productName + QStringLiteral(" (") + i.productType + ')');
  row("iOS version",
      i.buildVersion.isEmpty() ? i.productVersion : i.productVersion + QStringLiteral(" (") + i.buildVersion + ')');
  row("Serial number", i.serialNumber);
  row("IMEI", i.imei);
  row("IMEI 2", i.imei2);
  row("MEID", i.meid);
  row("Phone number", i.phoneNumber);
  row("Identifier", i.uniqueIdentifier);
  row("Last backup", i.lastBackupDate.isValid() ? i.lastBackupDate.toString(Qt::ISODate) : QString());
  row("Encrypted", i.encrypted ? QStringLiteral("yes") : QStringLiteral("no"));
  row("Manifest", backup->generation() == MobileBackup::Generation::ManifestDb ? QStringLiteral("Manifest.db")
                                                                               : QStringLiteral("Manifest.mbdb"));
  if (!i.isComplete())
    row("Last run", QStringLiteral("incomplete (state %1)").arg(i.snapshotState));
  row("Files", QString::number(backup->fileCount()));
  row("Folders", QString::number(backup->directoryCount()));
  row("Links", QString::number(backup->linkCount()));
  if (backup->otherCount() > 0)
    row("Unreadable records", QString::number(backup->otherCount()));
  return ExitOk;
}
} // namespace cli

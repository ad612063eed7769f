// sherd info: what a backup folder says about its device, and how many files it holds.
#include "apps/cli/commands.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"

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
  parser.addHelpOption();
  parser.addPositionalArgument(QStringLiteral("folder"), QStringLiteral("The device backup folder."));
  const QCommandLineOption passwordOption(QStringList{QStringLiteral("p"), QStringLiteral("password")},
                                          QStringLiteral("Password of an encrypted backup."),
                                          QStringLiteral("password"));
  const QCommandLineOption verboseOption(QStringList{QStringLiteral("v"), QStringLiteral("verbose")},
                                         QStringLiteral("Print the library's log lines."));
  parser.addOption(passwordOption);
  parser.addOption(verboseOption);
  if (!parser.parse(args)) {
    std::fprintf(stderr, "sherd info: %s\n", qPrintable(parser.errorText()));
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("help"))) {
    std::printf("%s", qPrintable(parser.helpText()));
    return ExitOk;
  }
  if (parser.positionalArguments().size() != 1) {
    std::fprintf(stderr, "sherd info: give one backup folder\n%s", qPrintable(parser.helpText()));
    return ExitUsage;
  }
  if (!parser.isSet(verboseOption))
    SherdLog::silence();

  const QString folder = parser.positionalArguments().constFirst();
  std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder, parser.value(passwordOption)));
  if (!backup) {
    std::fprintf(stderr, "sherd info: %s\n", qPrintable(MobileBackup::lastError()));
    switch (MobileBackup::lastErrorCode()) {
    case MobileBackup::Error::PasswordRequired:
    case MobileBackup::Error::WrongPassword:
      return ExitPassword;
    default:
      return ExitBackupNotFound;
    }
  }
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

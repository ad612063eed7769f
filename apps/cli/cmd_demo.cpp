// sherd demo: writes the bundled sample backup (under the temporary root, or
// where --keep says) and scans it, the way a person would scan their own
// backup.
#include "apps/cli/commands.h"
#include "apps/cli/loadoptions.h"

#include "apps/cli/console.h"
#include "platform/common/utils.h"
#include "samples/apps/notes.h"
#include "samples/samplebackup.h"

#include <QCommandLineParser>
#include <QDir>

#include <cstdio>

namespace cli {
int runDemo(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral(
      "Write the sample backup (a synthetic iPhone backup) and scan it as 'sherd scan --details' does. Without "
      "--keep it goes to a temporary folder that is removed at the end."));
  addCommonOptions(parser);
  parser.addOption({QStringLiteral("keep"), QStringLiteral("Write the sample backup into DIR and keep it."),
                    QStringLiteral("DIR")});
  parser.addOption({QStringLiteral("export"),
                    QStringLiteral("At the end, export the sample into DIR (absent or empty), as 'sherd export' does."),
                    QStringLiteral("DIR")});
  parser.addOption({QStringLiteral("encrypt"),
                    QStringLiteral("Write the sample as an encrypted backup with password P, and scan it with P."),
                    QStringLiteral("P")});
  const int early = parseCommonOptions(parser, args, "demo");
  if (early >= 0)
    return early;
  console::hideNoSecrets();
  const bool keep = parser.isSet(QStringLiteral("keep"));
  QString folder;
  if (keep) {
    folder = QDir(parser.value(QStringLiteral("keep"))).absolutePath();
  } else {
    const QString temp = Utils::tempPath();
    if (temp.isEmpty()) {
      console::error(QStringLiteral("cannot create a temporary folder"));
      return ExitBackupNotFound;
    }
    folder = temp + QStringLiteral("sample-backup");
  }
  const QString password = parser.value(QStringLiteral("encrypt"));
  QString error;
  if (!fixture::writeSampleBackup(folder, password, &error)) {
    console::error(QStringLiteral("cannot write the sample backup to %1: %2").arg(folder, error));
    return ExitBackupNotFound;
  }
  // The sample's password-protected note opens with its password.
  const QString notePassword = fixture::notes::kSamplePassword;
  if (keep)
    std::printf("Sample backup written to %s (kept: scan it again with the command below).\n", qPrintable(folder));
  else
    std::printf("Sample backup written to a temporary folder, removed when the demo ends\n"
                "(run 'sherd demo --keep DIR' to keep a copy and scan it yourself).\n");
  if (!password.isEmpty())
    std::printf("It is encrypted with the password '%s': sherd asks for it on a terminal, or reads it from a file "
                "given with --password-file.\n",
                qPrintable(password));
  // Only a kept folder is worth a command line a person can run again.
  const QString shown = keep ? folder : QStringLiteral("<temporary copy>");
  std::printf("\n$ sherd scan --details --note-password %s %s\n", qPrintable(notePassword), qPrintable(shown));
  std::fflush(stdout);
  QStringList common = {args.value(0, QStringLiteral("sherd")), QStringLiteral("--note-password"), notePassword};
  if (!password.isEmpty())
    common << QStringLiteral("--password") << password;
  for (const char* flag : {"quiet", "verbose"})
    if (parser.isSet(QLatin1String(flag)))
      common << QStringLiteral("--") + QLatin1String(flag);
  const int rc = runScan(QStringList(common) << QStringLiteral("--details") << folder);
  if (rc == ExitOk && parser.isSet(QStringLiteral("export"))) {
    const QString out = QDir(parser.value(QStringLiteral("export"))).absolutePath();
    std::printf("\n$ sherd export --note-password %s %s --out %s\n", qPrintable(notePassword), qPrintable(shown),
                qPrintable(out));
    std::fflush(stdout);
    const int exported = runExport(QStringList(common) << QStringLiteral("--out") << out << folder);
    if (exported == ExitOk)
      std::printf("\nOpen %s/index.html in a browser to read what the sample backup holds.\n", qPrintable(out));
    return exported;
  }
  return rc;
}
} // namespace cli

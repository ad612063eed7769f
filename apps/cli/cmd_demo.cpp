// sherd demo: writes the bundled sample backup under the temporary root and
// scans it, the way a person would scan their own backup.
#include "apps/cli/commands.h"

#include "platform/common/utils.h"
#include "tests/support/samplebackup.h"

#include <QCommandLineParser>
#include <QDir>

#include <cstdio>

namespace cli {
int runDemo(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      QStringLiteral("Write the sample backup (a synthetic iPhone backup) to a temporary folder and scan it."));
  parser.addHelpOption();
  parser.addOption({QStringLiteral("keep"), QStringLiteral("Write the sample backup into DIR and keep it."),
                    QStringLiteral("DIR")});
  if (!parser.parse(args)) {
    std::fprintf(stderr, "sherd demo: %s\n", qPrintable(parser.errorText()));
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("help"))) {
    std::printf("%s", qPrintable(parser.helpText()));
    return ExitOk;
  }
  QString folder;
  if (parser.isSet(QStringLiteral("keep"))) {
    folder = QDir(parser.value(QStringLiteral("keep"))).absolutePath();
  } else {
    const QString temp = Utils::tempPath();
    if (temp.isEmpty()) {
      std::fprintf(stderr, "sherd demo: cannot create a temporary folder\n");
      return ExitBackupNotFound;
    }
    folder = temp + QStringLiteral("sample-backup");
  }
  QString error;
  if (!fixture::writeSampleBackup(folder, QString(), &error)) {
    std::fprintf(stderr, "sherd demo: cannot write the sample backup to %s: %s\n", qPrintable(folder),
                 qPrintable(error));
    return ExitBackupNotFound;
  }
  std::printf("Sample backup written to %s\n\n$ sherd scan %s\n", qPrintable(folder), qPrintable(folder));
  std::fflush(stdout);
  return runScan({args.value(0, QStringLiteral("sherd")), folder});
}
} // namespace cli

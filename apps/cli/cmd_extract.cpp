// sherd extract BACKUP --out DIR: the backup's files as DIR/<domain>/<path>,
// decrypted, with their modification times.
#include "apps/cli/backupfileoptions.h"
#include "apps/cli/commands.h"
#include "apps/cli/console.h"
#include "apps/cli/loadoptions.h"
#include "apps/cli/progressbar.h"

#include "export/exporter.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>
#include <QDir>

#include <cstdio>

namespace cli {
int runExtract(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral(
      "Write the backup's files into DIR as DIR/<domain>/<relative path>, decrypted when the backup is encrypted, "
      "with their modification times. DIR must be absent or empty."));
  addLoadOptions(parser, false);
  addBackupFileOptions(parser);
  parser.addOption({QStringLiteral("out"), QStringLiteral("The folder to write into (absent or empty)."),
                    QStringLiteral("DIR")});
  LoadOptions options;
  const int early = parseLoadOptions(parser, args, "extract", false, &options);
  if (early >= 0)
    return early;
  const QString out = parser.value(QStringLiteral("out"));
  if (out.isEmpty()) {
    console::error(QStringLiteral("--out DIR is required"));
    return ExitUsage;
  }
  const QString folder = QDir(out).absolutePath();
  const QString refused = CExporter::checkOutputFolder(folder);
  if (!refused.isEmpty()) {
    console::error(refused);
    return ExitUsage;
  }
  WhatsappService service(options.backup, false);
  const int failed = beginLoad(service, options);
  if (failed >= 0)
    return failed;
  service.onEndLoadWhatsappOnly();
  MobileBackup& backup = *service.openedBackup();
  ExtractSummary summary;
  {
    ProgressBar bar(QStringLiteral("Extracting"));
    summary = extractBackupFiles(backup, backupFileFilter(parser).select(backup), folder, &bar);
  }
  if (!summary.error.isEmpty()) {
    console::error(summary.line());
    return ExitUsage;
  }
  console::note(summary.line());
  return ExitOk;
}
} // namespace cli

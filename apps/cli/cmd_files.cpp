// sherd files BACKUP: the backup's file records (domain, path, size, date,
// protection class), one per line, tab-separated.
#include "apps/cli/backupfileoptions.h"
#include "apps/cli/commands.h"
#include "apps/cli/console.h"
#include "apps/cli/loadoptions.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>

#include <cstdio>

namespace cli {
void addBackupFileOptions(QCommandLineParser& parser) {
  parser.addOption({QStringLiteral("domain"),
                    QStringLiteral("Only files of domain D (\"*\" matches any run of characters, \"?\" one)."),
                    QStringLiteral("D")});
  parser.addOption({QStringLiteral("path"),
                    QStringLiteral("Only files whose path inside the domain matches GLOB (\"*\" also matches \"/\")."),
                    QStringLiteral("GLOB")});
}

BackupFileFilter backupFileFilter(const QCommandLineParser& parser) {
  return BackupFileFilter(parser.value(QStringLiteral("domain")), parser.value(QStringLiteral("path")));
}

int runFiles(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral(
      "List the backup's files: domain, relative path, size in bytes, modification time (UTC) and protection "
      "class, tab-separated, one file per line."));
  addLoadOptions(parser, false);
  addBackupFileOptions(parser);
  LoadOptions options;
  const int early = parseLoadOptions(parser, args, "files", false, &options);
  if (early >= 0)
    return early;
  WhatsappService service(options.backup, false);
  const int failed = beginLoad(service, options);
  if (failed >= 0)
    return failed;
  service.onEndLoadWhatsappOnly();
  MobileBackup& backup = *service.openedBackup();
  const QList<int> records = backupFileFilter(parser).select(backup);
  for (int index : records) {
    const BackupFileRecord r = backup.fileAt(index);
    std::printf("%s\t%s\t%lld\t%s\t%d\n", r.domain.toUtf8().constData(), r.relativePath.toUtf8().constData(),
                static_cast<long long>(r.size),
                CCommonUtils::buildDateTimeBaseUnix(r.modified).toUTC().toString(Qt::ISODate).toUtf8().constData(),
                r.protectionClass);
  }
  console::note(QStringLiteral("%1 of %2 files").arg(records.size()).arg(backup.fileCount()));
  return ExitOk;
}
} // namespace cli

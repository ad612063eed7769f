// sherd scan BACKUP: loads the chosen data types and prints one line per list.
#include "apps/cli/commands.h"
#include "apps/cli/loadoptions.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>
#include <QLocale>

#include <cstdio>
#include <unistd.h>

namespace cli {
int runScan(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Load a backup and print what each data type holds."));
  addLoadOptions(parser, true);
  LoadOptions options;
  const int early = parseLoadOptions(parser, args, "scan", true, &options);
  if (early >= 0)
    return early;

  WhatsappService service(options.backup, false);
  const int failed = beginLoad(service, options, "scan");
  if (failed >= 0)
    return failed;
  const bool bar = isatty(fileno(stderr));
  const int total = options.types.size();
  for (int i = 0; i < total; ++i) {
    const int type = options.types.at(i);
    if (bar)
      std::fprintf(stderr, "\r\033[K[%d/%d] %s...", i + 1, total, qPrintable(displayName(type)));
    service.loadWhatsappOnly(type);
  }
  if (bar)
    std::fprintf(stderr, "\r\033[K");
  service.onEndLoadWhatsappOnly();

  const OxBackup& registry = *service.backupRegistry();
  const QLocale c = QLocale::c();
  std::printf("%s\n", qPrintable(service.openedBackup()->path()));
  for (int type : options.types) {
    OxData* list = registry.getOxData(type);
    std::printf("%-24s %8d items, %6d deleted, %s", qPrintable(listTitle(registry, type)), list->count(0),
                list->allDeletedCount(), qPrintable(c.formattedDataSize(qint64(list->size(0)))));
    // Chats keep recovered messages inside: count those too.
    int deletedMessages = 0;
    for (int row = 0; row < list->count(0); ++row) {
      const auto* chatItem = dynamic_cast<const OxWhatsappItem*>(list->at(row, false));
      if (const OxWhatsappChat* chat = chatItem ? chatItem->detailContent() : nullptr) {
        for (const OxWhatsappMsg* m : chat->messages())
          deletedMessages += m && m->isDeleted();
      }
    }
    if (deletedMessages > 0)
      std::printf(", %d deleted messages", deletedMessages);
    std::printf("\n");
  }
  return ExitOk;
}
} // namespace cli

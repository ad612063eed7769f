// sherd scan BACKUP: loads the chosen data types and prints one line per list,
// and with --details each list's items.
#include "apps/cli/commands.h"
#include "apps/cli/details.h"
#include "apps/cli/loadoptions.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>
#include <QLocale>

#include <cstdio>

namespace cli {
int runScan(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Load a backup and print what each data type holds."));
  addLoadOptions(parser, true);
  parser.addOption({QStringLiteral("details"),
                    QStringLiteral("After the counts, print each type's items: chats with their messages, notes, "
                                   "calls and voicemail, events, bookmarks and history.")});
  LoadOptions options;
  const int early = parseLoadOptions(parser, args, "scan", true, &options);
  if (early >= 0)
    return early;

  WhatsappService service(options.backup, false);
  const int failed = beginLoad(service, options);
  if (failed >= 0)
    return failed;
  loadTypes(service, options);
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
  if (parser.isSet(QStringLiteral("details")))
    printDetails(*service.backupRegistry(), options.types);
  return ExitOk;
}
} // namespace cli

// sherd dump BACKUP: the loaded lists as JSON on stdout, streamed item by item
// in the document export/dumpwriter.h describes (and the README, field by
// field). Fields that hold a file's path name the file by where it comes from
// rather than by where this run copied it (see runDump).
#include "apps/cli/commands.h"
#include "apps/cli/loadoptions.h"
#include "export/dumpwriter.h"
#include "export/jsonwriter.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>

#include <cstdio>

namespace cli {

int runDump(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral(
      "Load a backup and write the lists as JSON on stdout (the README describes every field). Copies of media "
      "named in it last only as long as this process: use 'sherd export' to keep chats, notes and calls with "
      "their media."));
  addLoadOptions(parser, true);
  LoadOptions options;
  const int early = parseLoadOptions(parser, args, "dump", true, &options);
  if (early >= 0)
    return early;

  WhatsappService service(options.backup, false);
  const int failed = beginLoad(service, options);
  if (failed >= 0)
    return failed;
  loadTypes(service, options);
  service.onEndLoadWhatsappOnly();

  OxBackup& registry = *service.backupRegistry();
  JsonWriter w(stdout);
  MobileBackup* backup = service.openedBackup();
  w.setPathNamer(DumpWriter::sourcePathNamer(backup));
  QStringList properties;
  for (int i = 0; i < OxBackup::PropertyCount; ++i)
    properties << registry.backupPropertyOriginal(i);
  DumpWriter dump(w);
  dump.begin(backup->path(), properties);
  for (int type : options.types) {
    OxData* list = registry.getOxData(type);
    const int n = list->count(OxData::CountRaw);
    QList<OxAbstractItem*> items;
    items.reserve(n);
    for (int row = 0; row < n; ++row)
      items << list->at(row, false);
    dump.writeList(type, displayName(type), *list, items);
  }
  dump.end();
  return ExitOk;
}
} // namespace cli

// sherd export BACKUP --out DIR: gives the data back as files a person opens
// (transcripts with their media, calendar, contacts, tables, bookmarks, notes)
// and sherd.json, the dump's schema with paths into DIR.
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
namespace {
struct FormatName {
  const char* name;
  int flag;
};
const FormatName kFormats[] = {
    {"html", ExportOptions::FormatHtml}, {"txt", ExportOptions::FormatText},     {"json", ExportOptions::FormatJson},
    {"csv", ExportOptions::FormatCsv},   {"ics", ExportOptions::FormatCalendar}, {"vcf", ExportOptions::FormatVCard},
    {"media", ExportOptions::FormatMedia},
};

QString formatNames() {
  QStringList names;
  for (const FormatName& f : kFormats)
    names << QLatin1String(f.name);
  return names.join(QLatin1Char(','));
}

// -1 for an unknown name.
int parseFormats(const QString& text) {
  int flags = 0;
  for (const QString& name : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
    int flag = -1;
    for (const FormatName& f : kFormats)
      if (name.trimmed().compare(QLatin1String(f.name), Qt::CaseInsensitive) == 0)
        flag = f.flag;
    if (flag < 0)
      return -1;
    flags |= flag;
  }
  return flags;
}
} // namespace

int runExport(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      QStringLiteral("Load a backup and write its data into DIR as files a person opens: chat transcripts (HTML and "
                     "text) with their photos, videos and voice messages, calendar.ics, contacts.vcf, CSV tables, "
                     "the browser's bookmark file, one page per note, and sherd.json. DIR/index.html links "
                     "everything. DIR must be absent or empty."));
  addLoadOptions(parser, true);
  parser.addOption({QStringLiteral("out"), QStringLiteral("The folder to write into (absent or empty)."),
                    QStringLiteral("DIR")});
  parser.addOption({QStringLiteral("format"),
                    QStringLiteral("Formats to write, comma-separated (default: all): ") + formatNames(),
                    QStringLiteral("NAME,...")});
  LoadOptions options;
  const int early = parseLoadOptions(parser, args, "export", true, &options);
  if (early >= 0)
    return early;
  ExportOptions exportOptions;
  exportOptions.outputFolder = parser.value(QStringLiteral("out"));
  if (exportOptions.outputFolder.isEmpty()) {
    console::error(QStringLiteral("--out DIR is required"));
    return ExitUsage;
  }
  exportOptions.outputFolder = QDir(exportOptions.outputFolder).absolutePath();
  if (parser.isSet(QStringLiteral("format"))) {
    exportOptions.formats = parseFormats(parser.value(QStringLiteral("format")));
    if (exportOptions.formats <= 0) {
      console::error(QStringLiteral("unknown format in '%1' (known: %2)")
                         .arg(parser.value(QStringLiteral("format")), formatNames()));
      return ExitUsage;
    }
  }
  // Refused before the load, so that a wrong folder costs nothing.
  const QString refused = CExporter::checkOutputFolder(exportOptions.outputFolder);
  if (!refused.isEmpty()) {
    console::error(refused);
    return ExitUsage;
  }
  exportOptions.types = options.types;

  WhatsappService service(options.backup, false);
  const int failed = beginLoad(service, options);
  if (failed >= 0)
    return failed;
  loadTypes(service, options);
  service.onEndLoadWhatsappOnly();

  CExporter exporter(service.backupRegistry(), service.openedBackup());
  ExportSummary summary;
  {
    ProgressBar bar(QStringLiteral("Exporting"));
    summary = exporter.run(exportOptions, &bar);
  }
  if (summary.outcome == ExportSummary::Failed) {
    console::error(summary.line());
    return ExitUsage;
  }
  console::note(summary.line());
  std::printf("%s\n", qPrintable(summary.indexPath.isEmpty() ? exportOptions.outputFolder : summary.indexPath));
  return ExitOk;
}
} // namespace cli

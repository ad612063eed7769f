#include "export/exporter.h"

#include "export/exportcontext.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "service/progress.h"

#include <QDir>
#include <QFileInfo>

namespace {
const char kModule[] = "Export";

QString plural(int n, const char* one, const char* many) {
  return QStringLiteral("%1 %2").arg(n).arg(QLatin1String(n == 1 ? one : many));
}

bool isChatType(int type) { return type >= OxBackup::WhatsApp && type <= OxBackup::QQ; }

// The items of a list the run writes, in the order of its view.
QList<OxAbstractItem*> chosenItems(OxData& list, ExportOptions::Selection selection) {
  if (selection == ExportOptions::CheckedItems) {
    const int n = list.count(OxData::CountFiltered);
    for (int row = 0; row < n; ++row) {
      OxAbstractItem* item = list.at(row, true);
      list.setRecover(item, list.checked(item));
    }
  }
  return list.recoverFileList();
}

void writeIndex(exporting::OutputFolder& out, const QString& backupName,
                const QList<exporting::TypeDocuments>& documents, const ExportSummary& summary) {
  using namespace exporting;
  TextFile page;
  if (!page.open(out.absolute(QStringLiteral("index.html"))))
    return;
  page << htmlHead(QStringLiteral("Recovered data of ") + backupName) << "<h1>Recovered data</h1>\n"
       << QStringLiteral("<p class=\"sub\">Backup: ") << html(backupName) << "<br>" << html(summary.line()) << "</p>\n";
  if (QFileInfo::exists(out.absolute(QStringLiteral("sherd.json"))))
    page << "<p><a href=\"sherd.json\">All lists as JSON (sherd.json)</a></p>\n";
  for (int i = 0; i < documents.size() && i < summary.types.size(); ++i) {
    const TypeDocuments& type = documents.at(i);
    const ExportTypeSummary& stats = summary.types.at(i);
    page << "<h2>" << html(type.folder) << "</h2>\n<p class=\"sub\">"
         << plural(stats.items, "item", "items") << ", " << plural(stats.files, "file", "files") << "</p>\n";
    if (!type.documents.isEmpty()) {
      page << "<ul>\n";
      for (const DocumentLink& link : type.documents) {
        page << QStringLiteral("<li><a href=\"") << hrefOf(link.relativePath) << "\">" << html(link.title) << "</a>";
        if (!link.note.isEmpty())
          page << QStringLiteral(" <span class=\"sub\">") << html(link.note) << "</span>";
        page << "</li>\n";
      }
      page << "</ul>\n";
    }
    if (!stats.skipped.isEmpty()) {
      page << "<details><summary>" << plural(stats.skipped.size(), "thing", "things")
           << " could not be recovered</summary>\n<ul>\n";
      for (const ExportSkip& s : stats.skipped)
        page << "<li>" << html(s.what) << ": " << html(s.reason) << "</li>\n";
      page << "</ul></details>\n";
    }
  }
  page << htmlTail();
  page.close();
}
} // namespace

int ExportSummary::items() const {
  int n = 0;
  for (const ExportTypeSummary& t : types)
    n += t.items;
  return n;
}

int ExportSummary::files() const {
  int n = 0;
  for (const ExportTypeSummary& t : types)
    n += t.files;
  return n;
}

int ExportSummary::duplicates() const {
  int n = 0;
  for (const ExportTypeSummary& t : types)
    n += t.duplicates;
  return n;
}

int ExportSummary::skipped() const {
  int n = 0;
  for (const ExportTypeSummary& t : types)
    n += t.skipped.size();
  return n;
}

QString ExportSummary::line() const {
  if (outcome == Failed)
    return QStringLiteral("failed: ") + error;
  QStringList parts;
  QStringList reasons;
  for (const ExportTypeSummary& t : types) {
    if (t.items == 0 && t.files == 0 && t.skipped.isEmpty())
      continue;
    QString part = t.name + QLatin1Char(' ') + plural(t.items, "item", "items");
    if (t.files > 0)
      part += QStringLiteral(", ") + plural(t.files, "file", "files");
    parts << part;
    for (const ExportSkip& s : t.skipped)
      if (!reasons.contains(s.reason))
        reasons << s.reason;
  }
  QString text = parts.isEmpty() ? QStringLiteral("nothing to recover") : parts.join(QStringLiteral("; "));
  if (duplicates() > 0)
    text += QStringLiteral("; ") + plural(duplicates(), "duplicate file", "duplicate files") +
            QStringLiteral(" stored once");
  if (skipped() > 0)
    text += QStringLiteral("; %1 skipped (%2)").arg(skipped()).arg(reasons.join(QStringLiteral(", ")));
  if (outcome == Cancelled)
    text += QStringLiteral("; cancelled");
  return text;
}

CExporter::CExporter(OxBackup* registry, MobileBackup* backup) : m_registry(registry), m_backup(backup) {}
CExporter::~CExporter() = default;

QString CExporter::typeFolderName(int type) {
  switch (type) {
  case OxBackup::Notes: return QStringLiteral("Notes");
  case OxBackup::Calendar: return QStringLiteral("Calendar");
  case OxBackup::Safari: return QStringLiteral("Safari");
  case OxBackup::CallHistory: return QStringLiteral("Call history");
  default: return OxBackup::dataTypeName(type);
  }
}

QString CExporter::checkOutputFolder(const QString& folder) {
  if (folder.isEmpty())
    return QStringLiteral("no output folder given");
  const QFileInfo info(folder);
  if (!info.exists())
    return QString();
  if (!info.isDir())
    return QStringLiteral("%1 exists and is not a folder").arg(folder);
  if (!QDir(folder).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System))
    return QStringLiteral("%1 is not empty").arg(folder);
  if (!info.isWritable())
    return QStringLiteral("%1 is not writable").arg(folder);
  return QString();
}

ExportSummary CExporter::run(const ExportOptions& options, CIProgressCallback* progress) {
  using namespace exporting;
  ExportSummary summary;
  const QString refused = m_registry ? checkOutputFolder(options.outputFolder) : QStringLiteral("nothing loaded");
  if (!refused.isEmpty() || !QDir().mkpath(options.outputFolder)) {
    summary.outcome = ExportSummary::Failed;
    summary.error = refused.isEmpty() ? QStringLiteral("cannot create ") + options.outputFolder : refused;
    Log(kModule, 0, "Export refused: %s", summary.error.toUtf8().constData());
    return summary;
  }
  QList<int> types = options.types;
  if (types.isEmpty())
    for (int t = 0; t < OxBackup::DataTypeCount; ++t)
      types << t;

  // The selection first, so that progress knows the whole amount.
  QList<QList<OxAbstractItem*>> chosen;
  int total = 0;
  for (int type : types) {
    OxData* list = m_registry->getOxData(type);
    chosen << (list ? chosenItems(*list, options.selection) : QList<OxAbstractItem*>());
    total += chosen.last().size();
  }
  if (progress)
    progress->initRange(std::max(1, total));

  OutputFolder out(options.outputFolder);
  ExportContext ctx(out, m_backup, options.formats);
  QList<TypeDocuments> documents;
  summary.types.reserve(types.size());
  documents.reserve(types.size());
  bool stop = false;
  for (int i = 0; i < types.size() && !stop; ++i) {
    const int type = types.at(i);
    summary.types.append(ExportTypeSummary());
    documents.append(TypeDocuments());
    ctx.beginType(type, &summary.types.last(), &documents.last());
    const QList<OxAbstractItem*>& items = chosen.at(i);
    if (items.isEmpty())
      continue;
    if (!out.makeFolder(ctx.typeFolder())) {
      ctx.skip(ctx.typeFolder(), QStringLiteral("cannot create the folder"));
      continue;
    }
    ExportTypeSummary& stats = summary.types.last();
    Walk walk([&]() {
      ++stats.items;
      m_registry->increaseRecoverStat(1, 0);
      const bool go = !m_cancel.load() && (!progress || progress->progress(1));
      stop = stop || !go;
      return go;
    });
    const int duplicatesBefore = stats.duplicates;
    if (isChatType(type))
      writeChats(ctx, items, options.messagesPerPage, walk);
    else if (type == OxBackup::Notes)
      writeNotes(ctx, items, walk);
    else if (type == OxBackup::Calendar)
      writeCalendar(ctx, items, walk);
    else if (type == OxBackup::Safari)
      writeSafari(ctx, items, walk);
    else if (type == OxBackup::CallHistory)
      writeCalls(ctx, items, walk);
    m_registry->increaseRecoverStat(0, stats.duplicates - duplicatesBefore);
  }
  if (stop)
    summary.outcome = ExportSummary::Cancelled;
  const QString backupName = !options.backupName.isEmpty() ? options.backupName
                             : m_backup                    ? QFileInfo(m_backup->path()).fileName()
                                                           : QString();
  if (options.formats & ExportOptions::FormatJson)
    writeJson(ctx, *m_registry, backupName, types, chosen);
  if (options.formats & ExportOptions::FormatHtml) {
    writeIndex(out, backupName, documents, summary);
    summary.indexPath = out.absolute(QStringLiteral("index.html"));
  }
  if (progress)
    progress->finish();
  Log(kModule, 1, "Export to %s: %s", options.outputFolder.toUtf8().constData(), summary.line().toUtf8().constData());
  return summary;
}

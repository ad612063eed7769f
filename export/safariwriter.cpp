// Safari: the bookmarks and the reading list as the bookmark file every
// browser imports (folders as nested lists, the reading list a folder of its
// own), the visits as a CSV table.
#include "export/csvtable.h"

#include "model/oxsafaribookmarkitem.h"

#include <QMap>

namespace exporting {
namespace {
const QString kHistory = QStringLiteral("History");

bool isVisit(const OxAbstractItem& item) { return item.getTreeFirstLayerName() == kHistory; }

QString bookmarkLine(const OxAbstractItem& item, const QString& indent) {
  QString line = indent + QStringLiteral("<DT><A HREF=\"") + html(item.value(OxSafariBookmarkItem::ColUrl)) +
                 QLatin1Char('"');
  const QVariant key = item.sortValue(OxSafariBookmarkItem::ColDate);
  if (key.userType() == QMetaType::QDateTime && key.toDateTime().isValid())
    line += QStringLiteral(" ADD_DATE=\"%1\"").arg(key.toDateTime().toSecsSinceEpoch());
  return line + QLatin1Char('>') + html(item.value(OxSafariBookmarkItem::ColTitle)) + QStringLiteral("</A>\n");
}

void writeBookmarkFile(ExportContext& ctx, const ItemList& items) {
  // Top folders ("Bookmarks", "Reading List") in the order met, each with its
  // bookmarks outside any folder first, then its folders in the order met.
  QStringList tops;
  QMap<QString, QStringList> folders;
  for (const OxAbstractItem* item : items) {
    if (isVisit(*item))
      continue;
    const QString top = item->getTreeFirstLayerName();
    if (!tops.contains(top))
      tops << top;
    QStringList& names = folders[top];
    if (!names.contains(item->getTreeSecondLayerName()))
      names << item->getTreeSecondLayerName();
  }
  if (tops.isEmpty())
    return;
  const QString relative = ctx.reserveDocument(QStringLiteral("bookmarks.html"));
  TextFile out;
  if (!out.open(ctx.out().absolute(relative))) {
    ctx.skip(relative, QStringLiteral("cannot write: ") + out.errorString());
    return;
  }
  out << "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n"
         "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=UTF-8\">\n"
         "<TITLE>Bookmarks</TITLE>\n<H1>Bookmarks</H1>\n<DL><p>\n";
  for (const QString& top : tops) {
    out << "    <DT><H3>" << html(top) << "</H3>\n    <DL><p>\n";
    for (const QString& folder : folders.value(top)) {
      const QString indent = folder.isEmpty() || folder == top ? QStringLiteral("        ")
                                                               : QStringLiteral("            ");
      if (indent.size() > 8)
        out << "        <DT><H3>" << html(folder) << "</H3>\n        <DL><p>\n";
      for (const OxAbstractItem* item : items)
        if (!isVisit(*item) && item->getTreeFirstLayerName() == top && item->getTreeSecondLayerName() == folder)
          out << bookmarkLine(*item, indent);
      if (indent.size() > 8)
        out << "        </DL><p>\n";
    }
    out << "    </DL><p>\n";
  }
  out << "</DL><p>\n";
  if (!out.close()) {
    ctx.skip(relative, QStringLiteral("cannot write: ") + out.errorString());
    return;
  }
  ctx.documents().documents.append({QStringLiteral("Bookmarks and reading list"), relative,
                                    QStringLiteral("import into any browser")});
}
} // namespace

void writeSafari(ExportContext& ctx, const ItemList& items, Walk& walk) {
  if (ctx.wants(ExportOptions::FormatHtml))
    writeBookmarkFile(ctx, items);
  if (ctx.wants(ExportOptions::FormatCsv)) {
    const QString relative = ctx.reserveDocument(QStringLiteral("history.csv"));
    const int rows = writeCsvTable(ctx, relative, items, OxSafariBookmarkItem::ColDate, isVisit);
    if (rows > 0)
      ctx.documents().documents.append({QStringLiteral("History"), relative, QStringLiteral("%1 visits").arg(rows)});
    else
      QFile::remove(ctx.out().absolute(relative));
  }
  for (int i = 0; i < items.size(); ++i)
    if (!walk.itemDone())
      return;
}
} // namespace exporting

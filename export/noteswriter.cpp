// Notes: one HTML page per note with its attachments beside it (pictures
// inline, movies as players). A note that stays locked (no password given
// opened it) gets a page that says so, and the index marks it.
#include "export/exportcontext.h"

#include "model/oxnoteitem.h"

#include <QFileInfo>

namespace exporting {
namespace {
QString attachmentHtml(const QString& relativeToPage, const QString& fileName) {
  const QString href = QString::fromLatin1(hrefOf(relativeToPage));
  const QString kind = mediaKind(fileName);
  if (kind == QLatin1String("image"))
    return QStringLiteral("<a href=\"%1\"><img src=\"%1\" alt=\"%2\"></a>\n").arg(href, html(fileName));
  if (kind == QLatin1String("video"))
    return QStringLiteral("<video controls preload=\"metadata\" src=\"%1\"></video>\n").arg(href);
  if (kind == QLatin1String("audio"))
    return QStringLiteral("<audio controls src=\"%1\"></audio>\n").arg(href);
  return QStringLiteral("<p><a href=\"%1\">%2</a></p>\n").arg(href, html(fileName));
}

void writeNote(ExportContext& ctx, const OxNoteItem& note) {
  const QString title = note.value(OxNoteItem::ColTitle).isEmpty() ? QStringLiteral("Note") : note.value(OxNoteItem::ColTitle);
  const bool locked = note.flag(OxAbstractItem::ItemNoteLocked);
  // Attachments first, so that the page can point at their copies.
  QStringList parts;
  const int folderLength = ctx.typeFolder().size() + 1;
  for (const OxNoteItem::NotePiece* p : note.notePieces()) {
    if (!p)
      continue;
    if (p->kind != OxNoteItem::NotePiece::Attachment) {
      parts << QStringLiteral("<p>") + htmlLines(p->content) + QStringLiteral("</p>\n");
      continue;
    }
    QString piece;
    if (ctx.wants(ExportOptions::FormatMedia)) {
      const QString picture = ctx.copyFile(p->content, QStringLiteral("attachments"), title);
      if (!picture.isEmpty())
        piece += attachmentHtml(picture.mid(folderLength), QFileInfo(picture).fileName());
      const QString movie = ctx.copyFile(p->moviePath, QStringLiteral("attachments"), title,
                                         p->name.isEmpty() ? QString() : safeFileName(p->name, QStringLiteral("movie")));
      if (!movie.isEmpty())
        piece += attachmentHtml(movie.mid(folderLength), QFileInfo(movie).fileName());
    }
    if (piece.isEmpty())
      piece = QStringLiteral("<p class=\"missing\">attachment %1 not in the backup</p>\n").arg(html(p->name));
    parts << piece;
  }
  if (!ctx.wants(ExportOptions::FormatHtml))
    return;
  const QString relative = ctx.reserveDocument(safeFileName(title, QStringLiteral("Note"), 80) + QStringLiteral(".html"));
  TextFile out;
  if (!out.open(ctx.out().absolute(relative))) {
    ctx.skip(title, QStringLiteral("cannot write ") + relative + QStringLiteral(": ") + out.errorString());
    return;
  }
  out << htmlHead(title) << "<p class=\"nav\"><a href=\"../index.html\">All data</a></p>\n<h1>" << html(title)
      << "</h1>\n<p class=\"sub\">" << html(note.value(OxNoteItem::ColDate)) << " &middot; "
      << html(note.value(OxNoteItem::ColLocation)) << " &middot; " << html(note.value(OxNoteItem::ColFolder))
      << "</p>\n<div class=\"note\">\n";
  if (locked)
    out << "<p class=\"missing\">This note is locked: none of the passwords given opened it.</p>\n";
  else if (parts.isEmpty())
    out << "<p>" << htmlLines(note.value(OxNoteItem::ColNotes)) << "</p>\n";
  for (const QString& part : parts)
    out << part;
  out << "</div>\n" << htmlTail();
  if (!out.close()) {
    ctx.skip(title, QStringLiteral("cannot write ") + relative + QStringLiteral(": ") + out.errorString());
    return;
  }
  QString where = note.value(OxNoteItem::ColLocation);
  if (!note.value(OxNoteItem::ColFolder).isEmpty())
    where += QStringLiteral(" / ") + note.value(OxNoteItem::ColFolder);
  ctx.documents().documents.append({title, relative, locked ? where + QStringLiteral(", locked") : where});
}
} // namespace

void writeNotes(ExportContext& ctx, const ItemList& items, Walk& walk) {
  for (OxAbstractItem* item : items) {
    if (const auto* note = dynamic_cast<const OxNoteItem*>(item))
      writeNote(ctx, *note);
    if (!walk.itemDone())
      return;
  }
}
} // namespace exporting

// Building phase of the notes store: notes with their folder, account, text
// and pieces, from the rows read and the bodies opened.
#include "platform/common/log.h"
#include "platform/notes/iosnote_p.h"

#include <algorithm>
#include <cmath>

namespace notestore {

namespace {

bool isTextualAttachment(const QString& uti) {
  return uti.startsWith(QLatin1String("com.apple.notes.inlinetextattachment")) ||
         uti == QLatin1String("com.apple.notes.table") || uti == QLatin1String("public.url");
}

bool isDrawing(const QString& uti) {
  return uti == QLatin1String("com.apple.notes.sketch") || uti == QLatin1String("com.apple.drawing") ||
         uti == QLatin1String("com.apple.drawing.2") || uti == QLatin1String("com.apple.paper");
}

const QString kTextType = QStringLiteral("plain.text");

} // namespace

IosNote::Piece NoteBuilder::attachmentPiece(const AttachmentRow& att, const QString& bodyUti) const {
  IosNote::Piece p;
  p.typeId = att.uti.isEmpty() ? bodyUti : att.uti;
  p.number = att.pk;
  p.orientation = att.orientation;
  p.text = !att.title.isEmpty() ? att.title : (!att.summary.isEmpty() ? att.summary : att.url);
  const AttachmentRow* source = &att;
  // A gallery (scanned documents) shows through its first item.
  if (att.media == 0 && !m_rows.bestPreview.contains(att.pk)) {
    QList<qint64> kids = m_rows.childrenOf.values(att.pk);
    std::sort(kids.begin(), kids.end());
    if (!kids.isEmpty()) {
      auto it = m_rows.attachments.constFind(m_rows.attachmentIdByPk.value(kids.first()).toUpper());
      if (it != m_rows.attachments.constEnd())
        source = &*it;
    }
  }
  if (source->media != 0) {
    const MediaRow m = m_rows.media.value(source->media);
    p.mediaId = m.identifier;
    p.name = m.fileName;
    p.mediaKeyId = source->media;
  } else if (isDrawing(p.typeId)) {
    // A drawing's image is its fallback image, named after the attachment.
    p.mediaId = source->identifier;
    p.mediaKeyId = source->pk;
  }
  auto prev = m_rows.bestPreview.constFind(source->pk);
  if (prev != m_rows.bestPreview.constEnd()) {
    p.previewId = prev->identifier;
    p.previewKeyId = prev->pk;
  }
  return p;
}

void NoteBuilder::buildPieces(const NoteRow& row, const NoteBody::Decoded& body, IosNote::Note* note) const {
  QString text;
  auto flush = [&]() {
    if (text.isEmpty())
      return;
    IosNote::Piece p;
    p.typeId = kTextType;
    p.text = text;
    note->pieces.append(p);
    note->text += text;
    text.clear();
  };
  auto appendBlock = [&](const QString& block) {
    if (block.isEmpty())
      return;
    if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n')))
      text += QLatin1Char('\n');
    text += block;
    text += QLatin1Char('\n');
  };
  for (const NoteBody::Segment& seg : body.segments) {
    if (!seg.attachment) {
      text += seg.text;
      continue;
    }
    const QString id = seg.identifier.toUpper();
    if (seg.typeUti.startsWith(QLatin1String("com.apple.notes.inlinetextattachment")) || m_rows.inlines.contains(id)) {
      text += m_rows.inlines.value(id).altText;
      continue;
    }
    auto it = m_rows.attachments.constFind(id);
    if (it == m_rows.attachments.constEnd()) {
      Log(kModule, 1, "note %lld: attachment %s has no row in the store", row.pk, qPrintable(seg.identifier));
      if (isTextualAttachment(seg.typeUti))
        continue;
      flush();
      IosNote::Piece p;
      p.typeId = seg.typeUti;
      note->pieces.append(p);
      continue;
    }
    const QString uti = it->uti.isEmpty() ? seg.typeUti : it->uti;
    if (uti == QLatin1String("com.apple.notes.table")) {
      QString table, error;
      if (NoteBody::decodeTable(it->mergeable, &table, &error))
        appendBlock(table);
      else
        Log(kModule, 1, "note %lld: table %s: %s", row.pk, qPrintable(seg.identifier), qPrintable(error));
      continue;
    }
    if (uti == QLatin1String("public.url")) {
      const QString title = it->title.isEmpty() ? it->summary : it->title;
      text += title.isEmpty() || title == it->url ? it->url : QStringLiteral("%1 <%2>").arg(title, it->url);
      continue;
    }
    flush();
    note->pieces.append(attachmentPiece(*it, seg.typeUti));
  }
  flush();
}

QList<IosNote::Note> NoteBuilder::build() const {
  QList<IosNote::Note> built;
  built.reserve(m_rows.notes.size());
  int folderMissing = 0;
  for (const NoteRow& r : m_rows.notes) {
    IosNote::Note n;
    n.key = r.pk;
    n.identifier = r.identifier;
    n.title = r.title;
    n.modified = std::isfinite(r.modified) ? qint64(std::floor(r.modified)) : 0;
    n.created = std::isfinite(r.created) ? qint64(std::floor(r.created)) : 0;
    auto folder = m_rows.folders.constFind(r.folder);
    qint64 accountKey = r.account;
    if (folder != m_rows.folders.constEnd()) {
      n.folder = folder->title;
      if (folder->owner != 0)
        accountKey = folder->owner;
      n.deleted = folder->type == 1 || folder->identifier.startsWith(QLatin1String("TrashFolder"));
    } else {
      ++folderMissing;
    }
    n.deleted = n.deleted || r.marked;
    n.account = m_rows.accounts.value(accountKey).name;
    if (r.isProtected && !r.unlocked) {
      n.locked = true;
      n.passcodeLocked = r.passcodeScheme;
    } else {
      NoteBody::Decoded body;
      QString error;
      if (NoteBody::decodeBody(r.isProtected ? r.plainBody : r.data, &body, &error)) {
        buildPieces(r, body, &n);
      } else {
        Log(kModule, 0, "note %lld: %s; its summary stands for the body", r.pk, qPrintable(error));
        if (!r.snippet.isEmpty()) {
          IosNote::Piece p;
          p.typeId = kTextType;
          p.text = r.snippet;
          n.pieces.append(p);
          n.text = r.snippet;
        }
      }
      if (n.title.isEmpty()) {
        const QStringList lines = n.text.split(QLatin1Char('\n'));
        for (const QString& l : lines)
          if (!l.trimmed().isEmpty()) {
            n.title = l.trimmed().left(128);
            break;
          }
      }
    }
    built.append(n);
  }
  if (folderMissing > 0)
    Log(kModule, 1, "%d notes name no folder row of the store", folderMissing);
  return built;
}

} // namespace notestore

#include "export/dumpwriter.h"

#include "model/oxabstractitem.h"
#include "model/oxcalendaritem.h"
#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "model/oxwhatsappitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/utils.h"

namespace {
// The value of a chat item that holds its picture's local path.
constexpr int kChatPictureColumn = 5;

void writeChat(JsonWriter& w, const OxWhatsappChat& chat) {
  w.key("chat");
  w.beginObject();
  w.key("deleted");
  w.value(chat.deleted());
  w.key("messages");
  w.beginArray();
  for (const OxWhatsappMsg* m : chat.messages()) {
    if (!m)
      continue;
    w.beginObject();
    w.key("type");
    w.value(int(m->type()));
    w.key("fromMe");
    w.value(m->isFromMe());
    w.key("sentDone");
    w.value(m->isSentDone());
    w.key("broadcast");
    w.value(m->isBroadcast());
    w.key("date");
    w.variant(m->msgDate().isValid() ? QVariant(m->msgDate()) : QVariant());
    w.key("content");
    w.value(m->content());
    w.key("media");
    w.pathValue(m->media());
    w.key("member");
    w.value(m->member());
    if (m->isDeleted()) {
      w.key("deleted");
      w.value(true);
    }
    w.endObject();
  }
  w.endArray();
  w.endObject();
}

// A note's body, piece by piece: text runs and attachments with their files.
void writeNotePieces(JsonWriter& w, const OxNoteItem& note) {
  w.key("pieces");
  w.beginArray();
  for (const OxNoteItem::NotePiece* p : note.notePieces()) {
    if (!p)
      continue;
    w.beginObject();
    w.key("kind");
    w.value(p->kind);
    const bool attachment = p->kind == OxNoteItem::NotePiece::Attachment;
    w.key("content");
    if (attachment)
      w.pathValue(p->content);
    else
      w.value(p->content);
    if (attachment) {
      w.key("name");
      w.value(p->name);
      w.key("typeId");
      w.value(p->typeId);
      w.key("moviePath");
      w.pathValue(p->moviePath);
      w.key("thumbnail");
      w.beginArray();
      w.value(p->thumbnail.width());
      w.value(p->thumbnail.height());
      w.endArray();
    }
    w.endObject();
  }
  w.endArray();
  w.key("attachmentSummary");
  w.value(note.getATText());
}

void writeItem(JsonWriter& w, OxAbstractItem& item) {
  w.beginObject();
  w.key("values");
  w.beginArray();
  const auto* chatItem = dynamic_cast<const OxWhatsappItem*>(&item);
  for (int c = 0; c < item.columnCount(); ++c) {
    if (chatItem && c == kChatPictureColumn)
      w.pathValue(item.value(c));
    else
      w.value(item.value(c));
  }
  w.endArray();
  w.key("sortValues");
  w.beginArray();
  for (int c = 0; c < item.columnCount(); ++c)
    w.variant(item.sortValue(c));
  w.endArray();
  w.key("flags");
  w.value(item.flags());
  w.key("size");
  w.value(quint64(item.size()));
  w.key("firstLayer");
  w.value(item.getTreeFirstLayerName());
  w.key("secondLayer");
  w.value(item.getTreeSecondLayerName());
  w.key("filePath");
  w.pathValue(item.filePath());
  if (const auto* event = dynamic_cast<const OxCalendarItem*>(&item)) {
    w.key("triggerId");
    w.value(event->getTriggerid());
    w.key("allDay");
    w.value(event->getAllDay());
  }
  if (chatItem && chatItem->detailContent())
    writeChat(w, *chatItem->detailContent());
  if (const auto* note = dynamic_cast<const OxNoteItem*>(&item))
    writeNotePieces(w, *note);
  w.endObject();
}
} // namespace

void DumpWriter::begin(const QString& backupPath, const QStringList& properties) {
  m_w.beginObject();
  m_w.key("backup");
  m_w.beginObject();
  m_w.key("path");
  m_w.value(backupPath);
  m_w.key("properties");
  m_w.beginArray();
  for (const QString& p : properties)
    m_w.value(p);
  m_w.endArray();
  m_w.endObject();
  m_w.key("lists");
  m_w.beginArray();
}

void DumpWriter::writeList(int type, const QString& name, OxData& list, const QList<OxAbstractItem*>& items) {
  m_w.beginObject();
  m_w.key("type");
  m_w.value(type);
  m_w.key("name");
  m_w.value(name);
  m_w.key("count");
  m_w.value(int(items.size()));
  m_w.key("columns");
  m_w.beginArray();
  for (int c = 0; c < list.dataColumn(); ++c)
    m_w.value(list.columnName(c));
  m_w.endArray();
  m_w.key("items");
  m_w.beginArray();
  for (int i = 0; i < items.size(); ++i) {
    if (items.at(i))
      ::writeItem(m_w, *items.at(i));
    if (i % 256 == 0)
      m_w.flush();
  }
  m_w.endArray();
  m_w.endObject();
}

void DumpWriter::end() {
  m_w.endArray();
  m_w.endObject();
  m_w.flush();
}

void DumpWriter::writeItem(OxAbstractItem& item) { ::writeItem(m_w, item); }

std::function<QString(const QString&)> DumpWriter::sourcePathNamer(MobileBackup* backup) {
  const QString temp = Utils::tempPath();
  return [backup, temp](const QString& path) {
    const int index = backup ? backup->indexOfLocalPath(path) : -1;
    if (index >= 0) {
      const BackupFileRecord record = backup->fileAt(index);
      return QStringLiteral("backup:%1/%2").arg(record.domain, record.relativePath);
    }
    if (!temp.isEmpty() && path.startsWith(temp))
      return QStringLiteral("$TEMP/") + path.mid(temp.size());
    return path;
  };
}

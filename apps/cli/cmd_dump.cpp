// sherd dump BACKUP: the loaded lists as JSON on stdout, streamed item by item.
//
// {"backup":{"path":..,"properties":[7 strings]},
//  "lists":[{"type":0,"name":"WhatsApp","count":N,"columns":[header texts],"items":[ITEM...]}]}
// ITEM = {"values":[..],"sortValues":[null|number|string|ISO 8601 UTC date],
//         "flags":int,"size":int,"firstLayer":str,"secondLayer":str,
//         "filePath":str, for calendar events "triggerId":int,"allDay":int,
//         for chats "chat":{"deleted":bool,"messages":[
//         {"type","fromMe","sentDone","broadcast","date","content","media","member",
//          and "deleted":true on a message recovered from deleted records}]},
//         and for notes "pieces":[PIECE...],"attachmentSummary":str}
// PIECE = {"kind":int (0 text, 1 attachment, as the note model numbers them),
//          "content":str, and for attachments "name","typeId","moviePath",
//          "thumbnail":[width,height]}
//
// Fields that hold a file's path (a chat's picture, value 5; "filePath";
// "media"; an attachment's "content" and "moviePath") name the file by where it
// comes from rather than by where this run copied it (see runDump); every other
// text is written exactly as it was read.
#include "apps/cli/commands.h"
#include "export/jsonwriter.h"
#include "apps/cli/loadoptions.h"

#include "model/oxabstractitem.h"
#include "model/oxbackup.h"
#include "model/oxcalendaritem.h"
#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "model/oxwhatsappitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/utils.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>

#include <cstdio>

namespace cli {
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
  const int failed = beginLoad(service, options, "dump");
  if (failed >= 0)
    return failed;
  for (int type : options.types)
    service.loadWhatsappOnly(type);
  service.onEndLoadWhatsappOnly();

  OxBackup& registry = *service.backupRegistry();
  JsonWriter w(stdout);
  // Local copies live only as long as this process, and a plain and an
  // encrypted backup of the same phone keep them in different places: a file
  // of the backup is named by its record ("backup:<domain>/<relative path>"),
  // any other file under the temporary root by "$TEMP/" and its place there.
  MobileBackup* backup = service.openedBackup();
  const QString temp = Utils::tempPath();
  w.setPathNamer([backup, temp](const QString& path) {
    const int index = backup->indexOfLocalPath(path);
    if (index >= 0) {
      const BackupFileRecord record = backup->fileAt(index);
      return QStringLiteral("backup:%1/%2").arg(record.domain, record.relativePath);
    }
    if (!temp.isEmpty() && path.startsWith(temp))
      return QStringLiteral("$TEMP/") + path.mid(temp.size());
    return path;
  });
  w.beginObject();
  w.key("backup");
  w.beginObject();
  w.key("path");
  w.value(backup->path());
  w.key("properties");
  w.beginArray();
  for (int i = 0; i < OxBackup::PropertyCount; ++i)
    w.value(registry.backupPropertyOriginal(i));
  w.endArray();
  w.endObject();
  w.key("lists");
  w.beginArray();
  for (int type : options.types) {
    OxData* list = registry.getOxData(type);
    w.beginObject();
    w.key("type");
    w.value(type);
    w.key("name");
    w.value(displayName(type));
    w.key("count");
    w.value(list->count(0));
    w.key("columns");
    w.beginArray();
    for (int c = 0; c < list->dataColumn(); ++c)
      w.value(list->columnName(c));
    w.endArray();
    w.key("items");
    w.beginArray();
    const int n = list->count(0);
    for (int row = 0; row < n; ++row) {
      writeItem(w, *list->at(row, false));
      if (row % 256 == 0)
        w.flush();
    }
    w.endArray();
    w.endObject();
  }
  w.endArray();
  w.endObject();
  w.flush();
  return ExitOk;
}
} // namespace cli

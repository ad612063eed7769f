#pragma once
// The dump document that `sherd dump` prints and an export keeps as
// sherd.json, written as it goes (a list of millions of messages needs no
// document in memory):
//
// {"backup":{"path":str,"properties":[7 strings]},
//  "lists":[{"type":int,"name":str,"count":int,"columns":[header texts],"items":[ITEM...]}]}
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
// "columns" are the list's shown headers (OxData::columnName for the first
// dataColumn() columns). Fields that hold a file's path (a chat's picture,
// value 5; "filePath"; "media"; an attachment's "content" and "moviePath") go
// through the writer's path namer; every other text is written exactly as it
// was read.
#include "export/jsonwriter.h"

#include <QList>
#include <QStringList>

#include <functional>

class MobileBackup;
class OxAbstractItem;
class OxData;

class SHERD_EXPORT DumpWriter {
public:
  explicit DumpWriter(JsonWriter& writer) : m_w(writer) {}

  // Opens the document and its "lists" array.
  void begin(const QString& backupPath, const QStringList& properties);
  // One list with the given items (count = items.size()).
  void writeList(int type, const QString& name, OxData& list, const QList<OxAbstractItem*>& items);
  // Closes the array and the document, and flushes.
  void end();

  void writeItem(OxAbstractItem& item);

  // The path namer of a dump that names each file by where it comes from
  // rather than by where this run copied it: local copies live only as long as
  // the process, and a plain and an encrypted backup of the same phone keep
  // them in different places. A file of the backup is named by its record
  // ("backup:<domain>/<relative path>"), any other file under the temporary
  // root by "$TEMP/" and its place there; other paths stay as they are.
  static std::function<QString(const QString&)> sourcePathNamer(MobileBackup* backup);

private:
  JsonWriter& m_w;
};

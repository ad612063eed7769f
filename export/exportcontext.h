#pragma once
// What every part of an export run shares: the output folder, the opened
// backup, the summary of the type being written, the documents written so far
// (for index.html) and the exported copy of every local file (for sherd.json).
#include "export/exporter.h"
#include "export/outputfolder.h"

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>

class OxAbstractItem;
class OxBackup;

namespace exporting {
// A document of the export, for the index.
struct DocumentLink {
  QString title;
  QString relativePath;
  QString note; // e.g. "2 pages", "locked"
};

struct TypeDocuments {
  int type = -1;
  QString folder;
  QList<DocumentLink> documents;
};

// A text file written in large blocks; the bytes are UTF-8.
class TextFile {
public:
  bool open(const QString& path);
  TextFile& operator<<(const QString& text) { return add(text.toUtf8()); }
  TextFile& operator<<(const char* text) { return add(QByteArray(text)); }
  TextFile& operator<<(const QByteArray& bytes) { return add(bytes); }
  // Writes what is buffered and closes; false when any write failed.
  bool close();
  QString errorString() const { return m_file.errorString(); }

private:
  TextFile& add(const QByteArray& bytes);

  QFile m_file;
  QByteArray m_buffer;
  bool m_ok = true;
};

// Text made safe for HTML element content and double-quoted attributes.
QString html(const QString& text);
// The same, line breaks as <br>.
QString htmlLines(const QString& text);
// The page's head (title, style, UTF-8) and its end.
QString htmlHead(const QString& title);
QString htmlTail();

// "image", "video", "audio", or another family, from a file name's extension.
QString mediaKind(const QString& fileName);

// A date for a person: local time, "yyyy-MM-dd HH:mm:ss"; empty when invalid.
QString dateText(const QDateTime& date);

class ExportContext {
public:
  ExportContext(OutputFolder& out, MobileBackup* backup, int formats) : m_out(out), m_backup(backup), m_formats(formats) {}

  OutputFolder& out() { return m_out; }
  MobileBackup* backup() { return m_backup; }
  bool wants(int format) const { return (m_formats & format) != 0; }

  // Starts the documents and statistics of a type.
  void beginType(int type, ExportTypeSummary* summary, TypeDocuments* documents);
  ExportTypeSummary& summary() { return *m_summary; }
  TypeDocuments& documents() { return *m_documents; }
  QString typeFolder() const { return m_documents->folder; }

  // Copies a local file an item refers to (a file of the backup, or a copy
  // a reader made) into the type's folder under sub (e.g. "media"), named
  // after its record in the backup, or wantedName when given. Counts the file
  // or the duplicate; a missing one is listed as skipped for what. Returns the
  // copy's path relative to the root, or empty.
  QString copyFile(const QString& localPath, const QString& sub, const QString& what,
                   const QString& wantedName = QString());
  // The exported copy of a local path, or empty.
  QString exportedPath(const QString& localPath) const { return m_exported.value(localPath); }

  void skip(const QString& what, const QString& reason);
  // Writes a document and records a failure to write it as a skip. Returns
  // the relative path reserved for name in the type's folder.
  QString reserveDocument(const QString& name) { return m_out.reserve(typeFolder(), name); }

private:
  OutputFolder& m_out;
  MobileBackup* m_backup;
  int m_formats;
  ExportTypeSummary* m_summary = nullptr;
  TypeDocuments* m_documents = nullptr;
  QHash<QString, QString> m_exported;
};

// The writers of the data kinds; each writes the chosen items of one list,
// in the given order, and calls itemDone() after each item. itemDone() counts
// the item, reports progress and returns false when the run is to stop; a
// writer then finishes the documents it has open and returns.
using ItemList = QList<OxAbstractItem*>;
class Walk {
public:
  explicit Walk(std::function<bool()> itemDone) : m_itemDone(std::move(itemDone)) {}
  bool itemDone() { return m_itemDone(); }

private:
  std::function<bool()> m_itemDone;
};

void writeChats(ExportContext& ctx, const ItemList& items, int messagesPerPage, Walk& walk);
void writeNotes(ExportContext& ctx, const ItemList& items, Walk& walk);
void writeCalendar(ExportContext& ctx, const ItemList& items, Walk& walk);
void writeSafari(ExportContext& ctx, const ItemList& items, Walk& walk);
void writeCalls(ExportContext& ctx, const ItemList& items, Walk& walk);
// sherd.json: the dump's schema over the written items, paths relative to the
// output folder.
void writeJson(ExportContext& ctx, OxBackup& registry, const QString& backupName, const QList<int>& types,
               const QList<ItemList>& chosen);
} // namespace exporting

#pragma once
// The queries of the two legacy notes stores: "notes.sqlite" (Core Data tables
// ZNOTE, ZNOTEBODY, ZNOTEATTACHMENT, ZSTORE, ZACCOUNT) and the oldest
// "notes.db" (tables note and note_bodies). CNoteQuery builds the notes
// directly from its rows; NoteAttachQuery fills its attachment map.
#include "backup/cisqlitequery.h"

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>
#include <QTextDocument>
#include <QVector>

class MobileBackup;
class NoteFileCopies;
struct LegacyNoteRow;
class OxData;
class OxNoteItem;

// One row of ZNOTEATTACHMENT; a missing entry reads as key 0 and empty texts.
struct AttachmentInfo {
  int primaryKey = 0;
  QString fileName;
  QString type;
};

class CNoteQuery : public CISQLiteQuery {
public:
  CNoteQuery(OxData* list, const QString& deviceType);
  ~CNoteQuery() override;

  // Identifiers (lower-case) of the notes already listed from the modern store.
  void setModernIdentifiers(const QSet<QString>& identifiers) { m_modernIds = identifiers; }
  // Whether each store's deleted notes that its files still hold follow its
  // live ones, flagged ItemDeleted (deletednotes.h); on by default.
  void setRecoverDeleted(bool on) { m_recoverDeleted = on; }
  // Reads the attachment rows of the databases and finds the attachment files
  // of the backup (one pass over its file list); a file is copied out through
  // copies when a note shows it.
  void prepareAttachments(const QStringList& files, MobileBackup* backup, NoteFileCopies* copies);
  // Runs the first statement pair that the database's schema accepts: the
  // Core Data store's, else the oldest store's.
  void query(const QStringList& files, CIProgressCallback* progress) override;

  // What prepareAttachments found; for tests.
  const QMap<qint64, QMap<QString, AttachmentInfo>>& attachments() const { return m_attachments; }

  // Turns a legacy HTML body into plain text with U+FFFC where its object
  // tags were; the content identifiers (lower-case) of those tags in order.
  QString htmlToText(const QString& html, QStringList* contentIds);

protected:
  bool onRow(sqlite3_stmt* stmt) override;
  // Collects the keys of the iCloud account's stores of the open database.
  QString customSql(sqlite3* db) override;

private:
  friend class NoteAttachQuery;
  // Builds a note's item and appends it; a recovered one is flagged deleted.
  void appendNote(const LegacyNoteRow& note, bool recovered);
  // The local copy of an attachment key's file: the last of its files that
  // can be copied; empty when none can.
  QString attachmentFile(int key);

  OxData* m_list;
  QString m_deviceType;
  QTextDocument m_doc;
  NoteFileCopies* m_copies = nullptr;                        // not owned
  QMap<int, QVector<int>> m_attachRecords;                   // attachment key -> its files' records
  QHash<int, QString> m_attachFiles;                         // attachment key -> local copy, once asked
  QMap<qint64, QMap<QString, AttachmentInfo>> m_attachments; // note key -> content id -> row
  QSet<QString> m_modernIds;
  QSet<qint64> m_icloudStores;
  bool m_recoverDeleted = true;
  QSet<QString> m_liveIds;   // of the store being read, and the modern store's
  QSet<QString> m_liveShown; // LegacyNotes::shownKey of its notes
};

class NoteAttachQuery : public CISQLiteQuery {
public:
  explicit NoteAttachQuery(CNoteQuery* owner);

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  CNoteQuery* m_owner;
};

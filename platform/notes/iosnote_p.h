#pragma once
// The inside of IosNote, in its three phases, one file each:
//   iosnoteschema.cpp  NoteStoreReader: resolves entities and columns of the
//                      store at hand and reads its rows into NoteStoreRows;
//   iosnoteunlock.cpp  NoteUnlocker: opens locked notes and their attachment
//                      files with the user's passwords;
//   iosnotebuild.cpp   NoteBuilder: turns the rows and opened bodies into
//                      notes with their pieces.
// iosnote.cpp holds the public class, which runs them in that order.
#include "platform/notes/iosnote.h"
#include "platform/notes/notebody.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

class SqlDatabase;
class SqlRow;

namespace notestore {

extern const char* const kModule;

// What it takes to open one encrypted thing: a key wrapped under a
// password-derived key, and the nonce and tag of the data it protects.
struct KeyMaterial {
  QByteArray salt;
  int iterations = 0;
  QByteArray wrapped;
  QByteArray iv;
  QByteArray tag;
  bool usable() const { return !salt.isEmpty() && iterations > 0 && wrapped.size() >= 24 && !iv.isEmpty(); }
};

struct NoteRow {
  qint64 pk = 0;
  QString identifier;
  QString title;
  qint64 folder = 0;
  qint64 account = 0;
  double modified = 0;
  double created = 0;
  bool marked = false;
  bool isProtected = false;
  QString snippet;
  KeyMaterial crypto; // the note row's values; the body row's nonce and tag win when present
  QByteArray data;
  bool hasData = false;
  // Filled by unlocking.
  bool unlocked = false;
  bool passcodeScheme = false;
  QByteArray plainBody;
};

struct FolderRow {
  QString title;
  QString identifier;
  qint64 owner = 0;
  int type = 0;
};

struct AccountRow {
  QString name;
  QString identifier;
};

struct AttachmentRow {
  qint64 pk = 0;
  QString identifier;
  QString uti;
  qint64 media = 0;
  qint64 parent = 0;
  QString title;
  QString summary;
  QString url;
  QByteArray mergeable;
  int orientation = -1;
};

struct MediaRow {
  QString identifier;
  QString fileName;
};

struct PreviewRow {
  qint64 pk = 0;
  QString identifier;
  double area = 0;
};

struct InlineRow {
  QString uti;
  QString altText;
};

// Everything read from one store.
struct NoteStoreRows {
  QVector<NoteRow> notes;
  QHash<qint64, FolderRow> folders;
  QHash<qint64, AccountRow> accounts;
  QHash<QString, AttachmentRow> attachments; // by upper-case identifier
  QMultiHash<qint64, qint64> childrenOf;     // gallery key -> item keys
  QHash<qint64, QString> attachmentIdByPk;
  QHash<qint64, MediaRow> media;
  QHash<qint64, PreviewRow> bestPreview; // by attachment key
  QHash<QString, InlineRow> inlines;     // by upper-case identifier
  QHash<qint64, KeyMaterial> keys;       // media, preview and drawing rows by key
};

// Reads a store whose schema moves between iOS versions: entities by name,
// each column picked by what the rows actually fill.
class NoteStoreReader {
public:
  NoteStoreReader(const SqlDatabase& db, NoteStoreRows* rows) : m_db(db), m_rows(*rows) {}

  // The entity table and the wide table's columns; false when the file is not
  // a notes store.
  bool readSchema();
  // The note rows; false when they cannot be read.
  bool readNotes();
  // The rest, each step keeping what it could read.
  void readBodies();
  void readFolderJoinTable();
  void readFolders();
  void readAccounts();
  void readAttachments();
  void readMedia();
  void readPreviews();
  void readInlines();

private:
  int entity(const char* name) const { return m_entities.value(QLatin1String(name), -1); }
  bool has(const QString& c) const { return m_columns.contains(c.toUpper()); }
  QString pick(int ent, const QStringList& candidates) const;
  static QString expr(const QString& column) { return column.isEmpty() ? QStringLiteral("NULL") : column; }
  QString exprIf(const char* column) const {
    return has(QLatin1String(column)) ? QString::fromLatin1(column) : QStringLiteral("NULL");
  }
  // The five key columns, in KeyMaterial's order, with the nonce and tag
  // columns that the entity uses.
  QString keyColumns(const char* ivColumn, const char* tagColumn) const;
  static KeyMaterial readKey(SqlRow& r);
  QHash<qint64, int> noteIndexByKey() const;

  const SqlDatabase& m_db;
  NoteStoreRows& m_rows;
  QSet<QString> m_columns; // upper-case column names of the wide table
  QHash<QString, int> m_entities;
};

// Opens locked notes and attachment files; remembers every password given and
// tries first those that opened something.
class NoteUnlocker {
public:
  explicit NoteUnlocker(NoteStoreRows* rows) : m_rows(*rows) {}

  // Tells which locked notes use the scheme a backup cannot open, and lists
  // every locked note, none opened yet.
  QList<IosNote::CryptedNote> markLocked();
  // How many notes the passwords opened.
  int unlock(const QStringList& passwords, const QList<IosNote::CryptedNote*>& crypted);
  IosNote::AttachResult decryptAttach(qint64 keyId, const QString& src, const QString& dst);

private:
  QByteArray kek(const QString& password, const QByteArray& salt, int iterations);
  bool openNote(NoteRow& row, const QString& password);

  NoteStoreRows& m_rows;
  QStringList m_passwords;   // every password given, in order
  QStringList m_usefulFirst; // the ones that opened something first
  QHash<QString, QByteArray> m_kekCache;
};

// Assembles notes (titles, texts, pieces) from the rows and opened bodies.
class NoteBuilder {
public:
  explicit NoteBuilder(const NoteStoreRows& rows) : m_rows(rows) {}
  QList<IosNote::Note> build() const;

private:
  void buildPieces(const NoteRow& row, const NoteBody::Decoded& body, IosNote::Note* note) const;
  IosNote::Piece attachmentPiece(const AttachmentRow& att, const QString& bodyUti) const;

  const NoteStoreRows& m_rows;
};

} // namespace notestore

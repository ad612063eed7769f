#include "platform/notes/iosnote.h"

#include "platform/common/log.h"
#include "platform/common/sqlutils.h"
#include "platform/notes/notebody.h"
#include "platform/notes/notecrypto.h"

#include <QFile>
#include <QHash>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QVector>
#include <sqlite3.h>

#include <algorithm>
#include <cmath>

namespace {

const char* kModule = "IosNote";
const char* kTable = "ZICCLOUDSYNCINGOBJECT";

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
  // Filled by unlocking or, for plain notes, by building.
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

// A prepared statement that finalizes itself.
class Statement {
public:
  Statement(sqlite3* db, const QString& sql) {
    const QByteArray s = sql.toUtf8();
    if (SqlUtils::prepareSqlite(db, s.constData(), -1, &m_stmt, nullptr) != 0)
      m_stmt = nullptr;
  }
  ~Statement() { sqlite3_finalize(m_stmt); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  bool ok() const { return m_stmt != nullptr; }
  bool step() { return m_stmt && sqlite3_step(m_stmt) == SQLITE_ROW; }
  void bind(int i, qint64 v) { sqlite3_bind_int64(m_stmt, i, v); }
  qint64 i64(int c) const { return sqlite3_column_int64(m_stmt, c); }
  double dbl(int c) const { return sqlite3_column_double(m_stmt, c); }
  bool isNull(int c) const { return sqlite3_column_type(m_stmt, c) == SQLITE_NULL; }
  QString text(int c) const {
    const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(m_stmt, c));
    return p ? QString::fromUtf8(p, sqlite3_column_bytes(m_stmt, c)) : QString();
  }
  QByteArray blob(int c) const {
    const void* p = sqlite3_column_blob(m_stmt, c);
    return p ? QByteArray(static_cast<const char*>(p), sqlite3_column_bytes(m_stmt, c)) : QByteArray();
  }

private:
  sqlite3_stmt* m_stmt = nullptr;
};

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

struct IosNote::Private {
  // Reading
  sqlite3* db = nullptr;
  QSet<QString> columns; // upper-case column names of the wide table
  QHash<QString, int> entities;

  QVector<NoteRow> notes;
  QHash<qint64, FolderRow> folders;
  QHash<qint64, AccountRow> accounts;
  QHash<QString, AttachmentRow> attachments; // by identifier
  QMultiHash<qint64, qint64> childrenOf;     // gallery key -> item keys
  QHash<qint64, QString> attachmentIdByPk;
  QHash<qint64, MediaRow> media;
  QHash<qint64, PreviewRow> bestPreview; // by attachment key
  QHash<QString, InlineRow> inlines;
  QHash<qint64, KeyMaterial> keys; // media, preview and drawing rows by key

  // Unlocking
  QList<CryptedNote> crypted;
  QList<CryptedNote*> cryptedPtrs;
  QStringList passwords;     // every password given, in order
  QStringList usefulFirst;   // the ones that opened something first
  QHash<QString, QByteArray> kekCache;

  // Building
  QList<Note> built;

  int entity(const char* name) const { return entities.value(QLatin1String(name), -1); }
  bool has(const QString& c) const { return columns.contains(c.toUpper()); }
  QString pick(int ent, const QStringList& candidates);
  QString expr(const QString& column) const { return column.isEmpty() ? QStringLiteral("NULL") : column; }
  QString exprIf(const char* column) const {
    return has(QLatin1String(column)) ? QString::fromLatin1(column) : QStringLiteral("NULL");
  }

  bool readEntities();
  bool readNotes();
  void readBodies();
  void readFolderJoinTable();
  void readFolders();
  void readAccounts();
  void readAttachments();
  void readMedia();
  void readPreviews();
  void readInlines();

  QByteArray kek(const QString& password, const QByteArray& salt, int iterations);
  bool openNote(NoteRow& row, const QString& password);
  void buildPieces(const NoteRow& row, const NoteBody::Decoded& body, Note* note);
  Piece attachmentPiece(const AttachmentRow& att, const QString& bodyUti);
};

// The candidate column that the most rows of the entity fill; an empty
// string when none of them exists.
QString IosNote::Private::pick(int ent, const QStringList& candidates) {
  QStringList present;
  for (const QString& c : candidates)
    if (has(c))
      present << c;
  if (present.size() <= 1)
    return present.value(0);
  // count(column) counts the rows that fill it: one pass for all candidates.
  QStringList counts;
  for (const QString& c : present)
    counts << QStringLiteral("count(%1)").arg(c);
  Statement st(db, QStringLiteral("SELECT %1 FROM %2 WHERE Z_ENT = ?").arg(counts.join(QLatin1Char(',')), QLatin1String(kTable)));
  st.bind(1, ent);
  if (!st.step())
    return present.first();
  int best = 0;
  for (int i = 1; i < present.size(); ++i)
    if (st.i64(i) > st.i64(best))
      best = i;
  return present.at(best);
}

bool IosNote::Private::readEntities() {
  Statement st(db, QStringLiteral("SELECT Z_ENT, Z_NAME FROM Z_PRIMARYKEY"));
  if (!st.ok())
    return false;
  while (st.step())
    entities.insert(st.text(1), int(st.i64(0)));
  Statement cols(db, QStringLiteral("PRAGMA table_info(%1)").arg(QLatin1String(kTable)));
  while (cols.step())
    columns.insert(cols.text(1).toUpper());
  return entity("ICNote") >= 0 && !columns.isEmpty();
}

bool IosNote::Private::readNotes() {
  const int ent = entity("ICNote");
  const QString title = pick(ent, {QStringLiteral("ZTITLE1"), QStringLiteral("ZTITLE")});
  const QString modified = pick(ent, {QStringLiteral("ZMODIFICATIONDATE1"), QStringLiteral("ZMODIFICATIONDATE")});
  QStringList createdCandidates;
  QStringList accountCandidates{QStringLiteral("ZACCOUNT")};
  for (int i = 1; i <= 9; ++i) {
    createdCandidates << QStringLiteral("ZCREATIONDATE%1").arg(i);
    accountCandidates << QStringLiteral("ZACCOUNT%1").arg(i);
  }
  createdCandidates << QStringLiteral("ZCREATIONDATE");
  const QString created = pick(ent, createdCandidates);
  const QString account = pick(ent, accountCandidates);
  const QString sql =
      QStringLiteral("SELECT Z_PK, %1, %2, %3, %4, %5, %6, %7, %8, %9, %10, %11, %12, %13, %14 FROM %15 "
                     "WHERE Z_ENT = ? ORDER BY Z_PK")
          .arg(exprIf("ZIDENTIFIER"), expr(title), exprIf("ZFOLDER"), expr(account), expr(modified), expr(created),
               exprIf("ZMARKEDFORDELETION"), exprIf("ZISPASSWORDPROTECTED"), exprIf("ZSNIPPET"))
          .arg(exprIf("ZCRYPTOSALT"), exprIf("ZCRYPTOITERATIONCOUNT"), exprIf("ZCRYPTOWRAPPEDKEY"),
               exprIf("ZCRYPTOINITIALIZATIONVECTOR"), exprIf("ZCRYPTOTAG"), QLatin1String(kTable));
  Statement st(db, sql);
  if (!st.ok())
    return false;
  st.bind(1, ent);
  while (st.step()) {
    NoteRow r;
    r.pk = st.i64(0);
    r.identifier = st.text(1);
    r.title = st.text(2).trimmed();
    r.folder = st.i64(3);
    r.account = st.i64(4);
    r.modified = st.dbl(5);
    r.created = st.dbl(6);
    r.marked = st.i64(7) != 0;
    r.isProtected = st.i64(8) != 0;
    r.snippet = st.text(9);
    r.crypto.salt = st.blob(10);
    r.crypto.iterations = int(st.i64(11));
    r.crypto.wrapped = st.blob(12);
    r.crypto.iv = st.blob(13);
    r.crypto.tag = st.blob(14);
    notes.append(r);
  }
  return true;
}

void IosNote::Private::readBodies() {
  if (!SqlUtils::hasTable(db, QStringLiteral("ZICNOTEDATA"))) {
    Log(kModule, 0, "the store has no note bodies table");
    return;
  }
  auto col = [&](const char* c) {
    return SqlUtils::hasColumn(db, QStringLiteral("ZICNOTEDATA"), QLatin1String(c)) ? QString::fromLatin1(c)
                                                                                   : QStringLiteral("NULL");
  };
  Statement st(db, QStringLiteral("SELECT Z_PK, %1, %2, %3, %4 FROM ZICNOTEDATA")
                       .arg(col("ZNOTE"), col("ZDATA"), col("ZCRYPTOINITIALIZATIONVECTOR"), col("ZCRYPTOTAG")));
  QHash<qint64, int> byNote;
  for (int i = 0; i < notes.size(); ++i)
    byNote.insert(notes[i].pk, i);
  // Notes that link to their body row from their own side.
  QHash<qint64, int> byDataKey;
  if (has(QStringLiteral("ZNOTEDATA"))) {
    Statement link(db, QStringLiteral("SELECT Z_PK, ZNOTEDATA FROM %1 WHERE Z_ENT = ? AND ZNOTEDATA IS NOT NULL")
                           .arg(QLatin1String(kTable)));
    link.bind(1, entity("ICNote"));
    while (link.step())
      if (byNote.contains(link.i64(0)))
        byDataKey.insert(link.i64(1), byNote.value(link.i64(0)));
  }
  while (st.step()) {
    int idx = st.isNull(1) ? -1 : byNote.value(st.i64(1), -1);
    if (idx < 0)
      idx = byDataKey.value(st.i64(0), -1);
    if (idx < 0)
      continue;
    NoteRow& r = notes[idx];
    r.data = st.blob(2);
    r.hasData = !st.isNull(2);
    const QByteArray iv = st.blob(3);
    const QByteArray tag = st.blob(4);
    if (!iv.isEmpty())
      r.crypto.iv = iv;
    if (!tag.isEmpty())
      r.crypto.tag = tag;
  }
}

// Some stores tie notes to folders through a join table (Z_<n>NOTES with the
// columns Z_<n>FOLDERS and Z_<m>NOTES) instead of a column on the note.
void IosNote::Private::readFolderJoinTable() {
  Statement tables(db, QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'"));
  static const QRegularExpression joinName(QStringLiteral("^Z_\\d+NOTES$"));
  QStringList joins;
  while (tables.step())
    if (joinName.match(tables.text(0)).hasMatch())
      joins << tables.text(0);
  QHash<qint64, int> byNote;
  for (int i = 0; i < notes.size(); ++i)
    byNote.insert(notes[i].pk, i);
  for (const QString& table : joins) {
    QString folderCol, noteCol;
    Statement cols(db, QStringLiteral("PRAGMA table_info(%1)").arg(table));
    while (cols.step()) {
      const QString c = cols.text(1).toUpper();
      if (c.endsWith(QLatin1String("FOLDERS")))
        folderCol = c;
      else if (c.endsWith(QLatin1String("NOTES")))
        noteCol = c;
    }
    if (folderCol.isEmpty() || noteCol.isEmpty())
      continue;
    Statement st(db, QStringLiteral("SELECT %1, %2 FROM %3").arg(noteCol, folderCol, table));
    while (st.step()) {
      const int idx = byNote.value(st.i64(0), -1);
      if (idx >= 0 && notes[idx].folder == 0)
        notes[idx].folder = st.i64(1);
    }
  }
}

void IosNote::Private::readFolders() {
  const int ent = entity("ICFolder");
  if (ent < 0)
    return;
  const QString title = pick(ent, {QStringLiteral("ZTITLE2"), QStringLiteral("ZTITLE1"), QStringLiteral("ZTITLE")});
  QStringList accountCandidates{QStringLiteral("ZOWNER"), QStringLiteral("ZACCOUNT")};
  for (int i = 1; i <= 9; ++i)
    accountCandidates << QStringLiteral("ZACCOUNT%1").arg(i);
  const QString owner = pick(ent, accountCandidates);
  Statement st(db, QStringLiteral("SELECT Z_PK, %1, %2, %3, %4 FROM %5 WHERE Z_ENT = ?")
                       .arg(expr(title), exprIf("ZIDENTIFIER"), expr(owner), exprIf("ZFOLDERTYPE"),
                            QLatin1String(kTable)));
  st.bind(1, ent);
  while (st.step()) {
    FolderRow f;
    f.title = st.text(1);
    f.identifier = st.text(2);
    f.owner = st.i64(3);
    f.type = int(st.i64(4));
    folders.insert(st.i64(0), f);
  }
}

void IosNote::Private::readAccounts() {
  const int ent = entity("ICAccount");
  if (ent < 0)
    return;
  const QString name = pick(ent, {QStringLiteral("ZNAME"), QStringLiteral("ZACCOUNTNAMEFORACCOUNTLISTSORTING")});
  Statement st(db, QStringLiteral("SELECT Z_PK, %1, %2 FROM %3 WHERE Z_ENT = ?")
                       .arg(expr(name), exprIf("ZIDENTIFIER"), QLatin1String(kTable)));
  st.bind(1, ent);
  while (st.step()) {
    AccountRow a;
    a.name = st.text(1);
    a.identifier = st.text(2);
    accounts.insert(st.i64(0), a);
  }
}

void IosNote::Private::readAttachments() {
  const int ent = entity("ICAttachment");
  if (ent < 0)
    return;
  const QString uti = pick(ent, {QStringLiteral("ZTYPEUTI"), QStringLiteral("ZTYPEUTI1")});
  const QString title = pick(ent, {QStringLiteral("ZUSERTITLE"), QStringLiteral("ZTITLE")});
  const QString mergeable =
      pick(ent, {QStringLiteral("ZMERGEABLEDATA1"), QStringLiteral("ZMERGEABLEDATA"), QStringLiteral("ZMERGEABLEDATA2")});
  const QString parent = pick(ent, {QStringLiteral("ZPARENTATTACHMENT"), QStringLiteral("ZPARENTATTACHMENT1")});
  const QString summary = pick(ent, {QStringLiteral("ZSUMMARY"), QStringLiteral("ZOCRSUMMARY")});
  const QString sql =
      QStringLiteral("SELECT Z_PK, %1, %2, %3, %4, %5, %6, %7, %8, %9, %10, %11, %12, %13, %14 FROM %15 WHERE Z_ENT = ?")
          .arg(exprIf("ZIDENTIFIER"), expr(uti), exprIf("ZMEDIA"), expr(parent), expr(title), expr(summary),
               exprIf("ZURLSTRING"), expr(mergeable), exprIf("ZORIENTATION"))
          .arg(exprIf("ZCRYPTOSALT"), exprIf("ZCRYPTOITERATIONCOUNT"), exprIf("ZCRYPTOWRAPPEDKEY"),
               exprIf("ZFALLBACKIMAGECRYPTOINITIALIZATIONVECTOR"), exprIf("ZFALLBACKIMAGECRYPTOTAG"),
               QLatin1String(kTable));
  Statement st(db, sql);
  st.bind(1, ent);
  while (st.step()) {
    AttachmentRow a;
    a.pk = st.i64(0);
    a.identifier = st.text(1);
    a.uti = st.text(2);
    a.media = st.i64(3);
    a.parent = st.i64(4);
    a.title = st.text(5);
    a.summary = st.text(6);
    a.url = st.text(7);
    a.mergeable = st.blob(8);
    a.orientation = st.isNull(9) ? -1 : int(st.i64(9));
    KeyMaterial k;
    k.salt = st.blob(10);
    k.iterations = int(st.i64(11));
    k.wrapped = st.blob(12);
    k.iv = st.blob(13);
    k.tag = st.blob(14);
    if (k.usable())
      keys.insert(a.pk, k);
    if (a.parent != 0)
      childrenOf.insert(a.parent, a.pk);
    attachmentIdByPk.insert(a.pk, a.identifier);
    attachments.insert(a.identifier.toUpper(), a);
  }
}

void IosNote::Private::readMedia() {
  const int ent = entity("ICMedia");
  if (ent < 0)
    return;
  const QString sql = QStringLiteral("SELECT Z_PK, %1, %2, %3, %4, %5, %6, %7 FROM %8 WHERE Z_ENT = ?")
                          .arg(exprIf("ZIDENTIFIER"), exprIf("ZFILENAME"), exprIf("ZCRYPTOSALT"),
                               exprIf("ZCRYPTOITERATIONCOUNT"), exprIf("ZCRYPTOWRAPPEDKEY"),
                               exprIf("ZASSETCRYPTOINITIALIZATIONVECTOR"), exprIf("ZASSETCRYPTOTAG"),
                               QLatin1String(kTable));
  Statement st(db, sql);
  st.bind(1, ent);
  while (st.step()) {
    MediaRow m;
    m.identifier = st.text(1);
    m.fileName = st.text(2);
    media.insert(st.i64(0), m);
    KeyMaterial k;
    k.salt = st.blob(3);
    k.iterations = int(st.i64(4));
    k.wrapped = st.blob(5);
    k.iv = st.blob(6);
    k.tag = st.blob(7);
    if (k.usable())
      keys.insert(st.i64(0), k);
  }
}

void IosNote::Private::readPreviews() {
  const int ent = entity("ICAttachmentPreviewImage");
  if (ent < 0)
    return;
  const QString attachment = pick(ent, {QStringLiteral("ZATTACHMENT"), QStringLiteral("ZATTACHMENT1")});
  const QString sql = QStringLiteral("SELECT Z_PK, %1, %2, %3, %4, %5, %6, %7, %8, %9 FROM %10 WHERE Z_ENT = ?")
                          .arg(expr(attachment), exprIf("ZIDENTIFIER"), exprIf("ZWIDTH"), exprIf("ZHEIGHT"),
                               exprIf("ZCRYPTOSALT"), exprIf("ZCRYPTOITERATIONCOUNT"), exprIf("ZCRYPTOWRAPPEDKEY"),
                               exprIf("ZCRYPTOINITIALIZATIONVECTOR"), exprIf("ZCRYPTOTAG"))
                          .arg(QLatin1String(kTable));
  Statement st(db, sql);
  st.bind(1, ent);
  while (st.step()) {
    PreviewRow p;
    p.pk = st.i64(0);
    p.identifier = st.text(2);
    p.area = st.dbl(3) * st.dbl(4);
    const qint64 owner = st.i64(1);
    auto it = bestPreview.find(owner);
    if (it == bestPreview.end() || p.area > it->area)
      bestPreview.insert(owner, p);
    KeyMaterial k;
    k.salt = st.blob(5);
    k.iterations = int(st.i64(6));
    k.wrapped = st.blob(7);
    k.iv = st.blob(8);
    k.tag = st.blob(9);
    if (k.usable())
      keys.insert(p.pk, k);
  }
}

void IosNote::Private::readInlines() {
  const int ent = entity("ICInlineAttachment");
  if (ent < 0)
    return;
  const QString uti = pick(ent, {QStringLiteral("ZTYPEUTI1"), QStringLiteral("ZTYPEUTI")});
  Statement st(db, QStringLiteral("SELECT %1, %2, %3 FROM %4 WHERE Z_ENT = ?")
                       .arg(exprIf("ZIDENTIFIER"), expr(uti), exprIf("ZALTTEXT"), QLatin1String(kTable)));
  st.bind(1, ent);
  while (st.step()) {
    InlineRow r;
    r.uti = st.text(1);
    r.altText = st.text(2);
    inlines.insert(st.text(0).toUpper(), r);
  }
}

QByteArray IosNote::Private::kek(const QString& password, const QByteArray& salt, int iterations) {
  const QString cacheKey = password + QChar(0) + QString::fromLatin1(salt.toHex()) + QChar(0) +
                           QString::number(iterations);
  auto it = kekCache.constFind(cacheKey);
  if (it != kekCache.constEnd())
    return *it;
  QByteArray k;
  if (!NoteCrypto::deriveKek(password, salt, iterations, &k))
    k.clear();
  kekCache.insert(cacheKey, k);
  return k;
}

bool IosNote::Private::openNote(NoteRow& row, const QString& password) {
  const QByteArray k = kek(password, row.crypto.salt, row.crypto.iterations);
  QByteArray key;
  if (k.isEmpty() || !NoteCrypto::unwrapKey(k, row.crypto.wrapped, &key))
    return false;
  QByteArray plain;
  if (!NoteCrypto::gcmDecrypt(key, row.crypto.iv, row.crypto.tag, row.data, &plain)) {
    Log(kModule, 0, "note %lld: the password opens its key but the body does not decrypt", row.pk);
    return false;
  }
  row.plainBody = plain;
  row.unlocked = true;
  return true;
}

IosNote::Piece IosNote::Private::attachmentPiece(const AttachmentRow& att, const QString& bodyUti) {
  Piece p;
  p.typeId = att.uti.isEmpty() ? bodyUti : att.uti;
  p.number = att.pk;
  p.orientation = att.orientation;
  p.text = !att.title.isEmpty() ? att.title : (!att.summary.isEmpty() ? att.summary : att.url);
  const AttachmentRow* source = &att;
  // A gallery (scanned documents) shows through its first item.
  if (att.media == 0 && !bestPreview.contains(att.pk)) {
    QList<qint64> kids = childrenOf.values(att.pk);
    std::sort(kids.begin(), kids.end());
    if (!kids.isEmpty()) {
      auto it = attachments.constFind(attachmentIdByPk.value(kids.first()).toUpper());
      if (it != attachments.constEnd())
        source = &*it;
    }
  }
  if (source->media != 0) {
    const MediaRow m = media.value(source->media);
    p.mediaId = m.identifier;
    p.name = m.fileName;
    p.mediaKeyId = source->media;
  } else if (isDrawing(p.typeId)) {
    // A drawing's image is its fallback image, named after the attachment.
    p.mediaId = source->identifier;
    p.mediaKeyId = source->pk;
  }
  auto prev = bestPreview.constFind(source->pk);
  if (prev != bestPreview.constEnd()) {
    p.previewId = prev->identifier;
    p.previewKeyId = prev->pk;
  }
  return p;
}

void IosNote::Private::buildPieces(const NoteRow& row, const NoteBody::Decoded& body, Note* note) {
  QString text;
  auto flush = [&]() {
    if (text.isEmpty())
      return;
    Piece p;
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
    if (seg.typeUti.startsWith(QLatin1String("com.apple.notes.inlinetextattachment")) || inlines.contains(id)) {
      text += inlines.value(id).altText;
      continue;
    }
    auto it = attachments.constFind(id);
    if (it == attachments.constEnd()) {
      Log(kModule, 1, "note %lld: attachment %s has no row in the store", row.pk, qPrintable(seg.identifier));
      if (isTextualAttachment(seg.typeUti))
        continue;
      flush();
      Piece p;
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

IosNote::IosNote() : d(new Private) {}

IosNote::~IosNote() {
  if (d->db)
    sqlite3_close(d->db);
}

int IosNote::loadNote(const QString& path) {
  if (d->db) {
    sqlite3_close(d->db);
    d->db = nullptr;
  }
  *d = Private();
  if (!QFile::exists(path)) {
    Log(kModule, 0, "no notes store at %s", qPrintable(path));
    return CannotOpen;
  }
  if (SqlUtils::openSqlite(path, &d->db) != 0) {
    Log(kModule, 0, "cannot open the notes store %s", qPrintable(path));
    return CannotOpen;
  }
  int rc = Ok;
  if (!SqlUtils::hasTable(d->db, QLatin1String(kTable)) || !d->readEntities()) {
    Log(kModule, 0, "%s is not a notes store (no note entity)", qPrintable(path));
    rc = NotANoteStore;
  } else if (!d->readNotes()) {
    Log(kModule, 0, "the notes of %s cannot be read", qPrintable(path));
    rc = QueryFailed;
  } else {
    d->readBodies();
    d->readFolderJoinTable();
    d->readFolders();
    d->readAccounts();
    d->readAttachments();
    d->readMedia();
    d->readPreviews();
    d->readInlines();
  }
  sqlite3_close(d->db);
  d->db = nullptr;
  if (rc != Ok)
    return rc;

  int passcode = 0;
  for (NoteRow& r : d->notes) {
    if (!r.isProtected)
      continue;
    r.passcodeScheme = r.data.startsWith("bplist00");
    if (r.passcodeScheme)
      ++passcode;
    CryptedNote c;
    c.key = r.pk;
    d->crypted.append(c);
  }
  for (CryptedNote& c : d->crypted)
    d->cryptedPtrs.append(&c);
  if (passcode > 0)
    Log(kModule, 1,
        "%d notes are locked under the newer scheme whose key is held by the device's keychain, which a "
        "backup does not carry; they are listed locked with their titles",
        passcode);
  return Ok;
}

int IosNote::unlockWithPasswords(const QStringList& passwords) {
  for (const QString& p : passwords)
    if (!d->passwords.contains(p))
      d->passwords << p;
  int opened = 0;
  QHash<qint64, CryptedNote*> byKey;
  for (CryptedNote* c : d->cryptedPtrs)
    byKey.insert(c->key, c);
  for (NoteRow& r : d->notes) {
    if (!r.isProtected || r.unlocked || r.passcodeScheme)
      continue;
    if (!r.crypto.usable() || !r.hasData) {
      Log(kModule, 1, "note %lld is locked but lacks what it takes to open it", r.pk);
      continue;
    }
    for (const QString& pw : passwords) {
      if (d->openNote(r, pw)) {
        ++opened;
        if (!d->usefulFirst.contains(pw))
          d->usefulFirst << pw;
        if (CryptedNote* c = byKey.value(r.pk))
          c->unlocked = true;
        break;
      }
    }
  }
  return opened;
}

QList<IosNote::CryptedNote*> IosNote::getCryptedNote() { return d->cryptedPtrs; }

void IosNote::buildNote() {
  d->built.clear();
  d->built.reserve(d->notes.size());
  int folderMissing = 0;
  for (const NoteRow& r : d->notes) {
    Note n;
    n.key = r.pk;
    n.identifier = r.identifier;
    n.title = r.title;
    n.modified = std::isfinite(r.modified) ? qint64(std::floor(r.modified)) : 0;
    n.created = std::isfinite(r.created) ? qint64(std::floor(r.created)) : 0;
    auto folder = d->folders.constFind(r.folder);
    qint64 accountKey = r.account;
    if (folder != d->folders.constEnd()) {
      n.folder = folder->title;
      if (folder->owner != 0)
        accountKey = folder->owner;
      n.deleted = folder->type == 1 || folder->identifier.startsWith(QLatin1String("TrashFolder"));
    } else {
      ++folderMissing;
    }
    n.deleted = n.deleted || r.marked;
    n.account = d->accounts.value(accountKey).name;
    if (r.isProtected && !r.unlocked) {
      n.locked = true;
      n.passcodeLocked = r.passcodeScheme;
    } else {
      NoteBody::Decoded body;
      QString error;
      if (NoteBody::decodeBody(r.isProtected ? r.plainBody : r.data, &body, &error)) {
        d->buildPieces(r, body, &n);
      } else {
        Log(kModule, 0, "note %lld: %s; its summary stands for the body", r.pk, qPrintable(error));
        if (!r.snippet.isEmpty()) {
          Piece p;
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
    d->built.append(n);
  }
  if (folderMissing > 0)
    Log(kModule, 1, "%d notes name no folder row of the store", folderMissing);
}

unsigned IosNote::noteCount() const { return unsigned(d->built.size()); }

IosNote::Note* IosNote::getNote(unsigned index) {
  return index < unsigned(d->built.size()) ? &d->built[int(index)] : nullptr;
}

int IosNote::decryptAttach(qint64 keyId, const QString& src, const QString& dst) {
  auto it = d->keys.constFind(keyId);
  if (it == d->keys.constEnd())
    return 1;
  if (!QFile::exists(src))
    return 3;
  QStringList order = d->usefulFirst;
  for (const QString& p : d->passwords)
    if (!order.contains(p))
      order << p;
  for (const QString& pw : order) {
    const QByteArray k = d->kek(pw, it->salt, it->iterations);
    QByteArray key;
    if (k.isEmpty() || !NoteCrypto::unwrapKey(k, it->wrapped, &key))
      continue;
    QString error;
    if (NoteCrypto::gcmDecryptFile(key, it->iv, it->tag, src, dst, &error))
      return 0;
    Log(kModule, 0, "attachment %s: %s", qPrintable(src), qPrintable(error));
    return error.startsWith(QLatin1String("cannot")) ? 3 : 4;
  }
  return 2;
}

// Reading phase of the notes store: which entity is which, which of a field's
// candidate columns this iOS version fills, and the rows themselves.
#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "platform/notes/iosnote_p.h"

#include <QRegularExpression>

namespace notestore {

namespace {
const char* const kTable = "ZICCLOUDSYNCINGOBJECT";
const QString kBodyTable = QStringLiteral("ZICNOTEDATA");
} // namespace

// The candidate column that the most rows of the entity fill; an empty
// string when none of them exists.
QString NoteStoreReader::pick(int ent, const QStringList& candidates) const {
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
  SqlStatement st(m_db, QStringLiteral("SELECT %1 FROM %2 WHERE Z_ENT = ?")
                            .arg(counts.join(QLatin1Char(',')), QLatin1String(kTable)));
  st.bind(1, ent);
  if (!st.step())
    return present.first();
  SqlRow r(st);
  int best = 0;
  qint64 bestCount = r.int64();
  for (int i = 1; i < present.size(); ++i) {
    const qint64 count = r.int64();
    if (count > bestCount) {
      best = i;
      bestCount = count;
    }
  }
  return present.at(best);
}

QString NoteStoreReader::keyColumns(const char* ivColumn, const char* tagColumn) const {
  return QStringList{exprIf("ZCRYPTOSALT"), exprIf("ZCRYPTOITERATIONCOUNT"), exprIf("ZCRYPTOWRAPPEDKEY"),
                     exprIf(ivColumn), exprIf(tagColumn)}
      .join(QStringLiteral(", "));
}

KeyMaterial NoteStoreReader::readKey(SqlRow& r) {
  KeyMaterial k;
  k.salt = r.blob();
  k.iterations = int(r.int64());
  k.wrapped = r.blob();
  k.iv = r.blob();
  k.tag = r.blob();
  return k;
}

QHash<qint64, int> NoteStoreReader::noteIndexByKey() const {
  QHash<qint64, int> byNote;
  for (int i = 0; i < m_rows.notes.size(); ++i)
    byNote.insert(m_rows.notes[i].pk, i);
  return byNote;
}

bool NoteStoreReader::readSchema() {
  if (!m_db.hasTable(QLatin1String(kTable)))
    return false;
  SqlStatement st(m_db, QStringLiteral("SELECT Z_ENT, Z_NAME FROM Z_PRIMARYKEY"));
  if (!st.isValid())
    return false;
  while (st.step()) {
    SqlRow r(st);
    const int ent = int(r.int64());
    m_entities.insert(r.text(), ent);
  }
  SqlStatement cols(m_db, QStringLiteral("PRAGMA table_info(%1)").arg(QLatin1String(kTable)));
  while (cols.step()) {
    SqlRow r(cols);
    r.skip(); // cid
    m_columns.insert(r.text().toUpper());
  }
  return entity("ICNote") >= 0 && !m_columns.isEmpty();
}

bool NoteStoreReader::readNotes() {
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
  const QString sql = QStringLiteral("SELECT Z_PK, %1, %2, %3, %4, %5, %6, %7, %8, %9, %10 FROM %11 "
                                     "WHERE Z_ENT = ? ORDER BY Z_PK")
                          .arg(exprIf("ZIDENTIFIER"), expr(title), exprIf("ZFOLDER"), expr(account), expr(modified),
                               expr(created), exprIf("ZMARKEDFORDELETION"), exprIf("ZISPASSWORDPROTECTED"),
                               exprIf("ZSNIPPET"))
                          .arg(keyColumns("ZCRYPTOINITIALIZATIONVECTOR", "ZCRYPTOTAG"), QLatin1String(kTable));
  SqlStatement st(m_db, sql);
  if (!st.isValid())
    return false;
  st.bind(1, ent);
  while (st.step()) {
    SqlRow c(st);
    NoteRow r;
    r.pk = c.int64();
    r.identifier = c.text();
    r.title = c.text().trimmed();
    r.folder = c.int64();
    r.account = c.int64();
    r.modified = c.real();
    r.created = c.real();
    r.marked = c.int64() != 0;
    r.isProtected = c.int64() != 0;
    r.snippet = c.text();
    r.crypto = readKey(c);
    m_rows.notes.append(r);
  }
  return true;
}

void NoteStoreReader::readBodies() {
  if (!m_db.hasTable(kBodyTable)) {
    Log(kModule, 0, "the store has no note bodies table");
    return;
  }
  auto col = [&](const char* c) {
    return m_db.hasColumn(kBodyTable, QLatin1String(c)) ? QString::fromLatin1(c) : QStringLiteral("NULL");
  };
  SqlStatement st(m_db, QStringLiteral("SELECT Z_PK, %1, %2, %3, %4 FROM %5")
                            .arg(col("ZNOTE"), col("ZDATA"), col("ZCRYPTOINITIALIZATIONVECTOR"), col("ZCRYPTOTAG"),
                                 kBodyTable));
  const QHash<qint64, int> byNote = noteIndexByKey();
  // Notes that link to their body row from their own side.
  QHash<qint64, int> byDataKey;
  if (has(QStringLiteral("ZNOTEDATA"))) {
    SqlStatement link(m_db, QStringLiteral("SELECT Z_PK, ZNOTEDATA FROM %1 WHERE Z_ENT = ? AND ZNOTEDATA IS NOT NULL")
                                .arg(QLatin1String(kTable)));
    link.bind(1, entity("ICNote"));
    while (link.step()) {
      SqlRow r(link);
      const qint64 note = r.int64();
      const qint64 data = r.int64();
      if (byNote.contains(note))
        byDataKey.insert(data, byNote.value(note));
    }
  }
  while (st.step()) {
    SqlRow c(st);
    const qint64 pk = c.int64();
    const bool noNote = c.isNull();
    const qint64 note = c.int64();
    int idx = noNote ? -1 : byNote.value(note, -1);
    if (idx < 0)
      idx = byDataKey.value(pk, -1);
    if (idx < 0)
      continue;
    NoteRow& r = m_rows.notes[idx];
    r.hasData = !c.isNull();
    r.data = c.blob();
    const QByteArray iv = c.blob();
    const QByteArray tag = c.blob();
    if (!iv.isEmpty())
      r.crypto.iv = iv;
    if (!tag.isEmpty())
      r.crypto.tag = tag;
  }
}

// Some stores tie notes to folders through a join table (Z_<n>NOTES with the
// columns Z_<n>FOLDERS and Z_<m>NOTES) instead of a column on the note.
void NoteStoreReader::readFolderJoinTable() {
  SqlStatement tables(m_db, QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'"));
  static const QRegularExpression joinName(QStringLiteral("^Z_\\d+NOTES$"));
  QStringList joins;
  while (tables.step()) {
    const QString name = SqlRow(tables).text();
    if (joinName.match(name).hasMatch())
      joins << name;
  }
  const QHash<qint64, int> byNote = noteIndexByKey();
  for (const QString& table : joins) {
    QString folderCol, noteCol;
    SqlStatement cols(m_db, QStringLiteral("PRAGMA table_info(%1)").arg(table));
    while (cols.step()) {
      SqlRow r(cols);
      r.skip(); // cid
      const QString c = r.text().toUpper();
      if (c.endsWith(QLatin1String("FOLDERS")))
        folderCol = c;
      else if (c.endsWith(QLatin1String("NOTES")))
        noteCol = c;
    }
    if (folderCol.isEmpty() || noteCol.isEmpty())
      continue;
    SqlStatement st(m_db, QStringLiteral("SELECT %1, %2 FROM %3").arg(noteCol, folderCol, table));
    while (st.step()) {
      SqlRow r(st);
      const int idx = byNote.value(r.int64(), -1);
      if (idx >= 0 && m_rows.notes[idx].folder == 0)
        m_rows.notes[idx].folder = r.int64();
    }
  }
}

void NoteStoreReader::readFolders() {
  const int ent = entity("ICFolder");
  if (ent < 0)
    return;
  const QString title = pick(ent, {QStringLiteral("ZTITLE2"), QStringLiteral("ZTITLE1"), QStringLiteral("ZTITLE")});
  QStringList accountCandidates{QStringLiteral("ZOWNER"), QStringLiteral("ZACCOUNT")};
  for (int i = 1; i <= 9; ++i)
    accountCandidates << QStringLiteral("ZACCOUNT%1").arg(i);
  const QString owner = pick(ent, accountCandidates);
  SqlStatement st(m_db, QStringLiteral("SELECT Z_PK, %1, %2, %3, %4 FROM %5 WHERE Z_ENT = ?")
                            .arg(expr(title), exprIf("ZIDENTIFIER"), expr(owner), exprIf("ZFOLDERTYPE"),
                                 QLatin1String(kTable)));
  st.bind(1, ent);
  while (st.step()) {
    SqlRow r(st);
    const qint64 pk = r.int64();
    FolderRow f;
    f.title = r.text();
    f.identifier = r.text();
    f.owner = r.int64();
    f.type = int(r.int64());
    m_rows.folders.insert(pk, f);
  }
}

void NoteStoreReader::readAccounts() {
  const int ent = entity("ICAccount");
  if (ent < 0)
    return;
  const QString name = pick(ent, {QStringLiteral("ZNAME"), QStringLiteral("ZACCOUNTNAMEFORACCOUNTLISTSORTING")});
  SqlStatement st(m_db, QStringLiteral("SELECT Z_PK, %1, %2 FROM %3 WHERE Z_ENT = ?")
                            .arg(expr(name), exprIf("ZIDENTIFIER"), QLatin1String(kTable)));
  st.bind(1, ent);
  while (st.step()) {
    SqlRow r(st);
    const qint64 pk = r.int64();
    AccountRow a;
    a.name = r.text();
    a.identifier = r.text();
    m_rows.accounts.insert(pk, a);
  }
}

void NoteStoreReader::readAttachments() {
  const int ent = entity("ICAttachment");
  if (ent < 0)
    return;
  const QString uti = pick(ent, {QStringLiteral("ZTYPEUTI"), QStringLiteral("ZTYPEUTI1")});
  const QString title = pick(ent, {QStringLiteral("ZUSERTITLE"), QStringLiteral("ZTITLE")});
  const QString mergeable =
      pick(ent, {QStringLiteral("ZMERGEABLEDATA1"), QStringLiteral("ZMERGEABLEDATA"), QStringLiteral("ZMERGEABLEDATA2")});
  const QString parent = pick(ent, {QStringLiteral("ZPARENTATTACHMENT"), QStringLiteral("ZPARENTATTACHMENT1")});
  const QString summary = pick(ent, {QStringLiteral("ZSUMMARY"), QStringLiteral("ZOCRSUMMARY")});
  const QString sql = QStringLiteral("SELECT Z_PK, %1, %2, %3, %4, %5, %6, %7, %8, %9, %10 FROM %11 WHERE Z_ENT = ?")
                          .arg(exprIf("ZIDENTIFIER"), expr(uti), exprIf("ZMEDIA"), expr(parent), expr(title),
                               expr(summary), exprIf("ZURLSTRING"), expr(mergeable), exprIf("ZORIENTATION"))
                          .arg(keyColumns("ZFALLBACKIMAGECRYPTOINITIALIZATIONVECTOR", "ZFALLBACKIMAGECRYPTOTAG"),
                               QLatin1String(kTable));
  SqlStatement st(m_db, sql);
  st.bind(1, ent);
  while (st.step()) {
    SqlRow r(st);
    AttachmentRow a;
    a.pk = r.int64();
    a.identifier = r.text();
    a.uti = r.text();
    a.media = r.int64();
    a.parent = r.int64();
    a.title = r.text();
    a.summary = r.text();
    a.url = r.text();
    a.mergeable = r.blob();
    a.orientation = int(r.int64Or(-1));
    const KeyMaterial k = readKey(r);
    if (k.usable())
      m_rows.keys.insert(a.pk, k);
    if (a.parent != 0)
      m_rows.childrenOf.insert(a.parent, a.pk);
    m_rows.attachmentIdByPk.insert(a.pk, a.identifier);
    m_rows.attachments.insert(a.identifier.toUpper(), a);
  }
}

void NoteStoreReader::readMedia() {
  const int ent = entity("ICMedia");
  if (ent < 0)
    return;
  const QString sql = QStringLiteral("SELECT Z_PK, %1, %2, %3 FROM %4 WHERE Z_ENT = ?")
                          .arg(exprIf("ZIDENTIFIER"), exprIf("ZFILENAME"),
                               keyColumns("ZASSETCRYPTOINITIALIZATIONVECTOR", "ZASSETCRYPTOTAG"), QLatin1String(kTable));
  SqlStatement st(m_db, sql);
  st.bind(1, ent);
  while (st.step()) {
    SqlRow r(st);
    const qint64 pk = r.int64();
    MediaRow m;
    m.identifier = r.text();
    m.fileName = r.text();
    m_rows.media.insert(pk, m);
    const KeyMaterial k = readKey(r);
    if (k.usable())
      m_rows.keys.insert(pk, k);
  }
}

void NoteStoreReader::readPreviews() {
  const int ent = entity("ICAttachmentPreviewImage");
  if (ent < 0)
    return;
  const QString attachment = pick(ent, {QStringLiteral("ZATTACHMENT"), QStringLiteral("ZATTACHMENT1")});
  const QString sql = QStringLiteral("SELECT Z_PK, %1, %2, %3, %4, %5 FROM %6 WHERE Z_ENT = ?")
                          .arg(expr(attachment), exprIf("ZIDENTIFIER"), exprIf("ZWIDTH"), exprIf("ZHEIGHT"),
                               keyColumns("ZCRYPTOINITIALIZATIONVECTOR", "ZCRYPTOTAG"), QLatin1String(kTable));
  SqlStatement st(m_db, sql);
  st.bind(1, ent);
  while (st.step()) {
    SqlRow r(st);
    PreviewRow p;
    p.pk = r.int64();
    const qint64 owner = r.int64();
    p.identifier = r.text();
    const double width = r.real();
    p.area = width * r.real();
    auto it = m_rows.bestPreview.find(owner);
    if (it == m_rows.bestPreview.end() || p.area > it->area)
      m_rows.bestPreview.insert(owner, p);
    const KeyMaterial k = readKey(r);
    if (k.usable())
      m_rows.keys.insert(p.pk, k);
  }
}

void NoteStoreReader::readInlines() {
  const int ent = entity("ICInlineAttachment");
  if (ent < 0)
    return;
  const QString uti = pick(ent, {QStringLiteral("ZTYPEUTI1"), QStringLiteral("ZTYPEUTI")});
  SqlStatement st(m_db, QStringLiteral("SELECT %1, %2, %3 FROM %4 WHERE Z_ENT = ?")
                            .arg(exprIf("ZIDENTIFIER"), expr(uti), exprIf("ZALTTEXT"), QLatin1String(kTable)));
  st.bind(1, ent);
  while (st.step()) {
    SqlRow r(st);
    const QString id = r.text().toUpper();
    InlineRow row;
    row.uti = r.text();
    row.altText = r.text();
    m_rows.inlines.insert(id, row);
  }
}

} // namespace notestore

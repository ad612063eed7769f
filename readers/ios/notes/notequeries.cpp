#include "readers/ios/notes/notequeries.h"

#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "readers/ios/notes/deletednotes.h"
#include "readers/ios/notes/notefileindex.h"
#include "readers/ios/notes/notethumbnail.h"
#include "service/progress.h"

#include <QDir>
#include <QFile>
#include <QRegExp>
#include <QUrl>

namespace {
const char* kModule = "CNoteQuery";
const QChar kObject(0xFFFC);
} // namespace

CNoteQuery::CNoteQuery(OxData* list, const QString& deviceType) : m_list(list), m_deviceType(deviceType) {
  m_sqls << QStringLiteral("select ZTITLE,ZSUMMARY,ZMODIFICATIONDATE,ZCREATIONDATE,ZCONTENT,ZDELETEDFLAG,ZNOTE.Z_PK,"
                           "ZNOTE.ZGUID,ZNOTE.ZSTORE from znote LEFT JOIN ZNOTEBODY ON ZNOTE.ZBODY = ZNOTEBODY.Z_PK "
                           "order by ZMODIFICATIONDATE desc")
         << QStringLiteral("select TITLE,SUMMARY,MODIFICATION_DATE,CREATION_DATE,DATA,0,NOTE.ROWID,'',0 from note "
                           "LEFT JOIN NOTE_BODIES ON NOTE.ROWID = NOTE_BODIES.NOTE_ID order by MODIFICATION_DATE desc");
  m_countSqls << QStringLiteral("select count(*) from znote LEFT JOIN ZNOTEBODY ON ZNOTE.ZBODY = ZNOTEBODY.Z_PK")
              << QStringLiteral("select count(*) from note LEFT JOIN NOTE_BODIES ON NOTE.ROWID = NOTE_BODIES.NOTE_ID");
}

CNoteQuery::~CNoteQuery() = default;

void CNoteQuery::query(const QStringList& files, CIProgressCallback* progress) {
  for (const QString& path : files) {
    if (path.isEmpty() || !QFile::exists(path)) {
      if (!path.isEmpty())
        Log(kModule, 0, "%s is missing: nothing read from it", path.toUtf8().constData());
      continue;
    }
    // Which alternative this schema takes: the first count statement that
    // prepares names the select statement of the same place.
    SqlDatabase db;
    if (!db.open(path)) {
      Log(kModule, 0, "Fail to open db file: %s", path.toUtf8().constData());
      continue;
    }
    int chosen = -1;
    int count = 0;
    for (int i = 0; i < m_countSqls.size() && chosen < 0; ++i) {
      SqlStatement stmt(db, m_countSqls.at(i));
      if (!stmt.isValid())
        continue;
      chosen = i;
      if (stmt.step())
        count = SqlRow(stmt).integer();
    }
    db.close();
    if (chosen < 0) {
      Log(kModule, 0, "%s is neither notes store", path.toUtf8().constData());
      continue;
    }
    if ((count <= 0 && !m_recoverDeleted) || chosen >= m_sqls.size())
      continue;
    m_progress = progress;
    m_step = progress ? double(progress->range()) / double(count) : 0.0;
    m_liveIds = m_modernIds;
    m_liveShown.clear();
    execSql(path, m_sqls.at(chosen));
    if (m_recoverDeleted) {
      for (const LegacyNoteRow& n : LegacyNotes::deletedNotes(path, chosen == 0, m_liveIds, m_liveShown))
        appendNote(n, true);
    }
  }
}

QString CNoteQuery::customSql(sqlite3* db) {
  m_icloudStores.clear();
  SqlStatement stores(db, QStringLiteral("select zstore.z_pk from zstore inner join zaccount on zstore.zaccount = "
                                         "zaccount.z_pk where zaccount.ztype = 1"));
  while (stores.step())
    m_icloudStores.insert(SqlRow(stores).int64());
  return QString();
}

QString CNoteQuery::htmlToText(const QString& html, QStringList* contentIds) {
  QString body = html;
  QRegExp object(QStringLiteral("<object[^>]+data=\"cid:([^\"]+)\"></object>"));
  object.setCaseSensitivity(Qt::CaseSensitive);
  // Each distinct tag becomes a placeholder; its identifier is noted once per
  // distinct tag text, in the order the tags first occur.
  for (int guard = 0; guard < 100000; ++guard) {
    const int at = object.indexIn(body);
    if (at < 0)
      break;
    const QString matched = object.cap(0);
    contentIds->append(object.cap(1).toLower());
    body.replace(matched, QString(kObject));
  }
  body.replace(QLatin1String("\n"), QLatin1String("<br>"));
  QStringList parts = body.split(QStringLiteral("<div>"), Qt::KeepEmptyParts);
  for (QString& part : parts) {
    part.remove(QStringLiteral("</div>"));
    if (part.endsWith(QLatin1String("<br>")))
      part.chop(4);
  }
  m_doc.setHtml(parts.join(QStringLiteral("<br>")));
  return m_doc.toPlainText();
}

bool CNoteQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  LegacyNoteRow n;
  n.title = r.text();
  r.skip(); // summary
  const int modified = r.integer();
  n.modified = modified;
  r.skip(); // creation date
  n.html = r.text();
  const bool deleted = r.int64() != 0;
  n.key = r.int64();
  n.identifier = r.text().toLower();
  n.store = r.int64();
  if (!n.identifier.isEmpty())
    m_liveIds.insert(n.identifier);
  m_liveShown.insert(LegacyNotes::shownKey(n.title, modified, n.html));
  if (m_modernIds.contains(n.identifier))
    return true; // listed from the modern store already
  if (deleted)
    return true;
  appendNote(n, false);
  return true;
}

void CNoteQuery::appendNote(const LegacyNoteRow& n, bool recovered) {
  const QString& title = n.title;
  const QString& html = n.html;
  const qint64 noteKey = n.key;
  const qint64 store = n.store;
  const int modified = int(n.modified);
  OxNoteItem* item = OxNoteItem::createItem();
  if (!item)
    return;
  item->setValue(title, OxNoteItem::ColTitle);
  if (m_icloudStores.contains(store))
    item->setValue(QStringLiteral("iCloud"), OxNoteItem::ColLocation);
  else
    item->updateLocationByDeviceType(m_deviceType);
  const QDateTime date = CCommonUtils::buildDateTimeBase2001(modified);
  item->setValue(CCommonUtils::datetimeToMinute(date, true), OxNoteItem::ColDate);
  item->setSortValue(date, OxNoteItem::ColDate);

  QStringList contentIds;
  const QString text = htmlToText(html, &contentIds);
  if (contentIds.isEmpty()) {
    auto* piece = new OxNoteItem::NotePiece;
    piece->kind = OxNoteItem::NotePiece::Text;
    piece->content = text;
    item->setNotePieces({piece});
    item->setValue(text, OxNoteItem::ColNotes);
  } else {
    const QStringList parts = text.split(kObject, Qt::KeepEmptyParts);
    // A recovered note's key may be lost (0) or handed out again later: its
    // attachments are not looked up.
    auto noteAttachments = recovered ? m_attachments.constEnd() : m_attachments.constFind(noteKey);
    if (noteAttachments != m_attachments.constEnd()) {
      QList<OxNoteItem::NotePiece*> pieces;
      for (int i = 0; i < parts.size(); ++i) {
        if (!parts.at(i).isEmpty()) {
          auto* piece = new OxNoteItem::NotePiece;
          piece->kind = OxNoteItem::NotePiece::Text;
          piece->content = parts.at(i);
          pieces << piece;
        }
        if (i >= contentIds.size())
          continue;
        const AttachmentInfo info = noteAttachments->value(contentIds.at(i));
        const QString path = attachmentFile(info.primaryKey);
        if (path.isEmpty())
          continue;
        auto* piece = new OxNoteItem::NotePiece;
        piece->kind = OxNoteItem::NotePiece::Attachment;
        piece->content = path;
        piece->name = info.fileName;
        piece->thumbnail = NoteThumbnail::load(path);
        pieces << piece;
        item->addAttachment(info.type);
      }
      item->setNotePieces(pieces);
    }
    item->setValue(parts.join(QString()), OxNoteItem::ColNotes);
  }
  item->setSize(0);
  if (recovered)
    item->setFlag(true, OxAbstractItem::ItemDeleted);
  m_list->append(item);
}

void CNoteQuery::prepareAttachments(const QStringList& files, MobileBackup* backup, NoteFileCopies* copies) {
  // The oldest store has no attachment table; it is left out rather than
  // logged as a failing statement.
  QStringList withTable;
  for (const QString& path : files) {
    SqlDatabase db;
    if (db.open(path) && db.hasTable(QStringLiteral("ZNOTEATTACHMENT")))
      withTable << path;
  }
  NoteAttachQuery attach(this);
  attach.query(withTable, nullptr);
  m_copies = copies;
  m_attachRecords.clear();
  m_attachFiles.clear();
  if (!backup || !copies)
    return;
  const int n = backup->fileCount();
  for (int i = 0; i < n; ++i) {
    const BackupFileRecord r = backup->fileAt(i);
    if (r.size == 0 || !r.relativePath.contains(QLatin1String("Notes/attachments")))
      continue;
    const QString decoded = QUrl::fromPercentEncoding(r.relativePath.toUtf8());
    const QString folder = decoded.section(QLatin1Char('/'), -2, -2);
    if (!folder.startsWith(QLatin1Char('p')))
      continue;
    bool ok = false;
    const int key = folder.mid(1).toInt(&ok);
    if (!ok)
      continue;
    m_attachRecords[key].append(i);
  }
}

QString CNoteQuery::attachmentFile(int key) {
  const auto done = m_attachFiles.constFind(key);
  if (done != m_attachFiles.constEnd())
    return done.value();
  QString local;
  const QVector<int> records = m_attachRecords.value(key);
  for (auto it = records.crbegin(); m_copies && local.isEmpty() && it != records.crend(); ++it)
    local = m_copies->copy(*it);
  m_attachFiles.insert(key, local);
  return local;
}

NoteAttachQuery::NoteAttachQuery(CNoteQuery* owner) : m_owner(owner) {
  m_sqls << QStringLiteral("SELECT Z_PK, ZNOTE, ZCONTENTID, ZFILENAME, ZMIMETYPE FROM ZNOTEATTACHMENT");
  m_countSqls << QStringLiteral("select count(*) FROM ZNOTEATTACHMENT");
}

bool NoteAttachQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  AttachmentInfo info;
  info.primaryKey = r.integer();
  const qint64 note = r.int64();
  const QString contentId = r.text().toLower();
  info.fileName = r.text();
  info.type = r.text();
  m_owner->m_attachments[note][contentId] = info;
  return true;
}

#include "readers/ios/notes/notequeries.h"

#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/sqlutils.h"
#include "readers/ios/notes/notethumbnail.h"
#include "service/progress.h"

#include <QDir>
#include <QFile>
#include <QRegExp>
#include <QUrl>
#include <sqlite3.h>

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
      Log(kModule, 0, "Not exists: %s", path.toUtf8().constData());
      continue;
    }
    // Which alternative this schema takes: the first count statement that
    // prepares names the select statement of the same place.
    sqlite3* db = nullptr;
    if (SqlUtils::openSqlite(path, &db) != 0) {
      Log(kModule, 0, "Fail to open db file: %s", path.toUtf8().constData());
      continue;
    }
    int chosen = -1;
    int count = 0;
    for (int i = 0; i < m_countSqls.size() && chosen < 0; ++i) {
      const QByteArray sql = m_countSqls.at(i).toUtf8();
      sqlite3_stmt* stmt = nullptr;
      if (SqlUtils::prepareSqlite(db, sql.constData(), -1, &stmt, nullptr) != 0)
        continue;
      chosen = i;
      if (sqlite3_step(stmt) == SQLITE_ROW)
        count = sqlite3_column_int(stmt, 0);
      sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
    if (chosen < 0) {
      Log(kModule, 0, "%s is neither notes store", path.toUtf8().constData());
      continue;
    }
    if (count <= 0 || chosen >= m_sqls.size())
      continue;
    m_progress = progress;
    m_step = progress ? double(progress->range()) / double(count) : 0.0;
    execSql(path, m_sqls.at(chosen));
  }
}

QString CNoteQuery::customSql(sqlite3* db) {
  m_icloudStores.clear();
  sqlite3_stmt* stmt = nullptr;
  const char* sql = "select zstore.z_pk from zstore inner join zaccount on zstore.zaccount = zaccount.z_pk "
                    "where zaccount.ztype = 1";
  if (SqlUtils::prepareSqlite(db, sql, -1, &stmt, nullptr) == 0) {
    while (sqlite3_step(stmt) == SQLITE_ROW)
      m_icloudStores.insert(sqlite3_column_int64(stmt, 0));
    sqlite3_finalize(stmt);
  }
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
  const QString identifier = columnText(stmt, 7).toLower();
  if (m_modernIds.contains(identifier))
    return true; // listed from the modern store already
  if (sqlite3_column_int64(stmt, 5) != 0)
    return true; // deleted
  OxNoteItem* item = OxNoteItem::createItem();
  if (!item)
    return true;
  item->setValue(columnText(stmt, 0), OxNoteItem::ColTitle);
  if (m_icloudStores.contains(sqlite3_column_int64(stmt, 8)))
    item->setValue(QStringLiteral("iCloud"), OxNoteItem::ColLocation);
  else
    item->updateLocationByDeviceType(m_deviceType);
  const QDateTime date = CCommonUtils::buildDateTimeBase2001(int(sqlite3_column_int(stmt, 2)));
  item->setValue(CCommonUtils::datetimeToMinute(date, true), OxNoteItem::ColDate);
  item->setSortValue(date, OxNoteItem::ColDate);

  QStringList contentIds;
  const QString text = htmlToText(columnText(stmt, 4), &contentIds);
  if (contentIds.isEmpty()) {
    auto* piece = new OxNoteItem::NotePiece;
    piece->kind = OxNoteItem::NotePiece::Text;
    piece->content = text;
    item->setNotePieces({piece});
    item->setValue(text, OxNoteItem::ColNotes);
  } else {
    const QStringList parts = text.split(kObject, Qt::KeepEmptyParts);
    const qint64 noteKey = sqlite3_column_int64(stmt, 6);
    auto noteAttachments = m_attachments.constFind(noteKey);
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
        const QString path = m_attachFiles.value(info.primaryKey);
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
  m_list->append(item);
  return true;
}

void CNoteQuery::prepareAttachments(const QStringList& files, MobileBackup* backup, const QString& extractFolder) {
  // The oldest store has no attachment table; it is left out rather than
  // logged as a failing statement.
  QStringList withTable;
  for (const QString& path : files) {
    sqlite3* db = nullptr;
    if (SqlUtils::openSqlite(path, &db) == 0 && SqlUtils::hasTable(db, QStringLiteral("ZNOTEATTACHMENT")))
      withTable << path;
    if (db)
      sqlite3_close(db);
  }
  NoteAttachQuery attach(this);
  attach.query(withTable, nullptr);
  if (!backup)
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
    const QString local = backup->extractFile(i, QDir(extractFolder).filePath(QString::number(i)));
    if (!local.isEmpty())
      m_attachFiles.insert(key, local);
  }
}

NoteAttachQuery::NoteAttachQuery(CNoteQuery* owner) : m_owner(owner) {
  m_sqls << QStringLiteral("SELECT Z_PK, ZNOTE, ZCONTENTID, ZFILENAME, ZMIMETYPE FROM ZNOTEATTACHMENT");
  m_countSqls << QStringLiteral("select count(*) FROM ZNOTEATTACHMENT");
}

bool NoteAttachQuery::onRow(sqlite3_stmt* stmt) {
  AttachmentInfo info;
  info.primaryKey = sqlite3_column_int(stmt, 0);
  info.fileName = columnText(stmt, 3);
  info.type = columnText(stmt, 4);
  m_owner->m_attachments[sqlite3_column_int64(stmt, 1)][columnText(stmt, 2).toLower()] = info;
  return true;
}

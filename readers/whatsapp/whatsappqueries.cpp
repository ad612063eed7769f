#include "readers/whatsapp/whatsappqueries.h"

#include "platform/common/log.h"
#include "platform/common/sqlrow.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

// ---- chat sessions ----

namespace {
QString sessionSelect(bool hidden, bool removed) {
  return QStringLiteral("select z_pk, zcontactabid, zsessiontype, zpartnername, zcontactjid, %1 "
                        "from zwachatsession where %2 order by zlastmessagedate desc")
      .arg(removed ? QStringLiteral("zremoved") : QStringLiteral("0"),
           hidden ? QStringLiteral("zhidden = 0") : QStringLiteral("1"));
}

QString sessionCount(bool hidden) {
  return QStringLiteral("select count(*) from zwachatsession where %1")
      .arg(hidden ? QStringLiteral("zhidden = 0") : QStringLiteral("1"));
}
} // namespace

CWAChatSessionQuery::CWAChatSessionQuery() {
  m_sqls << sessionSelect(true, true);
  m_countSqls << sessionCount(true);
}

void CWAChatSessionQuery::query(const QStringList& files, CIProgressCallback* progress) {
  for (const QString& path : files) {
    bool hidden = true;
    bool removed = true;
    {
      SqlDatabase db;
      if (!path.isEmpty() && QFile::exists(path) && db.open(path) &&
          db.hasTable(QStringLiteral("zwachatsession"))) {
        hidden = db.hasColumn(QStringLiteral("zwachatsession"), QStringLiteral("zhidden"));
        removed = db.hasColumn(QStringLiteral("zwachatsession"), QStringLiteral("zremoved"));
      }
    }
    for (const char* column : {hidden ? nullptr : "ZHIDDEN", removed ? nullptr : "ZREMOVED"})
      if (column)
        Log("WhatsApp", 1, "WhatsApp: %s lacks column %s; read without it",
            qPrintable(QFileInfo(path).fileName()), column);
    m_sqls = QStringList{sessionSelect(hidden, removed)};
    m_countSqls = QStringList{sessionCount(hidden)};
    CISQLiteQuery::query(QStringList{path}, progress);
  }
}

CWAChatSessionQuery::~CWAChatSessionQuery() { qDeleteAll(m_sessions); }

bool CWAChatSessionQuery::onRow(sqlite3_stmt* stmt) {
  auto* s = new WAChatSession;
  s->pk = sqlite3_column_int64(stmt, 0);
  s->contactAbId = sqlite3_column_int64(stmt, 1);
  s->sessionType = sqlite3_column_int(stmt, 2);
  s->partnerName = columnText(stmt, 3);
  s->contactJid = columnText(stmt, 4);
  s->removed = sqlite3_column_int(stmt, 5);
  m_sessions.append(s);
  return true;
}

// ---- group members ----

CWAChatMemberQuery::CWAChatMemberQuery() {
  m_sqls << QStringLiteral("select z_pk, zcontactabid, zchatsession, zcontactname, zmemberjid from zwagroupmember");
  m_countSqls << QStringLiteral("select count(*) from zwagroupmember");
}

// Records are owned through m_owned: a row whose pk repeats (a second database
// file) replaces the earlier record in the maps but must still be freed.
CWAChatMemberQuery::~CWAChatMemberQuery() { qDeleteAll(m_owned); }

bool CWAChatMemberQuery::onRow(sqlite3_stmt* stmt) {
  auto* m = new WAGroupMember;
  m->pk = sqlite3_column_int64(stmt, 0);
  m->contactAbId = sqlite3_column_int64(stmt, 1);
  const qint64 session = sqlite3_column_int64(stmt, 2);
  m->contactName = columnText(stmt, 3);
  m->memberJid = columnText(stmt, 4);
  m_owned.append(m);
  m_members.insert(m->pk, m);
  m_bySession[session].append(m);
  return true;
}

// ---- media items ----

CWAMediaQuery::CWAMediaQuery() {
  m_sqls << QStringLiteral("select z_pk, zfilesize, zmovieduration, zmessage, zmedialocalpath, zmediaurl, zvcardname, "
                           "zvcardstring, zxmppthumbpath, ztitle, zauthorname from zwamediaitem");
  m_countSqls << QStringLiteral("select count(*) from zwamediaitem");
}

CWAMediaQuery::~CWAMediaQuery() { qDeleteAll(m_owned); }

bool CWAMediaQuery::onRow(sqlite3_stmt* stmt) {
  auto* m = new WAMediaItem;
  m->pk = sqlite3_column_int64(stmt, 0);
  m->fileSize = sqlite3_column_int64(stmt, 1);
  m->movieDuration = sqlite3_column_int(stmt, 2);
  m->message = sqlite3_column_int64(stmt, 3);
  m->localPath = columnText(stmt, 4);
  m->mediaUrl = columnText(stmt, 5);
  m->vcardName = columnText(stmt, 6);
  m->vcardString = columnText(stmt, 7);
  m->thumbPath = columnText(stmt, 8);
  m->title = columnText(stmt, 9);
  m->authorName = columnText(stmt, 10);
  m_owned.append(m);
  m_items.insert(m->pk, m);
  return true;
}

// ---- messages ----

CWAMessageQuery::CWAMessageQuery() {
  m_sqls << QStringLiteral("select z_pk, zgroupeventtype, zisfromme, zmessagestatus, zmessagetype, zchatsession, "
                           "zgroupmember, zmediaitem, zparentmessage, zmessagedate, ztext, ztojid from zwamessage "
                           "order by zchatsession, zsort");
  m_countSqls << QStringLiteral("select count(*) from zwamessage");
}

// The list holds every record; the map only points into it.
CWAMessageQuery::~CWAMessageQuery() { qDeleteAll(m_messages); }

bool CWAMessageQuery::onRow(sqlite3_stmt* stmt) {
  WAMessage* m = m_sink ? &m_row : new WAMessage;
  SqlRow r(stmt);
  m->pk = r.int64();
  m->groupEventType = r.integer();
  m->isFromMe = r.integer();
  m->messageStatus = r.integer();
  m->messageType = r.integer();
  m->chatSession = r.int64();
  m->groupMember = r.int64();
  m->mediaItem = r.int64();
  m->parentMessage = r.int64();
  m->messageDate = r.real();
  m->text = r.text();
  m->toJid = r.text(m_jids);
  if (m_sink) {
    m_sink(*m);
    return true;
  }
  m_messages.append(m);
  m_byPkBuilt = false;
  return true;
}

const QMap<qint64, WAMessage*>& CWAMessageQuery::messageMap() const {
  if (!m_byPkBuilt) {
    m_byPk.clear();
    for (WAMessage* m : m_messages)
      m_byPk.insert(m->pk, m);
    m_byPkBuilt = true;
  }
  return m_byPk;
}

bool CWAMessageQuery::isSentStatus(int status) { return status != 0 && (status & 3) != 3; }

QString CWAMessageQuery::groupEventText(int code, const QString& text, const QString& actor, const QString& target,
                                        bool self) {
  // Where two names are filled in, they go in with one arg() call, so that a
  // name that itself contains "%2" is not substituted again.
  switch (code) {
  case 0:
    return QString();
  case 1:
    if (actor.isEmpty())
      return QCoreApplication::translate("iTunesBackup", "You changed the subject to \"%1\"").arg(text);
    return QCoreApplication::translate("iTunesBackup", "%1 changed the subject to \"%2\"").arg(actor, text);
  case 2:
    if (actor.isEmpty())
      return target.isEmpty() ? QCoreApplication::translate("iTunesBackup", "You were added")
                              : QCoreApplication::translate("iTunesBackup", "%1 added you").arg(target);
    if (self)
      return QCoreApplication::translate("iTunesBackup", "You added %1").arg(actor);
    if (!target.isEmpty())
      return QCoreApplication::translate("iTunesBackup", "%1 added %2").arg(target, actor);
    return QCoreApplication::translate("iTunesBackup", "%1 joined").arg(actor);
  case 3:
    return actor.isEmpty() ? QCoreApplication::translate("iTunesBackup", "You left")
                           : QCoreApplication::translate("iTunesBackup", "%1 left").arg(actor);
  case 4:
    return actor.isEmpty() ? QCoreApplication::translate("iTunesBackup", "You changed the group icon")
                           : QCoreApplication::translate("iTunesBackup", "%1 changed the group icon").arg(actor);
  case 5:
    return actor.isEmpty() ? QCoreApplication::translate("iTunesBackup", "You deleted the group icon")
                           : QCoreApplication::translate("iTunesBackup", "%1 deleted the group icon").arg(actor);
  case 7:
    // The target is tested the other way round from an addition: with no
    // actor, a known target means the owner was removed.
    if (actor.isEmpty())
      return target.isEmpty() ? QCoreApplication::translate("iTunesBackup", "%1 removed you").arg(target)
                              : QCoreApplication::translate("iTunesBackup", "You were removed");
    if (self)
      return QCoreApplication::translate("iTunesBackup", "You removed %1").arg(actor);
    if (!target.isEmpty())
      return QCoreApplication::translate("iTunesBackup", "%1 removed %2").arg(target, actor);
    return QCoreApplication::translate("iTunesBackup", "%1 was removed").arg(actor);
  case 8:
    return QCoreApplication::translate("iTunesBackup", "You created a broadcast list with %1 recipients").arg(text);
  case 10:
    return actor.isEmpty() ? QCoreApplication::translate("iTunesBackup", "You're now an admin")
                           : QCoreApplication::translate("iTunesBackup", "%1 is now an admin").arg(actor);
  case 12:
    if (text.isEmpty())
      return actor.isEmpty() ? QCoreApplication::translate("iTunesBackup", "You created this group")
                             : QCoreApplication::translate("iTunesBackup", "%1 created this group").arg(actor);
    return actor.isEmpty() ? QCoreApplication::translate("iTunesBackup", "You created \"%1\"").arg(text)
                           : QCoreApplication::translate("iTunesBackup", "%1 created \"%2\"").arg(actor, text);
  default:
    return QStringLiteral("Unknown group event %1").arg(code);
  }
}

QString CWAMessageQuery::groupEventText(const WAMessage& message, const QMap<qint64, WAGroupMember*>& members) {
  QString actor;
  if (const WAGroupMember* m = members.value(message.groupMember, nullptr))
    actor = m->contactName;
  QString target;
  for (const WAGroupMember* m : members) { // QMap iterates in pk order
    if (m && m->memberJid == message.text) {
      target = m->contactName;
      break;
    }
  }
  return groupEventText(message.groupEventType, message.text, actor, target, message.text == message.toJid);
}

// ---- profile pictures ----

CWAProfilePicQuery::CWAProfilePicQuery() {
  m_sqls << QStringLiteral("select zjid, zpath from zwaprofilepictureitem");
  m_countSqls << QStringLiteral("select count(*) from zwaprofilepictureitem");
}

bool CWAProfilePicQuery::onRow(sqlite3_stmt* stmt) {
  m_pictures.insert(columnText(stmt, 0), columnText(stmt, 1));
  return true;
}

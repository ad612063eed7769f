#include "readers/messengers/line/linequeries.h"

#include <sqlite3.h>

// ---- users ----

CLineUserQuery::CLineUserQuery() {
  m_sqls << QStringLiteral("select z_pk, zmid, zname from zuser");
  m_countSqls << QStringLiteral("select count(*) from zuser");
}

bool CLineUserQuery::onRow(sqlite3_stmt* stmt) {
  const qint64 key = sqlite3_column_int64(stmt, 0);
  const QString name = columnText(stmt, 2);
  m_byMid.insert(columnText(stmt, 1), name);
  m_byKey.insert(key, name);
  return true;
}

// ---- groups ----

CLineGroupQuery::CLineGroupQuery() {
  m_sqls << QStringLiteral("select zid, zname from zgroup");
  m_countSqls << QStringLiteral("select count(*) from zgroup");
}

bool CLineGroupQuery::onRow(sqlite3_stmt* stmt) {
  m_names.insert(columnText(stmt, 0), columnText(stmt, 1));
  return true;
}

// ---- chat members ----

CLineChatMembersQuery::CLineChatMembersQuery()
    : CCoreDataJoinQuery(CoreDataJoinTable{QStringLiteral("z_1members"), QStringLiteral("z_1chats"),
                                           QStringLiteral("z_12members")},
                         QStringLiteral("MEMBERS"), QStringLiteral("CHATS"), false) {}

// ---- chats ----

CLineChatSessionQuery::CLineChatSessionQuery() {
  m_sqls << QStringLiteral("select z_pk, zmid, zlastmessage from zchat");
  m_countSqls << QStringLiteral("select count(*) from zchat");
}

CLineChatSessionQuery::~CLineChatSessionQuery() { qDeleteAll(m_chats); }

bool CLineChatSessionQuery::onRow(sqlite3_stmt* stmt) {
  auto* c = new LineChat;
  c->key = sqlite3_column_int64(stmt, 0);
  c->mid = columnText(stmt, 1);
  m_chats.append(c);
  return true;
}

// ---- messages ----

CLineMessageQuery::CLineMessageQuery() {
  m_sqls << QStringLiteral("select zid, zsender, zsendstatus, zcontenttype, zchat, ztimestamp, ztext, zlongitude "
                           "from zmessage order by ztimestamp");
  m_countSqls << QStringLiteral("select count(*) from zmessage");
}

CLineMessageQuery::~CLineMessageQuery() {
  for (const QList<LineMessage*>& list : qAsConst(m_byChat))
    qDeleteAll(list);
}

int CLineMessageQuery::deriveType(int contentType, int sendStatus) {
  if (sendStatus == 0)
    return 6;
  switch (contentType) {
  case 6: return 0;   // a call line shows its text
  case 13: return 4;  // a shared contact
  case 14: return 8;  // a file
  case 100: return 5;
  default: return contentType;
  }
}

bool CLineMessageQuery::onRow(sqlite3_stmt* stmt) {
  auto* m = new LineMessage;
  m->id = columnText(stmt, 0);
  m->sender = sqlite3_column_int64(stmt, 1);
  m->outgoing = m->sender == 0;
  m->sendStatus = sqlite3_column_int(stmt, 2);
  m->type = deriveType(sqlite3_column_int(stmt, 3), m->sendStatus);
  m->chat = sqlite3_column_int64(stmt, 4);
  m->timestamp = sqlite3_column_int64(stmt, 5);
  m->text = columnText(stmt, 6);
  m->sticker = sqlite3_column_int64(stmt, 7);
  m_byChat[m->chat].append(m);
  ++m_count;
  return true;
}

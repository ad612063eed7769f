#include "readers/messengers/line/linequeries.h"

#include "platform/common/sqlrow.h"

// ---- users ----

CLineUserQuery::CLineUserQuery() {
  m_sqls << QStringLiteral("select z_pk, zmid, zname from zuser");
  m_countSqls << QStringLiteral("select count(*) from zuser");
}

bool CLineUserQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 key = r.int64();
  const QString mid = r.text();
  const QString name = r.text();
  m_byMid.insert(mid, name);
  m_byKey.insert(key, name);
  return true;
}

// ---- groups ----

CLineGroupQuery::CLineGroupQuery() {
  m_sqls << QStringLiteral("select zid, zname from zgroup");
  m_countSqls << QStringLiteral("select count(*) from zgroup");
}

bool CLineGroupQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const QString id = r.text();
  m_names.insert(id, r.text());
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
  SqlRow r(stmt);
  auto* c = new LineChat;
  c->key = r.int64();
  c->mid = r.text();
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
  SqlRow r(stmt);
  auto* m = new LineMessage;
  m->id = r.text();
  m->sender = r.int64();
  m->outgoing = m->sender == 0;
  m->sendStatus = r.integer();
  m->type = deriveType(r.integer(), m->sendStatus);
  m->chat = r.int64();
  m->timestamp = r.int64();
  m->text = r.text();
  m->sticker = r.int64();
  m_byChat[m->chat].append(m);
  ++m_count;
  return true;
}

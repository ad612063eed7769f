#include "readers/messengers/kik/kikqueries.h"

#include "platform/common/sqlrow.h"

#include <algorithm>
#include <vector>

// ---- users ----

CKikUserQuery::CKikUserQuery() {
  m_sqls << QStringLiteral("select z_pk, zdisplayname, zjid from zkikuser");
  m_countSqls << QStringLiteral("select count(*) from zkikuser");
}

bool CKikUserQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 key = r.int64();
  m_names.insert(key, r.text());
  m_jids.insert(key, r.text());
  return true;
}

// ---- chats ----

CKikChatSessionQuery::CKikChatSessionQuery() {
  m_sqls << QStringLiteral("select z_pk, zuser from zkikchat");
  m_countSqls << QStringLiteral("select count(*) from zkikchat");
}

CKikChatSessionQuery::~CKikChatSessionQuery() { qDeleteAll(m_chats); }

bool CKikChatSessionQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  auto* pair = new KikChatPair;
  pair->chat = r.int64();
  pair->user = r.int64();
  m_chats.append(pair);
  return true;
}

// ---- join tables ----

CKikChatMessagesQuery::CKikChatMessagesQuery()
    : CCoreDataJoinQuery(CoreDataJoinTable{QStringLiteral("z_4messages"), QStringLiteral("z_4chat"),
                                      QStringLiteral("z_6messages")},
                    QStringLiteral("MESSAGES"), QStringLiteral("CHAT"), true) {}

CKikChatMemberQuery::CKikChatMemberQuery()
    : CCoreDataJoinQuery(CoreDataJoinTable{QStringLiteral("z_9members"), QStringLiteral("z_9membersinverse"),
                                      QStringLiteral("z_9members")},
                    QStringLiteral("MEMBERS"), QStringLiteral("MEMBERSINVERSE"), false) {}

// ---- attachments ----

CKikMediaQuery::CKikMediaQuery(const QString& baseFolder) : m_baseFolder(baseFolder) {
  m_sqls << QStringLiteral("select ztype, zmessage, zcontent from zkikattachment");
  m_countSqls << QStringLiteral("select count(*) from zkikattachment");
}

CKikMediaQuery::~CKikMediaQuery() { qDeleteAll(m_owned); }

bool CKikMediaQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  auto* a = new KikAttachment;
  a->type = r.int64();
  a->message = r.int64();
  const QString content = r.text();
  a->dataCachePath = m_baseFolder + QStringLiteral("content_manager/data_cache/") + content;
  a->attachmentPath = m_baseFolder + QStringLiteral("attachments/") + content;
  m_owned.append(a);
  m_byMessage.insert(a->message, a);
  return true;
}

// ---- messages ----

CKikMessageQuery::CKikMessageQuery() {
  m_sqls << QStringLiteral("select z_pk, ztype, zstate, zflags, zuser, ztimestamp, zbody from zkikmessage "
                           "order by ztimestamp");
  m_countSqls << QStringLiteral("select count(*) from zkikmessage");
}

CKikMessageQuery::~CKikMessageQuery() { qDeleteAll(m_owned); }

bool CKikMessageQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  auto* m = new KikMessage;
  m->key = r.int64();
  const int type = r.integer();
  m->outgoing = type == 2;
  m->state = r.integer();
  const int flags = r.integer();
  // Types 3, 4 and 5 are system lines whatever their flags say.
  m->kind = (type >= 3 && type <= 5) ? int(KikMessage::SystemKind) : flags;
  m->user = r.int64();
  m->timestamp = r.real();
  m->body = r.text();
  m_owned.append(m);
  m_byKey.insert(m->key, m);
  m_position.insert(m->key, m_keys.size());
  m_keys.append(m->key);
  m_byUser[m->user].append(m->key);
  return true;
}

QList<const KikMessage*> CKikMessageQuery::inMessageOrder(const QList<qint64>& keys) const {
  std::vector<int> positions;
  positions.reserve(size_t(keys.size()));
  for (qint64 key : keys) {
    const int pos = position(key);
    if (pos >= 0)
      positions.push_back(pos);
  }
  std::sort(positions.begin(), positions.end());
  QList<const KikMessage*> ordered;
  ordered.reserve(int(positions.size()));
  // Row i of the message list is record i; a key's position is its last row,
  // whose record is the one the key map holds.
  for (int pos : positions)
    ordered.append(m_owned.at(pos));
  return ordered;
}

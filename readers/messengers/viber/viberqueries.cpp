#include "readers/messengers/viber/viberqueries.h"

#include "platform/common/sqlrow.h"
#include "readers/messengers/common/sqlschema.h"

namespace {
QString countOf(const QString& table) { return QStringLiteral("select count(*) from %1").arg(table); }

QString firstNonEmpty(std::initializer_list<QString> texts) {
  for (const QString& t : texts)
    if (!t.trimmed().isEmpty())
      return t.trimmed();
  return QString();
}
} // namespace

// ---- contacts ----

CViberContactQuery::CViberContactQuery(const SqlSchema& schema)
    : m_members(schema.hasTable(QStringLiteral("zmember")) || !schema.hasTable(QStringLiteral("zphonenumberindex"))) {
  const QString table = m_members ? QStringLiteral("zmember") : QStringLiteral("zphonenumberindex");
  m_sqls << schema.selectFrom(table, {QStringLiteral("z_pk"), QStringLiteral("zdisplayfullname"),
                                      QStringLiteral("zdisplayshortname"), QStringLiteral("zname"),
                                      QStringLiteral("ziconid"), QStringLiteral("zcanonizedphonenum"),
                                      QStringLiteral("zphonenum")});
  m_countSqls << countOf(table);
}

bool CViberContactQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 key = r.int64();
  ViberContact c;
  c.name = firstNonEmpty({r.text(), r.text(), r.text()}); // full, short, plain name
  c.icon = r.text().trimmed();
  const QString canonical = r.text();
  c.phone = firstNonEmpty({r.text(), canonical});
  m_contacts.insert(key, c);
  return true;
}

void CViberContactQuery::addPhones(const QHash<qint64, QString>& phones) {
  for (auto it = phones.constBegin(); it != phones.constEnd(); ++it) {
    auto contact = m_contacts.find(it.key());
    if (contact != m_contacts.end() && contact->phone.isEmpty())
      contact->phone = it.value();
  }
}

CViberPhoneQuery::CViberPhoneQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zphonenumber"),
                              {QStringLiteral("zmember"), QStringLiteral("zcanonizedphonenum"), QStringLiteral("zphone")},
                              schema.orderBy(QStringLiteral("zphonenumber"), {QStringLiteral("z_pk")}));
  m_countSqls << countOf(QStringLiteral("zphonenumber"));
}

bool CViberPhoneQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 member = r.int64();
  const QString canonical = r.text();
  const QString phone = firstNonEmpty({r.text(), canonical});
  if (!phone.isEmpty() && !m_phones.contains(member))
    m_phones.insert(member, phone);
  return true;
}

// ---- conversations and their members ----

CViberConversationQuery::CViberConversationQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zconversation"),
                              {QStringLiteral("z_pk"), QStringLiteral("zname"), QStringLiteral("zinterlocutor"),
                               QStringLiteral("zbeingdeleted")},
                              schema.orderBy(QStringLiteral("zconversation"), {QStringLiteral("z_pk")}));
  m_countSqls << countOf(QStringLiteral("zconversation"));
}

bool CViberConversationQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  ViberConversation c;
  c.key = r.int64();
  c.name = r.text().trimmed();
  c.partner = r.int64();
  c.deleted = r.integer() != 0;
  m_conversations.append(c);
  return true;
}

CViberGroupMemberQuery::CViberGroupMemberQuery()
    : CCoreDataJoinQuery(CoreDataJoinTable{QStringLiteral("z_5phonenumindexes"), QStringLiteral("z_5conversations"),
                                           QStringLiteral("z_10phonenumindexes")},
                         QStringLiteral("PHONENUMINDEXES"), QStringLiteral("CONVERSATIONS"), false) {}

// ---- attachments and locations ----

CViberAttachmentQuery::CViberAttachmentQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zattachment"), {QStringLiteral("z_pk"), QStringLiteral("zname"),
                                                             QStringLiteral("ztype"), QStringLiteral("zfilesize")});
  m_countSqls << countOf(QStringLiteral("zattachment"));
}

bool CViberAttachmentQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 key = r.int64();
  ViberAttachment a;
  a.name = r.text().trimmed();
  a.type = r.text().trimmed().toLower();
  a.size = r.int64();
  m_attachments.insert(key, a);
  return true;
}

CViberLocationQuery::CViberLocationQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zviberlocation"),
                              {QStringLiteral("z_pk"), QStringLiteral("zlatitude"), QStringLiteral("zlongitude"),
                               QStringLiteral("zaddress")});
  m_countSqls << countOf(QStringLiteral("zviberlocation"));
}

bool CViberLocationQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 key = r.int64();
  ViberLocation l;
  l.latitude = r.real();
  l.longitude = r.real();
  l.address = r.text().trimmed();
  m_locations.insert(key, l);
  return true;
}

// ---- messages ----

CViberMessageQuery::CViberMessageQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(
      QStringLiteral("zvibermessage"),
      {QStringLiteral("z_pk"), QStringLiteral("zconversation"), QStringLiteral("zphonenumindex"),
       QStringLiteral("zdate"), QStringLiteral("zstate"), QStringLiteral("ztext"), QStringLiteral("zsystemtype"),
       QStringLiteral("zattachment"), QStringLiteral("zlocation"), QStringLiteral("zbeingdeleted"),
       QStringLiteral("zcalltype"), QStringLiteral("zcallduration"), QStringLiteral("zmetadata")},
      schema.orderBy(QStringLiteral("zvibermessage"), {QStringLiteral("zdate"), QStringLiteral("z_pk")}));
  m_countSqls << countOf(QStringLiteral("zvibermessage"));
}

bool CViberMessageQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  ViberMessage m;
  m.key = r.int64();
  m.conversation = r.int64();
  m.sender = r.int64();
  m.date = r.real();
  m.state = r.text();
  m.text = r.text();
  m.systemType = r.text();
  m.attachment = r.int64();
  m.location = r.int64();
  m.deleted = r.integer() != 0;
  m.callType = r.text();
  m.callDuration = r.int64();
  if (!r.isNull())
    m.metadata = r.text();
  m_byConversation[m.conversation].append(std::move(m));
  ++m_count;
  return true;
}

// ---- calls ----

CViberCallQuery::CViberCallQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zrecent"),
                              {QStringLiteral("zdate"), QStringLiteral("zduration"), QStringLiteral("zcalltype"),
                               QStringLiteral("zrecentsline"), QStringLiteral("zcalllogmessage")},
                              schema.orderBy(QStringLiteral("zrecent"), {QStringLiteral("zdate desc")}));
  m_countSqls << countOf(QStringLiteral("zrecent"));
}

bool CViberCallQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  ViberCall c;
  c.date = r.real();
  c.duration = r.int64();
  c.callType = r.text().trimmed().toLower();
  c.line = r.int64();
  c.message = r.int64();
  m_calls.append(c);
  return true;
}

CViberRecentsLineQuery::CViberRecentsLineQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zrecentsline"), {QStringLiteral("z_pk"), QStringLiteral("zphonenumber"),
                                                              QStringLiteral("zphonenumindex")});
  m_countSqls << countOf(QStringLiteral("zrecentsline"));
}

bool CViberRecentsLineQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 key = r.int64();
  const QString phone = r.text().trimmed();
  m_lines.insert(key, ViberRecentsLine{phone, r.int64()});
  return true;
}

CViberCallPartnerQuery::CViberCallPartnerQuery() {
  // Only the messages that are the chat lines of calls.
  m_sqls << QStringLiteral("select m.z_pk, m.zphonenumindex, c.zinterlocutor from zvibermessage m"
                           " left join zconversation c on c.z_pk = m.zconversation"
                           " where m.z_pk in (select zcalllogmessage from zrecent)");
  m_countSqls << QStringLiteral("select count(*) from zrecent");
}

bool CViberCallPartnerQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 message = r.int64();
  const qint64 sender = r.int64();
  const qint64 interlocutor = r.int64();
  m_partners.insert(message, sender ? sender : interlocutor);
  return true;
}

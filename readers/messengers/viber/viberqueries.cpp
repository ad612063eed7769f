#include "readers/messengers/viber/viberqueries.h"

#include "readers/messengers/common/sqlschema.h"

#include <sqlite3.h>

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
  ViberContact c;
  c.name = firstNonEmpty({columnText(stmt, 1), columnText(stmt, 2), columnText(stmt, 3)});
  c.icon = columnText(stmt, 4).trimmed();
  c.phone = firstNonEmpty({columnText(stmt, 6), columnText(stmt, 5)});
  m_contacts.insert(sqlite3_column_int64(stmt, 0), c);
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
  const qint64 member = sqlite3_column_int64(stmt, 0);
  const QString phone = firstNonEmpty({columnText(stmt, 2), columnText(stmt, 1)});
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
  ViberConversation c;
  c.key = sqlite3_column_int64(stmt, 0);
  c.name = columnText(stmt, 1).trimmed();
  c.partner = sqlite3_column_int64(stmt, 2);
  c.deleted = sqlite3_column_int(stmt, 3) != 0;
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
  ViberAttachment a;
  a.name = columnText(stmt, 1).trimmed();
  a.type = columnText(stmt, 2).trimmed().toLower();
  a.size = sqlite3_column_int64(stmt, 3);
  m_attachments.insert(sqlite3_column_int64(stmt, 0), a);
  return true;
}

CViberLocationQuery::CViberLocationQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zviberlocation"),
                              {QStringLiteral("z_pk"), QStringLiteral("zlatitude"), QStringLiteral("zlongitude"),
                               QStringLiteral("zaddress")});
  m_countSqls << countOf(QStringLiteral("zviberlocation"));
}

bool CViberLocationQuery::onRow(sqlite3_stmt* stmt) {
  ViberLocation l;
  l.latitude = sqlite3_column_double(stmt, 1);
  l.longitude = sqlite3_column_double(stmt, 2);
  l.address = columnText(stmt, 3).trimmed();
  m_locations.insert(sqlite3_column_int64(stmt, 0), l);
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
  ViberMessage m;
  m.key = sqlite3_column_int64(stmt, 0);
  m.conversation = sqlite3_column_int64(stmt, 1);
  m.sender = sqlite3_column_int64(stmt, 2);
  m.date = sqlite3_column_double(stmt, 3);
  m.state = columnText(stmt, 4);
  m.text = columnText(stmt, 5);
  m.systemType = columnText(stmt, 6);
  m.attachment = sqlite3_column_int64(stmt, 7);
  m.location = sqlite3_column_int64(stmt, 8);
  m.deleted = sqlite3_column_int(stmt, 9) != 0;
  m.callType = columnText(stmt, 10);
  m.callDuration = sqlite3_column_int64(stmt, 11);
  if (sqlite3_column_type(stmt, 12) != SQLITE_NULL)
    m.metadata = columnText(stmt, 12);
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
  ViberCall c;
  c.date = sqlite3_column_double(stmt, 0);
  c.duration = sqlite3_column_int64(stmt, 1);
  c.callType = columnText(stmt, 2).trimmed().toLower();
  c.line = sqlite3_column_int64(stmt, 3);
  c.message = sqlite3_column_int64(stmt, 4);
  m_calls.append(c);
  return true;
}

CViberRecentsLineQuery::CViberRecentsLineQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("zrecentsline"), {QStringLiteral("z_pk"), QStringLiteral("zphonenumber"),
                                                              QStringLiteral("zphonenumindex")});
  m_countSqls << countOf(QStringLiteral("zrecentsline"));
}

bool CViberRecentsLineQuery::onRow(sqlite3_stmt* stmt) {
  m_lines.insert(sqlite3_column_int64(stmt, 0),
                 ViberRecentsLine{columnText(stmt, 1).trimmed(), sqlite3_column_int64(stmt, 2)});
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
  const qint64 sender = sqlite3_column_int64(stmt, 1);
  m_partners.insert(sqlite3_column_int64(stmt, 0), sender ? sender : sqlite3_column_int64(stmt, 2));
  return true;
}

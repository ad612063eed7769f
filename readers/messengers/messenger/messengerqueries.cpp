#include "readers/messengers/messenger/messengerqueries.h"

#include "platform/common/sqlrow.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/common/sqlschema.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace {
QString countOf(const QString& table) { return QStringLiteral("select count(*) from %1").arg(table); }

QJsonDocument json(const QString& text) { return QJsonDocument::fromJson(text.toUtf8()); }
} // namespace

// ---- Lightspeed ----

CFbOwnerQuery::CFbOwnerQuery() {
  m_sqls << QStringLiteral("select facebook_user_id from _user_info");
  m_countSqls << countOf(QStringLiteral("_user_info"));
}

bool CFbOwnerQuery::onRow(sqlite3_stmt* stmt) {
  if (!m_owner)
    m_owner = SqlRow(stmt).int64(); // a number or a text column
  return true;
}

CFbContactQuery::CFbContactQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("contacts"), {QStringLiteral("id"), QStringLiteral("name")});
  m_countSqls << countOf(QStringLiteral("contacts"));
}

bool CFbContactQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 id = r.int64();
  m_names.insert(id, r.text().trimmed());
  return true;
}

CFbThreadQuery::CFbThreadQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("threads"), {QStringLiteral("thread_key"), QStringLiteral("thread_type"),
                                                          QStringLiteral("thread_name")});
  m_countSqls << countOf(QStringLiteral("threads"));
}

bool CFbThreadQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  FbThread t;
  t.key = r.int64();
  // Type 1 is a one-to-one chat; groups and the other kinds have several people.
  const bool typed = !r.isNull();
  t.group = r.integer() != 1 && typed;
  t.name = r.text().trimmed();
  m_threads.append(t);
  return true;
}

CFbParticipantQuery::CFbParticipantQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("participants"), {QStringLiteral("thread_key"),
                                                               QStringLiteral("contact_id"), QStringLiteral("nickname")});
  m_countSqls << countOf(QStringLiteral("participants"));
}

bool CFbParticipantQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 thread = r.int64();
  const qint64 contact = r.int64();
  m_byThread[thread].append(contact);
  const QString nickname = r.text().trimmed();
  if (!nickname.isEmpty())
    m_nicknames.insert(contact, nickname);
  return true;
}

CFbMessageQuery::CFbMessageQuery(const SqlSchema& schema) {
  const QString table = schema.hasTable(QStringLiteral("messages")) || !schema.hasTable(QStringLiteral("thread_messages"))
                            ? QStringLiteral("messages")
                            : QStringLiteral("thread_messages");
  m_sqls << schema.selectFrom(table,
                              {QStringLiteral("message_id"), QStringLiteral("thread_key"), QStringLiteral("sender_id"),
                               QStringLiteral("text"), QStringLiteral("timestamp_ms"), QStringLiteral("is_unsent")},
                              schema.orderBy(table, {QStringLiteral("timestamp_ms")}));
  m_countSqls << countOf(table);
}

bool CFbMessageQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  FbMessage m;
  m.id = r.text();
  m.thread = r.int64();
  m.sender = r.int64();
  m.text = r.text();
  m.timestampMs = r.int64();
  m.unsent = r.integer() != 0;
  m_byThread[m.thread].append(std::move(m));
  ++m_count;
  return true;
}

CFbAttachmentQuery::CFbAttachmentQuery(const SqlSchema& schema, const QString& table) {
  m_sqls << schema.selectFrom(table, {QStringLiteral("message_id"), QStringLiteral("filename"),
                                      QStringLiteral("title_text"), QStringLiteral("subtitle_text")});
  m_countSqls << countOf(table);
}

bool CFbAttachmentQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const QString message = r.text();
  FbAttachment a;
  a.fileName = r.text().trimmed();
  a.title = r.text().trimmed();
  a.subtitle = r.text().trimmed();
  m_byMessage[message].append(a);
  return true;
}

// ---- Orca ----

qint64 orcaUserId(const QString& userKey) {
  const int colon = userKey.lastIndexOf(QLatin1Char(':'));
  return userKey.mid(colon + 1).toLongLong();
}

COrcaThreadQuery::COrcaThreadQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("threads"), {QStringLiteral("thread_key"), QStringLiteral("name"),
                                                          QStringLiteral("participants")});
  m_countSqls << countOf(QStringLiteral("threads"));
}

qint64 COrcaThreadQuery::keyOf(const QString& threadKey) {
  const auto it = m_keys.constFind(threadKey);
  if (it != m_keys.constEnd())
    return *it;
  const qint64 key = m_keys.size() + 1;
  m_keys.insert(threadKey, key);
  if (threadKey.startsWith(QLatin1String("ONE_TO_ONE:"))) {
    for (const QString& part : threadKey.split(QLatin1Char(':')).mid(1))
      if (const qint64 id = part.toLongLong())
        ++m_oneToOne[id];
  }
  return key;
}

bool COrcaThreadQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const QString keyText = r.text();
  FbThread t;
  t.key = keyOf(keyText);
  t.name = r.text().trimmed();
  t.group = !keyText.startsWith(QLatin1String("ONE_TO_ONE:"));
  // [{"user_key": "FACEBOOK:1", "name": "Ann"}, ...] or plain user keys.
  for (const QJsonValue& v : json(r.text()).array()) {
    const QJsonObject o = v.toObject();
    const qint64 id = orcaUserId(v.isString() ? v.toString() : o.value(QLatin1String("user_key")).toString());
    if (!id)
      continue;
    m_participants[t.key].append(id);
    const QString name = o.value(QLatin1String("name")).toString().trimmed();
    if (!name.isEmpty())
      m_names.insert(id, name);
  }
  m_threads.append(t);
  return true;
}

COrcaUserQuery::COrcaUserQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("thread_users"), {QStringLiteral("user_key"), QStringLiteral("name")});
  m_countSqls << countOf(QStringLiteral("thread_users"));
}

bool COrcaUserQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  const qint64 id = orcaUserId(r.text());
  if (id)
    m_names.insert(id, r.text().trimmed());
  return true;
}

COrcaMessageQuery::COrcaMessageQuery(const SqlSchema& schema, COrcaThreadQuery* threads) : m_threads(threads) {
  m_sqls << schema.selectFrom(QStringLiteral("messages"),
                              {QStringLiteral("msg_id"), QStringLiteral("thread_key"), QStringLiteral("text"),
                               QStringLiteral("sender"), QStringLiteral("timestamp_ms"), QStringLiteral("attachments"),
                               QStringLiteral("coordinates")},
                              schema.orderBy(QStringLiteral("messages"), {QStringLiteral("timestamp_ms")}));
  m_countSqls << countOf(QStringLiteral("messages"));
}

bool COrcaMessageQuery::onRow(sqlite3_stmt* stmt) {
  SqlRow r(stmt);
  FbMessage m;
  m.id = r.text();
  m.thread = m_threads->keyOf(r.text());
  m.text = r.text();
  const QJsonObject sender = json(r.text()).object();
  m.sender = orcaUserId(sender.value(QLatin1String("user_key")).toString());
  m.senderName = sender.value(QLatin1String("name")).toString().trimmed();
  m.timestampMs = r.int64();
  QStringList parts;
  for (const QJsonValue& v : json(r.text()).array()) {
    const QJsonObject o = v.toObject();
    const QString name = o.value(QLatin1String("filename")).toString().trimmed();
    parts << (name.isEmpty() ? o.value(QLatin1String("mime_type")).toString().trimmed() : name);
  }
  parts.removeAll(QString());
  m.attachmentText = parts.join(QStringLiteral(", "));
  const QJsonObject place = json(r.text()).object();
  if (place.contains(QLatin1String("latitude")) && place.contains(QLatin1String("longitude"))) {
    m.attachmentText = CChatItemBuilder::locationText(place.value(QLatin1String("latitude")).toDouble(),
                                                      place.value(QLatin1String("longitude")).toDouble(), QString());
    m.location = true;
  }
  m_byThread[m.thread].append(std::move(m));
  ++m_count;
  return true;
}

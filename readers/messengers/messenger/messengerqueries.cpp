#include "readers/messengers/messenger/messengerqueries.h"

#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/common/sqlschema.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <sqlite3.h>

namespace {
QString countOf(const QString& table) { return QStringLiteral("select count(*) from %1").arg(table); }

QJsonDocument json(const QString& text) { return QJsonDocument::fromJson(text.toUtf8()); }

// A Facebook id read from a number or a text column.
qint64 idAt(sqlite3_stmt* stmt, int column) { return sqlite3_column_int64(stmt, column); }
} // namespace

// ---- Lightspeed ----

CFbOwnerQuery::CFbOwnerQuery() {
  m_sqls << QStringLiteral("select facebook_user_id from _user_info");
  m_countSqls << countOf(QStringLiteral("_user_info"));
}

bool CFbOwnerQuery::onRow(sqlite3_stmt* stmt) {
  if (!m_owner)
    m_owner = idAt(stmt, 0);
  return true;
}

CFbContactQuery::CFbContactQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("contacts"), {QStringLiteral("id"), QStringLiteral("name")});
  m_countSqls << countOf(QStringLiteral("contacts"));
}

bool CFbContactQuery::onRow(sqlite3_stmt* stmt) {
  m_names.insert(idAt(stmt, 0), columnText(stmt, 1).trimmed());
  return true;
}

CFbThreadQuery::CFbThreadQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("threads"), {QStringLiteral("thread_key"), QStringLiteral("thread_type"),
                                                          QStringLiteral("thread_name")});
  m_countSqls << countOf(QStringLiteral("threads"));
}

bool CFbThreadQuery::onRow(sqlite3_stmt* stmt) {
  FbThread t;
  t.key = idAt(stmt, 0);
  // Type 1 is a one-to-one chat; groups and the other kinds have several people.
  t.group = sqlite3_column_type(stmt, 1) != SQLITE_NULL && sqlite3_column_int(stmt, 1) != 1;
  t.name = columnText(stmt, 2).trimmed();
  m_threads.append(t);
  return true;
}

CFbParticipantQuery::CFbParticipantQuery(const SqlSchema& schema) {
  m_sqls << schema.selectFrom(QStringLiteral("participants"), {QStringLiteral("thread_key"),
                                                               QStringLiteral("contact_id"), QStringLiteral("nickname")});
  m_countSqls << countOf(QStringLiteral("participants"));
}

bool CFbParticipantQuery::onRow(sqlite3_stmt* stmt) {
  const qint64 contact = idAt(stmt, 1);
  m_byThread[idAt(stmt, 0)].append(contact);
  const QString nickname = columnText(stmt, 2).trimmed();
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
  FbMessage m;
  m.id = columnText(stmt, 0);
  m.thread = idAt(stmt, 1);
  m.sender = idAt(stmt, 2);
  m.text = columnText(stmt, 3);
  m.timestampMs = sqlite3_column_int64(stmt, 4);
  m.unsent = sqlite3_column_int(stmt, 5) != 0;
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
  FbAttachment a;
  a.fileName = columnText(stmt, 1).trimmed();
  a.title = columnText(stmt, 2).trimmed();
  a.subtitle = columnText(stmt, 3).trimmed();
  m_byMessage[columnText(stmt, 0)].append(a);
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
  const QString keyText = columnText(stmt, 0);
  FbThread t;
  t.key = keyOf(keyText);
  t.name = columnText(stmt, 1).trimmed();
  t.group = !keyText.startsWith(QLatin1String("ONE_TO_ONE:"));
  // [{"user_key": "FACEBOOK:1", "name": "Ann"}, ...] or plain user keys.
  for (const QJsonValue& v : json(columnText(stmt, 2)).array()) {
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
  const qint64 id = orcaUserId(columnText(stmt, 0));
  if (id)
    m_names.insert(id, columnText(stmt, 1).trimmed());
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
  FbMessage m;
  m.id = columnText(stmt, 0);
  m.thread = m_threads->keyOf(columnText(stmt, 1));
  m.text = columnText(stmt, 2);
  const QJsonObject sender = json(columnText(stmt, 3)).object();
  m.sender = orcaUserId(sender.value(QLatin1String("user_key")).toString());
  m.senderName = sender.value(QLatin1String("name")).toString().trimmed();
  m.timestampMs = sqlite3_column_int64(stmt, 4);
  QStringList parts;
  for (const QJsonValue& v : json(columnText(stmt, 5)).array()) {
    const QJsonObject o = v.toObject();
    const QString name = o.value(QLatin1String("filename")).toString().trimmed();
    parts << (name.isEmpty() ? o.value(QLatin1String("mime_type")).toString().trimmed() : name);
  }
  parts.removeAll(QString());
  m.attachmentText = parts.join(QStringLiteral(", "));
  const QJsonObject place = json(columnText(stmt, 6)).object();
  if (place.contains(QLatin1String("latitude")) && place.contains(QLatin1String("longitude"))) {
    m.attachmentText = CChatItemBuilder::locationText(place.value(QLatin1String("latitude")).toDouble(),
                                                      place.value(QLatin1String("longitude")).toDouble(), QString());
    m.location = true;
  }
  m_byThread[m.thread].append(std::move(m));
  ++m_count;
  return true;
}

#include "samples/apps/messenger.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.com.facebook.Messenger");

const char* const kLightspeedSchema[] = {
    "CREATE TABLE _user_info (facebook_user_id INTEGER, user_name TEXT)",
    "CREATE TABLE contacts (id INTEGER PRIMARY KEY, name TEXT, normalized_name_for_search TEXT,"
    " profile_picture_url TEXT, is_messenger_user INTEGER)",
    "CREATE TABLE threads (thread_key INTEGER PRIMARY KEY, thread_type INTEGER, thread_name TEXT,"
    " last_activity_timestamp_ms INTEGER, thread_picture_url TEXT)",
    "CREATE TABLE participants (thread_key INTEGER, contact_id INTEGER, nickname TEXT, is_admin INTEGER,"
    " read_watermark_timestamp_ms INTEGER, PRIMARY KEY (thread_key, contact_id))",
    "CREATE TABLE attachments (message_id TEXT, thread_key INTEGER, attachment_fbid TEXT, filename TEXT,"
    " filesize INTEGER, attachment_type INTEGER, playable_url TEXT, preview_url TEXT, preview_width INTEGER,"
    " preview_height INTEGER, playable_duration_ms INTEGER, title_text TEXT, subtitle_text TEXT)",
    "CREATE TABLE attachment_items (message_id TEXT, title_text TEXT, subtitle_text TEXT)",
};

const char kMessageColumns[] = "(message_id TEXT PRIMARY KEY, thread_key INTEGER, sender_id INTEGER, text TEXT,"
                               " timestamp_ms INTEGER, has_attachment INTEGER, is_unsent INTEGER,"
                               " reply_source_id TEXT)";

QStringList lightspeedSchema(bool messagesAsView) {
  QStringList s;
  for (const char* c : kLightspeedSchema)
    s << QString::fromLatin1(c);
  if (messagesAsView)
    s << QStringLiteral("CREATE TABLE message_rows %1").arg(QLatin1String(kMessageColumns))
      << QStringLiteral("CREATE VIEW thread_messages AS SELECT * FROM message_rows");
  else
    s << QStringLiteral("CREATE TABLE messages %1").arg(QLatin1String(kMessageColumns))
      << QStringLiteral("CREATE INDEX messages_thread ON messages (thread_key, timestamp_ms)");
  return s;
}
} // namespace

QStringList lightspeedStatements(const LightspeedStore& store) {
  QStringList s = lightspeedSchema(store.messagesAsView);
  const char* messages = store.messagesAsView ? "message_rows" : "messages";
  if (store.owner)
    s << sqlf("INSERT INTO _user_info VALUES(%1, 'owner')", store.owner);
  for (const FbContactRow& c : store.contacts)
    s << sqlf("INSERT INTO contacts(id, name, is_messenger_user) VALUES(%1, %2, 1)", c.id, sqlQuotedOrNull(c.name));
  for (const FbThreadRow& t : store.threads) {
    s << sqlf("INSERT INTO threads(thread_key, thread_type, thread_name) VALUES(%1, %2, %3)", t.key, t.type,
              sqlQuotedOrNull(t.name));
    for (qint64 p : t.participants)
      s << sqlf("INSERT INTO participants(thread_key, contact_id) VALUES(%1, %2)", t.key, p);
  }
  for (const FbMessageRow& m : store.messages)
    s << sqlf("INSERT INTO %1(message_id, thread_key, sender_id, text, timestamp_ms, is_unsent) VALUES(%2, %3, %4, %5,"
              " %6, %7)",
              QString::fromLatin1(messages), sqlQuoted(m.id), m.thread, m.sender, sqlQuotedOrNull(m.text),
              m.timestampMs, m.unsent ? 1 : 0);
  for (const FbAttachmentRow& a : store.attachments) {
    if (a.item)
      s << sqlf("INSERT INTO attachment_items VALUES(%1, %2, %3)", sqlQuoted(a.message), sqlQuotedOrNull(a.title),
                sqlQuotedOrNull(a.subtitle));
    else
      s << sqlf("INSERT INTO attachments(message_id, filename, title_text, subtitle_text) VALUES(%1, %2, %3, %4)",
                sqlQuoted(a.message), sqlQuotedOrNull(a.fileName), sqlQuotedOrNull(a.title),
                sqlQuotedOrNull(a.subtitle));
  }
  return s;
}

QStringList orcaStatements(const OrcaStore& store) {
  QStringList s{
      QStringLiteral("CREATE TABLE threads (thread_key TEXT PRIMARY KEY, name TEXT, participants TEXT,"
                     " timestamp_ms INTEGER)"),
      QStringLiteral("CREATE TABLE thread_users (user_key TEXT PRIMARY KEY, name TEXT, profile_pic_square TEXT)"),
      QStringLiteral("CREATE TABLE messages (msg_id TEXT PRIMARY KEY, thread_key TEXT, text TEXT, sender TEXT,"
                     " timestamp_ms INTEGER, attachments TEXT, coordinates TEXT)")};
  for (const OrcaThreadRow& t : store.threads)
    s << sqlf("INSERT INTO threads(thread_key, name, participants) VALUES(%1, %2, %3)", sqlQuoted(t.key),
              sqlQuotedOrNull(t.name), sqlQuotedOrNull(t.participants));
  for (const auto& u : store.users)
    s << sqlf("INSERT INTO thread_users(user_key, name) VALUES(%1, %2)", sqlQuoted(u.first), sqlQuotedOrNull(u.second));
  for (const OrcaMessageRow& m : store.messages)
    s << sqlf("INSERT INTO messages VALUES(%1, %2, %3, %4, %5, %6, %7)", sqlQuoted(m.id), sqlQuoted(m.thread),
              sqlQuotedOrNull(m.text), sqlQuotedOrNull(m.sender), m.timestampMs, sqlQuotedOrNull(m.attachments),
              sqlQuotedOrNull(m.coordinates));
  return s;
}

QList<StoredFile> sampleMessengerFiles() {
  const qint64 owner = 100004567890123LL;
  const qint64 lena = 100001111111111LL;
  const qint64 omar = 100002222222222LL;
  const qint64 group = 7340000000000001LL;
  LightspeedStore s;
  s.owner = owner;
  s.contacts = {{owner, QStringLiteral("Sam Owner")}, {lena, QStringLiteral("Lena Fischer")},
                {omar, QStringLiteral("Omar Haddad")}};
  s.threads = {{lena, 1, QString(), {owner, lena}}, {group, 2, QStringLiteral("Book club"), {owner, lena, omar}}};
  const qint64 t = 1690296919000LL; // 2023-07-25 14:55:19 UTC
  s.messages = {
      {QStringLiteral("mid.$a1"), lena, lena, t, QStringLiteral("Did you finish the book?"), false},
      {QStringLiteral("mid.$a2"), lena, owner, t + 60000, QStringLiteral("Almost, two chapters left"), false},
      {QStringLiteral("mid.$a3"), lena, lena, t + 120000, QString(), false},  // a picture
      {QStringLiteral("mid.$a4"), lena, owner, t + 180000, QString(), false}, // a call line
      {QStringLiteral("mid.$a5"), lena, lena, t + 240000, QString(), true},   // unsent
      {QStringLiteral("mid.$b1"), group, omar, t + 300000, QStringLiteral("Next meeting:"), false},
      {QStringLiteral("mid.$b2"), group, owner, t + 360000, QStringLiteral("Thursday works for me"), false},
  };
  s.attachments = {
      {QStringLiteral("mid.$a3"), QStringLiteral("image-8812.jpg"), QString(), QString(), false},
      {QStringLiteral("mid.$a4"), QString(), QStringLiteral("Audio call"), QStringLiteral("4 mins"), false},
      {QStringLiteral("mid.$b1"), QString(), QStringLiteral("Reading list 2023"), QStringLiteral("example.org"), true},
  };
  QByteArray db;
  QString error;
  QList<StoredFile> files;
  if (!makeSqliteDb(lightspeedStatements(s), false, &db, nullptr, &error)) {
    qWarning("Messenger store: %s", qPrintable(error));
    return files;
  }
  const QByteArray jpeg = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000ffd9");
  files << file(kGroupDomain, QStringLiteral("lightspeed-userDatabases/%1.db").arg(owner), db)
        << file(kGroupDomain,
                QStringLiteral("lightspeed-TAMStorage/media_bank/AdvancedCrypto/7f3a/persistent/image-8812.jpg"), jpeg);
  return files;
}

bool writeMessengerDatabase(const QString& path, int chats, int messages, QString* error) {
  QStringList statements = lightspeedSchema(false);
  const qint64 owner = 100000000000000LL;
  statements << sqlf("INSERT INTO _user_info VALUES(%1, 'owner')", owner);
  // Contact i is thread i's partner; the thread is keyed by the partner's id.
  statements << sqlf("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                     " INSERT INTO contacts(id, name) SELECT %2 + i, 'Contact ' || i FROM n;"
                     "INSERT INTO threads(thread_key, thread_type) SELECT id, 1 FROM contacts;"
                     "INSERT INTO participants(thread_key, contact_id) SELECT id, id FROM contacts;"
                     "INSERT INTO participants(thread_key, contact_id) SELECT id, %2 FROM contacts;",
                     chats, owner);
  // Every other message is the owner's; every fiftieth carries a picture.
  statements << sqlf("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                     " INSERT INTO messages(message_id, thread_key, sender_id, text, timestamp_ms, is_unsent)"
                     " SELECT 'mid.$' || i, %3 + (i % %2) + 1, CASE WHEN i % 2 = 0 THEN %3 ELSE %3 + (i % %2) + 1 END,"
                     " 'Message number ' || i || ' of a long conversation', 1600000000000 + i * 7500, 0 FROM n;"
                     "INSERT INTO attachments(message_id, filename) SELECT message_id,"
                     " 'image-' || substr(message_id, 6) || '.jpg' FROM messages WHERE substr(message_id, 6) % 50 = 0;",
                     messages, chats, owner);
  return writeSqliteFile(path, statements, error);
}

} // namespace fixture

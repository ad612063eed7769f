#include "samples/apps/kik.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
const QString kDomain = QStringLiteral("AppDomainGroup-group.com.kik.chat");

// The schema of the app's store (indexes left out).
const char* const kSchema[] = {
    "CREATE TABLE ZKIKATTACHMENT ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZFLAGS INTEGER,"
    " ZINTERNALID INTEGER, ZRETRYCOUNT INTEGER, ZSTATE INTEGER, ZTYPE INTEGER, ZEXTRA INTEGER, ZMESSAGE INTEGER,"
    " ZLASTACCESSTIMESTAMP TIMESTAMP, ZTIMESTAMP TIMESTAMP, ZCONTENT VARCHAR )",
    "CREATE TABLE ZKIKATTACHMENTEXTRA ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZATTACHMENT INTEGER,"
    " ZENCRYPTIONKEY BLOB )",
    "CREATE TABLE ZKIKCHAT ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZFLAGS INTEGER,"
    " ZDRAFTMESSAGE INTEGER, ZEXTRA INTEGER, ZLASTMESSAGE INTEGER, ZUSER INTEGER, ZDATEUPDATED TIMESTAMP )",
    "CREATE TABLE Z_3MESSAGES ( Z_3CHAT INTEGER, Z_5MESSAGES INTEGER, PRIMARY KEY (Z_3CHAT, Z_5MESSAGES) )",
    "CREATE TABLE ZKIKCHATEXTRA ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZCHAT INTEGER,"
    " ZLASTSEENMESSAGE INTEGER, ZMUTEDTIMESTAMP TIMESTAMP )",
    "CREATE TABLE ZKIKMESSAGE ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZFLAGS INTEGER,"
    " ZINTERNALID INTEGER, ZSTATE INTEGER, ZSYSTEMSTATE INTEGER, ZTYPE INTEGER, ZCHATEXTRA INTEGER,"
    " ZDRAFTMESSAGECHAT INTEGER, ZLASTMESSAGECHAT INTEGER, ZLASTMESSAGEUSER INTEGER, ZUSER INTEGER,"
    " ZRECEIVEDTIMESTAMP TIMESTAMP, ZTIMESTAMP TIMESTAMP, ZBODY VARCHAR, ZSTANZAID VARCHAR,"
    " ZRENDERINSTRUCTIONSET BLOB )",
    "CREATE TABLE ZKIKUSER ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZADDRESSBOOKID INTEGER,"
    " ZFLAGS INTEGER, ZINTERNALID INTEGER, ZPRESENCE INTEGER, ZTYPE INTEGER, ZCHATUSER INTEGER, ZEXTRA INTEGER,"
    " ZLASTMESSAGE INTEGER, ZDISPLAYNAME VARCHAR, ZDISPLAYNAMEASCII VARCHAR, ZEMAIL VARCHAR, ZFIRSTNAME VARCHAR,"
    " ZGROUPTAG VARCHAR, ZJID VARCHAR, ZLASTNAME VARCHAR, ZPPTIMESTAMP VARCHAR, ZPPURL VARCHAR, ZSTATUS VARCHAR,"
    " ZUSERNAME VARCHAR, ZCONTENTLINKSPROTODATA BLOB )",
    "CREATE TABLE Z_6BANSINVERSE ( Z_6BANS INTEGER, Z_6BANSINVERSE INTEGER, PRIMARY KEY (Z_6BANS, Z_6BANSINVERSE) )",
    "CREATE TABLE Z_6ADMINSINVERSE ( Z_6ADMINS INTEGER, Z_6ADMINSINVERSE INTEGER,"
    " PRIMARY KEY (Z_6ADMINS, Z_6ADMINSINVERSE) )",
    "CREATE TABLE Z_6MEMBERS ( Z_6MEMBERSINVERSE INTEGER, Z_6MEMBERS INTEGER,"
    " PRIMARY KEY (Z_6MEMBERSINVERSE, Z_6MEMBERS) )",
    "CREATE TABLE ZKIKUSEREXTRA ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZLOCALFLAGS INTEGER,"
    " ZUSER INTEGER, ZPUBLICMESSAGINGKEY BLOB )",
    "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, Z_MAX INTEGER)",
    "CREATE TABLE Z_METADATA (Z_VERSION INTEGER PRIMARY KEY, Z_UUID VARCHAR(255), Z_PLIST BLOB)",
    "CREATE INDEX ZKIKMESSAGE_ZUSER_INDEX ON ZKIKMESSAGE (ZUSER)",
    "CREATE INDEX ZKIKATTACHMENT_ZMESSAGE_INDEX ON ZKIKATTACHMENT (ZMESSAGE)",
};

QStringList schema() {
  QStringList statements;
  for (const char* s : kSchema)
    statements << QString::fromLatin1(s);
  statements << QStringLiteral("INSERT INTO Z_PRIMARYKEY VALUES(1, 'KikAttachment', 0, 0), (2, 'KikAttachmentExtra',"
                               " 0, 0), (3, 'KikChat', 0, 0), (4, 'KikChatExtra', 0, 0), (5, 'KikMessage', 0, 0),"
                               " (6, 'KikUser', 0, 0), (7, 'KikUserExtra', 0, 0)");
  return statements;
}
} // namespace

QStringList kikStatements(const KikStore& store) {
  QStringList s = schema();
  for (const KikUserRow& u : store.users)
    s << sqlf("INSERT INTO ZKIKUSER(Z_PK, Z_ENT, Z_OPT, ZFLAGS, ZDISPLAYNAME, ZJID) VALUES(%1, 6, 1, %2, %3, %4)", u.pk,
              u.flags, sqlNullable(u.displayName), sqlNullable(u.jid));
  for (const auto& c : store.chats)
    s << sqlf("INSERT INTO ZKIKCHAT(Z_PK, Z_ENT, Z_OPT, ZFLAGS, ZUSER) VALUES(%1, 3, 1, 18, %2)", c.first, c.second);
  for (const auto& l : store.chatMessages)
    s << sqlf("INSERT INTO Z_3MESSAGES VALUES(%1, %2)", l.first, l.second);
  for (const auto& m : store.members)
    s << sqlf("INSERT INTO Z_6MEMBERS VALUES(%1, %2)", m.first, m.second);
  for (const KikAttachmentRow& a : store.attachments)
    s << sqlf("INSERT INTO ZKIKATTACHMENT(Z_PK, Z_ENT, Z_OPT, ZTYPE, ZMESSAGE, ZCONTENT) VALUES(%1, 1, 1, %2, %3, %4)",
              a.pk, a.type, a.message, sqlNullable(a.content));
  for (const KikMessageRow& m : store.messages)
    s << sqlf("INSERT INTO ZKIKMESSAGE(Z_PK, Z_ENT, Z_OPT, ZTYPE, ZSTATE, ZFLAGS, ZUSER, ZTIMESTAMP, ZBODY)"
              " VALUES(%1, 5, 1, %2, %3, %4, %5, %6, %7)",
              m.pk, m.type, m.state, m.flags, m.user, QString::number(m.timestamp, 'f', 6), sqlQuotedOrNull(m.body));
  return s;
}

QList<StoredFile> kikFiles(const KikStore& store, const QString& account,
                           const QList<QPair<QString, QByteArray>>& extraFiles) {
  const QString folder = QStringLiteral("cores/private/%1/").arg(account);
  QByteArray db, wal;
  QString error;
  QList<StoredFile> files;
  if (!makeSqliteDb(kikStatements(store), true, &db, &wal, &error)) {
    qWarning("kik.sqlite: %s", qPrintable(error));
    return files;
  }
  files << file(kDomain, folder + QStringLiteral("kik.sqlite"), db)
        << file(kDomain, folder + QStringLiteral("kik.sqlite-wal"), wal);
  for (const auto& extra : extraFiles)
    files << file(kDomain, folder + extra.first, extra.second);
  return files;
}

QList<StoredFile> sampleKikFiles() {
  KikStore s;
  s.users = {{1, QStringLiteral("Sam Owner"), QStringLiteral("sam_owner_q1x@talk.kik.com"), 258},
             {2, QStringLiteral("Kik Team"), QStringLiteral("kikteam@talk.kik.com"), 385},
             {3, QStringLiteral("Ann Lee"), QStringLiteral("ann_lee_k2p@talk.kik.com"), 257},
             {4, QStringLiteral("Bob Stone"), QStringLiteral("bobstone_x7d@talk.kik.com"), 257},
             {5, QStringLiteral("Weekend trip"), QStringLiteral("1100024090445_g@groups.kik.com"), 9}};
  s.chats = {{1, 2}, {2, 3}, {3, 5}};
  s.members = {{5, 3}, {5, 4}};
  const double t = 700000000; // 2023-03-08 20:26:40 UTC
  s.messages = {
      {1, 1, 16, 0, 2, t, QStringLiteral("Welcome to Kik!")},
      {2, 2, 94, 0, 3, t + 60, QStringLiteral("Hi Ann, are you coming on Saturday?")},
      {3, 1, 16, 0, 3, t + 120, QStringLiteral("Yes! I'll bring the map.")},
      {4, 1, 16, 4, 3, t + 180, QStringLiteral("7c0f1b52-3d0e-4a8e-9a57-2f4e6c1d8b10")},
      {5, 2, 2, 0, 3, t + 240, QStringLiteral("Great, see you")},
      {6, 3, 0, 0, 5, t + 300, QStringLiteral("You started a group")},
      {7, 4, 0, 0, 4, t + 310, QStringLiteral("Bob Stone has joined the chat")},
      {8, 1, 16, 0, 4, t + 400, QStringLiteral("Who's driving?")},
      {9, 1, 16, 0, 3, t + 460, QStringLiteral("Me, I have the van")},
      {10, 1, 16, 4, 4, t + 500, QStringLiteral("e3a1d2c4-5b6f-4789-8a0b-1c2d3e4f5a6b")},
      {11, 2, 30, 0, 5, t + 560, QStringLiteral("Perfect")},
  };
  s.chatMessages = {{1, 1}, {2, 2}, {2, 3}, {2, 4}, {2, 5}, {3, 6}, {3, 7}, {3, 8}, {3, 9}, {3, 10}, {3, 11}};
  s.attachments = {{1, 6, 4, QStringLiteral("7c0f1b52-3d0e-4a8e-9a57-2f4e6c1d8b10")},
                   {2, 7, 10, QStringLiteral("e3a1d2c4-5b6f-4789-8a0b-1c2d3e4f5a6b")}};

  // Descriptors are property lists with the content's app id and an
  // embedded thumbnail; the full files are the picture and the video.
  const QByteArray jpeg = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000ffd9");
  const QByteArray mp4 = QByteArray::fromHex("000000186674797069736f6d0000020069736f6d6d703432") + QByteArray(64, '\0');
  const QByteArray picDescriptor = QByteArray("bplist00 app-id com.kik.ext.gallery image ") + jpeg;
  const QByteArray videoDescriptor = QByteArray("bplist00 app-id com.kik.ext.video-gallery image ") + jpeg;
  return kikFiles(s, QStringLiteral("5c9e2f3a8b"),
                  {{QStringLiteral("attachments/7c0f1b52-3d0e-4a8e-9a57-2f4e6c1d8b10"), picDescriptor},
                   {QStringLiteral("content_manager/data_cache/7c0f1b52-3d0e-4a8e-9a57-2f4e6c1d8b10"), jpeg},
                   {QStringLiteral("attachments/e3a1d2c4-5b6f-4789-8a0b-1c2d3e4f5a6b"), videoDescriptor},
                   {QStringLiteral("content_manager/data_cache/e3a1d2c4-5b6f-4789-8a0b-1c2d3e4f5a6b"), mp4},
                   {QStringLiteral("profpix/thumb_ann_lee_k2p@talk.kik.com"), jpeg}});
}

bool writeKikDatabase(const QString& path, int chats, int messages, QString* error) {
  QStringList statements = schema();
  // Users 1..chats are the partners, user 0 the owner.
  statements << (QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                                " INSERT INTO ZKIKUSER(Z_PK, ZDISPLAYNAME, ZJID, ZFLAGS) SELECT i, 'User ' || i,"
                                " 'user' || i || '_abc@talk.kik.com', 257 FROM n;"
                                "INSERT INTO ZKIKCHAT(Z_PK, ZUSER, ZFLAGS) SELECT Z_PK, Z_PK, 18 FROM ZKIKUSER;")
                     .arg(chats));
  // Message i belongs to chat (i % chats) + 1; every tenth is sent, every
  // fiftieth an attachment; the time stamps rise with the key.
  statements << (QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                                " INSERT INTO ZKIKMESSAGE(Z_PK, ZTYPE, ZSTATE, ZFLAGS, ZUSER, ZTIMESTAMP, ZBODY)"
                                " SELECT i, CASE WHEN i % 10 = 0 THEN 2 ELSE 1 END, 16,"
                                " CASE WHEN i % 50 = 0 THEN 4 ELSE 0 END, (i % %2) + 1, 600000000 + i * 7.5,"
                                " 'Message number ' || i || ' of a long conversation' FROM n;"
                                "INSERT INTO Z_3MESSAGES SELECT ZUSER, Z_PK FROM ZKIKMESSAGE;"
                                "INSERT INTO ZKIKATTACHMENT(Z_PK, ZTYPE, ZMESSAGE, ZCONTENT) SELECT Z_PK, 6, Z_PK,"
                                " 'content-' || Z_PK FROM ZKIKMESSAGE WHERE ZFLAGS = 4;")
                     .arg(messages)
                     .arg(chats));
  return writeSqliteFile(path, statements, error);
}

} // namespace fixture

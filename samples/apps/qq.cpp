#include "samples/apps/qq.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
const QString kDomain = QStringLiteral("AppDomain-com.tencent.mqq");

const char* const kSchema[] = {
    "CREATE TABLE tb_userSummary (uin TEXT PRIMARY KEY, nick TEXT, remark TEXT, contactName TEXT, mobileNum TEXT,"
    " country TEXT, city TEXT, isShowlog INTEGER, isNative INTEGER)",
    "CREATE TABLE tb_troop (groupCode TEXT PRIMARY KEY, groupName TEXT, groupMemNum INTEGER)",
    "CREATE TABLE tb_TroopMem (GroupCode TEXT, MemUin TEXT, nick TEXT, Age INTEGER, JoinTime INTEGER,"
    " LastSpeakTime INTEGER, gender INTEGER)",
    "CREATE TABLE tb_c2cTables (uin TEXT PRIMARY KEY)",
    "CREATE TABLE tb_recentC2CMsg (uin TEXT, time INTEGER, content TEXT)",
};
const char kFriendTable[] =
    "CREATE TABLE %1 (msgId INTEGER PRIMARY KEY, uin TEXT, time INTEGER, content TEXT, type INTEGER,"
    " flag INTEGER, read INTEGER, picUrl TEXT, nickName TEXT)";
const char kGroupTable[] =
    "CREATE TABLE %1 (msgId INTEGER PRIMARY KEY, SendUin TEXT, MsgTime INTEGER, strMsg TEXT, sMsgType INTEGER,"
    " read INTEGER, picUrl TEXT, nickName TEXT)";

QStringList schema() {
  QStringList s;
  for (const char* statement : kSchema)
    s << QString::fromLatin1(statement);
  return s;
}

QString tableOf(const QString& chat) {
  return (chat.startsWith(QLatin1Char('g')) ? QStringLiteral("tb_TroopMsg_") : QStringLiteral("tb_c2cMsg_")) + chat.mid(1);
}
} // namespace

QStringList qqStatements(const QQAccount& a) {
  QStringList s = schema();
  for (const QQFriendRow& f : a.friends)
    s << sqlf("INSERT INTO tb_userSummary(uin, nick, remark) VALUES(%1, %2, %3)", sqlQuoted(f.uin), sqlQuoted(f.nick),
              sqlQuotedOrNull(f.remark));
  for (const auto& g : a.groups)
    s << sqlf("INSERT INTO tb_troop VALUES(%1, %2, 0)", sqlQuoted(g.first), sqlQuoted(g.second));
  for (const auto& m : a.groupMembers)
    s << sqlf("INSERT INTO tb_TroopMem(GroupCode, MemUin, nick) VALUES(%1, %2, %3)", sqlQuoted(m.first),
              sqlQuoted(m.second.uin), sqlQuoted(m.second.nick));
  QStringList tables;
  for (const QQMessageRow& m : a.messages) {
    const QString table = tableOf(m.chat);
    const bool group = m.chat.startsWith(QLatin1Char('g'));
    if (!tables.contains(table)) {
      tables << table;
      s << QString::fromLatin1(group ? kGroupTable : kFriendTable).arg(table);
      if (!group)
        s << sqlf("INSERT INTO tb_c2cTables VALUES(%1)", sqlQuoted(table));
    }
    const QString content = QStringLiteral("CAST(X'%1' AS TEXT)").arg(QString::fromLatin1(m.content.toHex()));
    if (group)
      s << sqlf("INSERT INTO %1(SendUin, MsgTime, strMsg, sMsgType, read, picUrl, nickName)"
                " VALUES(%2, %3, %4, %5, 1, %6, %7)",
                table, sqlQuoted(m.sender), m.time, content, m.type, sqlQuotedOrNull(m.picUrl),
                sqlQuotedOrNull(m.nickName));
    else
      s << sqlf("INSERT INTO %1(uin, time, content, type, flag, read, picUrl) VALUES(%2, %3, %4, %5, %6, 1, %7)", table,
                sqlQuoted(m.sender), m.time, content, m.type, m.flag, sqlQuotedOrNull(m.picUrl));
  }
  return s;
}

QList<StoredFile> qqFiles(const QQAccount& a) {
  QByteArray db;
  QString error;
  QList<StoredFile> files;
  if (!makeSqliteDb(qqStatements(a), false, &db, nullptr, &error)) {
    qWarning("QQ.db: %s", qPrintable(error));
    return files;
  }
  files << file(kDomain, QStringLiteral("Documents/contents/%1/QQ.db").arg(a.uin), db);
  for (const auto& f : a.files)
    files << file(kDomain, QStringLiteral("Documents/%1/").arg(a.uin) + f.first, f.second);
  return files;
}

QList<StoredFile> sampleQQFiles() {
  const qint64 t = 1678190000;
  QQAccount a;
  a.uin = QStringLiteral("10001");
  a.friends = {{QStringLiteral("20002"), QStringLiteral("xiaoming"), QStringLiteral("Ming Li")},
               {QStringLiteral("20003"), QStringLiteral("Jade"), QString()}};
  a.groups = {{QStringLiteral("30003"), QStringLiteral("Book club")}};
  a.groupMembers = {{QStringLiteral("30003"), {QStringLiteral("20003"), QStringLiteral("Jade W."), QString()}},
                    {QStringLiteral("30003"), {QStringLiteral("10001"), QStringLiteral("Me"), QString()}}};
  const QString md5 = QStringLiteral("0f343b0931126a20f133d67c2b018a3b");
  a.messages = {
      {QStringLiteral("c20002"), QStringLiteral("20002"), t, 0, 1, "Did you get the tickets?", {}, {}},
      {QStringLiteral("c20002"), QStringLiteral("20002"), t + 60, 0, 0, "Yes, two of them", {}, {}},
      {QStringLiteral("c20002"), QStringLiteral("20002"), t + 120, 1, 0, "",
       QStringLiteral("[{\"md5\":\"%1\"}]").arg(md5), {}},
      {QStringLiteral("c20002"), QStringLiteral("20002"), t + 180, 3, 1, "voice_0415+1", {}, {}},
      {QStringLiteral("c20002"), QStringLiteral("20002"), t + 240, 4, 1, "seats.pdf||||||||1024", {}, {}},
      {QStringLiteral("g30003"), QStringLiteral("20003"), t + 300, 0, 1, "Next book: Dune", {}, QStringLiteral("Jade")},
      {QStringLiteral("g30003"), QStringLiteral("10001"), t + 360, 0, 1, "Great choice", {}, {}},
  };
  a.files = {{QStringLiteral("image_original/%1.png").arg(md5), QByteArray::fromHex("89504e470d0a1a0a0000000d49484452")},
             {QStringLiteral("image_thumbnail/%1.png").arg(md5), QByteArray::fromHex("89504e470d0a1a0a")},
             {QStringLiteral("Audio/voice_0415.amr"), QByteArray("#!AMR\n\x3c", 7)},
             {QStringLiteral("FileRecv/seats.pdf"), QByteArray("%PDF-1.4\n%%EOF\n")}};
  return qqFiles(a);
}

bool writeQQDatabase(const QString& path, int chats, int messages, QString* error) {
  QStringList statements = schema();
  const int perChat = chats > 0 ? messages / chats : 0;
  for (int c = 0; c < chats; ++c) {
    const QString uin = QString::number(100000 + c);
    const QString table = QStringLiteral("tb_c2cMsg_") + uin;
    statements << sqlf("INSERT INTO tb_userSummary(uin, nick) VALUES(%1, %2)", sqlQuoted(uin),
                       sqlQuoted(QStringLiteral("Friend ") + uin))
               << QString::fromLatin1(kFriendTable).arg(table)
               // Every other message is the owner's; every fiftieth a picture.
               << sqlf("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                       " INSERT INTO %2(uin, time, content, type, flag, read, picUrl) SELECT %3, 1600000000 + i * 60,"
                       " 'Message number ' || i || ' of a long chat', CASE WHEN i % 50 = 0 THEN 1 ELSE 0 END, i % 2, 1,"
                       " CASE WHEN i % 50 = 0 THEN '[{\"md5\":\"00112233445566778899aabbccddeeff\"}]' END FROM n",
                       perChat, table, sqlQuoted(uin));
  }
  return writeSqliteFile(path, statements, error);
}

} // namespace fixture

#include "samples/apps/wechat.h"

#include "samples/sqlitefile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace fixture {
namespace {
const QString kDomain = QStringLiteral("AppDomain-com.tencent.xin");

const char kFriendTable[] =
    "CREATE TABLE Friend (userName TEXT PRIMARY KEY, type INTEGER DEFAULT 0, certificationFlag INTEGER DEFAULT 0,"
    " imgStatus INTEGER DEFAULT 0, encodeUserName TEXT, dbContactLocal BLOB, dbContactOther BLOB,"
    " dbContactRemark BLOB, dbContactHeadImage BLOB, dbContactProfile BLOB, dbContactSocial BLOB,"
    " dbContactChatRoom BLOB, dbContactBrand BLOB)";
const char kChatTable[] =
    "CREATE TABLE %1 (TableVer INTEGER DEFAULT 1, MesLocalID INTEGER PRIMARY KEY AUTOINCREMENT,"
    " MesSvrID INTEGER DEFAULT 0, CreateTime INTEGER DEFAULT 0, Message TEXT, Status INTEGER DEFAULT 0,"
    " ImgStatus INTEGER DEFAULT 0, Type INTEGER, Des INTEGER)";

// One length-delimited protobuf field (numbers and lengths below 128).
QByteArray pbField(int number, const QByteArray& value) {
  QByteArray out;
  if (value.isEmpty())
    return out;
  out.append(char(number << 3 | 2));
  int n = value.size();
  while (n >= 0x80) {
    out.append(char((n & 0x7f) | 0x80));
    n >>= 7;
  }
  out.append(char(n));
  return out + value;
}

QString blob(const QByteArray& bytes) {
  return bytes.isEmpty() ? QStringLiteral("NULL") : QStringLiteral("X'%1'").arg(QString::fromLatin1(bytes.toHex()));
}

// Text stored byte for byte, valid UTF-8 or not.
QString textBytes(const QByteArray& bytes) {
  return QStringLiteral("CAST(X'%1' AS TEXT)").arg(QString::fromLatin1(bytes.toHex()));
}

QString chatTable(const QString& userName) { return QStringLiteral("Chat_") + wechatMd5(userName); }

QByteArray db(const QStringList& statements) {
  QByteArray bytes;
  QString error;
  if (!makeSqliteDb(statements, false, &bytes, nullptr, &error))
    qWarning("WeChat database: %s", qPrintable(error));
  return bytes;
}
} // namespace

QString wechatMd5(const QString& userName) {
  return QString::fromLatin1(QCryptographicHash::hash(userName.toUtf8(), QCryptographicHash::Md5).toHex());
}

bool WechatFolder::write(const QList<StoredFile>& files) const {
  for (const StoredFile& f : files) {
    const QString path = QDir(m_root).filePath(f.relativePath);
    QFile out(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !out.open(QIODevice::WriteOnly) || out.write(f.data) != f.data.size())
      return false;
  }
  return true;
}

QStringList WechatFolder::files() {
  QStringList paths;
  const QDir root(m_root);
  QDirIterator it(m_root, QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext())
    paths << root.relativeFilePath(it.next());
  return paths;
}

QString WechatFolder::localPath(const QString& relativePath) {
  const QString path = QDir(m_root).filePath(relativePath);
  return QFileInfo::exists(path) ? path : QString();
}

QStringList wechatContactStatements(const QList<WechatContact>& contacts) {
  QStringList s{QString::fromLatin1(kFriendTable)};
  for (const WechatContact& c : contacts) {
    const QByteArray remark =
        pbField(1, c.nickName.toUtf8()) + pbField(2, c.alias.toUtf8()) + pbField(3, c.remark.toUtf8());
    const QByteArray head = pbField(2, "https://example.invalid/" + c.userName.toUtf8() + "/132");
    QByteArray room;
    if (!c.members.isEmpty()) {
      QByteArray xml = "<RoomData>";
      for (const auto& m : c.members)
        xml += "<Member UserName=\"" + m.first.toUtf8() + "\"><DisplayName>" + m.second.toUtf8() +
               "</DisplayName></Member>";
      room = pbField(6, xml + "</RoomData>");
    }
    s << sqlf("INSERT INTO Friend(userName, type, dbContactRemark, dbContactHeadImage, dbContactChatRoom)"
              " VALUES(%1, %2, %3, %4, %5)",
              sqlQuoted(c.userName), c.members.isEmpty() ? 3 : 2, blob(remark), blob(head), blob(room));
  }
  return s;
}

QStringList wechatMessageStatements(const WechatAccount& account, int database) {
  QStringList s;
  if (database == 0 && !account.newLayout)
    s << wechatContactStatements(account.contacts);
  QStringList tables;
  for (const WechatMessage& m : account.messages) {
    if (m.database != database)
      continue;
    const QString table = chatTable(m.chat);
    if (!tables.contains(table)) {
      tables << table;
      s << QString::fromLatin1(kChatTable).arg(table);
    }
    s << sqlf("INSERT INTO %1(MesLocalID, MesSvrID, CreateTime, Message, Status, Type, Des)"
              " VALUES(%2, %3, %4, %5, 2, %6, %7)",
              table, m.localId, 7000000 + m.localId, m.createTime, textBytes(m.text), m.type, m.fromMe ? 0 : 1);
  }
  return s;
}

QList<StoredFile> wechatFiles(const WechatAccount& account) {
  const QString folder = QStringLiteral("Documents/%1/").arg(wechatMd5(account.userName));
  QList<StoredFile> files;
  int last = 0;
  for (const WechatMessage& m : account.messages)
    last = qMax(last, m.database);
  for (int n = 0; n <= last; ++n) {
    const QString name = n == 0 ? QStringLiteral("MM.sqlite") : QStringLiteral("message_%1.sqlite").arg(n);
    files << file(kDomain, folder + QStringLiteral("DB/") + name, db(wechatMessageStatements(account, n)));
  }
  if (account.newLayout)
    files << file(kDomain, folder + QStringLiteral("DB/WCDB_Contact.sqlite"),
                  db(wechatContactStatements(account.contacts)));
  if (!account.sessions.isEmpty()) {
    QStringList s{QStringLiteral("CREATE TABLE SessionAbstract (UsrName TEXT, CreateTime INTEGER, unreadcount "
                                 "INTEGER, ConStrRes1 TEXT)")};
    for (const QString& name : account.sessions)
      s << sqlf("INSERT INTO SessionAbstract VALUES(%1, 1600000000, 0, NULL)", sqlQuoted(name));
    files << file(kDomain, folder + QStringLiteral("session/session.db"), db(s));
  }
  for (const auto& f : account.files)
    files << file(kDomain, folder + f.first, f.second);
  return files;
}

QList<StoredFile> sampleWechatFiles() {
  const qint64 t = 1678180000; // 2023-03-07 09:06:40 UTC
  WechatAccount older;
  older.userName = QStringLiteral("wxid_sample_owner");
  older.contacts = {
      {QStringLiteral("wxid_ann"), QStringLiteral("Ann"), QStringLiteral("ann88"), QStringLiteral("Ann Lee"), {}},
      {QStringLiteral("wxid_bob"), QStringLiteral("Bob Wu"), QString(), QString(), {}},
      {QStringLiteral("2233445566@chatroom"), QStringLiteral("Hiking club"), QString(), QString(),
       {{QStringLiteral("wxid_ann"), QStringLiteral("Annie")}, {QStringLiteral("wxid_bob"), QString()}}},
  };
  const QString ann = QStringLiteral("wxid_ann");
  const QString room = QStringLiteral("2233445566@chatroom");
  older.messages = {
      {ann, 1, t, false, 1, "Hi, are you coming on Saturday?"},
      {ann, 2, t + 60, true, 1, "Yes! Here is the map"},
      {ann, 3, t + 120, true, 3, "<msg><img length=\"1234\"/></msg>"},
      {ann, 4, t + 180, false, 34, "<msg><voicemsg voicelength=\"4200\" voiceformat=\"4\"/></msg>"},
      {ann, 5, t + 240, true, 48,
       "<msg><location x=\"39.9042\" y=\"116.4074\" label=\"Dongcheng, Beijing\" poiname=\"Trailhead\"/></msg>"},
      {room, 1, t + 300, false, 10000, "\"Ann\" invited \"Bob Wu\" to the group chat"},
      {room, 2, t + 360, false, 1, "wxid_ann:\nMeet at 8?"},
      {room, 3, t + 420, false, 49,
       "wxid_bob:\n<msg><appmsg><title>route.pdf</title><type>6</type><appattach><fileext>pdf</fileext>"
       "</appattach></appmsg></msg>"},
      {room, 4, t + 480, true, 49,
       "<msg><appmsg><title>Weather this weekend</title><type>5</type>"
       "<url>https://example.invalid/weather</url></appmsg></msg>"},
      // A chat with someone no longer among the contacts: named by its hash.
      {QStringLiteral("wxid_stranger"), 1, t + 540, false, 1, "Is the bike still for sale?"},
  };
  const QByteArray jpeg = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000ffd9");
  const QString annHash = wechatMd5(ann);
  older.files = {{QStringLiteral("Img/%1/3.pic").arg(annHash), jpeg},
                 {QStringLiteral("Img/%1/3.pic_thum").arg(annHash), jpeg},
                 {QStringLiteral("Audio/%1/4.aud").arg(annHash), QByteArray("\x02#!SILK_V3\x0c\x00", 12)},
                 {QStringLiteral("OpenData/%1/3.pdf").arg(wechatMd5(room)), QByteArray("%PDF-1.4\n%%EOF\n")}};

  // The newer layout: contacts apart, one chat split over two databases.
  WechatAccount newer;
  newer.userName = QStringLiteral("wxid_sample_work");
  newer.newLayout = true;
  const QString carl = QStringLiteral("wxid_carl");
  newer.contacts = {{carl, QStringLiteral("Carl"), QString(), QStringLiteral("Carl (office)"), {}}};
  newer.messages = {
      {carl, 1, t + 600, false, 1, "The report is due Friday", 0},
      {carl, 2, t + 660, true, 49,
       "<msg><appmsg><title>Transfer</title><type>2000</type><wcpayinfo><feedesc>\xc2\xa5" "50.00</feedesc>"
       "<pay_memo>lunch</pay_memo></wcpayinfo></appmsg></msg>", 1},
      {carl, 3, t + 720, false, 10002,
       "<sysmsg type=\"revokemsg\"><revokemsg><replacemsg>\"Carl\" recalled a message</replacemsg>"
       "</revokemsg></sysmsg>", 1},
  };
  newer.sessions = QStringList{carl};

  QList<StoredFile> files = wechatFiles(older) + wechatFiles(newer);
  // An account folder left without its databases.
  files << file(kDomain, QStringLiteral("Documents/%1/mmsetting.archive").arg(wechatMd5(QStringLiteral("wxid_gone"))),
                QByteArray("bplist00"));
  return files;
}

bool writeWechatDatabase(const QString& path, int chats, int messages, QString* error) {
  QStringList statements{QString::fromLatin1(kFriendTable)};
  const int perChat = chats > 0 ? messages / chats : 0;
  for (int c = 0; c < chats; ++c) {
    const QString user = QStringLiteral("wxid_bench%1").arg(c);
    const QString table = chatTable(user);
    statements << sqlf("INSERT INTO Friend(userName, type, dbContactRemark) VALUES(%1, 3, %2)", sqlQuoted(user),
                       blob(pbField(1, "Friend " + QByteArray::number(c))))
               << QString::fromLatin1(kChatTable).arg(table)
               // Every other message is the owner's; every fiftieth a picture.
               << sqlf("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                       " INSERT INTO %2(MesLocalID, MesSvrID, CreateTime, Message, Status, Type, Des)"
                       " SELECT i, 9000000 + i, 1600000000 + i * 60, 'Message number ' || i || ' of a long chat',"
                       " 2, CASE WHEN i % 50 = 0 THEN 3 ELSE 1 END, i % 2 FROM n",
                       perChat, table);
  }
  return writeSqliteFile(path, statements, error);
}

} // namespace fixture

#include "samples/apps/line.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.com.linecorp.line");
const QString kAppDomain = QStringLiteral("AppDomain-jp.naver.line");

const char* const kSchema[] = {
    "CREATE TABLE ZUSER ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZMID VARCHAR, ZNAME VARCHAR,"
    " ZCUSTOMNAME VARCHAR, ZADDRESSBOOKNAME VARCHAR, ZSTATUSMESSAGE VARCHAR, ZPICTURESTATUS VARCHAR,"
    " ZPICTUREURL VARCHAR )",
    "CREATE TABLE ZGROUP ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZID VARCHAR, ZNAME VARCHAR )",
    "CREATE TABLE ZCHAT ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZTYPE INTEGER, ZUNREAD INTEGER,"
    " ZLASTMESSAGE INTEGER, ZLASTUPDATED TIMESTAMP, ZMID VARCHAR )",
    "CREATE TABLE Z_1MEMBERS ( Z_1CHATS INTEGER, Z_12MEMBERS INTEGER, PRIMARY KEY (Z_1CHATS, Z_12MEMBERS) )",
    "CREATE TABLE ZMESSAGE ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZCONTENTTYPE INTEGER,"
    " ZREADCOUNT INTEGER, ZSENDSTATUS INTEGER, ZMESSAGETYPE INTEGER, ZCHAT INTEGER, ZSENDER INTEGER,"
    " ZTIMESTAMP INTEGER, ZLATITUDE FLOAT, ZLONGITUDE FLOAT, ZID VARCHAR, ZTEXT VARCHAR, ZCONTENTMETADATA BLOB )",
    "CREATE INDEX ZMESSAGE_ZCHAT_INDEX ON ZMESSAGE (ZCHAT)",
};

QStringList schema() {
  QStringList statements;
  for (const char* s : kSchema)
    statements << QString::fromLatin1(s);
  return statements;
}

// The account folder of the sample.
QString lineAccountFolder() {
  return QStringLiteral("Library/Application Support/PrivateStore/P_u3f1e0a9c4b7d2e6f8a1b3c5d7e9f0a2b/");
}
} // namespace

QStringList lineStatements(const LineStore& store) {
  QStringList s = schema();
  for (const LineUserRow& u : store.users)
    s << sqlf("INSERT INTO ZUSER(Z_PK, Z_ENT, Z_OPT, ZMID, ZNAME) VALUES(%1, 12, 1, %2, %3)", u.pk,
              sqlQuotedOrNull(u.mid), sqlQuotedOrNull(u.name));
  qint64 pk = 1;
  for (const auto& g : store.groups)
    s << sqlf("INSERT INTO ZGROUP(Z_PK, Z_ENT, Z_OPT, ZID, ZNAME) VALUES(%1, 5, 1, %2, %3)", pk++,
              sqlQuotedOrNull(g.first), sqlQuotedOrNull(g.second));
  for (const auto& c : store.chats)
    s << sqlf("INSERT INTO ZCHAT(Z_PK, Z_ENT, Z_OPT, ZTYPE, ZMID) VALUES(%1, 1, 1, %2, %3)", c.first,
              c.second.startsWith(QLatin1Char('c')) ? 2 : 0, sqlQuotedOrNull(c.second));
  for (const auto& m : store.members)
    s << sqlf("INSERT INTO Z_1MEMBERS VALUES(%1, %2)", m.first, m.second);
  for (const LineMessageRow& m : store.messages)
    s << sqlf("INSERT INTO ZMESSAGE(Z_PK, Z_ENT, Z_OPT, ZID, ZCHAT, ZSENDER, ZTIMESTAMP, ZTEXT, ZCONTENTTYPE,"
              " ZSENDSTATUS, ZLONGITUDE) VALUES(%1, 8, 1, %2, %3, %4, %5, %6, %7, %8, %9)",
              m.pk, sqlQuotedOrNull(m.id), m.chat, m.sender ? QString::number(m.sender) : QStringLiteral("NULL"),
              m.timestamp, sqlQuotedOrNull(m.text), m.contentType, m.sendStatus, QString::number(m.longitude, 'f', 1));
  return s;
}

QList<StoredFile> lineFiles(const LineStore& store, const QList<LineExtraFile>& extraFiles) {
  QByteArray db;
  QString error;
  QList<StoredFile> files;
  if (!makeSqliteDb(lineStatements(store), false, &db, nullptr, &error)) {
    qWarning("Line.sqlite: %s", qPrintable(error));
    return files;
  }
  files << file(kGroupDomain, lineAccountFolder() + QStringLiteral("Messages/Line.sqlite"), db);
  for (const LineExtraFile& f : extraFiles)
    files << file(f.appDomain ? kAppDomain : kGroupDomain, lineAccountFolder() + f.path, f.data);
  return files;
}

QList<StoredFile> sampleLineFiles() {
  const QString ann = QStringLiteral("u8a1b2c3d4e5f60718293a4b5c6d7e8f9");
  const QString ben = QStringLiteral("u0f1e2d3c4b5a69788796a5b4c3d2e1f0");
  const QString family = QStringLiteral("c5e6f708192a3b4c5d6e7f8091a2b3c4d");
  LineStore s;
  s.users = {{1, ann, QStringLiteral("Ann Lee")}, {2, ben, QStringLiteral("Ben Ito")}};
  s.groups = {{family, QStringLiteral("Family")}};
  s.chats = {{1, ann}, {2, family}};
  s.members = {{2, 1}, {2, 2}};
  const qint64 t = 1678180000000LL; // 2023-03-07 09:06:40 UTC, in milliseconds
  const qint64 flag61 = qint64(1) << 61;
  s.messages = {
      {1, QStringLiteral("100001"), 1, 1, t, QStringLiteral("Hello from Line"), 0, 1, 0},
      {2, QStringLiteral("100002"), 1, 0, t + 60000, QStringLiteral("Hi Ann!"), 0, 1, 0},
      {3, QStringLiteral("100003"), 1, 1, t + 120000, QString(), 1, 1, 0},     // a picture
      {4, QStringLiteral("100004"), 1, 0, t + 180000, QString(), 7, 1, 47980}, // a sticker
      // A row that carries bit 61 on its time stamp.
      {5, QStringLiteral("100005"), 1, 1, (t + 240000) | flag61, QStringLiteral("See you later"), 0, 1, 0},
      {6, QStringLiteral("100006"), 2, 0, t + 300000, QStringLiteral("Ann Lee joined the group"), 18, 0, 0},
      {7, QStringLiteral("100007"), 2, 2, t + 360000, QStringLiteral("Dinner at 7?"), 0, 1, 0},
      {8, QStringLiteral("100008"), 2, 1, t + 420000, QStringLiteral("menu.pdf"), 14, 1, 0},
      {9, QStringLiteral("100009"), 2, 0, t + 480000, QStringLiteral("Yes, see you there"), 0, 3, 0},
  };
  const QByteArray jpeg = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000ffd9");
  const QByteArray png = QByteArray::fromHex("89504e470d0a1a0a0000000d49484452");
  return lineFiles(s, {{false, QStringLiteral("Message Thumbnails/%1/100003.thumb").arg(ann), jpeg},
                       {true, QStringLiteral("Message Attachments/%1/S_100003.jpg").arg(ann), jpeg},
                       {true, QStringLiteral("Owned Sticons/packages/5ac1bfd5040ab15980c9b435_3/005_key.png"), png}});
}

bool writeLineDatabase(const QString& path, int chats, int messages, QString* error) {
  QStringList statements = schema();
  // User i and chat i belong together; every chat also lists its user as a member.
  statements << (QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                                " INSERT INTO ZUSER(Z_PK, ZMID, ZNAME) SELECT i,"
                                " 'u' || substr('00000000000000000000000000000000' || i, -32),"
                                " 'User ' || i FROM n;"
                                "INSERT INTO ZCHAT(Z_PK, ZTYPE, ZMID) SELECT Z_PK, 0, ZMID FROM ZUSER;"
                                "INSERT INTO Z_1MEMBERS SELECT Z_PK, Z_PK FROM ZCHAT;")
                     .arg(chats));
  // Every other message is the owner's; every fiftieth a picture, every
  // hundredth a sticker.
  statements << (QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                                " INSERT INTO ZMESSAGE(Z_PK, ZID, ZCHAT, ZSENDER, ZTIMESTAMP, ZTEXT, ZCONTENTTYPE,"
                                " ZSENDSTATUS, ZLONGITUDE) SELECT i, CAST(1000000 + i AS TEXT), (i % %2) + 1,"
                                " CASE WHEN i % 2 = 0 THEN NULL ELSE (i % %2) + 1 END, 1600000000000 + i * 7500,"
                                " 'Message number ' || i || ' of a long conversation',"
                                " CASE WHEN i % 100 = 0 THEN 7 WHEN i % 50 = 0 THEN 1 ELSE 0 END, 1,"
                                " CASE WHEN i % 100 = 0 THEN 47980 ELSE 0 END FROM n;")
                     .arg(messages)
                     .arg(chats));
  return writeSqliteFile(path, statements, error);
}

} // namespace fixture

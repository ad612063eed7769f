#include "samples/apps/viber.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.viber.share.container");
const QString kAppDomain = QStringLiteral("AppDomain-com.viber");

// The tables both generations share, with the columns of a real store.
const char* const kCommonSchema[] = {
    "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, Z_MAX INTEGER)",
    "CREATE TABLE ZCONVERSATION ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZBEINGDELETED INTEGER,"
    " ZCHATLISTTYPE INTEGER, ZCONTEXT INTEGER, ZFAVORITE INTEGER, ZSUBTYPE INTEGER, ZINTERLOCUTOR INTEGER,"
    " ZDATE TIMESTAMP, ZTIMEBOMBDURATION FLOAT, ZGROUPID VARCHAR, ZICONID VARCHAR, ZLASTMESSAGETEXT VARCHAR,"
    " ZLASTMESSAGETYPE VARCHAR, ZNAME VARCHAR )",
    "CREATE TABLE ZATTACHMENT ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZFILESIZE INTEGER,"
    " ZDURATION FLOAT, ZBUCKET VARCHAR, ZFILENAME VARCHAR, ZNAME VARCHAR, ZSTATE VARCHAR, ZTHUMBNAILURL VARCHAR,"
    " ZTYPE VARCHAR, ZURL VARCHAR )",
    "CREATE TABLE ZVIBERLOCATION ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZMESSAGE INTEGER,"
    " ZDATE TIMESTAMP, ZLATITUDE FLOAT, ZLONGITUDE FLOAT, ZADDRESS VARCHAR )",
    "CREATE TABLE ZRECENTSLINE ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZCOUNT INTEGER,"
    " ZCONTACT INTEGER, ZPHONENUMINDEX INTEGER, ZDATE TIMESTAMP, ZCALLTYPE VARCHAR, ZPHONENUMBER VARCHAR )",
    "CREATE TABLE ZRECENT ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZDURATION INTEGER,"
    " ZCALLLOGMESSAGE INTEGER, ZRECENTSLINE INTEGER, ZDATE TIMESTAMP, ZCALLTYPE VARCHAR )",
};

const char* const kNewerSchema[] = {
    "CREATE TABLE ZMEMBER ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZISACTIVE INTEGER,"
    " ZDISPLAYFULLNAME VARCHAR, ZDISPLAYSHORTNAME VARCHAR, ZENCRYPTEDMEMBERID VARCHAR, ZICONID VARCHAR,"
    " ZMEMBERID VARCHAR, ZNAME VARCHAR, ZPHONETYPE VARCHAR )",
    "CREATE TABLE ZPHONENUMBER ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZMEMBER INTEGER,"
    " ZCANONIZEDPHONENUM VARCHAR, ZPHONE VARCHAR, ZPHONETYPE VARCHAR )",
    "CREATE TABLE Z_5PHONENUMINDEXES ( Z_5CONVERSATIONS INTEGER, Z_10PHONENUMINDEXES INTEGER,"
    " PRIMARY KEY (Z_5CONVERSATIONS, Z_10PHONENUMINDEXES) )",
    "CREATE TABLE ZVIBERMESSAGE ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZBEINGDELETED INTEGER,"
    " ZCALLDURATION INTEGER, ZLIKESCOUNT INTEGER, ZSEQ INTEGER, ZTOKEN INTEGER, ZATTACHMENT INTEGER,"
    " ZCONVERSATION INTEGER, Z5_CONVERSATION INTEGER, ZLOCATION INTEGER, ZPHONENUMINDEX INTEGER, ZDATE TIMESTAMP,"
    " ZSTATEDATE TIMESTAMP, ZTIMEBOMBDURATION FLOAT, ZCALLTYPE VARCHAR, ZCLIENTMETADATA VARCHAR, ZMETADATA VARCHAR,"
    " ZSTATE VARCHAR, ZSYSTEMTYPE VARCHAR, ZTEXT VARCHAR )",
    "CREATE INDEX ZVIBERMESSAGE_ZCONVERSATION_INDEX ON ZVIBERMESSAGE (ZCONVERSATION)",
};

const char* const kOlderSchema[] = {
    "CREATE TABLE ZPHONENUMBERINDEX ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZCONTACT INTEGER,"
    " ZISVIBER INTEGER, ZREGISTRATIONDATE TIMESTAMP, ZCANONIZEDPHONENUM VARCHAR, ZICONID VARCHAR, ZNAME VARCHAR,"
    " ZPHONENUM VARCHAR )",
    "CREATE TABLE Z_4PHONENUMINDEXES ( Z_4CONVERSATIONS INTEGER, Z_9PHONENUMINDEXES INTEGER,"
    " PRIMARY KEY (Z_4CONVERSATIONS, Z_9PHONENUMINDEXES) )",
    "CREATE TABLE ZVIBERMESSAGE ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZBEINGDELETED INTEGER,"
    " ZATTACHMENT INTEGER, ZCONVERSATION INTEGER, ZLOCATION INTEGER, ZPHONENUMINDEX INTEGER, ZDATE TIMESTAMP,"
    " ZSTATEDATE TIMESTAMP, ZMETADATA VARCHAR, ZSTATE VARCHAR, ZSYSTEMTYPE VARCHAR, ZTEXT VARCHAR )",
};

QStringList schema(bool older) {
  QStringList s;
  for (const char* c : kCommonSchema)
    s << QString::fromLatin1(c);
  if (older) {
    for (const char* c : kOlderSchema)
      s << QString::fromLatin1(c);
    s << QStringLiteral("INSERT INTO Z_PRIMARYKEY VALUES(4, 'Conversation', 0, 0), (9, 'PhoneNumberIndex', 0, 0),"
                        " (20, 'ViberMessage', 0, 0)");
  } else {
    for (const char* c : kNewerSchema)
      s << QString::fromLatin1(c);
    s << QStringLiteral("INSERT INTO Z_PRIMARYKEY VALUES(5, 'Conversation', 0, 0), (10, 'Member', 0, 0),"
                        " (11, 'PhoneNumber', 0, 0), (21, 'ViberMessage', 0, 0)");
  }
  return s;
}

QString number(qint64 key) { return key ? QString::number(key) : QStringLiteral("NULL"); }
QString real(double v) { return QString::number(v, 'f', 3); }
} // namespace

QStringList viberStatements(const ViberStore& store) {
  const bool older = store.olderContacts;
  QStringList s = schema(older);
  for (const ViberContactRow& c : store.contacts) {
    if (older) {
      s << sqlf("INSERT INTO ZPHONENUMBERINDEX(Z_PK, Z_ENT, Z_OPT, ZISVIBER, ZCANONIZEDPHONENUM, ZICONID, ZNAME,"
                " ZPHONENUM) VALUES(%1, 9, 1, 1, %2, %3, %4, %2)",
                c.pk, sqlQuotedOrNull(c.phone), sqlQuotedOrNull(c.icon), sqlQuotedOrNull(c.name));
    } else {
      s << sqlf("INSERT INTO ZMEMBER(Z_PK, Z_ENT, Z_OPT, ZDISPLAYFULLNAME, ZDISPLAYSHORTNAME, ZNAME, ZICONID)"
                " VALUES(%1, 10, 1, %2, %2, %2, %3)",
                c.pk, sqlQuotedOrNull(c.name), sqlQuotedOrNull(c.icon));
      if (!c.phone.isEmpty())
        s << sqlf("INSERT INTO ZPHONENUMBER(Z_ENT, Z_OPT, ZMEMBER, ZCANONIZEDPHONENUM, ZPHONE, ZPHONETYPE)"
                  " VALUES(11, 1, %1, %2, %3, 'Viber')",
                  c.pk, sqlQuoted(QString(c.phone).remove(QLatin1Char('+'))), sqlQuoted(c.phone));
    }
  }
  for (const ViberConversationRow& c : store.conversations) {
    s << sqlf("INSERT INTO ZCONVERSATION(Z_PK, Z_ENT, Z_OPT, ZBEINGDELETED, ZCHATLISTTYPE, ZINTERLOCUTOR, ZNAME)"
              " VALUES(%1, %2, 1, %3, 20, %4, %5)",
              c.pk, older ? 4 : 5, c.deleted ? 1 : 0, number(c.partner), sqlQuotedOrNull(c.name));
    for (qint64 m : c.members)
      s << sqlf(older ? "INSERT INTO Z_4PHONENUMINDEXES VALUES(%1, %2)" : "INSERT INTO Z_5PHONENUMINDEXES VALUES(%1, %2)",
                c.pk, m);
  }
  for (const ViberAttachmentRow& a : store.attachments)
    s << sqlf("INSERT INTO ZATTACHMENT(Z_PK, Z_ENT, Z_OPT, ZNAME, ZTYPE, ZFILESIZE) VALUES(%1, 4, 1, %2, %3, 0)", a.pk,
              sqlQuotedOrNull(a.name), sqlQuotedOrNull(a.type));
  for (const ViberLocationRow& l : store.locations)
    s << sqlf("INSERT INTO ZVIBERLOCATION(Z_PK, Z_ENT, Z_OPT, ZLATITUDE, ZLONGITUDE, ZADDRESS) VALUES(%1, 20, 1, %2,"
              " %3, %4)",
              l.pk, QString::number(l.latitude, 'f', 6), QString::number(l.longitude, 'f', 6),
              sqlQuotedOrNull(l.address));
  for (const ViberMessageRow& m : store.messages) {
    if (older)
      s << sqlf("INSERT INTO ZVIBERMESSAGE(Z_PK, Z_ENT, Z_OPT, ZBEINGDELETED, ZATTACHMENT, ZCONVERSATION, ZLOCATION,"
                " ZPHONENUMINDEX, ZDATE, ZSTATE, ZSYSTEMTYPE, ZTEXT, ZMETADATA) VALUES(%1, 20, 1, %2, %3, %4, %5, %6,"
                " %7, %8, %9, %10, %11)",
                m.pk, m.deleted ? 1 : 0, number(m.attachment), m.conversation, number(m.location), number(m.sender),
                real(m.date), sqlQuotedOrNull(m.state), sqlQuotedOrNull(m.systemType), sqlQuotedOrNull(m.text),
                sqlQuotedOrNull(m.metadata));
    else
      s << sqlf("INSERT INTO ZVIBERMESSAGE(Z_PK, Z_ENT, Z_OPT, ZBEINGDELETED, ZATTACHMENT, ZCONVERSATION,"
                " Z5_CONVERSATION, ZLOCATION, ZPHONENUMINDEX, ZDATE, ZSTATE, ZSYSTEMTYPE, ZTEXT, ZMETADATA, ZCALLTYPE,"
                " ZCALLDURATION) VALUES(%1, 21, 1, %2, %3, %4, 5, %5, %6, %7, %8, %9, %10, %11, %12, %13)",
                m.pk, m.deleted ? 1 : 0, number(m.attachment), m.conversation, number(m.location), number(m.sender),
                real(m.date), sqlQuotedOrNull(m.state), sqlQuotedOrNull(m.systemType), sqlQuotedOrNull(m.text),
                sqlQuotedOrNull(m.metadata), sqlQuotedOrNull(m.callType), m.callDuration);
  }
  for (const ViberCallRow& c : store.calls) {
    s << sqlf("INSERT INTO ZRECENTSLINE(Z_PK, Z_ENT, Z_OPT, ZCOUNT, ZPHONENUMINDEX, ZDATE, ZCALLTYPE, ZPHONENUMBER)"
              " VALUES(%1, 14, 1, 1, %2, %3, %4, %5)",
              c.pk, number(c.contact), real(c.date), sqlQuoted(c.callType), sqlQuotedOrNull(c.number));
    s << sqlf("INSERT INTO ZRECENT(Z_PK, Z_ENT, Z_OPT, ZDURATION, ZCALLLOGMESSAGE, ZRECENTSLINE, ZDATE, ZCALLTYPE)"
              " VALUES(%1, 13, 1, %2, %3, %1, %4, %5)",
              c.pk, c.duration, number(c.message), real(c.date), sqlQuoted(c.callType));
  }
  return s;
}

QList<StoredFile> viberFiles(const ViberStore& store, const QList<ViberExtraFile>& extraFiles) {
  QByteArray db;
  QByteArray wal;
  QString error;
  QList<StoredFile> files;
  if (!makeSqliteDb(viberStatements(store), true, &db, &wal, &error)) {
    qWarning("Contacts.data: %s", qPrintable(error));
    return files;
  }
  files << file(kGroupDomain, QStringLiteral("com.viber/database/Contacts.data"), db)
        << file(kGroupDomain, QStringLiteral("com.viber/database/Contacts.data-wal"), wal);
  for (const ViberExtraFile& f : extraFiles)
    files << file(f.appDomain ? kAppDomain : kGroupDomain,
                  f.appDomain ? f.path : QStringLiteral("com.viber/") + f.path, f.data);
  return files;
}

QList<StoredFile> sampleViberFiles() {
  ViberStore s;
  s.contacts = {{1, QStringLiteral("Dana Novak"), QStringLiteral("+385911234567"), QStringLiteral("icon-dana")},
                {2, QStringLiteral("Marko Horvat"), QStringLiteral("+385917654321"), QString()}};
  s.conversations = {{1, QString(), 1, false, {}}, {2, QStringLiteral("Climbing club"), 0, false, {1, 2}}};
  s.attachments = {{1, QStringLiteral("IMG_0042.jpg"), QStringLiteral("picture")}};
  s.locations = {{1, 45.815011, 15.981919, QStringLiteral("Zagreb")}};
  const double t = 711989719.471; // 2023-07-25 14:55:19.471 UTC
  auto row = [t](qint64 pk, qint64 conversation, qint64 sender, double at, const char* state, const char* text) {
    ViberMessageRow m;
    m.pk = pk;
    m.conversation = conversation;
    m.sender = sender;
    m.date = t + at;
    m.state = QString::fromLatin1(state);
    m.text = QString::fromUtf8(text);
    return m;
  };
  s.messages = {row(1, 1, 1, 0, "received", "Are you coming on Saturday?"),
                row(2, 1, 0, 60, "delivered", "Yes, with the car"),
                row(3, 1, 1, 120, "received", "The crag"),
                row(4, 1, 0, 180, "send", ""),
                row(5, 1, 0, 240, "delivered", ""),
                row(6, 1, 1, 300, "received", "Forget what I said"),
                row(7, 2, 2, 400, "received", ""),
                row(8, 2, 2, 460, "received", "Rope check at 9"),
                row(9, 2, 0, 520, "send", "On my way")};
  s.messages[2].attachment = 1;
  s.messages[3].location = 1;
  s.messages[4].callType = QStringLiteral("outgoing_viber");
  s.messages[4].callDuration = 95;
  s.messages[5].deleted = true;
  s.messages[6].systemType = QStringLiteral("group_created");

  s.calls = {{1, t + 240, 95, QStringLiteral("outgoing_viber"), QStringLiteral("+385911234567"), 1, 5},
             {2, t + 3600, 0, QStringLiteral("missed_with_video"), QStringLiteral("+385917654321"), 2, 0}};
  const QByteArray jpeg = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000ffd9");
  return viberFiles(s, {{true, QStringLiteral("Documents/Attachments/IMG_0042.jpg"), jpeg},
                        {false, QStringLiteral("ViberIcons/icon-dana"), jpeg}});
}

bool writeViberDatabase(const QString& path, int chats, int messages, QString* error) {
  QStringList statements = schema(false);
  // Member i is the partner of conversation i.
  statements << sqlf("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                     " INSERT INTO ZMEMBER(Z_PK, Z_ENT, Z_OPT, ZDISPLAYFULLNAME, ZNAME) SELECT i, 10, 1,"
                     " 'Contact ' || i, 'Contact ' || i FROM n;"
                     "INSERT INTO ZPHONENUMBER(Z_ENT, Z_OPT, ZMEMBER, ZPHONE) SELECT 11, 1, Z_PK,"
                     " '+3859' || (1000000 + Z_PK) FROM ZMEMBER;"
                     "INSERT INTO ZCONVERSATION(Z_PK, Z_ENT, Z_OPT, ZBEINGDELETED, ZINTERLOCUTOR)"
                     " SELECT Z_PK, 5, 1, 0, Z_PK FROM ZMEMBER;",
                     chats);
  // Every other message is the owner's; every fiftieth carries a picture.
  statements << sqlf("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1)"
                     " INSERT INTO ZVIBERMESSAGE(Z_PK, Z_ENT, Z_OPT, ZBEINGDELETED, ZCONVERSATION, ZPHONENUMINDEX,"
                     " ZDATE, ZSTATE, ZTEXT, ZATTACHMENT) SELECT i, 21, 1, 0, (i % %2) + 1,"
                     " CASE WHEN i % 2 = 0 THEN NULL ELSE (i % %2) + 1 END, 600000000 + i * 7.5,"
                     " CASE WHEN i % 2 = 0 THEN 'delivered' ELSE 'received' END,"
                     " 'Message number ' || i || ' of a long conversation', CASE WHEN i % 50 = 0 THEN i END FROM n;"
                     "INSERT INTO ZATTACHMENT(Z_PK, Z_ENT, Z_OPT, ZNAME, ZTYPE) SELECT ZATTACHMENT, 4, 1,"
                     " 'IMG_' || ZATTACHMENT || '.jpg', 'picture' FROM ZVIBERMESSAGE WHERE ZATTACHMENT IS NOT NULL;",
                     messages, chats);
  return writeSqliteFile(path, statements, error);
}

} // namespace fixture

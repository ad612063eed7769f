#include "samples/apps/whatsapp.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
QString lit(const QString& text) {
  if (text.isEmpty())
    return QStringLiteral("NULL");
  QString t = text;
  return QLatin1Char('\'') + t.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}
QString key(qint64 pk) { return pk == 0 ? QStringLiteral("NULL") : QString::number(pk); }
QString real(double v) { return QString::number(v, 'f', 6); }

// The five tables as WhatsApp 23.x on iOS 15 creates them (Core Data: Z_PK,
// Z_ENT, Z_OPT, then the attributes grouped by type).
const char* const kTables[] = {
    "CREATE TABLE ZWACHATSESSION ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZARCHIVED INTEGER, "
    "ZCONTACTABID INTEGER, ZFLAGS INTEGER, ZHIDDEN INTEGER, ZIDENTITYVERIFICATIONEPOCH INTEGER, "
    "ZIDENTITYVERIFICATIONSTATE INTEGER, ZMESSAGECOUNTER INTEGER, ZREMOVED INTEGER, ZSESSIONTYPE INTEGER, "
    "ZSPOTLIGHTSTATUS INTEGER, ZUNREADCOUNT INTEGER, ZGROUPINFO INTEGER, ZLASTMESSAGE INTEGER, ZPROPERTIES INTEGER, "
    "ZLASTMESSAGEDATE TIMESTAMP, ZLOCATIONSHARINGENDDATE TIMESTAMP, ZCONTACTIDENTIFIER VARCHAR, ZCONTACTJID VARCHAR, "
    "ZETAG VARCHAR, ZLASTMESSAGETEXT VARCHAR, ZPARTNERNAME VARCHAR, ZSAVEDINPUT VARCHAR )",
    "CREATE TABLE ZWAGROUPMEMBER ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZCONTACTABID INTEGER, "
    "ZISACTIVE INTEGER, ZISADMIN INTEGER, ZSENDERKEYSENT INTEGER, ZCHATSESSION INTEGER, ZRECENTGROUPCHAT INTEGER, "
    "ZCONTACTIDENTIFIER VARCHAR, ZCONTACTNAME VARCHAR, ZFIRSTNAME VARCHAR, ZMEMBERJID VARCHAR )",
    "CREATE TABLE ZWAMEDIAITEM ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZCLOUDSTATUS INTEGER, "
    "ZFILESIZE INTEGER, ZMEDIAORIGIN INTEGER, ZMOVIEDURATION INTEGER, ZMESSAGE INTEGER, ZASPECTRATIO FLOAT, "
    "ZHACCURACY FLOAT, ZLATITUDE FLOAT, ZLONGITUDE FLOAT, ZMEDIAURLDATE TIMESTAMP, ZAUTHORNAME VARCHAR, "
    "ZCOLLECTIONNAME VARCHAR, ZMEDIALOCALPATH VARCHAR, ZMEDIAURL VARCHAR, ZTHUMBNAILLOCALPATH VARCHAR, "
    "ZTITLE VARCHAR, ZVCARDNAME VARCHAR, ZVCARDSTRING VARCHAR, ZXMPPTHUMBPATH VARCHAR, ZMEDIAKEY BLOB, "
    "ZMETADATA BLOB )",
    "CREATE TABLE ZWAMESSAGE ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, "
    "ZCHILDMESSAGESDELIVEREDCOUNT INTEGER, ZCHILDMESSAGESPLAYEDCOUNT INTEGER, ZCHILDMESSAGESREADCOUNT INTEGER, "
    "ZDATAITEMVERSION INTEGER, ZDOCID INTEGER, ZENCRETRYCOUNT INTEGER, ZFILTEREDRECIPIENTCOUNT INTEGER, "
    "ZFLAGS INTEGER, ZGROUPEVENTTYPE INTEGER, ZISFROMME INTEGER, ZMESSAGEERRORSTATUS INTEGER, "
    "ZMESSAGESTATUS INTEGER, ZMESSAGETYPE INTEGER, ZSORT INTEGER, ZSPOTLIGHTSTATUS INTEGER, ZSTARRED INTEGER, "
    "ZCHATSESSION INTEGER, ZGROUPMEMBER INTEGER, ZLASTSESSION INTEGER, ZMEDIAITEM INTEGER, ZMESSAGEINFO INTEGER, "
    "ZPARENTMESSAGE INTEGER, ZMESSAGEDATE TIMESTAMP, ZSENTDATE TIMESTAMP, ZFROMJID VARCHAR, "
    "ZMEDIASECTIONID VARCHAR, ZPHASH VARCHAR, ZPUSHNAME VARCHAR, ZSTANZAID VARCHAR, ZTEXT VARCHAR, "
    "ZTOJID VARCHAR )",
    "CREATE TABLE ZWAPROFILEPICTUREITEM ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, "
    "ZREQUESTDATE TIMESTAMP, ZJID VARCHAR, ZPATH VARCHAR, ZPICTUREID VARCHAR )",
};

// The indexes the reader's ORDER BY clauses use.
const char* const kOrderIndexes[] = {
    "CREATE INDEX Z_WAChatSession_byLastMessageDateIndex ON ZWACHATSESSION (ZLASTMESSAGEDATE COLLATE BINARY ASC)",
    "CREATE INDEX Z_WAMessage_compoundIndex ON ZWAMESSAGE (ZCHATSESSION COLLATE BINARY ASC, ZSORT COLLATE BINARY "
    "ASC)",
};

const char* const kOtherIndexes[] = {
    "CREATE INDEX ZWACHATSESSION_ZGROUPINFO_INDEX ON ZWACHATSESSION (ZGROUPINFO)",
    "CREATE INDEX ZWACHATSESSION_ZLASTMESSAGE_INDEX ON ZWACHATSESSION (ZLASTMESSAGE)",
    "CREATE INDEX Z_WAChatSession_byContactJIDIndex ON ZWACHATSESSION (ZCONTACTJID COLLATE BINARY ASC)",
    "CREATE INDEX Z_WAChatSession_byRemovedIndex ON ZWACHATSESSION (ZREMOVED COLLATE BINARY ASC)",
    "CREATE INDEX ZWAGROUPMEMBER_ZCHATSESSION_INDEX ON ZWAGROUPMEMBER (ZCHATSESSION)",
    "CREATE INDEX Z_WAGroupMember_byMemberJIDIndex ON ZWAGROUPMEMBER (ZMEMBERJID COLLATE BINARY ASC)",
    "CREATE INDEX ZWAMEDIAITEM_ZMESSAGE_INDEX ON ZWAMEDIAITEM (ZMESSAGE)",
    "CREATE INDEX ZWAMESSAGE_ZCHATSESSION_INDEX ON ZWAMESSAGE (ZCHATSESSION)",
    "CREATE INDEX ZWAMESSAGE_ZGROUPMEMBER_INDEX ON ZWAMESSAGE (ZGROUPMEMBER)",
    "CREATE INDEX ZWAMESSAGE_ZMEDIAITEM_INDEX ON ZWAMESSAGE (ZMEDIAITEM)",
    "CREATE INDEX ZWAMESSAGE_ZPARENTMESSAGE_INDEX ON ZWAMESSAGE (ZPARENTMESSAGE)",
    "CREATE INDEX Z_WAMessage_byMessageDateIndex ON ZWAMESSAGE (ZMESSAGEDATE COLLATE BINARY ASC)",
    "CREATE INDEX Z_WAMessage_bySortIndex ON ZWAMESSAGE (ZSORT COLLATE BINARY ASC)",
    "CREATE INDEX Z_WAProfilePictureItem_byJidIndex ON ZWAPROFILEPICTUREITEM (ZJID COLLATE BINARY ASC)",
};

// Entity numbers of the tables in the iOS 15 model.
enum { EntSession = 4, EntMember = 6, EntMedia = 8, EntMessage = 9, EntPicture = 12 };
} // namespace

QString whatsappGroupDomain() { return QStringLiteral("AppDomainGroup-group.net.whatsapp.WhatsApp.shared"); }
QString whatsappAppDomain() { return QStringLiteral("AppDomain-net.whatsapp.WhatsApp"); }

QStringList whatsappSchema(bool allIndexes) {
  QStringList s;
  for (const char* t : kTables)
    s << QString::fromLatin1(t);
  for (const char* i : kOrderIndexes)
    s << QString::fromLatin1(i);
  if (allIndexes)
    for (const char* i : kOtherIndexes)
      s << QString::fromLatin1(i);
  return s;
}

QStringList whatsappInserts(const WhatsappDb& rows) {
  QStringList s;
  for (const WaSession& r : rows.sessions)
    s << sqlf("INSERT INTO ZWACHATSESSION (Z_PK, Z_ENT, Z_OPT, ZARCHIVED, ZCONTACTABID, ZFLAGS, ZHIDDEN, ZREMOVED, "
              "ZSESSIONTYPE, ZUNREADCOUNT, ZLASTMESSAGEDATE, ZCONTACTJID, ZPARTNERNAME) "
              "VALUES (%1, %2, 1, 0, %3, 0, %4, %5, %6, 0, %7, %8, %9)",
              r.pk, EntSession, r.contactAbId, r.hidden, r.removed, r.sessionType, real(r.lastMessageDate), lit(r.jid),
              lit(r.partnerName));
  for (const WaMember& r : rows.members)
    s << sqlf("INSERT INTO ZWAGROUPMEMBER (Z_PK, Z_ENT, Z_OPT, ZCONTACTABID, ZISACTIVE, ZISADMIN, ZCHATSESSION, "
              "ZCONTACTNAME, ZMEMBERJID) VALUES (%1, %2, 1, %3, 1, 0, %4, %5, %6)",
              r.pk, EntMember, r.contactAbId, key(r.session), lit(r.contactName), lit(r.jid));
  for (const WaMedia& r : rows.media)
    s << sqlf("INSERT INTO ZWAMEDIAITEM (Z_PK, Z_ENT, Z_OPT, ZFILESIZE, ZMOVIEDURATION, ZMESSAGE, ZAUTHORNAME, "
              "ZMEDIALOCALPATH, ZMEDIAURL, ZTITLE, ZVCARDNAME, ZVCARDSTRING, ZXMPPTHUMBPATH) "
              "VALUES (%1, %2, 1, %3, %4, %5, %6, %7, %8, %9, %10, %11, %12)",
              r.pk, EntMedia, r.fileSize, r.movieDuration, key(r.message), lit(r.authorName), lit(r.localPath),
              lit(r.mediaUrl), lit(r.title), lit(r.vcardName), lit(r.vcardString), lit(r.thumbPath));
  for (const WaMessage& r : rows.messages)
    s << sqlf("INSERT INTO ZWAMESSAGE (Z_PK, Z_ENT, Z_OPT, ZFLAGS, ZGROUPEVENTTYPE, ZISFROMME, ZMESSAGEERRORSTATUS, "
              "ZMESSAGESTATUS, ZMESSAGETYPE, ZSORT, ZSTARRED, ZCHATSESSION, ZGROUPMEMBER, ZMEDIAITEM, "
              "ZPARENTMESSAGE, ZMESSAGEDATE, ZTEXT, ZTOJID, ZFROMJID) "
              "VALUES (%1, %2, 1, 0, %3, %4, 0, %5, %6, %7, 0, %8, %9, %10, %11, %12, %13, %14, %15)",
              r.pk, EntMessage, r.groupEventType, r.isFromMe, r.status, r.type, r.sort, key(r.session),
              key(r.groupMember), key(r.mediaItem), key(r.parent), real(r.date), lit(r.text), lit(r.toJid),
              lit(r.fromJid));
  for (const WaPicture& r : rows.pictures)
    s << sqlf("INSERT INTO ZWAPROFILEPICTUREITEM (Z_PK, Z_ENT, Z_OPT, ZJID, ZPATH) VALUES (%1, %2, 1, %3, %4)", r.pk,
              EntPicture, lit(r.jid), lit(r.path));
  return s;
}

QStringList whatsappGeneratedInserts(int messages, int chats, bool media) {
  QStringList s;
  // Chat x is the one-to-one chat with 49151000000 + x; every third partner
  // is in the address book.
  s << QStringLiteral("WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < %1) "
                      "INSERT INTO ZWACHATSESSION (Z_PK, Z_ENT, Z_OPT, ZARCHIVED, ZCONTACTABID, ZHIDDEN, ZREMOVED, "
                      "ZSESSIONTYPE, ZUNREADCOUNT, ZLASTMESSAGEDATE, ZCONTACTJID, ZPARTNERNAME) "
                      "SELECT x, %2, 1, 0, CASE WHEN x % 3 = 0 THEN x ELSE 0 END, 0, 0, 0, 0, 700000000 + x, "
                      "(49151000000 + x) || '@s.whatsapp.net', 'Contact ' || x FROM c")
           .arg(chats)
           .arg(EntSession);
  // Message n belongs to chat (n - 1) % chats + 1, as a phone interleaves its
  // chats in time; every tenth one is a picture when media is asked for.
  s << QStringLiteral("WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < %1) "
                      "INSERT INTO ZWAMESSAGE (Z_PK, Z_ENT, Z_OPT, ZFLAGS, ZGROUPEVENTTYPE, ZISFROMME, "
                      "ZMESSAGEERRORSTATUS, ZMESSAGESTATUS, ZMESSAGETYPE, ZSORT, ZSTARRED, ZCHATSESSION, "
                      "ZMEDIAITEM, ZMESSAGEDATE, ZTEXT, ZTOJID, ZFROMJID) "
                      "SELECT n, %2, 1, 0, 0, n % 2, 0, 8, CASE WHEN %3 AND n % 10 = 0 THEN 1 ELSE 0 END, "
                      "(n - 1) / %4 + 1, 0, (n - 1) % %4 + 1, CASE WHEN %3 AND n % 10 = 0 THEN n / 10 END, "
                      "700000000 + n * 0.5, CASE WHEN %3 AND n % 10 = 0 THEN NULL ELSE "
                      "'Message ' || n || ', a few words as people write them' END, "
                      "CASE WHEN n % 2 = 1 THEN (49151000000 + (n - 1) % %4 + 1) || '@s.whatsapp.net' END, "
                      "CASE WHEN n % 2 = 0 THEN (49151000000 + (n - 1) % %4 + 1) || '@s.whatsapp.net' END FROM c")
           .arg(messages)
           .arg(EntMessage)
           .arg(media ? 1 : 0)
           .arg(chats);
  if (media)
    s << QStringLiteral("WITH RECURSIVE c(m) AS (SELECT 1 UNION ALL SELECT m + 1 FROM c WHERE m < %1) "
                        "INSERT INTO ZWAMEDIAITEM (Z_PK, Z_ENT, Z_OPT, ZFILESIZE, ZMOVIEDURATION, ZMESSAGE, "
                        "ZMEDIALOCALPATH, ZMEDIAURL, ZVCARDNAME, ZVCARDSTRING, ZXMPPTHUMBPATH) "
                        "SELECT m, %2, 1, 40000 + m, 0, m * 10, "
                        "'Media/' || (49151000000 + (m * 10 - 1) % %3 + 1) || '@s.whatsapp.net/' || (m % 16) || '/' "
                        "|| (m % 7) || '/' || m || '.jpg', 'https://mmg.whatsapp.net/v/t62/' || m || '.enc', "
                        "'c2hhMjU2IG9mIHRoZSBmaWxl', 'image/jpeg', "
                        "'Media/' || (49151000000 + (m * 10 - 1) % %3 + 1) || '@s.whatsapp.net/' || (m % 16) || '/' "
                        "|| (m % 7) || '/' || m || '.thumb' FROM c")
             .arg(messages / 10)
             .arg(EntMedia)
             .arg(chats);
  return s;
}

QList<StoredFile> whatsappDbFilesFrom(const QStringList& statements, const QStringList& walStatements) {
  // The phone's store runs in WAL mode: the main file holds what was last
  // checkpointed, the -wal record the rows written since.
  QStringList all = statements;
  all << QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)") << walStatements;
  QByteArray db;
  QByteArray wal;
  QString error;
  if (!makeSqliteDb(all, true, &db, &wal, &error)) {
    qWarning("WhatsApp fixture: %s", qPrintable(error));
    return {};
  }
  const QString domain = whatsappGroupDomain();
  return {file(domain, QStringLiteral("ChatStorage.sqlite"), db),
          file(domain, QStringLiteral("ChatStorage.sqlite-wal"), wal)};
}

WaMessage waMessage(qint64 pk, qint64 session, int sort, double date, const QString& text, int type) {
  WaMessage m;
  m.pk = pk;
  m.session = session;
  m.sort = sort;
  m.date = date;
  m.text = text;
  m.type = type;
  return m;
}

StoredFile whatsappMediaFile(const QString& path, quint32 modified) {
  QByteArray data;
  if (path.endsWith(QLatin1String(".mp4")))
    data = QByteArray::fromHex("0000001c667479706d703432") + QByteArray("isommp42") + path.toUtf8();
  else
    data = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000") + path.toUtf8();
  const QString relative = path.startsWith(QLatin1String("Media/Profile/")) ? path : QStringLiteral("Message/") + path;
  StoredFile f = file(whatsappGroupDomain(), relative, data);
  f.modified = modified;
  return f;
}

// ---- the sample -------------------------------------------------------------

namespace {
const QString kOwner = QStringLiteral("4915100000001@s.whatsapp.net");
const QString kAnna = QStringLiteral("4915112345678@s.whatsapp.net");
const QString kBen = QStringLiteral("4917698765432@s.whatsapp.net");
const QString kCarl = QStringLiteral("14155550123@s.whatsapp.net");
const QString kGroup = QStringLiteral("120363021234567890@g.us");
// 2022-04-15 08:00 UTC in Core Data seconds.
constexpr double kT0 = 671702400;

QString annaMedia(const char* name) { return QStringLiteral("Media/%1/a/4/%2").arg(kAnna, QLatin1String(name)); }
QString groupMedia(const char* name) { return QStringLiteral("Media/%1/7/c/%2").arg(kGroup, QLatin1String(name)); }

WaMessage msg(qint64 pk, qint64 session, int sort, double minutes, const QString& text, int fromMe = 0, int type = 0,
              qint64 member = 0) {
  WaMessage m = waMessage(pk, session, sort, kT0 + minutes * 60, text, type);
  m.isFromMe = fromMe;
  m.groupMember = member;
  m.toJid = fromMe ? QString() : kOwner;
  return m;
}

// The sample's rows in the main file.
WhatsappDb sampleWhatsappRows() {
  WhatsappDb d;
  // pk, jid, partner name, session type, address-book id, last message, hidden, removed
  d.sessions = {{1, kAnna, QStringLiteral("Anna Berg"), 0, 12, kT0 + 3000, 0, 0},
                {2, kGroup, QStringLiteral("Climbing Club"), 1, 0, kT0 + 2000, 0, 0},
                {3, QStringLiteral("447700900123@s.whatsapp.net"), QStringLiteral("\u200e+44 7700 900123"), 0, 0,
                 kT0 - 86400, 0, 0},
                {4, QStringLiteral("status@broadcast"), QStringLiteral("Status"), 3, 0, 0, 1, 0},
                {5, QStringLiteral("4915155555555@s.whatsapp.net"), QStringLiteral("Old Contact"), 0, 0, 0, 0, 1}};
  d.members = {{1, 2, kOwner, QString(), 0},
               {2, 2, kAnna, QStringLiteral("Anna Berg"), 12},
               {3, 2, kBen, QStringLiteral("Ben Ode"), 0}};

  // One-to-one chat with Anna: a notice, talk, a picture, a document, a
  // contact card, a location and a message not yet delivered.
  d.messages << msg(1, 1, 1, 0, QString(), 0, 10, 0)
             << msg(2, 1, 2, 1, QStringLiteral("Hi Anna, are we still on for Saturday?"), 1)
             << msg(3, 1, 3, 4, QStringLiteral("Yes! 10:00 at the gym \u2013 bring chalk \U0001F9D7"))
             << msg(4, 1, 4, 6, QString(), 0, 1) << msg(5, 1, 5, 9, QString(), 1, 8)
             << msg(6, 1, 6, 12, QString(), 0, 4) << msg(7, 1, 7, 15, QString(), 1, 5)
             << msg(8, 1, 8, 16, QStringLiteral("See you there"), 1);
  d.messages[0].groupEventType = 2;
  d.messages[0].status = 0;
  for (int i = 3; i < 7; ++i)
    d.messages[i].mediaItem = i - 2;
  d.messages[7].status = 7; // not delivered

  // pk, message, local path, thumbnail, URL, title, author, vCard name, vCard string, size, duration
  d.media = {{1, 4, annaMedia("a4f1c2d0-1111-4a2b-9c3d-000000000001.jpg"),
              annaMedia("a4f1c2d0-1111-4a2b-9c3d-000000000001.thumb"),
              QStringLiteral("https://mmg.whatsapp.net/v/t62.7118-24/000001.enc"), QStringLiteral("The new wall"),
              QString(), QString(), QStringLiteral("image/jpeg"), 52311, 0},
             {2, 5, annaMedia("a4f1c2d0-2222-4a2b-9c3d-000000000002.pdf"), QString(), QString(),
              QStringLiteral("route-map.pdf"), QStringLiteral("Route map, 3 pages"), QString(),
              QStringLiteral("application/pdf"), 18000, 0},
             {3, 6, QString(), QString(), QString(), QString(), QString(), QStringLiteral("Gym front desk"),
              QStringLiteral("BEGIN:VCARD\nVERSION:3.0\nFN:Gym front desk\nTEL:+49301234567\nEND:VCARD"), 0, 0},
             {4, 7, QString(), annaMedia("a4f1c2d0-4444-4a2b-9c3d-000000000004.thumb"), QString(),
              QStringLiteral("Boulderhalle Nord"), QString(), QString(), QString(), 0, 0},
             {5, 25, groupMedia("7c0e9a11-5555-4a2b-9c3d-000000000005.mp4"),
              groupMedia("7c0e9a11-5555-4a2b-9c3d-000000000005.thumb"), QString(), QStringLiteral("First ascent"),
              QString(), QString(), QString(), 1200000, 14}};

  // The group: created by Ben, the owner added, a subject change, talk, a video.
  d.messages << msg(20, 2, 1, 0, QStringLiteral("Climbing"), 0, 6, 3) << msg(21, 2, 2, 0.5, kOwner, 0, 6, 3)
             << msg(22, 2, 3, 5, QStringLiteral("Climbing Club"), 0, 6, 2)
             << msg(23, 2, 4, 10, QStringLiteral("Welcome everyone"), 0, 0, 3)
             << msg(24, 2, 5, 12, QStringLiteral("Thanks Ben!"), 1) << msg(25, 2, 6, 20, QString(), 0, 2, 2);
  const int events[] = {12, 2, 1}; // created, added, subject
  for (int i = 0; i < 3; ++i) {
    d.messages[8 + i].groupEventType = events[i];
    d.messages[8 + i].status = 0;
  }
  d.messages.last().mediaItem = 5;

  // Messages of the hidden and removed chats are never shown.
  d.messages << msg(30, 4, 1, 30, QStringLiteral("status update")) << msg(31, 5, 1, 31, QStringLiteral("gone"));

  d.pictures = {{1, kAnna, QStringLiteral("Media/Profile/4915112345678-1649999999")},
                {2, kGroup, QString()}, // groups have no path
                {3, QStringLiteral("a_") + kAnna, QStringLiteral("CiIKHDQ5MTUxMTIzNDU2Nzg6MEBzLndoYXRzYXBwLm5ldBAB")}};
  return d;
}

// The sample's rows in the -wal record.
WhatsappDb sampleWhatsappWalRows() {
  WhatsappDb d;
  d.sessions = {{6, kCarl, QStringLiteral("Carl Diaz"), 0, 31, kT0 + 86400, 0, 0}};
  d.messages << msg(40, 6, 1, 1440, QStringLiteral("Hello from the other side of the log"))
             << msg(41, 6, 2, 1442, QStringLiteral("Got it."), 1)
             << msg(42, 1, 9, 50, QStringLiteral("One more thing: bring water"));
  return d;
}

} // namespace

QList<StoredFile> sampleWhatsappFiles() {
  // What the owner deleted and the files still hold: a message of Anna's chat
  // in the main file, another one in the log, and a whole chat in the log.
  WhatsappDb gone;
  gone.messages << msg(9, 1, 9, 18, QStringLiteral("The door code is 4711, delete this please"));
  WhatsappDb goneInLog;
  goneInLog.sessions = {{7, QStringLiteral("4915177777777@s.whatsapp.net"), QStringLiteral("Dora Lind"), 0, 0,
                         kT0 + 2 * 86400, 0, 0}};
  goneInLog.messages << msg(43, 1, 10, 60, QStringLiteral("Forget what I said about Saturday"), 1)
                     << msg(50, 7, 1, 2880, QStringLiteral("Are you selling the old rope?"))
                     << msg(51, 7, 2, 2885, QStringLiteral("Yes, 20 euros and it is yours"), 1);
  goneInLog.messages[1].fromJid = goneInLog.sessions.first().jid;
  QList<StoredFile> files = whatsappDbFilesFrom(
      QStringList{QStringLiteral("PRAGMA secure_delete=off")} + whatsappSchema() +
          whatsappInserts(sampleWhatsappRows()) + whatsappInserts(gone) +
          QStringList{QStringLiteral("DELETE FROM ZWAMESSAGE WHERE Z_PK = 9")},
      whatsappInserts(sampleWhatsappWalRows()) + whatsappInserts(goneInLog) +
          QStringList{QStringLiteral("DELETE FROM ZWAMESSAGE WHERE Z_PK IN (43, 50, 51)"),
                      QStringLiteral("DELETE FROM ZWACHATSESSION WHERE Z_PK = 7")});
  // 2022-04-15 08:10 UTC and later: the times the media arrived.
  files << whatsappMediaFile(annaMedia("a4f1c2d0-1111-4a2b-9c3d-000000000001.jpg"), 1650010200)
        << whatsappMediaFile(annaMedia("a4f1c2d0-1111-4a2b-9c3d-000000000001.thumb"), 1650010200)
        << whatsappMediaFile(annaMedia("a4f1c2d0-2222-4a2b-9c3d-000000000002.pdf"), 1650010500)
        << whatsappMediaFile(annaMedia("a4f1c2d0-4444-4a2b-9c3d-000000000004.thumb"), 1650011000)
        << whatsappMediaFile(groupMedia("7c0e9a11-5555-4a2b-9c3d-000000000005.mp4"), 1650011400)
        << whatsappMediaFile(groupMedia("7c0e9a11-5555-4a2b-9c3d-000000000005.thumb"), 1650011400)
        << whatsappMediaFile(QStringLiteral("Media/Profile/4915112345678-1649999999.jpg"))
        << whatsappMediaFile(QStringLiteral("Media/Profile/4915112345678-1649999999.thumb"));
  // Other files of the container that the reader passes over.
  files << file(whatsappGroupDomain(), QStringLiteral("Library/Preferences/group.net.whatsapp.WhatsApp.shared.plist"),
                QByteArray("bplist00"))
        << file(whatsappAppDomain(), QStringLiteral("Library/Preferences/net.whatsapp.WhatsApp.plist"),
                QByteArray("bplist00"));
  return files;
}

} // namespace fixture

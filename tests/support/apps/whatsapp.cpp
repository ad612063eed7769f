#include "tests/support/apps/whatsapp.h"

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
    s << QStringLiteral("INSERT INTO ZWACHATSESSION (Z_PK, Z_ENT, Z_OPT, ZARCHIVED, ZCONTACTABID, ZFLAGS, ZHIDDEN, "
                        "ZREMOVED, ZSESSIONTYPE, ZUNREADCOUNT, ZLASTMESSAGEDATE, ZCONTACTJID, ZPARTNERNAME) "
                        "VALUES (%1, %2, 1, 0, %3, 0, %4, %5, %6, 0, %7, %8, %9)")
             .arg(r.pk)
             .arg(EntSession)
             .arg(r.contactAbId)
             .arg(r.hidden)
             .arg(r.removed)
             .arg(r.sessionType)
             .arg(real(r.lastMessageDate), lit(r.jid), lit(r.partnerName));
  for (const WaMember& r : rows.members)
    s << QStringLiteral("INSERT INTO ZWAGROUPMEMBER (Z_PK, Z_ENT, Z_OPT, ZCONTACTABID, ZISACTIVE, ZISADMIN, "
                        "ZCHATSESSION, ZCONTACTNAME, ZMEMBERJID) VALUES (%1, %2, 1, %3, 1, 0, %4, %5, %6)")
             .arg(r.pk)
             .arg(EntMember)
             .arg(r.contactAbId)
             .arg(key(r.session), lit(r.contactName), lit(r.jid));
  for (const WaMedia& r : rows.media)
    s << QStringLiteral("INSERT INTO ZWAMEDIAITEM (Z_PK, Z_ENT, Z_OPT, ZFILESIZE, ZMOVIEDURATION, ZMESSAGE, "
                        "ZAUTHORNAME, ZMEDIALOCALPATH, ZMEDIAURL, ZTITLE, ZVCARDNAME, ZVCARDSTRING, ZXMPPTHUMBPATH) "
                        "VALUES (%1, %2, 1, %3, %4, %5, %6, %7, %8, %9, %10, %11, %12)")
             .arg(r.pk)
             .arg(EntMedia)
             .arg(r.fileSize)
             .arg(r.movieDuration)
             .arg(key(r.message), lit(r.authorName), lit(r.localPath), lit(r.mediaUrl), lit(r.title),
                  lit(r.vcardName), lit(r.vcardString), lit(r.thumbPath));
  for (const WaMessage& r : rows.messages)
    s << QStringLiteral("INSERT INTO ZWAMESSAGE (Z_PK, Z_ENT, Z_OPT, ZFLAGS, ZGROUPEVENTTYPE, ZISFROMME, "
                        "ZMESSAGEERRORSTATUS, ZMESSAGESTATUS, ZMESSAGETYPE, ZSORT, ZSTARRED, ZCHATSESSION, "
                        "ZGROUPMEMBER, ZMEDIAITEM, ZPARENTMESSAGE, ZMESSAGEDATE, ZTEXT, ZTOJID, ZFROMJID) "
                        "VALUES (%1, %2, 1, 0, %3, %4, 0, %5, %6, %7, 0, %8, %9, %10, %11, %12, %13, %14, %15)")
             .arg(r.pk)
             .arg(EntMessage)
             .arg(r.groupEventType)
             .arg(r.isFromMe)
             .arg(r.status)
             .arg(r.type)
             .arg(r.sort)
             .arg(key(r.session), key(r.groupMember), key(r.mediaItem), key(r.parent), real(r.date), lit(r.text),
                  lit(r.toJid), lit(r.fromJid));
  for (const WaPicture& r : rows.pictures)
    s << QStringLiteral("INSERT INTO ZWAPROFILEPICTUREITEM (Z_PK, Z_ENT, Z_OPT, ZJID, ZPATH) VALUES (%1, %2, 1, %3, %4)")
             .arg(r.pk)
             .arg(EntPicture)
             .arg(lit(r.jid), lit(r.path));
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

QList<StoredFile> whatsappDbFiles(const WhatsappDb& rows, const WhatsappDb& newer) {
  return whatsappDbFilesFrom(whatsappSchema() + whatsappInserts(rows), whatsappInserts(newer));
}

StoredFile whatsappMediaFile(const QString& path, quint32 modified) {
  QByteArray data;
  if (path.endsWith(QLatin1String(".mp4")))
    data = QByteArray::fromHex("0000001c667479706d703432") + QByteArray("isommp42") + path.toUtf8();
  else
    data = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000") + path.toUtf8();
  const QString relative =
      path.startsWith(QLatin1String("Media/Profile/")) ? path : QStringLiteral("Message/") + path;
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

WaMessage msg(qint64 pk, qint64 session, int sort, double minutes, const QString& text, int fromMe = 0) {
  WaMessage m;
  m.pk = pk;
  m.session = session;
  m.sort = sort;
  m.date = kT0 + minutes * 60;
  m.text = text;
  m.isFromMe = fromMe;
  m.toJid = fromMe ? QString() : kOwner;
  return m;
}
} // namespace

WhatsappDb sampleWhatsappRows() {
  WhatsappDb d;
  WaSession anna;
  anna.pk = 1;
  anna.jid = kAnna;
  anna.partnerName = QStringLiteral("Anna Berg");
  anna.contactAbId = 12;
  anna.lastMessageDate = kT0 + 3000;
  WaSession group;
  group.pk = 2;
  group.jid = kGroup;
  group.partnerName = QStringLiteral("Climbing Club");
  group.sessionType = 1;
  group.lastMessageDate = kT0 + 2000;
  WaSession dora;
  dora.pk = 3;
  dora.jid = QStringLiteral("447700900123@s.whatsapp.net");
  dora.partnerName = QStringLiteral("\u200e+44 7700 900123");
  dora.lastMessageDate = kT0 - 86400;
  WaSession hidden;
  hidden.pk = 4;
  hidden.jid = QStringLiteral("status@broadcast");
  hidden.partnerName = QStringLiteral("Status");
  hidden.sessionType = 3;
  hidden.hidden = 1;
  WaSession removed;
  removed.pk = 5;
  removed.jid = QStringLiteral("4915155555555@s.whatsapp.net");
  removed.partnerName = QStringLiteral("Old Contact");
  removed.removed = 1;
  d.sessions << anna << group << dora << hidden << removed;

  WaMember me{1, 2, kOwner, QString(), 0};
  WaMember annaMember{2, 2, kAnna, QStringLiteral("Anna Berg"), 12};
  WaMember benMember{3, 2, kBen, QStringLiteral("Ben Ode"), 0};
  d.members << me << annaMember << benMember;

  // One-to-one chat with Anna.
  WaMessage notice = msg(1, 1, 1, 0, QString());
  notice.type = 10;
  notice.status = 0;
  notice.groupEventType = 2;
  d.messages << notice << msg(2, 1, 2, 1, QStringLiteral("Hi Anna, are we still on for Saturday?"), 1)
             << msg(3, 1, 3, 4, QStringLiteral("Yes! 10:00 at the gym \u2013 bring chalk \U0001F9D7"));
  WaMessage picture = msg(4, 1, 4, 6, QString());
  picture.type = 1;
  picture.mediaItem = 1;
  WaMessage document = msg(5, 1, 5, 9, QString(), 1);
  document.type = 8;
  document.mediaItem = 2;
  WaMessage card = msg(6, 1, 6, 12, QString());
  card.type = 4;
  card.mediaItem = 3;
  WaMessage place = msg(7, 1, 7, 15, QString(), 1);
  place.type = 5;
  place.mediaItem = 4;
  WaMessage pending = msg(8, 1, 8, 16, QStringLiteral("See you there"), 1);
  pending.status = 7; // not delivered
  d.messages << picture << document << card << place << pending;

  WaMedia pic;
  pic.pk = 1;
  pic.message = 4;
  pic.localPath = annaMedia("a4f1c2d0-1111-4a2b-9c3d-000000000001.jpg");
  pic.thumbPath = annaMedia("a4f1c2d0-1111-4a2b-9c3d-000000000001.thumb");
  pic.mediaUrl = QStringLiteral("https://mmg.whatsapp.net/v/t62.7118-24/000001.enc");
  pic.title = QStringLiteral("The new wall");
  pic.vcardString = QStringLiteral("image/jpeg");
  pic.fileSize = 52311;
  WaMedia doc;
  doc.pk = 2;
  doc.message = 5;
  doc.localPath = annaMedia("a4f1c2d0-2222-4a2b-9c3d-000000000002.pdf");
  doc.title = QStringLiteral("route-map.pdf");
  doc.authorName = QStringLiteral("Route map, 3 pages");
  doc.vcardString = QStringLiteral("application/pdf");
  doc.fileSize = 18000;
  WaMedia vcard;
  vcard.pk = 3;
  vcard.message = 6;
  vcard.vcardName = QStringLiteral("Gym front desk");
  vcard.vcardString = QStringLiteral("BEGIN:VCARD\nVERSION:3.0\nFN:Gym front desk\nTEL:+49301234567\nEND:VCARD");
  WaMedia location;
  location.pk = 4;
  location.message = 7;
  location.thumbPath = annaMedia("a4f1c2d0-4444-4a2b-9c3d-000000000004.thumb");
  location.title = QStringLiteral("Boulderhalle Nord");
  d.media << pic << doc << vcard << location;

  // The group: created by Ben, the owner added, a subject change, talk, a video.
  WaMessage created = msg(20, 2, 1, 0, QStringLiteral("Climbing"));
  created.type = 6;
  created.groupEventType = 12;
  created.groupMember = 3;
  created.status = 0;
  WaMessage added = msg(21, 2, 2, 0.5, kOwner);
  added.type = 6;
  added.groupEventType = 2;
  added.groupMember = 3;
  added.status = 0;
  WaMessage subject = msg(22, 2, 3, 5, QStringLiteral("Climbing Club"));
  subject.type = 6;
  subject.groupEventType = 1;
  subject.groupMember = 2;
  subject.status = 0;
  WaMessage benSays = msg(23, 2, 4, 10, QStringLiteral("Welcome everyone"));
  benSays.groupMember = 3;
  WaMessage ownerSays = msg(24, 2, 5, 12, QStringLiteral("Thanks Ben!"), 1);
  WaMessage video = msg(25, 2, 6, 20, QString());
  video.type = 2;
  video.groupMember = 2;
  video.mediaItem = 5;
  d.messages << created << added << subject << benSays << ownerSays << video;
  WaMedia clip;
  clip.pk = 5;
  clip.message = 25;
  clip.localPath = groupMedia("7c0e9a11-5555-4a2b-9c3d-000000000005.mp4");
  clip.thumbPath = groupMedia("7c0e9a11-5555-4a2b-9c3d-000000000005.thumb");
  clip.title = QStringLiteral("First ascent");
  clip.movieDuration = 14;
  clip.fileSize = 1200000;
  d.media << clip;

  // Messages of the hidden and removed chats are never shown.
  d.messages << msg(30, 4, 1, 30, QStringLiteral("status update")) << msg(31, 5, 1, 31, QStringLiteral("gone"));

  WaPicture annaPicture{1, kAnna, QStringLiteral("Media/Profile/4915112345678-1649999999")};
  WaPicture groupPicture{2, kGroup, QString()}; // groups have no path
  WaPicture junk{3, QStringLiteral("a_") + kAnna, QStringLiteral("CiIKHDQ5MTUxMTIzNDU2Nzg6MEBzLndoYXRzYXBwLm5ldBAB")};
  d.pictures << annaPicture << groupPicture << junk;
  return d;
}

WhatsappDb sampleWhatsappWalRows() {
  WhatsappDb d;
  WaSession carl;
  carl.pk = 6;
  carl.jid = kCarl;
  carl.partnerName = QStringLiteral("Carl Diaz");
  carl.contactAbId = 31;
  carl.lastMessageDate = kT0 + 86400;
  d.sessions << carl;
  d.messages << msg(40, 6, 1, 1440, QStringLiteral("Hello from the other side of the log"))
             << msg(41, 6, 2, 1442, QStringLiteral("Got it."), 1)
             << msg(42, 1, 9, 50, QStringLiteral("One more thing: bring water"));
  return d;
}

QList<StoredFile> sampleWhatsappFiles() {
  QList<StoredFile> files = whatsappDbFiles(sampleWhatsappRows(), sampleWhatsappWalRows());
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

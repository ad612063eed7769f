#include "samples/apps/callhistory.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
QString blob(const QString& text) { return QStringLiteral("X'%1'").arg(QString::fromLatin1(text.toUtf8().toHex())); }

QByteArray build(const QStringList& statements, bool wal, QByteArray* walBytes) {
  QByteArray db;
  QString error;
  if (!makeSqliteDb(statements, wal, &db, walBytes, &error))
    qFatal("fixture database: %s", qPrintable(error));
  return db;
}
} // namespace

QStringList callHistoryStatements(const QList<StoredCall>& calls, bool withServiceProvider) {
  QStringList s;
  s << QStringLiteral(
           "CREATE TABLE ZCALLRECORD ( Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZANSWERED INTEGER,"
           " ZCALL_CATEGORY INTEGER, ZCALLTYPE INTEGER, ZDISCONNECTED_CAUSE INTEGER, ZFACE_TIME_DATA INTEGER,"
           " ZFILTERED_OUT_REASON INTEGER, ZHANDLE_TYPE INTEGER, ZJUNKCONFIDENCE INTEGER, ZNUMBER_AVAILABILITY INTEGER,"
           " ZORIGINATED INTEGER, ZREAD INTEGER, ZVERIFICATIONSTATUS INTEGER, ZDATE TIMESTAMP, ZDURATION FLOAT,"
           " ZISO_COUNTRY_CODE VARCHAR, ZLOCATION VARCHAR, ZNAME VARCHAR, %1 ZUNIQUE_ID VARCHAR,"
           " ZLOCALPARTICIPANTUUID BLOB, ZOUTGOINGLOCALPARTICIPANTUUID BLOB, ZADDRESS BLOB )")
           .arg(withServiceProvider ? QStringLiteral("ZSERVICE_PROVIDER VARCHAR,") : QString())
    << QStringLiteral("CREATE INDEX Z_CallRecord_byDateIndex ON ZCALLRECORD (ZDATE COLLATE BINARY ASC)")
    << QStringLiteral("CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER,"
                      " Z_MAX INTEGER)");
  qint64 max = 0;
  QStringList rows;
  for (const StoredCall& c : calls) {
    max = qMax(max, c.pk);
    rows << sqlf("(%1, 2, 1, %2, 1, %3, 0, %4, 0, 2, 0, 1, %5, 1, 0, %6, %7, %8, %9, %10, %11 '%12', %13)", c.pk,
                 c.answered, c.callType, c.faceTimeData, c.originated, QString::number(c.date, 'f', 6),
                 QString::number(c.duration, 'f', 6), sqlQuotedOrNull(c.countryCode), sqlQuotedOrNull(c.location),
                 sqlQuotedOrNull(c.name),
                 withServiceProvider ? sqlQuotedOrNull(c.serviceProvider) + QLatin1Char(',') : QString(),
                 QStringLiteral("UID-%1").arg(c.pk), blob(c.address));
  }
  // Several statements per transaction, as the phone commits them.
  for (int i = 0; i < rows.size(); i += 500)
    s << QStringLiteral("INSERT INTO ZCALLRECORD (Z_PK, Z_ENT, Z_OPT, ZANSWERED, ZCALL_CATEGORY, ZCALLTYPE,"
                        " ZDISCONNECTED_CAUSE, ZFACE_TIME_DATA, ZFILTERED_OUT_REASON, ZHANDLE_TYPE, ZJUNKCONFIDENCE,"
                        " ZNUMBER_AVAILABILITY, ZORIGINATED, ZREAD, ZVERIFICATIONSTATUS, ZDATE, ZDURATION,"
                        " ZISO_COUNTRY_CODE, ZLOCATION, ZNAME, %1 ZUNIQUE_ID, ZADDRESS) VALUES %2")
             .arg(withServiceProvider ? QStringLiteral("ZSERVICE_PROVIDER,") : QString(),
                  rows.mid(i, 500).join(QLatin1Char(',')));
  s << QStringLiteral("INSERT INTO Z_PRIMARYKEY VALUES (2, 'CallRecord', 0, %1)").arg(max);
  return s;
}

QStringList oldCallHistoryStatements(const QList<OldCall>& calls) {
  QStringList s;
  s << QStringLiteral("CREATE TABLE call (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, address TEXT, date INTEGER,"
                      " duration INTEGER, flags INTEGER, id INTEGER, name TEXT, country_code TEXT, network_code TEXT,"
                      " read INTEGER, assisted INTEGER, face_time_data BLOB, originalAddress TEXT)")
    << QStringLiteral("CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key))");
  for (const OldCall& c : calls)
    s << sqlf("INSERT INTO call VALUES (%1, %2, %3, %4, %5, %6, %7, '310', '410', 1, 0, NULL, %2)", c.rowId,
              sqlNullable(c.address), c.date, c.duration, c.flags, c.personId, sqlQuotedOrNull(c.name));
  return s;
}

QStringList addressBookStatements(const QList<Contact>& contacts) {
  QStringList s;
  s << QStringLiteral("CREATE TABLE ABPerson (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, First TEXT, Last TEXT,"
                      " Middle TEXT, FirstPhonetic TEXT, MiddlePhonetic TEXT, LastPhonetic TEXT, Organization TEXT,"
                      " Department TEXT, Note TEXT, Kind INTEGER, Birthday TEXT, JobTitle TEXT, Nickname TEXT,"
                      " Prefix TEXT, Suffix TEXT, FirstSort TEXT, LastSort TEXT, CreationDate INTEGER,"
                      " ModificationDate INTEGER, CompositeNameFallback TEXT, DisplayName TEXT)")
    << QStringLiteral("CREATE TABLE ABMultiValue (UID INTEGER PRIMARY KEY, record_id INTEGER, property INTEGER,"
                      " identifier INTEGER, label INTEGER, value TEXT, guid TEXT)")
    << QStringLiteral("CREATE TABLE ABMultiValueLabel (value TEXT, UNIQUE(value))")
    << QStringLiteral("INSERT INTO ABMultiValueLabel VALUES ('_$!<Mobile>!$_'), ('_$!<Home>!$_')");
  int uid = 0;
  for (const Contact& c : contacts) {
    s << sqlf("INSERT INTO ABPerson (ROWID, First, Last, Organization, Kind) VALUES (%1, %2, %3, %4, %5)", c.rowId,
              sqlQuotedOrNull(c.first), sqlQuotedOrNull(c.last), sqlQuotedOrNull(c.organization),
              c.first.isEmpty() && c.last.isEmpty() ? 1 : 0);
    // Phone numbers are property 3 with label 1 (mobile), addresses 4 with label 2 (home).
    for (const QString& p : c.phones)
      s << sqlf("INSERT INTO ABMultiValue VALUES (%1, %2, 3, 0, 1, %3, 'g%1')", ++uid, c.rowId, sqlNullable(p));
    for (const QString& e : c.emails)
      s << sqlf("INSERT INTO ABMultiValue VALUES (%1, %2, 4, 0, 2, %3, 'g%1')", ++uid, c.rowId, sqlNullable(e));
  }
  return s;
}

namespace {
QStringList voicemailStatements(const QList<Voicemail>& messages) {
  QStringList s;
  s << QStringLiteral("CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key))")
    << QStringLiteral("CREATE TABLE voicemail (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, remote_uid INTEGER,"
                      " date INTEGER, token TEXT, sender TEXT, callback_num TEXT, duration INTEGER,"
                      " expiration INTEGER, trashed_date INTEGER, flags INTEGER, receiver TEXT, label TEXT)")
    << QStringLiteral("CREATE TABLE deleted (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, remote_uid INTEGER,"
                      " date INTEGER, token TEXT, sender TEXT, callback_num TEXT, duration INTEGER,"
                      " expiration INTEGER, trashed_date INTEGER, flags INTEGER, receiver TEXT, label TEXT)")
    << QStringLiteral("CREATE TABLE map (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, account TEXT, label TEXT)")
    << QStringLiteral("CREATE INDEX date_index on voicemail(date)");
  for (const Voicemail& v : messages)
    s << sqlf("INSERT INTO voicemail VALUES (%1, %2, %3, 'Complete', %4, %4, %5, %6, 0, 3, NULL, NULL)", v.rowId,
              100 + v.rowId, v.date, sqlQuotedOrNull(v.sender), v.duration, v.date + 30 * 86400);
  return s;
}

} // namespace

QByteArray amrRecording(int frames) {
  // A NO_DATA frame header (type 15, quality bit set) per 20 ms.
  return QByteArray("#!AMR\n") + QByteArray(frames, char(0x7C));
}

QList<StoredFile> callHistoryStoreFiles(const QList<StoredCall>& calls) {
  QByteArray wal;
  const QByteArray db = build(callHistoryStatements(calls), true, &wal);
  const QString home = QStringLiteral("HomeDomain");
  const QString path = QStringLiteral("Library/CallHistoryDB/CallHistory.storedata");
  return {file(home, path, db), file(home, path + QStringLiteral("-wal"), wal)};
}

QList<StoredFile> oldCallHistoryFiles(const QList<OldCall>& calls, const QString& domain) {
  return {file(domain, QStringLiteral("Library/CallHistory/call_history.db"),
               build(oldCallHistoryStatements(calls), false, nullptr))};
}

QList<StoredFile> addressBookFiles(const QList<Contact>& contacts) {
  QByteArray wal;
  const QByteArray db = build(addressBookStatements(contacts), true, &wal);
  const QString home = QStringLiteral("HomeDomain");
  const QString path = QStringLiteral("Library/AddressBook/AddressBook.sqlitedb");
  return {file(home, path, db), file(home, path + QStringLiteral("-wal"), wal)};
}

QList<StoredFile> voicemailFiles(const QList<Voicemail>& messages) {
  const QString home = QStringLiteral("HomeDomain");
  QList<StoredFile> files{file(home, QStringLiteral("Library/Voicemail/voicemail.db"),
                               build(voicemailStatements(messages), false, nullptr))};
  for (const Voicemail& v : messages) {
    StoredFile f = file(home, QStringLiteral("Library/Voicemail/%1.amr").arg(v.rowId), amrRecording(v.duration * 50));
    f.modified = quint32(v.date);
    files << f;
  }
  return files;
}

QList<StoredFile> sampleCallHistoryFiles() {
  // 2022-04-20 09:00 UTC in seconds since 2001.
  const double day = 672138000;
  QList<StoredCall> calls;
  auto call = [&](qint64 pk, double date, const QString& address, int originated, int answered, double duration) {
    StoredCall c;
    c.pk = pk;
    c.date = date;
    c.address = address;
    c.originated = originated;
    c.answered = answered;
    c.duration = duration;
    calls << c;
    return &calls.last();
  };
  call(1, day, QStringLiteral("+14155550123"), 1, 0, 312.4)->location = QStringLiteral("San Francisco, CA");
  call(2, day + 3600, QStringLiteral("(415) 555-0123"), 0, 1, 48.9)->location = QStringLiteral("San Francisco, CA");
  call(3, day + 7200, QStringLiteral("+442071838750"), 0, 0, 0)->location = QStringLiteral("United Kingdom");
  call(4, day + 9000, QStringLiteral("+8613800138000"), 1, 0, 0)->location =
      QStringLiteral("<<RecentsNumberLocationNotFound>>");
  StoredCall* ft = call(5, day + 86400, QStringLiteral("anna.berg@example.com"), 1, 0, 95.2);
  ft->callType = 8;
  ft->faceTimeData = QStringLiteral("38695306");
  ft->serviceProvider = QStringLiteral("com.apple.FaceTime");
  StoredCall* audio = call(6, day + 90000, QStringLiteral("+14155550123"), 0, 1, 61);
  audio->callType = 16;
  audio->faceTimeData = QStringLiteral("3785130");
  audio->serviceProvider = QStringLiteral("com.apple.FaceTime");
  call(7, day + 95000, QStringLiteral("+15105550199"), 0, 1, 20)->faceTimeData = QStringLiteral("0");
  call(8, day + 99000, QStringLiteral("+15105550177"), 1, 0, 130)->name = QStringLiteral("Pizza Roma");

  const QList<Contact> contacts = {
      {1,
       QStringLiteral("Anna"),
       QStringLiteral("Berg"),
       QString(),
       {QStringLiteral("(415) 555-0123")},
       {QStringLiteral("Anna.Berg@example.com")}},
      {2, QString::fromUtf8("小明"), QString::fromUtf8("王"), QString(), {QStringLiteral("138 0013 8000")}, {}},
      {3, QString(), QString(), QStringLiteral("Museum Shop"), {QStringLiteral("020 7183 8750")}, {}}};

  const QList<Voicemail> voicemail = {{1, 1650535200, QStringLiteral("+14155550123"), 3},
                                      {2, 1650621600, QStringLiteral("+442071838750"), 2}};

  // The phone kept the store of its first system beside the current one; only
  // the current one is read.
  const QList<OldCall> older{{1, QStringLiteral("+14155550123"), 1262340000, 60, 5, 1, QString()}};

  // Two calls the owner deleted from the list; the log still holds them.
  call(9, day + 100000, QStringLiteral("+15105550142"), 1, 0, 75)->name = QStringLiteral("Locksmith Nord");
  call(10, day + 101000, QStringLiteral("+15105550142"), 0, 1, 33);
  QByteArray wal;
  const QByteArray db = build(QStringList{QStringLiteral("PRAGMA secure_delete=off")} + callHistoryStatements(calls) +
                                  QStringList{QStringLiteral("DELETE FROM ZCALLRECORD WHERE Z_PK IN (9, 10)")},
                              true, &wal);
  const QString home = QStringLiteral("HomeDomain");
  const QString path = QStringLiteral("Library/CallHistoryDB/CallHistory.storedata");
  return QList<StoredFile>{file(home, path, db), file(home, path + QStringLiteral("-wal"), wal)} +
         oldCallHistoryFiles(older) + addressBookFiles(contacts) + voicemailFiles(voicemail);
}

} // namespace fixture

#include "readers/ios/callhistory/callhistoryqueries.h"
#include "readers/ios/callhistory/calllistcollection.h"
#include "readers/ios/callhistory/contactnameindex.h"
#include "readers/ios/callhistory/deletedcalls.h"
#include "readers/ios/callhistory/phonenumber.h"
#include "readers/ios/voicemail/voicemailcollection.h"

#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "model/oxfileitem.h"
#include "platform/backup/mobilebackup.h"
#include "service/whatsappservice.h"
#include "samples/apps/callhistory.h"
#include "samples/samplebackup.h"
#include "tests/support/testdata.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {
using namespace fixture;

const QString kHome = QStringLiteral("HomeDomain");

QString writeDb(const QTemporaryDir& dir, const QString& name, const QStringList& statements) {
  return testdata::execSqlite(dir.filePath(name), statements);
}

// A real store copied with its companions (never opened in place).
QString copyRealStore(const QTemporaryDir& dir, const char* folder, const char* name) {
  const QString relative = QLatin1String(folder) + QLatin1Char('/') + QLatin1String(name);
  return testdata::copyReal(QStringLiteral(SHERD_REALDATA_DIR "/") + relative, dir.filePath(relative));
}

class CallHistory : public ::testing::Test {
protected:
  void loadStore(const QList<StoredCall>& calls, const QMap<QString, QString>& contacts = {}, bool provider = true) {
    CCalllistCollection collection(&list, contacts, {});
    collection.loadStore(writeDb(dir, QStringLiteral("CallHistory%1.storedata").arg(++n),
                                 fixture::callHistoryStatements(calls, provider)));
  }
  MobileBackup* open(const QList<StoredFile>& files) {
    const QString folder = dir.filePath(QStringLiteral("b%1").arg(++n));
    QString error;
    EXPECT_TRUE(writeBackup(folder, BackupPlan(), files, &error)) << error.toStdString();
    backup.reset(MobileBackup::loadFromPath(folder));
    EXPECT_TRUE(backup);
    list.clear();
    return backup.get();
  }
  // Column c of every item, the newest first.
  QString column(int c) {
    QStringList out;
    for (int i = 0; i < list.count(0); ++i)
      out << list.at(i, false)->value(c);
    return out.join('|');
  }
  QTemporaryDir dir;
  int n = 0;
  testdata::LogCapture log;
  std::unique_ptr<MobileBackup> backup;
  OxData list{10};
};

StoredCall call(qint64 pk, int originated, int answered, double duration, int callType = 1,
                const char* faceTime = "NULL", const char* provider = "com.apple.Telephony") {
  StoredCall c;
  c.pk = pk;
  c.date = 600000000 + pk * 60;
  c.originated = originated;
  c.answered = answered;
  c.duration = duration;
  c.callType = callType;
  c.faceTimeData = QString::fromLatin1(faceTime);
  c.serviceProvider = QString::fromLatin1(provider);
  c.address = QStringLiteral("+1919555%1").arg(1000 + pk);
  return c;
}

TEST_F(CallHistory, TypeAndDurationRules) {
  const std::pair<StoredCall, const char*> cases[] = {
      // type|duration|duration key
      {call(2, 1, 0, 0.9), "Outgoing Calls|Canceled|-1"}, // below a second
      {call(3, 1, 0, 3725.7), "Outgoing Calls|01:02:05|3725"},
      {call(5, 0, 0, 7.5), "Incoming Calls|Missed|7"}, // rejected after ringing
      {call(7, 1, 0, 61, 16, "3785130", "com.apple.FaceTime"), "Outgoing FaceTime Audio|00:01:01|61"},
      {call(10, 0, 0, 0, 8, "8", "com.apple.FaceTime"), "Incoming FaceTime|Missed|0"},
      {call(11, 0, 1, 20, 1, "0"), "Incoming Calls|00:00:20|20"}, // a telephone call, whatever the column holds
      {call(13, 0, 1, 30, 0, "0", "net.whatsapp.WhatsApp"), "Incoming FaceTime|00:00:30|30"},
  };
  QList<StoredCall> calls;
  for (const auto& c : cases)
    calls << c.first;
  loadStore(calls);
  ASSERT_EQ(list.count(0), calls.size());
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    EXPECT_EQ(testdata::fields(item->value(4), item->value(5), item->sortValue(5)),
              QLatin1String(cases[list.count(0) - 1 - i].second)); // newest first
  }
  // A store without the provider column follows the FaceTime column alone.
  list.clear();
  loadStore({call(1, 0, 1, 20, 1, "0")}, {}, false);
  EXPECT_EQ(list.at(0, false)->value(4), QStringLiteral("Incoming FaceTime"));
}

// Names from the record or from the host's map, and numbers that are none.
TEST_F(CallHistory, LocationAndNames) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      // address, stored name, stored location: name|phone|location
      {"+19195551000", "  Stored Name ", "San Jose, CA", "Stored Name|+19195551000|San Jose, CA"},
      {"919 555-1234", "", "<<RecentsNumberLocationNotFound>>", "Bea|919 555-1234|"}, // spaces, hyphens
      {"+44 20 7946 0000", "", "", "+44 20 7946 0000|+44 20 7946 0000|"},             // nobody's
      {"anna@example.com", "", "", "Анна|anna@example.com|"},
      {"   ", "", "", "||"},
      {"12345", "", "", "12345|12345|"}, // too short to match "Short"
  };
  QList<StoredCall> calls;
  for (const auto& [address, name, location, expected] : cases) {
    calls << call(calls.size() + 1, 0, 1, 10);
    calls.last().address = QString::fromUtf8(address);
    calls.last().name = QString::fromUtf8(name);
    calls.last().location = QString::fromUtf8(location);
  }
  loadStore(calls, {{QStringLiteral("+1-919-555-1234"), QStringLiteral("Bea")},
                    {QStringLiteral("12345"), QStringLiteral("Short")},
                    {QStringLiteral("anna@example.com"), QString::fromUtf8("Анна")}});
  ASSERT_EQ(list.count(0), int(std::size(cases)));
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    EXPECT_EQ(testdata::fields(item->value(0), item->value(1), item->value(3)),
              QString::fromUtf8(std::get<3>(cases[list.count(0) - 1 - i]))); // newest first
  }
}

// Without a host map, the backup's address book names the calls by the host
// map's rule (dashes and spaces dropped, either ends with the other, both
// longer than five characters, first key in key order), and by the numbers'
// normal form where the rule finds nothing.
TEST_F(CallHistory, BookNamesByTheHostMapsRuleThenByNormalForm) {
  const QList<Contact> book{
      {1, QStringLiteral("Anna"), QString(), QString(), {QStringLiteral("+1 415-555-0123")}, {}},
      {2, QStringLiteral("Ben"), QString(), QString(), {QStringLiteral("030 1234 567")}, {}},
      {3, QStringLiteral("Cleo"), QString(), QString(), {QStringLiteral("+44 20 7183 8750")}, {}},
      {4, QStringLiteral("Fay"), QString(), QString(), {QStringLiteral("+1 650-555-0123")}, {}},
      {5, QStringLiteral("Gus"), QString(), QString(), {QStringLiteral("(919) 888-7386"), QStringLiteral("1234")},
       {QStringLiteral("Gus@Example.com")}},
  };
  const struct {
    const char* what;
    const char* address;
    const char* name;
  } rows[] = {
      {"no area code, dash", "555-0123", "Anna"}, // Fay's number ends so too: Anna's key comes first
      {"no country code, spaces", "415 555 0123", "Anna"},
      {"no country code, dashes and spaces", "20-7183 8750", "Cleo"},
      {"full number for a card without country code", "+4930 1234567", "Ben"}, // "030..." is no suffix
      {"card with brackets", "+19198887386", "Gus"},                              // only the normal form
      {"address, case as stored", "Gus@Example.com", "Gus"},
      {"five characters never match", "-4-1-2-3-4", "-4-1-2-3-4"},
      {"nobody's", "+33 1 23 45 67 89", "+33 1 23 45 67 89"},
  };
  QList<StoredCall> calls;
  for (const auto& r : rows) {
    calls << call(calls.size() + 1, 0, 1, 10);
    calls.last().address = QString::fromUtf8(r.address);
    calls.last().countryCode = QStringLiteral("de");
  }
  const QString bookPath = writeDb(dir, QStringLiteral("AddressBook.sqlitedb"), fixture::addressBookStatements(book));
  for (const bool emptyBook : {false, true}) {
    list.clear();
    CCalllistCollection collection(&list, {}, {});
    if (!emptyBook) {
      ASSERT_TRUE(collection.loadAddressBook(bookPath));
    }
    collection.loadStore(writeDb(dir, QStringLiteral("CallHistory%1.storedata").arg(++n),
                                 fixture::callHistoryStatements(calls)));
    ASSERT_EQ(list.count(0), int(std::size(rows)));
    for (int i = 0; i < list.count(0); ++i) {
      const auto& r = rows[list.count(0) - 1 - i]; // newest first
      EXPECT_EQ(list.at(i, false)->value(0), QString::fromUtf8(emptyBook ? r.address : r.name))
          << r.what << (emptyBook ? " (no book)" : "");
    }
  }
}

TEST_F(CallHistory, OlderStoreWithAddressBook) {
  const qint64 t = 1300000000; // 2011-03-13
  // Name, type, duration and location, newest first (+1 and +44 are shared
  // by several countries, so they give no location).
  const std::pair<OldCall, const char*> calls[] = {
      {{7, "+49 30 1234567", t + 60, 5, 4, 99, {}}, "Host Person|Incoming Calls|00:00:05|Germany"}, // the host's id map
      {{6, "+8613800138000", t + 50, 5, 4, -1, "Cached"}, "Cached|Incoming Calls|00:00:05|China"},
      {{5, "anna@example.com", t + 40, 80, 17, -1, {}}, "Anna Berg|Outgoing FaceTime|00:01:20|"}, // case ignored
      {{4, "+33 1 23 45 67 89", t + 30, 0, 5, -1, {}}, "+33 1 23 45 67 89|Outgoing Calls|Canceled|France"},
      {{3, "+442071838750", t + 20, 12, 4, 2, {}}, "Museum Shop|Incoming Calls|00:00:12|"}, // by person id
      {{2, "4155550123", t + 10, 0, 4, -1, {}}, "Anna Berg|Incoming Calls|Missed|"},
      {{1, "+14155550123", t, 65, 5, -1, {}}, "Anna Berg|Outgoing Calls|00:01:05|"},
  };
  const QStringList annasNumber{QStringLiteral("(415) 555-0123")}, annasAddress{QStringLiteral("Anna@Example.com")};
  const QList<Contact> contacts{
      {1, QStringLiteral("Anna"), QStringLiteral("Berg"), QString(), annasNumber, annasAddress},
      {2, QString(), QString(), QStringLiteral("Museum Shop"), {}, {}}};
  QList<OldCall> stored;
  for (const auto& c : calls)
    stored << c.first;
  CCalllistCollection collection(&list, {}, {{99, QStringLiteral("Host Person")}});
  ASSERT_TRUE(collection.loadAddressBook(
      writeDb(dir, QStringLiteral("AddressBook.sqlitedb"), fixture::addressBookStatements(contacts))));
  collection.loadOldStore(writeDb(dir, QStringLiteral("call_history.db"), fixture::oldCallHistoryStatements(stored)));
  ASSERT_EQ(list.count(0), int(std::size(calls)));
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    EXPECT_EQ(testdata::fields(item->value(0), item->value(4), item->value(5), item->value(3)),
              QString::fromUtf8(calls[i].second));
  }
}

TEST_F(CallHistory, OldestSchemaAndDamagedStores) {
  // The first systems' table: no cached name, no person, no FaceTime column.
  CCalllistCollection collection(&list, {}, {});
  collection.loadOldStore(
      writeDb(dir, QStringLiteral("call_history.db"),
              {QStringLiteral("CREATE TABLE call (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, address TEXT, date INTEGER,"
                              " duration INTEGER, flags INTEGER)"),
               QStringLiteral("INSERT INTO call VALUES (1, '5550100200', 1200000000, 30, 5)")}));
  EXPECT_EQ(column(5), QStringLiteral("00:00:30"));
  EXPECT_FALSE(log.contains(QStringLiteral("not read"))) << log.lines.join('\n').toStdString();

  list.clear();
  const QString junk = testdata::writeFile(dir.filePath(QStringLiteral("junk.storedata")), QByteArray(4096, 'x'));
  collection.loadStore(junk);
  collection.loadStore(dir.filePath(QStringLiteral("missing.storedata")));
  collection.loadStore(writeDb(dir, QStringLiteral("other.sqlite"), {QStringLiteral("create table t(a)")}));
  EXPECT_FALSE(collection.loadAddressBook(junk));
  EXPECT_EQ(list.count(0), 0);
  EXPECT_TRUE(log.contains(QStringLiteral("missing.storedata is missing")));
  EXPECT_TRUE(log.contains(QStringLiteral("its rows are not read")));
}

TEST_F(CallHistory, WhichStoreAndWhichNames) {
  const QList<Contact> book{
      {1, QStringLiteral("Anna"), QStringLiteral("Berg"), QString(), {QStringLiteral("(415) 555-0123")}, {}}};
  QList<StoredCall> newer{call(1, 0, 1, 10)};
  newer[0].address = QStringLiteral("+14155550123");
  const QList<OldCall> older{{1, "4155550123", 1300000000, 10, 4, -1, {}},
                             {2, "5550001111", 1300000100, 10, 4, -1, {}}};
  // Very old phones kept the book in AddressBook.db.
  QList<StoredFile> oldBook = addressBookFiles(book);
  for (StoredFile& f : oldBook)
    f.relativePath.replace(QStringLiteral("AddressBook.sqlitedb"), QStringLiteral("AddressBook.db"));
  const QMap<QString, QString> hostMap{{QStringLiteral("+1 555 000 1111"), QStringLiteral("From Host")}};
  const QList<StoredFile> newerStore = callHistoryStoreFiles(newer), olderStore = oldCallHistoryFiles(older),
                          homeStore = oldCallHistoryFiles(older, kHome), newBook = addressBookFiles(book);
  const struct {
    const char* what;
    QList<StoredFile> files;
    QMap<QString, QString> contacts;
    const char* names; // newest first
    const char* logged;
  } cases[] = {
      {"newer store, names from the backup's book", newerStore + newBook, {}, "Anna Berg", ""},
      {"newer store, the host's map replaces the book", newerStore + newBook, hostMap, "+14155550123", ""},
      {"both stores: only the newer one", newerStore + olderStore, {}, "+14155550123", "both call stores"},
      {"older store with book and host map", olderStore + newBook, hostMap, "From Host|Anna Berg", ""},
      {"older store in HomeDomain, no book", homeStore, {}, "5550001111|4155550123", "No address book"},
      {"older store, book in AddressBook.db", olderStore + oldBook, {}, "5550001111|Anna Berg", ""},
      {"no call store", newBook, {}, "", "No call history"},
  };
  for (const auto& c : cases) {
    log.lines.clear();
    MobileBackup* b = open(c.files);
    CCalllistCollection(&list, c.contacts, {}).load(b);
    EXPECT_EQ(column(0), QString::fromUtf8(c.names)) << c.what;
    EXPECT_TRUE(!*c.logged || log.contains(QString::fromUtf8(c.logged))) << c.what << "\n"
                                                                         << log.lines.join('\n').toStdString();
  }
}

TEST_F(CallHistory, VoicemailRecordings) {
  QList<StoredFile> files = voicemailFiles({{1, 1650535200, QStringLiteral("+14155550123"), 2},
                                            {2, 1650621600, QStringLiteral("+442071838750"), 1},
                                            {3, 1650621700, QStringLiteral("+15550001111"), 1}});
  files << file(kHome, QStringLiteral("Library/Voicemail/7.AMR"), amrRecording(5)) // capitals, no row
        << file(kHome, QStringLiteral("Library/Voicemail/old/8.amr"), amrRecording(5))
        << file(kHome, QStringLiteral("Library/Voicemail/9.amr"), QByteArray()) // empty
        << file(kHome, QStringLiteral("Library/Voicemail/1.transcript"), QByteArray("hello"))
        << file(QStringLiteral("MediaDomain"), QStringLiteral("Library/Voicemail/10.amr"), amrRecording(5));
  for (StoredFile& f : files)
    if (f.relativePath.endsWith(QLatin1String("/3.amr")))
      f.omitContent = true; // named in the manifest, missing on disk
  MobileBackup* b = open(files);
  CVoiceMailCollection(&list).load(b);
  QStringList recordings; // name|caller
  for (int i = 0; i < list.count(0); ++i)
    recordings << testdata::fields(list.at(i, false)->value(0), list.at(i, false)->value(1));
  recordings.sort();
  EXPECT_EQ(recordings.join(','), QStringLiteral("1.amr|+14155550123,2.amr|+442071838750,7.AMR|,8.amr|"));
  for (int i = 0; i < list.count(0); ++i) // each recording copied out
    EXPECT_TRUE(QFileInfo(dynamic_cast<OxFileItem*>(list.at(i, false))->filePath()).isFile());
  for (const char* logged : {"Library/Voicemail/3.amr of HomeDomain is missing", "empty file Library/Voicemail/9.amr",
                             "Voicemail 3 from +15550001111 has no recording"})
    EXPECT_TRUE(log.contains(QLatin1String(logged))) << logged << "\n" << log.lines.join('\n').toStdString();
}

TEST_F(CallHistory, ServiceLoadsCallsThenVoicemail) {
  const QString folder = dir.filePath(QStringLiteral("sample"));
  QString error;
  ASSERT_TRUE(writeSampleBackup(folder, QString(), &error)) << error.toStdString();
  WhatsappService service(folder, false);
  ASSERT_TRUE(service.onBeginLoadWhatsappOnly());
  service.loadWhatsappOnly(10);
  service.onEndLoadWhatsappOnly();
  OxData* calls = service.getOxData(10);
  EXPECT_EQ(calls->categoryItemCount(QStringLiteral("Call History")), 10);
  EXPECT_EQ(calls->allDeletedCount(), 2); // the two the owner deleted
  EXPECT_EQ(calls->categoryItemCount(QStringLiteral("Voice Mail")), 2);
  EXPECT_EQ(calls->firstLayerOrder().mid(0, 2).join('|'), QStringLiteral("Call History|Voice Mail"));
}

// ---- deleted calls ----

// 200 calls; the 77th has a name long enough for an overflow page.
QStringList storeStatements(bool older) {
  QList<StoredCall> calls;
  QList<OldCall> oldCalls;
  for (int i = 1; i <= 200; ++i) {
    StoredCall c = call(i, i % 3 == 0, i % 2, i % 7 == 0 ? 0 : 10 + i);
    c.name = i == 77 ? QStringLiteral("Overflowing name ").repeated(300) : i % 5 ? QStringLiteral("Caller %1").arg(i)
                                                                                  : QString();
    calls << c;
    oldCalls << OldCall{i, c.address, 1300000000 + i * 60, i % 7 == 0 ? 0 : 10 + i, i % 3 == 0 ? 5 : 4, -1, c.name};
  }
  // One transaction, as a sync of the phone writes them.
  return QStringList{QStringLiteral("begin")} +
         (older ? oldCallHistoryStatements(oldCalls) : callHistoryStatements(calls)) +
         QStringList{QStringLiteral("commit")};
}

// Every item as "name|phone|date|location|type|duration|deleted", by phone.
QMultiMap<QString, QString> itemsByPhone(const OxData& list) {
  QMultiMap<QString, QString> out;
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    QStringList fields;
    for (int c = 0; c < OxCallHistoryItem::ColumnCount; ++c)
      fields << item->value(c);
    fields << (item->flag(OxAbstractItem::ItemDeleted) ? QStringLiteral("deleted") : QStringLiteral("live"));
    out.insert(item->value(OxCallHistoryItem::ColPhone), fields.join('|'));
  }
  return out;
}

TEST_F(CallHistory, DeletedCallsComeBackFlaggedWithTheirValues) {
  struct Case {
    const char* name;
    bool older;
    bool wal;
  };
  const Case cases[] = {
      {"newer store, rollback journal", false, false},
      {"newer store, deletion in the log", false, true},
      {"older store, rollback journal", true, false},
      {"older store, deletion in the log", true, true},
  };
  // A run long enough to free whole pages, then the first and last rows, one
  // in the middle and the overflowing one.
  const QList<QList<qint64>> deletions{{120, 121, 122, 123, 124, 125, 126, 127, 128, 129, 130, 131, 132, 133, 134,
                                        135, 136, 137, 138, 139, 140, 141, 142, 143, 144, 145, 146, 147, 148, 149, 150},
                                       {1, 77, 95, 200}};
  QSet<qint64> gone;
  for (const QList<qint64>& d : deletions)
    for (qint64 k : d)
      gone.insert(k);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const QString table = c.older ? QStringLiteral("call where ROWID") : QStringLiteral("ZCALLRECORD where Z_PK");
    QStringList statements{QStringLiteral("pragma secure_delete=off")};
    statements << storeStatements(c.older);
    // A freelist with its trunk already, as a store in use has.
    QStringList deleting{QStringLiteral("create table pad(x)"), QStringLiteral("insert into pad values(zeroblob(20000))"),
                         QStringLiteral("drop table pad")};
    for (const QList<qint64>& d : deletions) {
      QStringList keys;
      for (qint64 k : d)
        keys << QString::number(k);
      deleting << QStringLiteral("delete from %1 in (%2)").arg(table, keys.join(','));
    }
    auto load = [&](const QStringList& extra, bool recover) {
      QByteArray db, wal;
      QString error;
      EXPECT_TRUE(fixture::makeSqliteDb(statements + extra, c.wal, &db, &wal, &error)) << error.toStdString();
      const QString path = dir.filePath(QStringLiteral("calls%1.db").arg(++n));
      testdata::writeFile(path, db);
      if (c.wal)
        testdata::writeFile(path + QStringLiteral("-wal"), wal);
      list.clear();
      CCalllistCollection collection(&list, {}, {});
      collection.setRecoverDeleted(recover);
      c.older ? collection.loadOldStore(path) : collection.loadStore(path);
      QByteArray bytes = db + wal;
      return std::make_pair(itemsByPhone(list), bytes);
    };
    const QMultiMap<QString, QString> whole = load({}, true).first;
    ASSERT_EQ(whole.size(), 200);
    const auto after = load(deleting, true);
    int recovered = 0;
    for (qint64 pk = 1; pk <= 200; ++pk) {
      const QString phone = QStringLiteral("+1919555%1").arg(1000 + pk);
      const QString expected = whole.value(phone);
      const QStringList got = after.first.values(phone);
      if (!gone.contains(pk)) {
        EXPECT_EQ(got, QStringList{expected}) << pk; // live and never marked
        continue;
      }
      // A deleted call comes back, exactly, whenever its bytes remain.
      const bool remains = after.second.contains(phone.toUtf8());
      ASSERT_LE(got.size(), 1) << pk;
      if (got.size() == 1) {
        ++recovered;
        EXPECT_EQ(got.first(), QString(expected).replace(QStringLiteral("|live"), QStringLiteral("|deleted"))) << pk;
      }
      EXPECT_EQ(got.size(), remains ? 1 : 0) << pk;
    }
    EXPECT_EQ(after.first.size(), 200 - gone.size() + recovered); // nothing invented
    EXPECT_GE(recovered, gone.size() / 2);
    // Switched off: the live calls alone.
    EXPECT_EQ(load(deleting, false).first.size(),
              200 - gone.size());
  }
}

// Loads a real store (copied with its write-ahead log) with a real address
// book; answers each call, the newest first, as "phone|type|duration|location|name".
QStringList realCalls(const char* store, const char* book) {
  QTemporaryDir dir;
  const QString storePath = copyRealStore(dir, store, "CallHistory.storedata");
  const QString bookPath = copyRealStore(dir, book, "AddressBook.sqlitedb");
  QStringList calls;
  OxData list(10);
  CCalllistCollection collection(&list, {}, {});
  collection.setRecoverDeleted(false);
  if (storePath.isEmpty() || bookPath.isEmpty() || !collection.loadAddressBook(bookPath))
    return calls;
  collection.loadStore(storePath);
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    calls << testdata::fields(item->value(1), item->value(4), item->value(5), item->value(3), item->value(0));
  }
  return calls;
}

TEST(RealCallHistory, Ios13StoreWithAllRowsInTheLog) {
  const QStringList calls = realCalls("callhistory-ios13", "addressbook-ios13");
  if (calls.isEmpty())
    GTEST_SKIP() << "real data not available";
  EXPECT_EQ(calls.size(), 37);
  EXPECT_EQ(calls.first(), QStringLiteral("+14082560700|Incoming Calls|Missed|San Jose, CA|+14082560700"));
  // The FaceTime handle is the e-mail address of the owner's card.
  EXPECT_TRUE(calls.contains(QStringLiteral("joshua.hickman1@me.com|Outgoing FaceTime|00:01:38||Josh Hickman")));
}

TEST(RealCallHistory, Ios14StoreWithZeroInTheFaceTimeColumn) {
  const QStringList calls = realCalls("callhistory-ios14", "addressbook-ios15");
  if (calls.isEmpty())
    GTEST_SKIP() << "real data not available";
  EXPECT_EQ(calls.size(), 25);
  EXPECT_EQ(calls.filter(QStringLiteral("FaceTime")).size(), 5);
  EXPECT_EQ(calls.first(), QStringLiteral("9192853680|Outgoing Calls|00:01:54||9192853680"));
  // "(919) 888-7386" in the book names both spellings of the number.
  EXPECT_TRUE(calls.contains(QStringLiteral("+19198887386|Incoming FaceTime Audio|00:01:36||This Is DFIR Two")));
  EXPECT_TRUE(calls.contains(QStringLiteral("9198887386|Outgoing FaceTime Audio|00:00:01||This Is DFIR Two")));
}

// The keys of the calls a real store deleted that its files still hold.
QList<qint64> realDeletedKeys(const char* store) {
  QTemporaryDir dir;
  const QString path = copyRealStore(dir, store, "CallHistory.storedata");
  QList<qint64> keys;
  if (path.isEmpty())
    return keys;
  CCallHistoryQuery live;
  live.query({path}, nullptr);
  CDeletedCalls deleted;
  deleted.read(path, false, live.records());
  for (const CallRecord* r : deleted.records())
    keys << r->pk;
  std::sort(keys.begin(), keys.end());
  return keys;
}

TEST(RealCallHistory, DeletedCallsThatOnlyOlderLogFramesHold) {
  QTemporaryDir dir;
  if (copyRealStore(dir, "callhistory-ios13", "CallHistory.storedata").isEmpty())
    GTEST_SKIP() << "real data not available";
  // Checked by hand: the 28 keys up to the store's Z_MAX (65) that the live
  // table lacks; the others are live (12, 16, 26-51, 55, 56, 58-64).
  QList<qint64> expected;
  for (qint64 k : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15, 17, 18, 19, 20, 21, 22, 23, 24, 25, 52, 53, 54, 57, 65})
    expected << k;
  EXPECT_EQ(realDeletedKeys("callhistory-ios13"), expected);
  EXPECT_EQ(realDeletedKeys("callhistory-ios14"), QList<qint64>());
}

TEST(RealCallHistory, AddressBookWithEverythingInTheLog) {
  QTemporaryDir own;
  const QString book = copyRealStore(own, "addressbook-ios16", "AddressBook.sqlitedb");
  if (book.isEmpty())
    GTEST_SKIP() << "real data not available";
  CAddressBook ab;
  ASSERT_TRUE(ab.load(book));
  EXPECT_EQ(ab.personCount(), 1);
  EXPECT_EQ(ab.nameOf(QStringLiteral("BillTheMegaKill@iCloud.com"), QString()), QStringLiteral("William Phorger"));
}

TEST_F(CallHistory, RealVoicemailDbWithoutMessages) {
  QFile real(QStringLiteral(SHERD_REALDATA_DIR "/voicemail-ios16/voicemail.db"));
  if (!real.open(QIODevice::ReadOnly))
    GTEST_SKIP() << "real data not available";
  MobileBackup* b = open({file(kHome, QStringLiteral("Library/Voicemail/voicemail.db"), real.readAll()),
                          file(kHome, QStringLiteral("Library/Voicemail/1.amr"), amrRecording(3))});
  CVoiceMailCollection(&list).load(b);
  ASSERT_EQ(list.count(0), 1);
  EXPECT_EQ(list.at(0, false)->value(1), QString());
}

TEST(AddressBooks, NameComposition) {
  // first|middle|last|organization|nickname
  const std::pair<const char*, const char*> cases[] = {
      {"Anna|Maria|Berg|Acme|", "Anna Maria Berg"},
      {"|||Apple Inc.|Fruit", "Apple Inc."},
      {"  ||  ||Fruit", "Fruit"},
      {"小明||王||", "王小明"},
      {"Анна||Петрова||", "Анна Петрова"},
  };
  for (const auto& [parts, name] : cases) {
    const QStringList p = QString::fromUtf8(parts).split('|');
    const ABPersonRecord r{0, p[0], p[1], p[2], p[3], p[4]};
    EXPECT_EQ(CAddressBook::composeName(r), QString::fromUtf8(name)) << parts;
  }
}
// ---- phone numbers and the host's contact map ----

TEST(PhoneNumber, SameLine) {
  const char* arabicIndic =
      "\xd9\xa0\xd9\xa1\xd9\xa7\xd9\xa6\xd9\xa1\xd9\xa2\xd9\xa3\xd9\xa4\xd9\xa5\xd9\xa6\xd9\xa7\xd9\xa8";
  // a, b, b's default country, the same line
  const std::tuple<const char*, const char*, const char*, bool> cases[] = {
      {"(919) 888-7386", "+19198887386", "", true},
      {"+1 919 888 7386", "9198887386", "us", true},
      {"0176 1234 5678", "+4917612345678", "", true}, // trunk 0 against the calling code
      {"06 1234 5678", "+39 06 1234 5678", "", true}, // Italy keeps its 0 after +39
      {"1-800-MY-APPLE", "+1 800 692 7753", "", true},
      {arabicIndic, "+4917612345678", "", true},
      {"+4917612345678", "+4317612345678", "", false},
      {"+4917612345678", "17612345678", "us", false}, // the call's country is another
      {"5551234", "9195551234", "", false},           // an area code is no calling code
  };
  for (const auto& [a, b, country, same] : cases) {
    const CPhoneNumber first(QString::fromUtf8(a)), second(QString::fromUtf8(b), QString::fromLatin1(country));
    EXPECT_EQ(first.sameLine(second), same) << a << " " << b;
    EXPECT_EQ(second.sameLine(first), same) << b << " " << a;
  }
}

// The host's contact map: the name lookup as a walk over every key (first
// match in key order), to hold the index against.
QString walkLookup(const QMap<QString, QString>& map, const QString& text) {
  const QString trimmed = text.trimmed();
  if (trimmed.isEmpty())
    return QString();
  const bool address = trimmed.contains(QLatin1Char('@'));
  const QString number = CContactNameIndex::prepare(trimmed, address);
  for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
    if (address && !it.key().contains(QLatin1Char('@')))
      continue;
    const QString key = CContactNameIndex::prepare(it.key(), address);
    if (key.size() > 5 && number.size() > 5 && (key.endsWith(number) || number.endsWith(key)))
      return it.value();
  }
  return QString();
}

TEST(ContactNameIndex, SameAnswerAsAWalkOverTheMap) {
  // Short random digit strings, so that suffixes of each other are frequent;
  // one in ten is an address.
  QRandomGenerator rng(7);
  auto entry = [&](int n) {
    QString s;
    for (int i = 0; i < n; ++i)
      s += QString(QChar(ushort('0' + rng.bounded(3)))) + (rng.bounded(6) ? "" : rng.bounded(2) ? "-" : " ");
    return rng.bounded(10) ? s : s + QStringLiteral("@x.io");
  };
  QMap<QString, QString> map;
  for (int i = 0; i < 400; ++i)
    map.insert(entry(3 + rng.bounded(9)), QStringLiteral("n%1").arg(i));
  const CContactNameIndex index(map);
  for (int i = 0; i < 3000; ++i) {
    const QString number = entry(3 + rng.bounded(11));
    ASSERT_EQ(index.find(number), walkLookup(map, number)) << number.toStdString();
  }
}
} // namespace

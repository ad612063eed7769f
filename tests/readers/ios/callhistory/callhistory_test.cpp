#include "readers/ios/callhistory/callhistoryqueries.h"
#include "readers/ios/callhistory/calllistcollection.h"

#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "tests/support/apps/callhistory.h"
#include "tests/support/testdata.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {
using fixture::StoredCall;

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
  void SetUp() override {
    SherdLog::setSink([this](const char*, int, const QString& text) { log << text; });
  }
  void TearDown() override { SherdLog::toStderr(); }
  void loadStore(const QList<StoredCall>& calls, const QMap<QString, QString>& contacts = {}, bool provider = true) {
    CCalllistCollection collection(&list, contacts, {});
    collection.loadStore(writeDb(dir, QStringLiteral("CallHistory%1.storedata").arg(++n),
                                 fixture::callHistoryStatements(calls, provider)));
  }
  OxAbstractItem* byPhone(const QString& phone) {
    for (int i = 0; i < list.count(0); ++i)
      if (list.at(i, false)->value(1) == phone)
        return list.at(i, false);
    return nullptr;
  }
  QTemporaryDir dir;
  int n = 0;
  QStringList log;
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

struct RuleCase {
  const char* what;
  StoredCall call;
  const char* type;
  const char* duration;
  int durationKey;
};

TEST_F(CallHistory, TypeAndDurationRules) {
  const RuleCase cases[] = {
      {"outgoing of 0 seconds", call(1, 1, 0, 0), "Outgoing Calls", "Canceled", -1},
      {"outgoing below a second", call(2, 1, 0, 0.9), "Outgoing Calls", "Canceled", -1},
      {"outgoing answered", call(3, 1, 0, 125.7), "Outgoing Calls", "00:02:05", 125},
      {"incoming missed", call(4, 0, 0, 0), "Incoming Calls", "Missed", 0},
      {"incoming rejected after ringing", call(5, 0, 0, 7.5), "Incoming Calls", "Missed", 7},
      {"incoming answered", call(6, 0, 1, 3725), "Incoming Calls", "01:02:05", 3725},
      {"FaceTime audio placed", call(7, 1, 0, 61, 16, "3785130", "com.apple.FaceTime"), "Outgoing FaceTime Audio",
       "00:01:01", 61},
      {"FaceTime video placed", call(8, 1, 0, 170, 8, "144642188", "com.apple.FaceTime"), "Outgoing FaceTime",
       "00:02:50", 170},
      {"FaceTime audio received", call(9, 0, 1, 96, 16, "7", "com.apple.FaceTime"), "Incoming FaceTime Audio",
       "00:01:36", 96},
      {"FaceTime video missed", call(10, 0, 0, 0, 8, "8", "com.apple.FaceTime"), "Incoming FaceTime", "Missed", 0},
      {"telephone call with 0 in the FaceTime column", call(11, 0, 1, 20, 1, "0"), "Incoming Calls", "00:00:20", 20},
      {"app call", call(12, 1, 0, 30, 0, "NULL", "net.whatsapp.WhatsApp"), "Outgoing Calls", "00:00:30", 30},
      {"app call with a FaceTime value", call(13, 0, 1, 30, 0, "0", "net.whatsapp.WhatsApp"), "Incoming FaceTime",
       "00:00:30", 30},
  };
  QList<StoredCall> calls;
  for (const RuleCase& c : cases)
    calls << c.call;
  loadStore(calls);
  ASSERT_EQ(list.count(0), int(std::size(cases)));
  for (const RuleCase& c : cases) {
    OxAbstractItem* item = byPhone(c.call.address);
    ASSERT_TRUE(item) << c.what;
    EXPECT_EQ(item->value(4), QString::fromLatin1(c.type)) << c.what;
    EXPECT_EQ(item->value(5), QString::fromLatin1(c.duration)) << c.what;
    EXPECT_EQ(item->sortValue(5), QVariant(c.durationKey)) << c.what;
  }
  EXPECT_EQ(list.at(0, false)->getTreeFirstLayerName(), QStringLiteral("Call History"));
}

TEST_F(CallHistory, StoreWithoutProviderColumnFollowsTheFaceTimeColumnAlone) {
  loadStore({call(1, 0, 1, 20, 1, "0"), call(2, 0, 1, 20, 1, "NULL")}, {}, false);
  ASSERT_EQ(list.count(0), 2);
  EXPECT_EQ(list.at(0, false)->value(4), QStringLiteral("Incoming Calls"));    // pk 2, newer
  EXPECT_EQ(list.at(1, false)->value(4), QStringLiteral("Incoming FaceTime")); // pk 1
}

// Names from the record or from the host's map, and numbers that are no
// numbers.
TEST_F(CallHistory, DateLocationAndNames) {
  struct Case {
    const char* address;
    const char* storedName;
    const char* location;
    const char* name;
    const char* phone;
    const char* place;
  } cases[] = {
      {"+19195551000", "  Stored Name ", "San Jose, CA", "Stored Name", "+19195551000", "San Jose, CA"},
      {"919 555-1234", "", "<<RecentsNumberLocationNotFound>>", "Bea", "919 555-1234", ""}, // spaces, hyphens
      {"+44 20 7946 0000", "", "", "+44 20 7946 0000", "+44 20 7946 0000", ""},             // nobody's
      {"anna@example.com", "", "", "Анна", "anna@example.com", ""},
      {"   ", "", "", "", "", ""},
      {"12345", "", "", "12345", "12345", ""}, // too short to match "Short"
  };
  QList<StoredCall> calls;
  for (const Case& c : cases) {
    calls << call(calls.size() + 1, 0, 1, 10);
    calls.last().address = QString::fromUtf8(c.address);
    calls.last().name = QString::fromUtf8(c.storedName);
    calls.last().location = QString::fromUtf8(c.location);
  }
  calls.first().date = 600000060.903163; // the fraction is dropped
  loadStore(calls, {{QStringLiteral("+1-919-555-1234"), QStringLiteral("Bea")},
                    {QStringLiteral("12345"), QStringLiteral("Short")},
                    {QStringLiteral("anna@example.com"), QString::fromUtf8("Анна")}});
  ASSERT_EQ(list.count(0), int(std::size(cases)));
  for (int i = 0; i < list.count(0); ++i) {
    const Case& c = cases[list.count(0) - 1 - i]; // newest first
    const OxAbstractItem* item = list.at(i, false);
    EXPECT_EQ(item->value(0), QString::fromUtf8(c.name)) << c.address;
    EXPECT_EQ(item->value(1), QString::fromUtf8(c.phone)) << c.address;
    EXPECT_EQ(item->value(3), QString::fromUtf8(c.place)) << c.address;
  }
  const QDateTime when = CCommonUtils::buildDateTimeBase2001(600000060.0);
  EXPECT_EQ(list.at(list.count(0) - 1, false)->sortValue(2).toDateTime(), when);
  EXPECT_EQ(list.at(list.count(0) - 1, false)->value(2), CCommonUtils::datetimeToMinute(when, true));
}

TEST_F(CallHistory, OlderStoreWithAddressBook) {
  const qint64 t = 1300000000; // 2011-03-13
  const QList<fixture::OldCall> calls{
      {1, QStringLiteral("+14155550123"), t, 65, 5, -1, QString()},           // outgoing, address book by number
      {2, QStringLiteral("4155550123"), t + 10, 0, 4, -1, QString()},         // missed
      {3, QStringLiteral("+442071838750"), t + 20, 12, 4, 2, QString()},      // answered, by person id
      {4, QStringLiteral("+33 1 23 45 67 89"), t + 30, 0, 5, -1, QString()},  // cancelled, nobody's
      {5, QStringLiteral("anna@example.com"), t + 40, 80, 17, -1, QString()}, // FaceTime placed
      {6, QStringLiteral("+8613800138000"), t + 50, 5, 4, -1, QStringLiteral("Cached")},
      {7, QStringLiteral("+49 30 1234567"), t + 60, 5, 4, 99, QString()}, // unknown person: the host's id map
  };
  const QList<fixture::Contact> contacts{
      {1,
       QStringLiteral("Anna"),
       QStringLiteral("Berg"),
       QString(),
       {QStringLiteral("(415) 555-0123")},
       {QStringLiteral("Anna@Example.com")}},
      {2, QString(), QString(), QStringLiteral("Museum Shop"), {}, {}},
  };
  CCalllistCollection collection(&list, {}, {{99, QStringLiteral("Host Person")}});
  ASSERT_TRUE(collection.loadAddressBook(
      writeDb(dir, QStringLiteral("AddressBook.sqlitedb"), fixture::addressBookStatements(contacts))));
  collection.loadOldStore(writeDb(dir, QStringLiteral("call_history.db"), fixture::oldCallHistoryStatements(calls)));
  struct Expect {
    const char* name;
    const char* type;
    const char* duration;
    const char* location; // +1 and +44 are shared by several countries
  } expected[] = {
      // Newest first: rowid 7 .. 1.
      {"Host Person", "Incoming Calls", "00:00:05", "Germany"},
      {"Cached", "Incoming Calls", "00:00:05", "China"},
      {"Anna Berg", "Outgoing FaceTime", "00:01:20", ""}, // addresses compare with case ignored
      {"+33 1 23 45 67 89", "Outgoing Calls", "Canceled", "France"},
      {"Museum Shop", "Incoming Calls", "00:00:12", ""},
      {"Anna Berg", "Incoming Calls", "Missed", ""},
      {"Anna Berg", "Outgoing Calls", "00:01:05", ""},
  };
  ASSERT_EQ(list.count(0), int(std::size(expected)));
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    EXPECT_EQ(item->value(0), QString::fromUtf8(expected[i].name)) << i;
    EXPECT_EQ(item->value(4), QString::fromUtf8(expected[i].type)) << i;
    EXPECT_EQ(item->value(5), QString::fromUtf8(expected[i].duration)) << i;
    EXPECT_EQ(item->value(3), QString::fromUtf8(expected[i].location)) << i;
  }
  EXPECT_EQ(list.at(6, false)->value(2),
            CCommonUtils::datetimeToMinute(CCommonUtils::buildDateTimeBaseUnixEx(t), true));
}

TEST_F(CallHistory, OldestSchemasLackColumns) {
  // The first systems' table: no cached name, no person, no FaceTime column.
  CCalllistCollection collection(&list, {}, {});
  collection.loadOldStore(
      writeDb(dir, QStringLiteral("call_history.db"),
              {QStringLiteral("CREATE TABLE call (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, address TEXT, date INTEGER,"
                              " duration INTEGER, flags INTEGER)"),
               QStringLiteral("INSERT INTO call VALUES (1, '5550100200', 1200000000, 30, 5)")}));
  ASSERT_EQ(list.count(0), 1);
  EXPECT_EQ(list.at(0, false)->value(0), QStringLiteral("5550100200"));
  EXPECT_EQ(list.at(0, false)->value(5), QStringLiteral("00:00:30"));
  EXPECT_TRUE(log.filter(QStringLiteral("Fail")).isEmpty()) << log.join(QLatin1Char('\n')).toStdString();
}

TEST_F(CallHistory, DamagedStoresLogAndLeaveTheListEmpty) {
  const QString junk = testdata::writeFile(dir.filePath(QStringLiteral("junk.storedata")), QByteArray(4096, 'x'));
  CCalllistCollection collection(&list, {}, {});
  collection.loadStore(junk);
  collection.loadStore(dir.filePath(QStringLiteral("missing.storedata")));
  collection.loadStore(writeDb(dir, QStringLiteral("other.sqlite"), {QStringLiteral("create table t(a)")}));
  EXPECT_FALSE(collection.loadAddressBook(junk));
  EXPECT_EQ(list.count(0), 0);
  EXPECT_FALSE(log.filter(QStringLiteral("Not exists")).isEmpty());
  EXPECT_FALSE(log.filter(QStringLiteral("Fail to query")).isEmpty());
}

// ---- real stores ----

struct RealCall {
  qint64 pk;
  const char* phone;
  const char* type;
  const char* duration;
  const char* location;
};

// Loads a real store with a real address book: every row in the order, with
// the numbers and dates, that sqlite3 gives, and the expected calls.
void expectRealCalls(const char* storeFolder, const char* bookFolder, int count, const RealCall* expected,
                     int expectedCount, OxData& list) {
  QTemporaryDir dir;
  const QString store = copyRealStore(dir, storeFolder, "CallHistory.storedata");
  const QString book = copyRealStore(dir, bookFolder, "AddressBook.sqlitedb");
  if (store.isEmpty() || book.isEmpty())
    GTEST_SKIP() << "real data not available";
  CCalllistCollection collection(&list, {}, {});
  ASSERT_TRUE(collection.loadAddressBook(book));
  collection.loadStore(store);
  ASSERT_EQ(list.count(0), count);

  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open_v2(store.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, "select z_pk, cast(zaddress as text), zdate from zcallrecord order by zdate desc", -1, &stmt,
                     nullptr);
  QMap<qint64, OxAbstractItem*> byPk;
  int row = 0;
  while (sqlite3_step(stmt) == SQLITE_ROW && row < count) {
    OxAbstractItem* item = list.at(row++, false);
    EXPECT_EQ(item->value(1), QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1))));
    EXPECT_EQ(item->sortValue(2).toDateTime(),
              CCommonUtils::buildDateTimeBase2001(double(sqlite3_column_int64(stmt, 2))));
    byPk.insert(sqlite3_column_int64(stmt, 0), item);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  EXPECT_EQ(row, count);
  for (int i = 0; i < expectedCount; ++i) {
    const RealCall& c = expected[i];
    OxAbstractItem* item = byPk.value(c.pk);
    ASSERT_TRUE(item) << c.pk;
    EXPECT_EQ(item->value(1), QString::fromUtf8(c.phone)) << c.pk;
    EXPECT_EQ(item->value(4), QString::fromUtf8(c.type)) << c.pk;
    EXPECT_EQ(item->value(5), QString::fromUtf8(c.duration)) << c.pk;
    EXPECT_EQ(item->value(3), QString::fromUtf8(c.location)) << c.pk;
  }
}

TEST_F(CallHistory, RealStoreIos13AllRowsInTheLog) {
  const RealCall expected[] = {
      {64, "+14082560700", "Incoming Calls", "Missed", "San Jose, CA"},
      {59, "joshua.hickman1@me.com", "Outgoing FaceTime", "00:01:38", ""},
      {58, "9192853680", "Outgoing Calls", "00:01:04", "Fuquay-Varina, NC"},
      {55, "+17042751134", "Outgoing Calls", "Canceled", "Fairview, NC"},
  };
  expectRealCalls("callhistory-ios13", "addressbook-ios13", 37, expected, int(std::size(expected)), list);
  if (IsSkipped() || HasFatalFailure())
    return;
  // The FaceTime handle is the e-mail address of the owner's card.
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    EXPECT_EQ(item->value(0), item->value(1) == QLatin1String("joshua.hickman1@me.com") ? QStringLiteral("Josh Hickman")
                                                                                        : item->value(1));
  }
}

TEST_F(CallHistory, RealStoreIos14ZeroInTheFaceTimeColumn) {
  const RealCall expected[] = {
      {85, "9192853680", "Outgoing Calls", "00:01:54", ""},
      {81, "+19192895850", "Outgoing Calls", "Canceled", ""},
      {69, "+19198887386", "Incoming FaceTime Audio", "00:01:36", ""},
      {67, "9198887386", "Outgoing FaceTime Audio", "00:00:01", ""},
      {66, "+19198887386", "Incoming FaceTime", "00:01:33", ""},
      {4, "+19195517878", "Incoming Calls", "Missed", ""},
  };
  expectRealCalls("callhistory-ios14", "addressbook-ios15", 25, expected, int(std::size(expected)), list);
  if (IsSkipped() || HasFatalFailure())
    return;
  int faceTime = 0;
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    faceTime += item->value(4).contains(QLatin1String("FaceTime"));
    // "(919) 888-7386" in the book names both spellings of the number.
    const bool known = item->value(1).endsWith(QLatin1String("9198887386"));
    EXPECT_EQ(item->value(0), known ? QStringLiteral("This Is DFIR Two") : item->value(1))
        << item->value(1).toStdString();
  }
  EXPECT_EQ(faceTime, 5);
}

TEST(AddressBooks, RealBooks) {
  struct Case {
    const char* folder;
    int persons;
    const char* lookup;
    const char* country;
    const char* name;
  };
  const Case cases[] = {
      {"addressbook-ios13", 2, "+19195790479", "us", "Josh Hickman"},
      {"addressbook-ios13", 2, "919-391-2507", "", "Josh Hickman"},
      {"addressbook-ios15", 9, "8006927753", "us", "Apple Inc."}, // stored as 1-800-MY-APPLE
      {"addressbook-ios15", 9, "+1 919 208 4530", "", "Liz"},
      {"addressbook-ios15", 9, "ThisIsDFIRThree@gmail.com", "", "ThisIs DFIRThree"},
      {"addressbook-ios15", 9, "+44 919 208 4530", "", ""},                          // another country
      {"addressbook-ios16", 1, "BillTheMegaKill@iCloud.com", "", "William Phorger"}, // all in the -wal
      {"addressbook-ios16", 1, "+19195790479", "", ""},
  };
  for (const Case& c : cases) {
    QTemporaryDir own;
    const QString book = copyRealStore(own, c.folder, "AddressBook.sqlitedb");
    if (book.isEmpty())
      GTEST_SKIP() << "real data not available";
    CAddressBook ab;
    ASSERT_TRUE(ab.load(book)) << c.folder;
    EXPECT_EQ(ab.personCount(), c.persons) << c.folder;
    EXPECT_EQ(ab.nameOf(QString::fromUtf8(c.lookup), QString::fromLatin1(c.country)), QString::fromUtf8(c.name))
        << c.folder << " " << c.lookup;
  }
}

TEST(AddressBooks, NameComposition) {
  struct Case {
    const char* first;
    const char* middle;
    const char* last;
    const char* organization;
    const char* nickname;
    const char* name;
  } cases[] = {
      {"Anna", "", "Berg", "Acme", "", "Anna Berg"},
      {"Anna", "Maria", "Berg", "", "", "Anna Maria Berg"},
      {"", "", "Berg", "", "", "Berg"},
      {"", "", "", "Apple Inc.", "Fruit", "Apple Inc."},
      {"", "", "", "", "Fruit", "Fruit"},
      {"小明", "", "王", "", "", "王小明"},
      {"지민", "", "박", "", "", "박지민"},
      {"Анна", "", "Петрова", "", "", "Анна Петрова"},
      {"  ", "", "  ", "", "", ""},
  };
  for (const Case& c : cases) {
    ABPersonRecord r;
    r.first = QString::fromUtf8(c.first);
    r.middle = QString::fromUtf8(c.middle);
    r.last = QString::fromUtf8(c.last);
    r.organization = QString::fromUtf8(c.organization);
    r.nickname = QString::fromUtf8(c.nickname);
    EXPECT_EQ(CAddressBook::composeName(r), QString::fromUtf8(c.name)) << c.name;
  }
}
} // namespace

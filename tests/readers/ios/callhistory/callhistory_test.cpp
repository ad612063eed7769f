#include "readers/ios/callhistory/callhistoryqueries.h"
#include "readers/ios/callhistory/calllistcollection.h"

#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "tests/support/apps/callhistory.h"
#include "tests/support/testdata.h"

#include <QDir>
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

// Column texts of every item, newest first.
struct Row {
  QString name, phone, date, location, type, duration;
  QVariant durationKey;
  bool hasLocation;
};

QList<Row> rows(OxData& list) {
  QList<Row> out;
  for (int i = 0; i < list.count(0); ++i) {
    OxAbstractItem* item = list.at(i, false);
    out << Row{
        item->value(0), item->value(1), item->value(2),     item->value(3),
        item->value(4), item->value(5), item->sortValue(5), item->sortValue(3).isValid() || !item->value(3).isEmpty()};
  }
  return out;
}

class CallHistory : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    SherdLog::setSink([this](const char*, int, const QString& text) { log << text; });
  }
  void TearDown() override { SherdLog::toStderr(); }
  QTemporaryDir dir;
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
  CCalllistCollection collection(&list, {}, {});
  collection.loadStore(writeDb(dir, QStringLiteral("CallHistory.storedata"), fixture::callHistoryStatements(calls)));
  ASSERT_EQ(list.count(0), int(std::size(cases)));
  for (const RuleCase& c : cases) {
    OxAbstractItem* item = nullptr;
    for (int i = 0; i < list.count(0); ++i)
      if (list.at(i, false)->value(1) == c.call.address)
        item = list.at(i, false);
    ASSERT_TRUE(item) << c.what;
    EXPECT_EQ(item->value(4), QString::fromLatin1(c.type)) << c.what;
    EXPECT_EQ(item->value(5), QString::fromLatin1(c.duration)) << c.what;
    EXPECT_EQ(item->sortValue(5), QVariant(c.durationKey)) << c.what;
    EXPECT_EQ(item->getTreeFirstLayerName(), QStringLiteral("Call History"));
  }
}

TEST_F(CallHistory, StoreWithoutProviderColumnFollowsTheFaceTimeColumnAlone) {
  const QList<StoredCall> calls{call(1, 0, 1, 20, 1, "0"), call(2, 0, 1, 20, 1, "NULL")};
  CCalllistCollection collection(&list, {}, {});
  collection.loadStore(
      writeDb(dir, QStringLiteral("CallHistory.storedata"), fixture::callHistoryStatements(calls, false)));
  ASSERT_EQ(list.count(0), 2);
  EXPECT_EQ(list.at(0, false)->value(4), QStringLiteral("Incoming Calls"));    // pk 2, newer
  EXPECT_EQ(list.at(1, false)->value(4), QStringLiteral("Incoming FaceTime")); // pk 1
}

TEST_F(CallHistory, DateLocationAndNames) {
  StoredCall a = call(1, 0, 1, 10);
  a.date = 600000060.903163; // the fraction is dropped
  a.location = QStringLiteral("San Jose, CA");
  a.name = QStringLiteral("  Stored Name ");
  StoredCall b = call(2, 0, 1, 10);
  b.location = QStringLiteral("<<RecentsNumberLocationNotFound>>");
  b.address = QStringLiteral("919 555-1234");
  StoredCall c = call(3, 0, 1, 10);
  c.address = QStringLiteral("+44 20 7946 0000"); // nobody's
  StoredCall d = call(4, 0, 1, 10);
  d.address = QStringLiteral("anna@example.com");
  StoredCall e = call(5, 0, 1, 10);
  e.address = QStringLiteral("   ");
  StoredCall f = call(6, 0, 1, 10);
  f.address = QStringLiteral("12345");
  const QMap<QString, QString> contacts{{QStringLiteral("+1-919-555-1234"), QStringLiteral("Bea")},
                                        {QStringLiteral("12345"), QStringLiteral("Short")},
                                        {QStringLiteral("anna@example.com"), QString::fromUtf8("Анна")}};
  CCalllistCollection collection(&list, contacts, {});
  collection.loadStore(
      writeDb(dir, QStringLiteral("CallHistory.storedata"), fixture::callHistoryStatements({a, b, c, d, e, f})));
  QMap<qint64, OxAbstractItem*> byPk;
  ASSERT_EQ(list.count(0), 6);
  for (int i = 0; i < 6; ++i)
    byPk.insert(6 - i, list.at(i, false)); // newest first: pk 6 .. 1

  const QDateTime when = CCommonUtils::buildDateTimeBase2001(600000060.0);
  EXPECT_EQ(byPk[1]->sortValue(2).toDateTime(), when);
  EXPECT_EQ(byPk[1]->value(2), CCommonUtils::datetimeToMinute(when, true));
  EXPECT_EQ(byPk[1]->value(3), QStringLiteral("San Jose, CA"));
  EXPECT_EQ(byPk[1]->value(0), QStringLiteral("Stored Name"));
  EXPECT_EQ(byPk[2]->value(3), QString());
  EXPECT_EQ(byPk[2]->value(0), QStringLiteral("Bea")); // spaces and hyphens do not count
  EXPECT_EQ(byPk[3]->value(0), QStringLiteral("+44 20 7946 0000"));
  EXPECT_EQ(byPk[4]->value(0), QString::fromUtf8("Анна"));
  EXPECT_EQ(byPk[5]->value(0), QString());
  EXPECT_EQ(byPk[5]->value(1), QString());
  EXPECT_EQ(byPk[6]->value(0), QStringLiteral("12345")); // too short to match "Short"
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
      {3, QString::fromUtf8("小明"), QString::fromUtf8("王"), QString(), {QStringLiteral("138 0013 8000")}, {}},
  };
  CCalllistCollection collection(&list, {}, {{99, QStringLiteral("Host Person")}});
  ASSERT_TRUE(collection.loadAddressBook(
      writeDb(dir, QStringLiteral("AddressBook.sqlitedb"), fixture::addressBookStatements(contacts))));
  collection.loadOldStore(writeDb(dir, QStringLiteral("call_history.db"), fixture::oldCallHistoryStatements(calls)));
  const QList<Row> r = rows(list);
  ASSERT_EQ(r.size(), 7);
  // Newest first: rowid 7 .. 1.
  EXPECT_EQ(r[6].name, QStringLiteral("Anna Berg"));
  EXPECT_EQ(r[6].type, QStringLiteral("Outgoing Calls"));
  EXPECT_EQ(r[6].duration, QStringLiteral("00:01:05"));
  EXPECT_EQ(r[6].date, CCommonUtils::datetimeToMinute(CCommonUtils::buildDateTimeBaseUnixEx(t), true));
  EXPECT_EQ(r[6].location, QString()); // +1 is shared by many countries
  EXPECT_EQ(r[5].name, QStringLiteral("Anna Berg"));
  EXPECT_EQ(r[5].duration, QStringLiteral("Missed"));
  EXPECT_EQ(r[5].type, QStringLiteral("Incoming Calls"));
  EXPECT_EQ(r[4].name, QStringLiteral("Museum Shop"));
  EXPECT_EQ(r[4].location, QString()); // +44 is shared with the Crown dependencies
  EXPECT_EQ(r[4].duration, QStringLiteral("00:00:12"));
  EXPECT_EQ(r[3].name, QStringLiteral("+33 1 23 45 67 89"));
  EXPECT_EQ(r[3].duration, QStringLiteral("Canceled"));
  EXPECT_EQ(r[3].location, QStringLiteral("France"));
  EXPECT_EQ(r[2].name, QStringLiteral("Anna Berg")); // addresses compare with case ignored
  EXPECT_EQ(r[2].type, QStringLiteral("Outgoing FaceTime"));
  EXPECT_EQ(r[1].name, QStringLiteral("Cached"));
  EXPECT_EQ(r[0].name, QStringLiteral("Host Person"));
  EXPECT_EQ(r[0].location, QStringLiteral("Germany"));
}

TEST_F(CallHistory, OldestSchemasLackColumns) {
  // The first systems' table: no cached name, no person, no FaceTime column.
  const QString db =
      writeDb(dir, QStringLiteral("call_history.db"),
              {QStringLiteral("CREATE TABLE call (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, address TEXT, date INTEGER,"
                              " duration INTEGER, flags INTEGER)"),
               QStringLiteral("INSERT INTO call VALUES (1, '5550100200', 1200000000, 30, 5)")});
  CCalllistCollection collection(&list, {}, {});
  collection.loadOldStore(db);
  ASSERT_EQ(list.count(0), 1);
  EXPECT_EQ(list.at(0, false)->value(0), QStringLiteral("5550100200"));
  EXPECT_EQ(list.at(0, false)->value(5), QStringLiteral("00:00:30"));
  EXPECT_TRUE(log.filter(QStringLiteral("Fail")).isEmpty()) << log.join(QLatin1Char('\n')).toStdString();
}

TEST_F(CallHistory, DamagedStoresLogAndLeaveTheListEmpty) {
  QFile junk(dir.filePath(QStringLiteral("junk.storedata")));
  ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
  junk.write(QByteArray(4096, 'x'));
  junk.close();
  CCalllistCollection collection(&list, {}, {});
  collection.loadStore(junk.fileName());
  collection.loadStore(dir.filePath(QStringLiteral("missing.storedata")));
  collection.loadStore(writeDb(dir, QStringLiteral("other.sqlite"), {QStringLiteral("create table t(a)")}));
  EXPECT_FALSE(collection.loadAddressBook(junk.fileName()));
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

void expectRealCalls(OxData& list, const QString& store, const RealCall* expected, int count) {
  // Every row and its order as sqlite3 gives them.
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open_v2(store.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(db, "select z_pk, cast(zaddress as text), zdate from zcallrecord order by zdate desc",
                               -1, &stmt, nullptr),
            SQLITE_OK);
  QMap<qint64, OxAbstractItem*> byPk;
  int row = 0;
  while (sqlite3_step(stmt) == SQLITE_ROW) {
    ASSERT_LT(row, list.count(0));
    OxAbstractItem* item = list.at(row++, false);
    const QString address = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1)));
    EXPECT_EQ(item->value(1), address);
    EXPECT_EQ(item->sortValue(2).toDateTime(),
              CCommonUtils::buildDateTimeBase2001(double(sqlite3_column_int64(stmt, 2))));
    byPk.insert(sqlite3_column_int64(stmt, 0), item);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  EXPECT_EQ(row, list.count(0));
  for (int i = 0; i < count; ++i) {
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
  const QString store = copyRealStore(dir, "callhistory-ios13", "CallHistory.storedata");
  const QString book = copyRealStore(dir, "addressbook-ios13", "AddressBook.sqlitedb");
  if (store.isEmpty() || book.isEmpty())
    GTEST_SKIP() << "real data not available";
  CCalllistCollection collection(&list, {}, {});
  ASSERT_TRUE(collection.loadAddressBook(book));
  collection.loadStore(store);
  ASSERT_EQ(list.count(0), 37);
  const RealCall expected[] = {
      {64, "+14082560700", "Incoming Calls", "Missed", "San Jose, CA"},
      {59, "joshua.hickman1@me.com", "Outgoing FaceTime", "00:01:38", ""},
      {58, "9192853680", "Outgoing Calls", "00:01:04", "Fuquay-Varina, NC"},
      {56, "+17042751134", "Incoming Calls", "00:00:12", "Fairview, NC"},
      {55, "+17042751134", "Outgoing Calls", "Canceled", "Fairview, NC"},
      {31, "9197627808", "Outgoing Calls", "00:00:23", "Fuquay-Varina, NC"},
  };
  expectRealCalls(list, store, expected, int(std::size(expected)));
  // The FaceTime handle is the e-mail address of the owner's card.
  for (int i = 0; i < list.count(0); ++i) {
    const OxAbstractItem* item = list.at(i, false);
    EXPECT_EQ(item->value(0), item->value(1) == QLatin1String("joshua.hickman1@me.com") ? QStringLiteral("Josh Hickman")
                                                                                        : item->value(1));
  }
}

TEST_F(CallHistory, RealStoreIos14ZeroInTheFaceTimeColumn) {
  const QString store = copyRealStore(dir, "callhistory-ios14", "CallHistory.storedata");
  const QString book = copyRealStore(dir, "addressbook-ios15", "AddressBook.sqlitedb");
  if (store.isEmpty() || book.isEmpty())
    GTEST_SKIP() << "real data not available";
  CCalllistCollection collection(&list, {}, {});
  ASSERT_TRUE(collection.loadAddressBook(book));
  collection.loadStore(store);
  ASSERT_EQ(list.count(0), 25);
  const RealCall expected[] = {
      {85, "9192853680", "Outgoing Calls", "00:01:54", ""},
      {84, "+19192895850", "Incoming Calls", "00:00:15", ""},
      {81, "+19192895850", "Outgoing Calls", "Canceled", ""},
      {69, "+19198887386", "Incoming FaceTime Audio", "00:01:36", ""},
      {68, "9198887386", "Outgoing FaceTime Audio", "00:01:45", ""},
      {67, "9198887386", "Outgoing FaceTime Audio", "00:00:01", ""},
      {66, "+19198887386", "Incoming FaceTime", "00:01:33", ""},
      {65, "9198887386", "Outgoing FaceTime", "00:02:50", ""},
      {4, "+19195517878", "Incoming Calls", "Missed", ""},
      {1, "+19195671775", "Outgoing Calls", "00:09:06", ""},
  };
  expectRealCalls(list, store, expected, int(std::size(expected)));
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

TEST_F(CallHistory, RealAddressBooks) {
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
      {"addressbook-ios15", 9, "9192084530", "us", "Liz"},
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

TEST(AddressBookNames, Composition) {
  struct Case {
    ABPersonRecord person;
    const char* name;
  };
  auto p = [](const char* first, const char* middle, const char* last, const char* org, const char* nick) {
    ABPersonRecord r;
    r.first = QString::fromUtf8(first);
    r.middle = QString::fromUtf8(middle);
    r.last = QString::fromUtf8(last);
    r.organization = QString::fromUtf8(org);
    r.nickname = QString::fromUtf8(nick);
    return r;
  };
  const Case cases[] = {
      {p("Anna", "", "Berg", "Acme", ""), "Anna Berg"},
      {p("Anna", "Maria", "Berg", "", ""), "Anna Maria Berg"},
      {p("", "", "Berg", "", ""), "Berg"},
      {p("", "", "", "Apple Inc.", "Fruit"), "Apple Inc."},
      {p("", "", "", "", "Fruit"), "Fruit"},
      {p("小明", "", "王", "", ""), "王小明"},
      {p("太郎", "", "山田", "", ""), "山田太郎"},
      {p("지민", "", "박", "", ""), "박지민"},
      {p("Анна", "", "Петрова", "", ""), "Анна Петрова"},
      {p("  ", "", "  ", "", ""), ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(CAddressBook::composeName(c.person), QString::fromUtf8(c.name)) << c.name;
}
} // namespace

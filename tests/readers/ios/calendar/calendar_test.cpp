#include "readers/ios/calendar/calendarcollection.h"

#include "model/oxcalendaritem.h"
#include "model/oxdata.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "service/whatsappservice.h"
#include "tests/support/apps/calendar.h"
#include "tests/support/testdata.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
using fixture::CalendarDef;
using fixture::CalendarEvent;
using fixture::CalendarStore;
using testdata::LogCapture;

const double t0 = 673174800; // 2022-05-02 09:00 UTC

// Writes the database made by the statements (or raw bytes) and reads it.
class CalendarRead : public ::testing::Test {
protected:
  void read(const QStringList& statements, const QByteArray& bytes = QByteArray()) {
    const QString path = dir.filePath(QStringLiteral("Calendar%1.sqlitedb").arg(++n));
    readPath(statements.isEmpty() ? testdata::writeFile(path, bytes) : testdata::writeSqliteDb(path, statements));
  }
  void readPath(const QString& path) {
    list.clear();
    CCalendarQuery query(&list);
    query.query(QStringList{path}, nullptr);
  }
  OxCalendarItem* titled(const char* title) {
    for (int row = 0; row < list.count(0); ++row)
      if (list.at(row, false)->value(0) == QString::fromUtf8(title))
        return dynamic_cast<OxCalendarItem*>(list.at(row, false));
    return nullptr;
  }

  QTemporaryDir dir;
  int n = 0;
  OxData list{8};
};

CalendarEvent event(const char* summary, double start, double end, int calendarId = 1) {
  CalendarEvent e;
  e.summary = QString::fromUtf8(summary);
  e.start = QString::number(start, 'f', 3);
  e.end = QString::number(end, 'f', 3);
  e.calendarId = calendarId;
  return e;
}

TEST(CalendarTexts, AlertsTriggersAndRepeatRules) {
  struct Alert {
    qint64 seconds;
    const char* text;
  } alerts[] = {{0, "At the beginning of the schedule"},
                {60, "1 minute ago"},
                {5400, "1 hour ago"},
                {8 * 86400, "1 week ago"},
                {1209600, "2 week ago"}};
  for (const auto& r : alerts)
    EXPECT_EQ(CCalendarQuery::alertText(r.seconds), QString::fromLatin1(r.text)) << r.seconds;

  struct Trigger {
    const char* trigger;
    qint64 seconds;
  } triggers[] = {{"-900", 900}, {"900", 900}, {"-900.0", 900}, {"-1e3", 1000},
                  {"abc", 0},    {"", 0},      {"--60", 60},    {"-12abc", 0}};
  for (const auto& r : triggers)
    EXPECT_EQ(CCalendarQuery::alertSeconds(QString::fromLatin1(r.trigger)), r.seconds) << r.trigger;

  struct Repeat {
    int frequency, interval;
    const char* text;
  } repeats[] = {{0, 5, "Never"}, {1, 1, "1 day"}, {2, 1, "1 week"}, {3, 2, "2 month"}, {4, 1, "1 year"}, {7, 3, "3 "}};
  for (const auto& r : repeats)
    EXPECT_EQ(CCalendarQuery::repeatText(r.frequency, r.interval), QString::fromLatin1(r.text))
        << r.frequency << " " << r.interval;
}

// Reminders and end-less items of a legacy default calendar are left out;
// store kinds and colours give the icons.
TEST_F(CalendarRead, WhichRowsAndWhichIcons) {
  CalendarEvent noEnd = event("Old default without end", t0, 0, 1);
  noEnd.end = QStringLiteral("NULL");
  const QList<CalendarStore> stores = {{1, QStringLiteral("Default")}, {3, QStringLiteral("Exchange")}};
  const QList<CalendarDef> calendars = {{1, 1, QStringLiteral("Calendar"), QString(), 0},
                                        {3, 3, QStringLiteral("Work"), QStringLiteral("#FF2968"), 4},
                                        {4, 3, QStringLiteral("Tasks"), QStringLiteral("#FF9500"), 8}};
  read(fixture::calendarStatements(stores, calendars,
                                   {event("Work", t0, t0 + 900, 3), event("Local", t0 - 86400, t0 - 86000, 1),
                                    event("Reminder", t0, t0, 4), noEnd}));
  ASSERT_EQ(list.count(0), 2);
  EXPECT_EQ(titled("Work")->getFirstLayerIconType(), 4);
  EXPECT_EQ(titled("Work")->getSecondLayerIconType(), 13);
  EXPECT_EQ(titled("Local")->getFirstLayerIconType(), 0);
  EXPECT_EQ(titled("Local")->getSecondLayerIconType(), -1); // no colour recorded
  EXPECT_EQ(titled("Local")->value(OxCalendarItem::ColLocation), QStringLiteral("None"));
  EXPECT_EQ(titled("Local")->value(OxCalendarItem::ColUrl), QStringLiteral("None"));
  EXPECT_EQ(list.getCalendarColorMap().value(QStringLiteral("Work")), QStringLiteral("#FF2968"));
}

// Damaged or unexpected databases: whatever can be read is listed, the rest
// is logged.
TEST_F(CalendarRead, BadInputs) {
  CalendarEvent plain = event("Plain", t0, t0 + 60);
  CalendarEvent noDates = event("No dates", 0, 0);
  noDates.start = QStringLiteral("NULL");
  noDates.end = QStringLiteral("NULL");
  CalendarEvent wordTrigger = event("Word trigger", t0, t0 + 60);
  wordTrigger.alarms = QStringList{QStringLiteral("'soon'"), QStringLiteral("-60")};
  CalendarEvent nullTrigger = event("Null trigger", t0, t0 + 60);
  nullTrigger.alarms = QStringList{QStringLiteral("NULL")};
  const QList<CalendarStore> stores = {{1, QStringLiteral("Default")}};
  const QList<CalendarDef> calendars = {{1, 1, QStringLiteral("Calendar"), QString(), 4}};

  struct Row {
    const char* name;
    QStringList statements; // empty: raw bytes below
    QByteArray bytes;
    int count;
    const char* firstTitle;
    const char* logged;
  } rows[] = {
      {"oldest generation", fixture::oldCalendarStatements({plain, noDates}), {}, 2, "Plain", ""},
      {"neither table",
       {QStringLiteral("CREATE TABLE Store (ROWID INTEGER PRIMARY KEY, name TEXT)")},
       {},
       0,
       "",
       "No calendar table"},
      {"NULL dates",
       fixture::calendarStatements(stores, calendars, {plain, noDates}),
       {},
       2,
       "Plain",
       "without a start date"},
      {"trigger not a number",
       fixture::calendarStatements(stores, calendars, {wordTrigger}),
       {},
       1,
       "Word trigger",
       ""},
      {"NULL trigger", fixture::calendarStatements(stores, calendars, {nullTrigger}), {}, 1, "Null trigger", ""},
      {"not a database", {}, QByteArray(4096, 'x'), 0, "", "Fail to open"},
      {"empty file", {}, QByteArray(), 0, "", "No calendar table"},
  };
  for (const auto& r : rows) {
    LogCapture log;
    read(r.statements, r.bytes);
    ASSERT_EQ(list.count(0), r.count) << r.name;
    if (r.count > 0) {
      EXPECT_EQ(list.at(0, false)->value(0), QString::fromLatin1(r.firstTitle)) << r.name;
    }
    if (*r.logged) {
      EXPECT_TRUE(log.contains(QString::fromLatin1(r.logged))) << r.name << ": " << log.lines.join('|').toStdString();
    }
  }
  LogCapture log;
  readPath(dir.filePath(QStringLiteral("absent.sqlitedb")));
  EXPECT_TRUE(log.contains(QStringLiteral("Not exists")));

  // The older generation has no repeat, alert or store columns.
  read(fixture::oldCalendarStatements({plain}));
  EXPECT_TRUE(titled("Plain")->value(OxCalendarItem::ColAlert).isEmpty());
  EXPECT_EQ(titled("Plain")->getFirstLayerIconType(), -1);

  read(fixture::calendarStatements(stores, calendars, {noDates, wordTrigger}));
  OxCalendarItem* undated = titled("No dates");
  ASSERT_TRUE(undated);
  EXPECT_TRUE(undated->value(OxCalendarItem::ColStartDate).isEmpty());
  EXPECT_EQ(list.at(list.count(0) - 1, false), undated); // no date sorts after every date (newest first)
  OxCalendarItem* word = titled("Word trigger");
  EXPECT_EQ(word->value(OxCalendarItem::ColAlert), QStringLiteral("At the beginning of the schedule / 1 minute ago"));
  EXPECT_EQ(word->sortValue(OxCalendarItem::ColAlert).toString(), QStringLiteral("soon"));
}

// The sample calendar read out of a backup: alarms merged into one item,
// repeat rules, all-day dates, newest first.
TEST(CalendarService, SampleBackupThroughTheService) {
  QTemporaryDir root;
  QString error;
  ASSERT_TRUE(fixture::writeBackup(root.filePath(QStringLiteral("sample")), fixture::BackupPlan(),
                                   fixture::sampleCalendarFiles(), &error))
      << error.toStdString();
  SherdLog::silence();
  WhatsappService service(root.filePath(QStringLiteral("sample")), false);
  ASSERT_TRUE(service.onBeginLoadWhatsappOnly());
  service.loadWhatsappOnly(8);
  service.onEndLoadWhatsappOnly();
  SherdLog::toStderr();
  OxData* calendar = service.getOxData(8);
  QStringList titles;
  for (int row = 0; row < calendar->count(0); ++row)
    titles << calendar->at(row, false)->value(0);
  ASSERT_EQ(titles, (QStringList{QStringLiteral("Holiday"), QStringLiteral("Dentist"), QStringLiteral("Team stand-up"),
                                 QStringLiteral("Pay the rent")})); // the reminder list stays out
  auto item = [&](int row) { return dynamic_cast<const OxCalendarItem*>(calendar->at(row, false)); };

  EXPECT_EQ(item(0)->value(OxCalendarItem::ColStartDate), QStringLiteral("2022-05-12")); // all day: no time
  EXPECT_EQ(item(0)->value(OxCalendarItem::ColUrl), QStringLiteral("https://example.org/booking/4711"));
  EXPECT_EQ(item(0)->value(OxCalendarItem::ColAlert), QStringLiteral("None"));

  const OxCalendarItem* dentist = item(1);
  EXPECT_EQ(dentist->value(OxCalendarItem::ColAlert), QStringLiteral("15 minute ago / 1 hour ago / 1 day ago"));
  EXPECT_EQ(dentist->sortValue(OxCalendarItem::ColAlert).toString(), QStringLiteral("900"));
  EXPECT_NE(dentist->getTriggerid(), 0);
  EXPECT_EQ(dentist->value(OxCalendarItem::ColLocation), QStringLiteral("Hauptstraße 5, Köln"));
  EXPECT_EQ(dentist->value(OxCalendarItem::ColRepeat), QStringLiteral("Never"));
  EXPECT_EQ(dentist->value(OxCalendarItem::ColEndRepeat), QStringLiteral("Never"));
  EXPECT_EQ(dentist->value(OxCalendarItem::ColStore), QStringLiteral("iCloud"));
  EXPECT_EQ(dentist->getFirstLayerIconType(), 1);
  const QDateTime start = CCommonUtils::buildDateTimeBase2001(t0 + 3 * 86400 + 5400);
  EXPECT_EQ(dentist->sortValue(OxCalendarItem::ColStartDate).toDateTime(), start);
  EXPECT_EQ(dentist->value(OxCalendarItem::ColStartDate), CCommonUtils::datetimeToMinuteCheckNoYear(start, true));

  const OxCalendarItem* standup = item(2);
  EXPECT_EQ(standup->value(OxCalendarItem::ColRepeat), QStringLiteral("1 week"));
  EXPECT_EQ(standup->sortValue(OxCalendarItem::ColRepeat).toString(), QStringLiteral("1*2*D=0MO,0TU,0WE,0TH,0FR"));
  EXPECT_EQ(standup->sortValue(OxCalendarItem::ColEndRepeat).toDateTime(),
            CCommonUtils::buildDateTimeBase2001(t0 + 180 * 86400));

  EXPECT_EQ(calendar->getCategoryTree().value(QStringLiteral("iCloud")),
            (QStringList{QStringLiteral("Work"), QStringLiteral("Home")})); // in arrival order
  EXPECT_EQ(calendar->categoryItemCount(QStringLiteral("iCloud"), QStringLiteral("Home")), 2);
}
} // namespace

#include "readers/ios/calendar/calendarcollection.h"

#include "model/oxcalendaritem.h"
#include "model/oxdata.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "service/whatsappservice.h"
#include "samples/apps/calendar.h"
#include "tests/support/testdata.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
using fixture::CalendarDef;
using fixture::CalendarEvent;
using fixture::calendarStatements;
using fixture::CalendarStore;

CalendarEvent event(const char* summary, const char* start = "673174800", const char* end = "673174860",
                    int calendarId = 1) {
  CalendarEvent e;
  e.summary = QString::fromUtf8(summary);
  e.start = QString::fromLatin1(start);
  e.end = QString::fromLatin1(end);
  e.calendarId = calendarId;
  return e;
}

OxCalendarItem* titled(OxData& list, const char* title) {
  for (int row = 0; row < list.count(0); ++row)
    if (list.at(row, false)->value(0) == QString::fromUtf8(title))
      return dynamic_cast<OxCalendarItem*>(list.at(row, false));
  return nullptr;
}

TEST(CalendarTexts, AlertsTriggersAndRepeatRules) {
  const std::pair<qint64, const char*> alerts[] = {
      {0, "At the beginning of the schedule"}, {5400, "1 hour ago"}, {8 * 86400, "1 week ago"}};
  for (const auto& [seconds, text] : alerts)
    EXPECT_EQ(CCalendarQuery::alertText(seconds), QString::fromLatin1(text)) << seconds;

  const std::pair<const char*, qint64> triggers[] = {
      {"-900", 900}, {"900", 900}, {"-1e3", 1000}, {"--60", 60}, {"-12abc", 0}};
  for (const auto& [trigger, seconds] : triggers)
    EXPECT_EQ(CCalendarQuery::alertSeconds(QString::fromLatin1(trigger)), seconds) << trigger;

  const std::tuple<int, int, const char*> repeats[] = {{0, 5, "Never"}, {3, 2, "2 month"}, {7, 3, "3 "}};
  for (const auto& [frequency, interval, text] : repeats)
    EXPECT_EQ(CCalendarQuery::repeatText(frequency, interval), QString::fromLatin1(text)) << frequency;
}

// Reminders and end-less items of a legacy default calendar are left out;
// store kinds and colours give the icons; damaged databases give what can be read.
TEST(CalendarRead, WhichRowsIconsAndBadInputs) {
  QTemporaryDir dir;
  OxData list(8);
  int n = 0;
  auto read = [&](const QStringList& statements, const QByteArray& bytes = QByteArray()) {
    const QString path = dir.filePath(QStringLiteral("Calendar%1.sqlitedb").arg(++n));
    list.clear();
    CCalendarQuery query(&list);
    query.query({statements.isEmpty() ? testdata::writeFile(path, bytes) : testdata::writeSqliteDb(path, statements)},
                nullptr);
  };
  const QList<CalendarStore> stores = {{1, QStringLiteral("Default")}, {3, QStringLiteral("Exchange")}};
  const QList<CalendarDef> calendars = {{1, 1, QStringLiteral("Calendar"), QString(), 0},
                                        {3, 3, QStringLiteral("Work"), QStringLiteral("#FF2968"), 4},
                                        {4, 3, QStringLiteral("Tasks"), QStringLiteral("#FF9500"), 8}};
  read(calendarStatements(stores, calendars,
                          {event("Work", "673174800", "673175700", 3), event("Local"),
                           event("Reminder", "673174800", "673174800", 4),
                           event("Old default without end", "673174800", "NULL")}));
  ASSERT_EQ(list.count(0), 2);
  EXPECT_EQ(titled(list, "Work")->getFirstLayerIconType(), 4);
  EXPECT_EQ(titled(list, "Work")->getSecondLayerIconType(), 13);
  EXPECT_EQ(titled(list, "Local")->getSecondLayerIconType(), -1); // no colour recorded
  EXPECT_EQ(list.getCalendarColorMap().value(QStringLiteral("Work")), QStringLiteral("#FF2968"));
  EXPECT_EQ(titled(list, "Work")->timeZone(), QStringLiteral("Europe/Berlin")); // the zone the phone kept

  CalendarEvent wordTrigger = event("Word trigger");
  wordTrigger.alarms = QStringList{QStringLiteral("'soon'"), QStringLiteral("-60")};
  const QList<CalendarEvent> damaged = {event("Plain"), event("No dates", "NULL", "NULL", 3), wordTrigger};
  const struct {
    const char* name;
    QStringList statements; // empty: the bytes
    QByteArray bytes;
    int count;
    const char* logged;
  } rows[] = {
      {"oldest generation", fixture::oldCalendarStatements(damaged.mid(0, 2)), {}, 2, ""},
      {"neither table", {QStringLiteral("CREATE TABLE Store (ROWID INTEGER PRIMARY KEY)")}, {}, 0, "No calendar table"},
      {"not a database", {}, QByteArray(4096, 'x'), 0, "Fail to open"},
      {"NULL dates, word trigger", calendarStatements(stores, calendars, damaged), {}, 3, ""},
  };
  for (const auto& r : rows) {
    testdata::LogCapture log;
    read(r.statements, r.bytes);
    EXPECT_EQ(list.count(0), r.count) << r.name;
    EXPECT_TRUE(!*r.logged || log.contains(QString::fromLatin1(r.logged)))
        << r.name << ": " << log.lines.join('|').toStdString();
  }
  // The last read: the word trigger counts as 0 seconds.
  EXPECT_EQ(titled(list, "Word trigger")->value(OxCalendarItem::ColAlert),
            QStringLiteral("At the beginning of the schedule / 1 minute ago"));
}

// A date that is NULL or not a number reads as 0 seconds: the event is kept
// with the reference moment's text and sort key, start and end alike.
TEST(CalendarRead, NullAndWordDatesReadAsTheReferenceMoment) {
  QTemporaryDir dir;
  const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
  const QDateTime start = CCommonUtils::buildDateTimeBase2001(673174800.0);
  const struct {
    const char* summary;
    const char* start;
    const char* end;
    QDateTime startAt;
    QDateTime endAt;
  } rows[] = {
      {"both NULL", "NULL", "NULL", reference, reference},
      {"end NULL", "673174800", "NULL", start, reference},
      {"start NULL", "NULL", "673174800", reference, start},
      {"words", "'soon'", "'12abc'", reference, reference},
      {"blob", "x'0102'", "673174800", reference, start},
  };
  QList<CalendarEvent> events;
  for (const auto& r : rows)
    events << event(r.summary, r.start, r.end, 3);
  OxData list(8);
  CCalendarQuery query(&list);
  query.query({testdata::writeSqliteDb(dir.filePath(QStringLiteral("Calendar.sqlitedb")),
                                       calendarStatements({{3, QStringLiteral("Exchange")}},
                                                          {{3, 3, QStringLiteral("Work"), QString(), 4}}, events))},
              nullptr);
  ASSERT_EQ(list.count(0), int(std::size(rows)));
  for (const auto& r : rows) {
    const OxCalendarItem* item = titled(list, r.summary);
    ASSERT_TRUE(item) << r.summary;
    const std::pair<int, QDateTime> dates[] = {{OxCalendarItem::ColStartDate, r.startAt},
                                               {OxCalendarItem::ColEndDate, r.endAt}};
    for (const auto& [column, at] : dates) {
      EXPECT_EQ(item->sortValue(column).toDateTime(), at) << r.summary << " " << column;
      EXPECT_EQ(item->value(column), CCommonUtils::datetimeToMinuteCheckNoYear(at, true)) << r.summary << " " << column;
    }
  }
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
  ASSERT_EQ(titles.join('|'), QStringLiteral("Holiday|Dentist|Team stand-up|Pay the rent")); // no reminders
  auto item = [&](int row) { return dynamic_cast<const OxCalendarItem*>(calendar->at(row, false)); };
  EXPECT_EQ(item(0)->value(OxCalendarItem::ColStartDate), QStringLiteral("2022-05-12")); // all day: no time
  EXPECT_EQ(item(1)->value(OxCalendarItem::ColAlert), QStringLiteral("15 minute ago / 1 hour ago / 1 day ago"));
  EXPECT_EQ(item(1)->sortValue(OxCalendarItem::ColAlert).toString(), QStringLiteral("900"));
  EXPECT_EQ(item(2)->value(OxCalendarItem::ColRepeat), QStringLiteral("1 week"));
  EXPECT_EQ(item(2)->sortValue(OxCalendarItem::ColRepeat).toString(), QStringLiteral("1*2*D=0MO,0TU,0WE,0TH,0FR"));
  EXPECT_EQ(calendar->getCategoryTree().value(QStringLiteral("iCloud")),
            (QStringList{QStringLiteral("Work"), QStringLiteral("Home")})); // in arrival order
  EXPECT_EQ(calendar->categoryItemCount(QStringLiteral("iCloud"), QStringLiteral("Home")), 2);
}
} // namespace

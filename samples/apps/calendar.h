#pragma once
// Writers of the phone's calendar database, Calendar.sqlitedb, in its current
// generation (CalendarItem with Store, Calendar, Location, Recurrence and
// Alarm, as iOS 9 and later have them) and its oldest one (a table "event").
#include "samples/backupfixture.h"

namespace fixture {

struct CalendarStore {
  int rowId = 1;
  QString name = QStringLiteral("Default");
};

struct CalendarDef {
  int rowId = 1;
  int storeId = 1;
  QString title = QStringLiteral("Calendar");
  QString colour = QStringLiteral("#1BADF8");
  int supportedEntityTypes = 4; // 4 events, 8 reminders, 0 older default calendars
};

// One event. Dates are seconds since 2001-01-01 UTC; alarms and dates are SQL
// literals so that a test can write NULL or text where numbers belong.
struct CalendarEvent {
  int rowId = 0; // 0: numbered in list order from 1
  QString summary;
  QString location; // empty: no Location row
  QString description;
  QString url;
  QString start = QStringLiteral("0"); // SQL literal
  QString end = QStringLiteral("0");   // SQL literal; NULL for reminders
  int allDay = 0;
  int calendarId = 1;
  QStringList alarms; // trigger_interval literals, one Alarm row each
  int frequency = 0;  // 0: no Recurrence row
  int interval = 1;
  double recurrenceEnd = 0;
  QString specifier;
};

QStringList calendarStatements(const QList<CalendarStore>& stores, const QList<CalendarDef>& calendars,
                               const QList<CalendarEvent>& events);
// The oldest generation: summary, location (text), dates and URL only.
QStringList oldCalendarStatements(const QList<CalendarEvent>& events);

// HomeDomain/Library/Calendar/Calendar.sqlitedb in WAL mode, as on the phone:
// the rows are in the -wal record.
QList<StoredFile> calendarFiles(const QStringList& statements);

// What the sample backup holds: events of a local and an iCloud calendar,
// repeating ones, alarms, an all-day event and a reminder list.
QList<StoredFile> sampleCalendarFiles();

} // namespace fixture

#pragma once
// The calendar reader: one OxCalendarItem per event of the phone's calendar
// database ("Library/Calendar/Calendar.sqlitedb" in HomeDomain).
//
// Two generations of the database are read: the current one (tables
// CalendarItem, Location, Recurrence, Calendar, Alarm, Store) and the oldest
// one (a table "event" with the title, place, notes, dates and URL only). The
// query tries the current statement first and falls back to the older one
// when it does not prepare.
//
// Traps worth knowing:
//  - An event with several alarms comes back as one row per alarm. The first
//    row makes the item; each further row only adds its alert text to it
//    ("15 minute ago / 1 hour ago"), found through the list by the event's
//    row id (the item's trigger id). Events without alarm have trigger id 0
//    and are never merged.
//  - Only calendars that hold events are read: supported_entity_types 4, or 0
//    (older default calendars) for items that have an end date. Reminders and
//    birthdays are left out.
//  - Alert texts use the largest whole unit and drop the rest: 90 minutes
//    before the start reads "1 hour ago", 8 days "1 week ago".
//  - A date column that is NULL or not a number reads as 0: such an event
//    starts (or ends) at the reference moment, 2001-01-01 00:00 UTC, with the
//    text and sort key of that date, like any other. Nothing is dropped.
#include "backup/cidatacollection.h"
#include "backup/cisqlitequery.h"

#include <QSet>
#include <QString>

class OxData;

class CCalendarQuery : public CISQLiteQuery {
public:
  explicit CCalendarQuery(OxData* list);
  ~CCalendarQuery() override;

  // Per file: the first COUNT and the first SELECT that prepare against the
  // database are used (the current generation, else the oldest); a file with
  // neither table is logged and skipped.
  void query(const QStringList& files, CIProgressCallback* progress) override;

  // "1 week ago", "2 day ago", ... from the seconds between the alert and the
  // start; 0 reads "At the beginning of the schedule".
  static QString alertText(qint64 seconds);
  // The alert seconds of a trigger interval text: the "-" signs removed, read
  // as a whole number (a fraction is dropped); anything else is 0.
  static qint64 alertSeconds(const QString& trigger);
  // "Never" for frequency 0; otherwise "<interval> <unit>" with the unit
  // "day", "week", "month", "year" for frequencies 1 to 4 and empty otherwise.
  static QString repeatText(int frequency, int interval);

protected:
  bool onRow(sqlite3_stmt* stmt) override;

private:
  void mergeAlarm(int triggerId, const QString& trigger);

  OxData* m_list;       // not owned
  QSet<int> m_seenOwners; // event row ids whose item exists already
};

class CCalendarCollection : public CIDataCollection {
public:
  // The calendar list; not owned. A null list loads nothing.
  explicit CCalendarCollection(OxData* list);
  ~CCalendarCollection() override;

  // Copies the calendar database (with its log) out of the backup and reads it.
  void load(MobileBackup* backup) override;

private:
  OxData* m_list;
};

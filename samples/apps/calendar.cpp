#include "samples/apps/calendar.h"

#include "samples/sqlitefile.h"

namespace fixture {
namespace {
const char* const kSchema[] = {
    "CREATE TABLE Store (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, default_alarm_offset INTEGER, "
    "type INTEGER, constraint_path TEXT, disabled INTEGER, external_id TEXT, persistent_id TEXT, flags INTEGER, "
    "marked_immutable_sharees INTEGER, creator_bundle_id TEXT, creator_code_signing_identity TEXT, "
    "display_order INTEGER, UUID TEXT)",
    "CREATE TABLE Calendar (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, store_id INTEGER, title TEXT, flags INTEGER, "
    "color TEXT, symbolic_color_name TEXT, color_display_only INTEGER, type TEXT, supported_entity_types INTEGER, "
    "external_id TEXT, external_mod_tag TEXT, external_id_tag TEXT, external_rep BLOB, display_order INTEGER, "
    "UUID TEXT, shared_owner_name TEXT, shared_owner_address TEXT, sharing_status INTEGER, "
    "sharing_invitation_response INTEGER, published_URL TEXT, is_published INTEGER, invitation_status INTEGER, "
    "sync_token TEXT, self_identity_id INTEGER, owner_identity_id INTEGER, notes TEXT, locale TEXT)",
    "CREATE TABLE Location (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, title TEXT, address TEXT, "
    "latitude REAL, longitude REAL, reference_frame INTEGER, radius REAL, client_location BLOB, "
    "map_kit_handle BLOB, route_type TEXT, item_owner_id INTEGER, alarm_owner_id INTEGER, external_id TEXT)",
    "CREATE TABLE CalendarItem (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, summary TEXT, location_id INTEGER, "
    "description TEXT, start_date REAL, start_tz TEXT, end_date REAL, all_day INTEGER, calendar_id INTEGER, "
    "orig_item_id INTEGER, orig_date REAL, organizer_id INTEGER, self_attendee_id INTEGER, status INTEGER, "
    "invitation_status INTEGER, availability INTEGER, privacy_level INTEGER, url TEXT, last_modified REAL, "
    "sequence_num INTEGER, birthday_id INTEGER, modified_properties INTEGER, external_tracking_status INTEGER, "
    "external_id TEXT, external_mod_tag TEXT, unique_identifier TEXT, external_schedule_id TEXT, "
    "external_rep BLOB, response_comment TEXT, hidden INTEGER, has_recurrences INTEGER, has_attendees INTEGER, "
    "UUID TEXT, entity_type INTEGER, priority INTEGER, due_date REAL, due_tz TEXT, due_all_day INTEGER, "
    "completion_date REAL, creation_date REAL, conference TEXT, display_order INTEGER, created_by_id INTEGER, "
    "modified_by_id INTEGER, shared_item_created_date REAL, shared_item_created_tz TEXT, "
    "shared_item_modified_date REAL, shared_item_modified_tz TEXT, invitation_changed_properties INTEGER, "
    "default_alarm_removed INTEGER, phantom_master INTEGER, participation_status_modified_date REAL, "
    "calendar_scale TEXT, travel_time REAL, travel_advisory_behavior INTEGER, start_location_id INTEGER, "
    "allowed_video_conferences INTEGER, suppress_notification_for_changes INTEGER, end_tz TEXT)",
    "CREATE TABLE Recurrence (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, frequency INTEGER, interval INTEGER, "
    "week_start INTEGER, count INTEGER, cached_end_date REAL, cached_end_date_tz TEXT, end_date REAL, "
    "specifier TEXT, by_month_months INTEGER, owner_id INTEGER, external_id TEXT, UUID TEXT)",
    "CREATE TABLE Alarm (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, trigger_date REAL, trigger_interval INTEGER, "
    "type INTEGER, power_state INTEGER, proximity INTEGER, disabled INTEGER, style INTEGER, "
    "calendaritem_owner_id INTEGER, calendar_owner_id INTEGER, external_id TEXT, external_mod_tag TEXT, "
    "external_rep BLOB, acknowledged_date REAL, default_alarm INTEGER, orig_alarm_id INTEGER, "
    "location_id INTEGER, UUID TEXT, sound TEXT)",
    "CREATE INDEX CalendarItem_calendar_id ON CalendarItem(calendar_id)",
    "CREATE INDEX Alarm_calendaritem_owner_id ON Alarm(calendaritem_owner_id)",
    "CREATE INDEX Recurrence_owner_id ON Recurrence(owner_id)",
};
} // namespace

QStringList calendarStatements(const QList<CalendarStore>& stores, const QList<CalendarDef>& calendars,
                               const QList<CalendarEvent>& events) {
  QStringList s{QStringLiteral("BEGIN")};
  for (const char* line : kSchema)
    s << QString::fromLatin1(line);
  for (const CalendarStore& st : stores)
    s << sqlf("INSERT INTO Store (ROWID, name, type, disabled) VALUES (%1, %2, 0, 0)", st.rowId,
              sqlQuotedOrNull(st.name));
  for (const CalendarDef& c : calendars)
    s << sqlf("INSERT INTO Calendar (ROWID, store_id, title, color, supported_entity_types, flags) "
              "VALUES (%1, %2, %3, %4, %5, 0)",
              c.rowId, c.storeId, sqlQuotedOrNull(c.title), sqlQuotedOrNull(c.colour), c.supportedEntityTypes);
  int row = 0;
  int locationId = 0;
  for (const CalendarEvent& e : events) {
    const int id = e.rowId ? e.rowId : ++row;
    QString location = QStringLiteral("0");
    if (!e.location.isEmpty()) {
      ++locationId;
      s << sqlf("INSERT INTO Location (ROWID, title, item_owner_id) VALUES (%1, %2, %3)", locationId,
                sqlQuoted(e.location), id);
      location = QString::number(locationId);
    }
    s << sqlf("INSERT INTO CalendarItem (ROWID, summary, location_id, description, start_date, start_tz, end_date, "
              "all_day, calendar_id, url, entity_type, hidden, has_recurrences) VALUES (%1, %2, %3, %4, %5, %6, %7, "
              "%8, %9, %10, 2, 0, %11)",
              id, sqlQuotedOrNull(e.summary), location, sqlQuotedOrNull(e.description), e.start,
              e.allDay ? QStringLiteral("'_float'") : QStringLiteral("'Europe/Berlin'"), e.end, e.allDay, e.calendarId,
              sqlQuotedOrNull(e.url), e.frequency ? 1 : 0);
    if (e.frequency)
      s << sqlf("INSERT INTO Recurrence (frequency, interval, week_start, count, end_date, specifier, owner_id) "
                "VALUES (%1, %2, 0, 0, %3, %4, %5)",
                e.frequency, e.interval, QString::number(e.recurrenceEnd, 'f', 3), sqlQuotedOrNull(e.specifier), id);
    for (const QString& trigger : e.alarms)
      s << sqlf("INSERT INTO Alarm (trigger_interval, type, calendaritem_owner_id, calendar_owner_id) "
                "VALUES (%1, 0, %2, 0)",
                trigger, id);
  }
  s << QStringLiteral("COMMIT");
  return s;
}

QStringList oldCalendarStatements(const QList<CalendarEvent>& events) {
  QStringList s{QStringLiteral("BEGIN")};
  s << QStringLiteral("CREATE TABLE Event (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, summary TEXT, location TEXT, "
                      "description TEXT, start_date INTEGER, start_tz TEXT, end_date INTEGER, all_day INTEGER, "
                      "calendar_id INTEGER, orig_event_id INTEGER, orig_start_date INTEGER, organizer_id INTEGER, "
                      "organizer_is_self INTEGER, organizer_external_id TEXT, self_attendee_status INTEGER, "
                      "status INTEGER, availability INTEGER, privacy_level INTEGER, url TEXT, "
                      "last_modified INTEGER, sequence_num INTEGER, birthday_id INTEGER, "
                      "modified_properties INTEGER, external_tracking_status INTEGER, external_id TEXT, "
                      "external_mod_tag TEXT, unique_identifier TEXT, external_schedule_id TEXT, "
                      "external_rep BLOB, response_comment TEXT, hidden INTEGER, has_recurrences INTEGER, "
                      "has_attendees INTEGER)")
    << QStringLiteral("CREATE TABLE Calendar (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, title TEXT, flags INTEGER, "
                      "color TEXT, type INTEGER, store_id INTEGER)")
    << QStringLiteral("INSERT INTO Calendar (ROWID, title, color, type) VALUES (1, 'Calendar', '#0252D4', 0)");
  for (const CalendarEvent& e : events)
    s << sqlf(
        "INSERT INTO Event (summary, location, description, start_date, start_tz, end_date, all_day, "
        "calendar_id, url, hidden, has_recurrences) VALUES (%1, %2, %3, %4, 'Europe/Berlin', %5, %6, 1, %7, 0, 0)",
        sqlQuotedOrNull(e.summary), sqlQuotedOrNull(e.location), sqlQuotedOrNull(e.description), e.start, e.end,
        e.allDay, sqlQuotedOrNull(e.url));
  s << QStringLiteral("COMMIT");
  return s;
}

QList<StoredFile> calendarFiles(const QStringList& statements) {
  QByteArray db;
  QByteArray wal;
  QList<StoredFile> files;
  if (!makeSqliteDb(statements, true, &db, &wal, nullptr))
    return files;
  const QString domain = QStringLiteral("HomeDomain");
  const QString path = QStringLiteral("Library/Calendar/Calendar.sqlitedb");
  files << file(domain, path, db) << file(domain, path + QStringLiteral("-wal"), wal);
  return files;
}

QList<StoredFile> sampleCalendarFiles() {
  const QList<CalendarStore> stores = {
      {1, QStringLiteral("Default")}, {2, QStringLiteral("iCloud")}, {3, QStringLiteral("Birthdays")}};
  const QList<CalendarDef> calendars = {
      {1, 1, QStringLiteral("Calendar"), QStringLiteral("#CC73E1"), 0},
      {2, 2, QStringLiteral("Home"), QStringLiteral("#34AADC"), 4},
      {3, 2, QStringLiteral("Work"), QStringLiteral("#FF2968"), 4},
      {4, 2, QStringLiteral("Reminders"), QStringLiteral("#FF9500"), 8},
  };
  // 2022-05-02 09:00 UTC is 673174800 seconds after 2001-01-01.
  const double day = 86400;
  const double t0 = 673174800;
  auto at = [](double seconds) { return QString::number(seconds, 'f', 0); };
  auto event = [&](const char* summary, double start, double end, int calendar) {
    CalendarEvent e;
    e.summary = QString::fromUtf8(summary);
    e.start = at(start);
    e.end = at(end);
    e.calendarId = calendar;
    return e;
  };
  CalendarEvent standup = event("Team stand-up", t0, t0 + 900, 3);
  standup.location = QStringLiteral("Room 4.12");
  standup.alarms = QStringList{QStringLiteral("-300")};
  standup.frequency = 2;
  standup.specifier = QStringLiteral("D=0MO,0TU,0WE,0TH,0FR");
  standup.recurrenceEnd = t0 + 180 * day;
  CalendarEvent dentist = event("Dentist", t0 + 3 * day + 5400, t0 + 3 * day + 7200, 2);
  dentist.location = QStringLiteral("Hauptstraße 5, Köln");
  dentist.description = QStringLiteral("Bring the insurance card");
  dentist.alarms = QStringList{QStringLiteral("-900"), QStringLiteral("-3600"), QStringLiteral("-86400")};
  CalendarEvent holiday = event("Holiday", t0 + 10 * day - 32400, t0 + 17 * day - 32400, 2);
  holiday.allDay = 1;
  holiday.url = QStringLiteral("https://example.org/booking/4711");
  CalendarEvent rent = event("Pay the rent", t0 - 2 * day, t0 - 2 * day + 1800, 1);
  rent.frequency = 3;
  rent.specifier = QStringLiteral("M=1");
  rent.alarms = QStringList{QStringLiteral("0")};
  CalendarEvent reminder = event("Buy milk", t0, 0, 4);
  reminder.end = QStringLiteral("NULL");
  const QList<CalendarEvent> events = {standup, dentist, holiday, rent, reminder};
  return calendarFiles(calendarStatements(stores, calendars, events));
}

} // namespace fixture

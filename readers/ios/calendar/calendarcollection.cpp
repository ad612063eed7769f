#include "readers/ios/calendar/calendarcollection.h"

#include "model/oxcalendaritem.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "platform/common/utils.h"
#include "service/progress.h"

#include <QCoreApplication>
#include <QFile>

#include <sqlite3.h>

namespace {
const char* const kModule = "iTunesBackup";

QString tr(const char* text) { return QCoreApplication::translate("iTunesBackup", text); }

// Columns of the current generation's statement; the first eight are shared
// with the oldest generation's.
enum Col {
  Summary = 0,
  Location,
  Description,
  StartDate,
  EndDate,
  Url,
  StartTz,
  AllDay,
  CalendarTitle,
  RecurrenceEnd,
  Frequency,
  Interval,
  StoreName,
  CalendarColor,
  Trigger,
  Specifier,
  TriggerId,
  CurrentColumns
};

const char* const kSelectCurrent =
    "select ci.summary, location.title as location, ci.description, ci.start_date, ci.end_date, ci.url, "
    "ci.start_tz, ci.all_day, c.title as calendartitle, rc.end_date as rcenddate, rc.frequency as rcfrequency, "
    "rc.interval as rcinterval, se.name as storename, c.color as calendarcolor, alarm.trigger_interval as trigger, "
    "rc.specifier as specifier, alarm.calendaritem_owner_id as triggerid from calendaritem as ci left join location "
    "on ci.location_id = location.rowid left join recurrence as rc on ci.rowid = rc.owner_id left join calendar as "
    "c on ci.calendar_id = c.rowid left join Alarm as alarm on ci.rowid = alarm.calendaritem_owner_id left join "
    "store as se on c.store_id = se.rowid where (4 = c.supported_entity_types) or (0 = c.supported_entity_types "
    "and ci.end_date not null) order by ci.start_date asc";
const char* const kSelectOldest =
    "select summary, location, description, start_date, end_date, url, start_tz, all_day from event order by "
    "start_date asc";
const char* const kCountCurrent =
    "select count(*) from calendaritem as ci left join location on ci.location_id = location.rowid left join "
    "calendar as c on ci.calendar_id = c.rowid where (4 = supported_entity_types) or (0 = supported_entity_types "
    "and ci.end_date not null)";
const char* const kCountOldest = "select count(*) from event";

// The first statement of the list that prepares against the database, or an
// empty string.
QString firstThatPrepares(const SqlDatabase& db, const QStringList& statements) {
  for (const QString& sql : statements) {
    if (SqlStatement(db, sql).isValid())
      return sql;
  }
  return QString();
}

// A column of seconds as a number: integers and reals as they are, a text
// only when the whole of it is a number; NULL, any other text and blobs read
// as 0.
double secondsOf(sqlite3_stmt* stmt, int column) {
  switch (sqlite3_column_type(stmt, column)) {
  case SQLITE_INTEGER:
  case SQLITE_FLOAT:
    return sqlite3_column_double(stmt, column);
  case SQLITE_TEXT: {
    bool ok = false;
    const double value = CISQLiteQuery::columnText(stmt, column).trimmed().toDouble(&ok);
    return ok && qIsFinite(value) ? value : 0.0;
  }
  default:
    return 0.0;
  }
}

// The date column's text and sort key from seconds since 2001.
void setDate(OxCalendarItem* item, double seconds, int itemColumn, bool withTime) {
  const QDateTime date = CCommonUtils::buildDateTimeBase2001(seconds);
  item->setValue(CCommonUtils::datetimeToMinuteCheckNoYear(date, withTime), itemColumn);
  item->setSortValue(date, itemColumn);
}

QString orNone(const QString& text) { return text.isEmpty() ? tr("None") : text; }
} // namespace

// ---- CCalendarQuery ----------------------------------------------------------

CCalendarQuery::CCalendarQuery(OxData* list) : m_list(list) {
  m_sqls << QString::fromLatin1(kSelectCurrent) << QString::fromLatin1(kSelectOldest);
  m_countSqls << QString::fromLatin1(kCountCurrent) << QString::fromLatin1(kCountOldest);
}

CCalendarQuery::~CCalendarQuery() = default;

void CCalendarQuery::query(const QStringList& files, CIProgressCallback* progress) {
  for (const QString& path : files) {
    if (path.isEmpty())
      continue;
    if (!QFile::exists(path)) {
      Log(kModule, 0, "%s is missing: nothing read from it", path.toUtf8().constData());
      continue;
    }
    QString select;
    QString count;
    {
      SqlDatabase db;
      if (!db.open(path)) {
        Log(kModule, 0, "Fail to open db file: %s", path.toUtf8().constData());
        continue;
      }
      select = firstThatPrepares(db, m_sqls);
      count = firstThatPrepares(db, m_countSqls);
    }
    if (select.isEmpty() || count.isEmpty()) {
      Log(kModule, 0, "No calendar table of either generation in %s", path.toUtf8().constData());
      continue;
    }
    const int rows = countRows(path, QStringList{count});
    if (rows <= 0)
      continue;
    m_progress = progress;
    if (progress)
      m_step = double(progress->range()) / double(rows);
    execSql(path, select);
  }
}

QString CCalendarQuery::alertText(qint64 seconds) {
  struct Unit {
    qint64 seconds;
    const char* text;
  } static const units[] = {
      {604800, QT_TRANSLATE_NOOP("iTunesBackup", "%1 week ago")},
      {86400, QT_TRANSLATE_NOOP("iTunesBackup", "%1 day ago")},
      {3600, QT_TRANSLATE_NOOP("iTunesBackup", "%1 hour ago")},
      {60, QT_TRANSLATE_NOOP("iTunesBackup", "%1 minute ago")},
      {1, QT_TRANSLATE_NOOP("iTunesBackup", "%1 second ago")},
  };
  for (const Unit& u : units) {
    const qint64 n = seconds / u.seconds;
    if (n != 0)
      return tr(u.text).arg(n);
  }
  return tr("At the beginning of the schedule");
}

qint64 CCalendarQuery::alertSeconds(const QString& trigger) {
  QString digits = trigger;
  digits.remove(QLatin1Char('-'));
  bool ok = false;
  const qint64 whole = digits.toLongLong(&ok);
  if (ok)
    return whole;
  const double real = digits.toDouble(&ok); // a REAL column reads "900.0"
  if (ok && real >= -9.2e18 && real <= 9.2e18)
    return qint64(real);
  return 0;
}

QString CCalendarQuery::repeatText(int frequency, int interval) {
  if (frequency == 0)
    return tr("Never");
  QString unit;
  switch (frequency) {
  case 1: unit = tr("day"); break;
  case 2: unit = tr("week"); break;
  case 3: unit = tr("month"); break;
  case 4: unit = tr("year"); break;
  default: break;
  }
  return QString::number(interval) + QLatin1Char(' ') + unit;
}

void CCalendarQuery::mergeAlarm(int triggerId, const QString& trigger) {
  OxCalendarItem* earlier = m_list->getSameTriggerItem(triggerId);
  if (!earlier || trigger.isEmpty())
    return;
  const QString text = alertText(alertSeconds(trigger));
  earlier->setValue(earlier->value(OxCalendarItem::ColAlert) + QStringLiteral(" / ") + text,
                    OxCalendarItem::ColAlert);
}

bool CCalendarQuery::onRow(sqlite3_stmt* stmt) {
  if (!m_list)
    return false;
  const bool current = sqlite3_column_count(stmt) >= CurrentColumns;
  int triggerId = 0;
  if (current) {
    triggerId = sqlite3_column_int(stmt, TriggerId);
    if (triggerId != 0) {
      if (m_seenOwners.contains(triggerId)) {
        mergeAlarm(triggerId, columnText(stmt, Trigger));
        return true;
      }
      m_seenOwners.insert(triggerId);
    }
  }

  OxCalendarItem* item = OxCalendarItem::createItem();
  if (!item)
    return false;
  const int allDay = sqlite3_column_int(stmt, AllDay);
  item->setAllDay(allDay);
  item->setTimeZone(columnText(stmt, StartTz).trimmed());
  const bool withTime = allDay == 0;
  item->setValue(columnText(stmt, Summary), OxCalendarItem::ColTitle);
  item->setValue(orNone(columnText(stmt, Location)), OxCalendarItem::ColLocation);
  setDate(item, secondsOf(stmt, StartDate), OxCalendarItem::ColStartDate, withTime);
  setDate(item, secondsOf(stmt, EndDate), OxCalendarItem::ColEndDate, withTime);
  item->setValue(columnText(stmt, Description), OxCalendarItem::ColNotes);
  item->setValue(orNone(columnText(stmt, Url)), OxCalendarItem::ColUrl);

  if (current) {
    const QString calendar = columnText(stmt, CalendarTitle);
    if (!calendar.isEmpty())
      item->setValue(calendar, OxCalendarItem::ColCalendar);

    const double repeatEnd = secondsOf(stmt, RecurrenceEnd);
    if (repeatEnd == 0.0)
      item->setValue(tr("Never"), OxCalendarItem::ColEndRepeat);
    else
      setDate(item, repeatEnd, OxCalendarItem::ColEndRepeat, withTime);

    const int frequency = sqlite3_column_int(stmt, Frequency);
    const int interval = sqlite3_column_int(stmt, Interval);
    item->setValue(repeatText(frequency, interval), OxCalendarItem::ColRepeat);
    if (frequency != 0)
      item->setSortValue(QString::number(interval) + QLatin1Char('*') + QString::number(frequency) +
                             QLatin1Char('*') + columnText(stmt, Specifier),
                         OxCalendarItem::ColRepeat);

    const QString store = columnText(stmt, StoreName);
    if (!store.isEmpty())
      item->setValue(store, OxCalendarItem::ColStore);
    item->setFirstLayerIconType(store == QLatin1String("Default") ? 0 : store == QLatin1String("iCloud") ? 1 : 4);

    const QString colour = columnText(stmt, CalendarColor);
    if (!colour.isEmpty()) {
      m_list->addCalendarColorMap(item, colour);
      item->setSecondLayerIconType(13);
    }

    QString trigger = columnText(stmt, Trigger);
    if (!trigger.isEmpty()) {
      trigger.remove(QLatin1Char('-'));
      item->setSortValue(trigger, OxCalendarItem::ColAlert);
      item->setValue(alertText(alertSeconds(trigger)), OxCalendarItem::ColAlert);
    } else {
      item->setValue(tr("None"), OxCalendarItem::ColAlert);
    }
    item->setTriggerid(triggerId);
  }
  // An event has no byte size of its own: the list counts its texts.
  item->setSize(0);
  m_list->append(item);
  return true;
}

// ---- CCalendarCollection -----------------------------------------------------

CCalendarCollection::CCalendarCollection(OxData* list) : m_list(list) {}
CCalendarCollection::~CCalendarCollection() = default;

void CCalendarCollection::load(MobileBackup* backup) {
  if (!m_list || !backup)
    return;
  const QString path = backup->generalSqlDbFile(Utils::tempPath() + QStringLiteral("Calendar"),
                                                 QStringLiteral("HomeDomain"),
                                                 QStringLiteral("Library/Calendar/Calendar.sqlitedb"));
  CCalendarQuery query(m_list);
  query.query(QStringList{path}, m_progress);
}

// Calendar: every event in one iCalendar file, written by KCalendarCore, with
// its repeat rule and its alarms.
//
// What the list keeps of an event decides what the file can say: the start
// and end as UTC times (all-day events as dates), the repeat rule as the
// sort key "interval*frequency*..." of the repeat column (frequency 1 daily, 2
// weekly, 3 monthly, 4 yearly) with the end of the repeat as the key of its
// column, and the alarms as the alert column's text ("15 minute ago", several
// joined by " / "). A timed event whose store names a time zone the host
// knows is written in that zone (DTSTART;TZID=... with its VTIMEZONE), as the
// phone showed it; any other in UTC, which every calendar program shows in
// the reader's zone.
#include "export/exportcontext.h"

#include "model/oxcalendaritem.h"

#include <KCalendarCore/Event>
#include <KCalendarCore/ICalFormat>
#include <KCalendarCore/MemoryCalendar>

#include <QRegularExpression>
#include <QTimeZone>

namespace exporting {
namespace {
QDateTime dateKey(const OxAbstractItem& item, int column) {
  const QVariant key = item.sortValue(column);
  return key.userType() == QMetaType::QDateTime ? key.toDateTime().toUTC() : QDateTime();
}

QString textOrEmpty(const OxAbstractItem& item, int column) {
  const QString text = item.value(column);
  return text == QLatin1String("None") ? QString() : text;
}

void setRepeat(KCalendarCore::Event& event, const OxCalendarItem& item) {
  const QStringList parts = item.sortValue(OxCalendarItem::ColRepeat).toString().split(QLatin1Char('*'));
  if (parts.size() < 2)
    return;
  const int interval = std::max(1, parts.at(0).toInt());
  KCalendarCore::Recurrence* r = event.recurrence();
  switch (parts.at(1).toInt()) {
  case 1: r->setDaily(interval); break;
  case 2: r->setWeekly(interval); break;
  case 3: r->setMonthly(interval); break;
  case 4: r->setYearly(interval); break;
  default: return;
  }
  const QDateTime end = dateKey(item, OxCalendarItem::ColEndRepeat);
  if (end.isValid()) {
    if (event.allDay())
      r->setEndDate(end.date());
    else
      r->setEndDateTime(end);
  }
}

// Seconds before the start of each alarm the alert text names.
QList<int> alarmOffsets(const QString& alert) {
  static const QRegularExpression amount(QStringLiteral("(\\d+)\\s+(week|day|hour|minute|second)"));
  QList<int> offsets;
  for (const QString& part : alert.split(QStringLiteral(" / "), Qt::SkipEmptyParts)) {
    const QRegularExpressionMatch m = amount.match(part);
    if (m.hasMatch()) {
      const QString unit = m.captured(2);
      const int scale = unit == QLatin1String("week")  ? 604800
                        : unit == QLatin1String("day") ? 86400
                        : unit == QLatin1String("hour") ? 3600
                        : unit == QLatin1String("minute") ? 60
                                                           : 1;
      offsets << m.captured(1).toInt() * scale;
    } else if (part.startsWith(QLatin1String("At the beginning"))) {
      offsets << 0;
    }
  }
  return offsets;
}

KCalendarCore::Event::Ptr eventOf(const OxCalendarItem& item) {
  KCalendarCore::Event::Ptr event(new KCalendarCore::Event);
  event->setSummary(item.value(OxCalendarItem::ColTitle));
  const bool allDay = item.getAllDay() != 0;
  QDateTime start = dateKey(item, OxCalendarItem::ColStartDate);
  QDateTime end = dateKey(item, OxCalendarItem::ColEndDate);
  const QTimeZone zone(item.timeZone().toUtf8());
  if (!allDay && zone.isValid()) {
    start = start.toTimeZone(zone);
    if (end.isValid())
      end = end.toTimeZone(zone);
  }
  event->setDtStart(start);
  if (end.isValid() && end >= start) {
    // An all-day event's end is its last day; a store that ends it at the
    // next midnight means the day before.
    QDateTime last = end;
    if (allDay && end.time() == QTime(0, 0) && end.date() > start.date())
      last = end.addDays(-1);
    event->setDtEnd(last);
  }
  event->setAllDay(allDay);
  event->setLocation(textOrEmpty(item, OxCalendarItem::ColLocation));
  event->setDescription(item.value(OxCalendarItem::ColNotes));
  const QString url = textOrEmpty(item, OxCalendarItem::ColUrl);
  if (!url.isEmpty())
    event->setUrl(QUrl(url));
  QStringList categories;
  for (int column : {OxCalendarItem::ColStore, OxCalendarItem::ColCalendar})
    if (!item.value(column).isEmpty())
      categories << item.value(column);
  event->setCategories(categories);
  setRepeat(*event, item);
  for (int seconds : alarmOffsets(item.value(OxCalendarItem::ColAlert))) {
    KCalendarCore::Alarm::Ptr alarm = event->newAlarm();
    alarm->setDisplayAlarm(item.value(OxCalendarItem::ColTitle));
    alarm->setStartOffset(KCalendarCore::Duration(-seconds));
    alarm->setEnabled(true);
  }
  return event;
}
} // namespace

void writeCalendar(ExportContext& ctx, const ItemList& items, Walk& walk) {
  KCalendarCore::MemoryCalendar::Ptr calendar(new KCalendarCore::MemoryCalendar(QTimeZone::utc()));
  for (OxAbstractItem* item : items) {
    if (const auto* event = dynamic_cast<const OxCalendarItem*>(item))
      if (ctx.wants(ExportOptions::FormatCalendar))
        calendar->addEvent(eventOf(*event));
    if (!walk.itemDone())
      break;
  }
  if (!ctx.wants(ExportOptions::FormatCalendar) || calendar->rawEvents().isEmpty())
    return;
  const QString relative = ctx.reserveDocument(QStringLiteral("calendar.ics"));
  KCalendarCore::ICalFormat format;
  const QString text = format.toString(calendar);
  TextFile out;
  if (text.isEmpty() || !out.open(ctx.out().absolute(relative)) || !(out << text).close()) {
    ctx.skip(relative, QStringLiteral("cannot write the calendar"));
    return;
  }
  ctx.documents().documents.append({QStringLiteral("Calendar"), relative,
                                    QStringLiteral("%1 events, import into any calendar").arg(calendar->rawEvents().size())});
}
} // namespace exporting

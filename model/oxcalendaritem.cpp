#include "model/oxcalendaritem.h"

#include <QCoreApplication>

#include <new>

OxCalendarItem::OxCalendarItem() : OxAbstractItem(ColumnCount) {}
OxCalendarItem::OxCalendarItem(const OxCalendarItem& other) = default;
OxCalendarItem& OxCalendarItem::operator=(const OxCalendarItem& other) = default;
OxCalendarItem::~OxCalendarItem() = default;

OxCalendarItem* OxCalendarItem::createItem() { return new (std::nothrow) OxCalendarItem(); }

int OxCalendarItem::dataColumn() const { return ColumnCount; }

QString OxCalendarItem::columnName(int column) const {
  static const char* const names[ColumnCount] = {
      QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Title"),    QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Starts Date"),
      QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Repeat"),   QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "End Repeat"),
      QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Ends Date"), QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Location"),
      QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Store"),    QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Calendar"),
      QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Alert"),    QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "URL"),
      QT_TRANSLATE_NOOP("CALENDAR_COLUMN", "Notes"),
  };
  if (column < 0 || column >= ColumnCount)
    return QString(QLatin1String(""));
  return QCoreApplication::translate("CALENDAR_COLUMN", names[column]);
}

QString OxCalendarItem::getTreeFirstLayerName() const { return value(ColStore); }
QString OxCalendarItem::getTreeSecondLayerName() const { return value(ColCalendar); }

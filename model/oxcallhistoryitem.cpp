#include "model/oxcallhistoryitem.h"

#include <QCoreApplication>

#include <new>

OxCallHistoryItem::OxCallHistoryItem() : OxAbstractItem(ColumnCount) {}
OxCallHistoryItem::OxCallHistoryItem(const OxCallHistoryItem& other) = default;
OxCallHistoryItem& OxCallHistoryItem::operator=(const OxCallHistoryItem& other) = default;
OxCallHistoryItem::~OxCallHistoryItem() = default;

OxCallHistoryItem* OxCallHistoryItem::createItem() { return new (std::nothrow) OxCallHistoryItem(); }

QString OxCallHistoryItem::columnName(int column) const {
  static const char* const names[ColumnCount] = {
      QT_TRANSLATE_NOOP("CALLHISTORY_COLUMN", "Name"),     QT_TRANSLATE_NOOP("CALLHISTORY_COLUMN", "Phone"),
      QT_TRANSLATE_NOOP("CALLHISTORY_COLUMN", "Date"),     QT_TRANSLATE_NOOP("CALLHISTORY_COLUMN", "Location"),
      QT_TRANSLATE_NOOP("CALLHISTORY_COLUMN", "Type"),     QT_TRANSLATE_NOOP("CALLHISTORY_COLUMN", "Duration"),
  };
  if (column < 0 || column >= ColumnCount)
    return QString(QLatin1String(""));
  return QCoreApplication::translate("CALLHISTORY_COLUMN", names[column]);
}

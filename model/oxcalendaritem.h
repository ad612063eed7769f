#pragma once
// OxCalendarItem: one calendar event.
//
// Eleven value columns, all shown (dataColumn() is 11): 0 Title, 1 Starts
// Date, 2 Repeat, 3 End Repeat, 4 Ends Date, 5 Location, 6 Store, 7 Calendar,
// 8 Alert, 9 URL, 10 Notes. The list orders events by the sort key of column 1
// (the start), newest first.
//
// The host's category tree: the first layer is the event's store (column 6:
// "Default", "iCloud", an account name), the second its calendar (column 7).
// The first-layer icon type tells the store kind (0 the local store, 1 iCloud,
// 4 any other, -1 unknown); the second-layer icon type is 13 when the
// calendar's colour was recorded in OxData's calendar colour map, else -1.
//
// The trigger id is the row id of the event that owns the item's alarms (0
// when it has none); a reader uses it to merge further alarms of the same
// event into the item already listed (OxData::getSameTriggerItem).
#include "model/oxabstractitem.h"

class SHERD_EXPORT OxCalendarItem : public OxAbstractItem {
public:
  enum Column {
    ColTitle = 0,
    ColStartDate,
    ColRepeat,
    ColEndRepeat,
    ColEndDate,
    ColLocation,
    ColStore,
    ColCalendar,
    ColAlert,
    ColUrl,
    ColNotes,
    ColumnCount
  };

  OxCalendarItem();
  OxCalendarItem(const OxCalendarItem& other);
  OxCalendarItem& operator=(const OxCalendarItem& other);
  ~OxCalendarItem() override;

  // A new heap item; null if allocation fails.
  static OxCalendarItem* createItem();

  int dataColumn() const override;
  QString columnName(int column) const override;
  QString getTreeFirstLayerName() const override;
  QString getTreeSecondLayerName() const override;
  int getFirstLayerIconType() const override { return m_firstLayerIconType; }
  int getSecondLayerIconType() const override { return m_secondLayerIconType; }

  void setFirstLayerIconType(int type) { m_firstLayerIconType = type; }
  void setSecondLayerIconType(int type) { m_secondLayerIconType = type; }
  int getTriggerid() const { return m_triggerId; }
  void setTriggerid(int id) { m_triggerId = id; }
  // Non-zero for an all-day event (the database's all_day column).
  int getAllDay() const { return m_allDay; }
  void setAllDay(int allDay) { m_allDay = allDay; }
  // The event's time zone as the store names it: an IANA identifier such as
  // "Europe/Berlin", "_float" for a time that follows the viewer's clock
  // (all-day events), empty when the store keeps none. The dates themselves
  // are instants; the zone tells how the phone showed them.
  QString timeZone() const { return m_timeZone; }
  void setTimeZone(const QString& zone) { m_timeZone = zone; }

private:
  int m_firstLayerIconType = -1;
  int m_secondLayerIconType = -1;
  int m_triggerId = 0;
  int m_allDay = 0;
  QString m_timeZone;
};

#pragma once
// OxData: the recovered items of one data type (one messenger, Notes, Calendar,
// Safari, Call history).
//
// Two sequences share the same items: the raw list (every item appended; owned)
// and the filtered list (the view a host shows). Both keep the default order as
// items arrive, so nothing is sorted after a load:
//  1. a deleted item comes before an existing one;
//  2. otherwise the kind of the item being placed decides the key: chats compare
//     the sort key of column 6, calls column 2, notes and calendar events
//     column 1, newest (greatest) first; bookmarks and every other kind the
//     text of column 0, ascending and locale-aware.
// append() places an item after all its equals (arrival order is kept among
// ties), prepend() before them. Both sequences are order-statistic trees, so a
// load of n items costs O(n log n) and at(row) O(log n), in any arrival order.
//
// Count and size modes (the int of count, size and allCount) are bits: 16 asks
// for the filtered and checked items, else 1 for the filtered items, else the
// raw list is meant.
//
// Threads: append, prepend and filter hold the list's recursive mutex for their
// whole run, so a reader may append from a worker thread; everything else
// takes no lock and belongs to the host's thread once loading has finished.
//
// Traps worth knowing:
//  - The filtered list receives appended items without the active filter being
//    applied; the next filter() call corrects the view.
//  - An item that has children is a folder and never counts as checked for
//    checked()/checkedAll(), but the checked count of count(16) includes it.
//  - setFilterODD(mark, second) also sets the filter type to 1 and the filter
//    account to 0, and does not re-run the filter.
//  - checkedAll(on) of an empty view answers !on.
#include "platform/common/sherdglobal.h"

#include <QList>
#include <QMap>
#include <QRecursiveMutex>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

class OxAbstractItem;
class OxCalendarItem;

class SHERD_EXPORT OxData {
public:
  enum FilterType { FilterAll = 0, FilterODD = 1, FilterDeletedOnly = 2, FilterExistingOnly = 3 };
  enum CountMode { CountRaw = 0, CountFiltered = 1, CountFilteredChecked = 16 };

  explicit OxData(int dataType);
  virtual ~OxData();
  OxData(const OxData&) = delete;
  OxData& operator=(const OxData&) = delete;

  int dataType() const { return m_dataType; }

  // --- items -------------------------------------------------------------
  // Null is ignored. The list owns the item from now on.
  void append(OxAbstractItem* item);
  void prepend(OxAbstractItem* item);
  // The row-th item of the filtered (true) or raw list; null out of range.
  OxAbstractItem* at(int row, bool filtered) const;
  // The item's index in the raw list; -1 when it is not in this list.
  int rawDataIndexForItem(const OxAbstractItem* item) const;
  // Value and sort key of a filtered row; "" and an invalid variant out of range.
  QString value(int row, int column);
  QVariant sortValue(int row, int column);
  // The column layout of the list's item kind: taken from the first item, or,
  // for an empty list, from the kind its data type holds (chats for 0 to 6,
  // notes, events, bookmarks and calls for 7 to 10); 0 and "" otherwise.
  int column() const;
  int dataColumn() const;
  QString columnName(int column);
  // Deletes every item and empties both lists, the category maps (also the
  // registered first layers) and the calendar colours; the filter settings
  // stay.
  void clear();

  // --- counts ------------------------------------------------------------
  int count(int mode) const;
  quint64 size(int mode) const;
  int allCount(int mode) const;
  int allDeletedCount() const;
  // The totals a host shows beside the list's name: all raw items and the
  // deleted ones among them, whatever the filter.
  void getCountInfo(int& all, int& deleted);

  // --- ticks -------------------------------------------------------------
  bool checked(OxAbstractItem* item) const;
  void setChecked(OxAbstractItem* item, bool on);
  bool checkedAll(bool on) const;
  void setCheckAll(bool on);

  // --- recovery selection -------------------------------------------------
  bool recover(OxAbstractItem* item) const;
  void setRecover(OxAbstractItem* item, bool on);
  // Sets or clears the recover mark of every raw item.
  void resetRecover(bool on);
  int recoverCount() const;
  // Filtered row numbers of the items marked for recovery. With no saved sort
  // column: ascending. With one: the deleted rows, then the existing rows, each
  // group ordered by the saved column's key (its sort key, or its lower-case
  // text where the key is invalid) in the saved order, ties by row.
  QList<int> recoverList();
  QList<OxAbstractItem*> recoverFileList();

  // --- filtering ---------------------------------------------------------
  void setFilterText(const QString& text);
  QString filterText(int unused = 0) const;
  void setFilterType(int type) { m_filterType = type; }
  int getFilterType() const { return m_filterType; }
  void setFilterAccount(int account) { m_filterAccount = account; }
  int getFilterAccount() const { return m_filterAccount; }
  void setHaveAccounts(int have) { m_haveAccounts = have; }
  int getHaveAccounts() const { return m_haveAccounts; }
  void setFilterODD(bool mark, bool second);
  bool filterODD() const { return m_oddMark; }
  void setCurTreeCategory(const QString& first, const QString& second);
  // Rebuilds the view from the raw list (the argument is not used).
  void filter(int unused = 0);
  void clearAllFilterCondition(int n);
  void setCurrentFolderIndex(int index) { m_currentFolderIndex = index; }
  int currentFolderIndex() const { return m_currentFolderIndex; }
  void setSelectedItem(OxAbstractItem* item) { m_selectedItem = item; }
  OxAbstractItem* selectedItem() const { return m_selectedItem; }

  // --- the host's sort ---------------------------------------------------
  // Only remembered (for recoverList); the lists are not reordered.
  void saveSort(int column, int order);
  int sortColumn() const { return m_sortColumn; }
  int sortOrder() const { return m_sortOrder; }

  // --- category tree (Notes, Calendar, Safari, Call history) ---------------
  // Only the lists of data types 7 to 10 record categories, as items are
  // appended (prepended items are not recorded): first-layer name -> its
  // second-layer names in order of first appearance.
  const QMap<QString, QStringList>& getCategoryTree() const { return m_categoryTree; }
  // First-layer name -> the icon type of the last item appended under it.
  const QMap<QString, int>& getCategoryIconTypeMap() const { return m_categoryIconTypes; }
  // Number of items appended under each category. A first layer is keyed by
  // its name, a second layer by categoryKey(first, second), so that a folder
  // that bears the name of a first layer (Safari's "Reading List" folder
  // under the "Reading List" layer) is counted apart from it. Layers
  // registered by onInsertFirstLayers start at 0.
  const QMap<QString, int>& getCategoryItemsMap() const { return m_categoryItems; }
  static QString categoryKey(const QString& first, const QString& second);
  // The count of one category; second empty means the first layer as a whole.
  int categoryItemCount(const QString& first, const QString& second = QString()) const;
  // Registers first layers before any item arrives, so that a host shows them
  // (empty) in this order; names already known keep their place. Empty names
  // are ignored.
  void onInsertFirstLayers(const QStringList& names);
  // The first layers in the order a host should show them: those registered
  // by onInsertFirstLayers, then the others in order of first appearance.
  const QStringList& firstLayerOrder() const { return m_firstLayerOrder; }

  // --- calendar -------------------------------------------------------------
  // Calendar name (the item's second layer) -> its colour text as the
  // calendar database stores it ("#RRGGBB"...). A later colour of the same
  // calendar replaces the earlier one; a null item, an item without calendar
  // name or an empty colour records nothing.
  void addCalendarColorMap(OxAbstractItem* item, const QString& colour);
  const QMap<QString, QString>& getCalendarColorMap() const { return m_calendarColors; }
  // The calendar item of this list that owns the alarms of event id, that is
  // whose trigger id equals id; null for 0 (events without alarm) and for an
  // id no item carries. Items are found by an index kept as they are appended
  // (or prepended), so a trigger id must be set before the item is handed to
  // the list; a trigger id changed later is still found, by a scan.
  OxCalendarItem* getSameTriggerItem(int id) const;

  // --- folders ------------------------------------------------------------
  // No per-folder sub-view is ever built: these do nothing.
  void clearFolderFilter(OxAbstractItem* folder);
  void setFolderCheckAll(int index, bool on);
  void fillDataOver();
  // Qt::CheckState over a folder's children: Checked when all are checked,
  // PartiallyChecked when mixed, Unchecked when none is or there are none.
  int getFolderItemCheckState(OxAbstractItem* folder);

private:
  bool isFilterContinue(OxAbstractItem* item) const;
  void filterUseString(int unused, const QString& text);
  void appendForStructData(OxAbstractItem* item);
  const OxAbstractItem* layoutItem() const;

  struct Lists;
  std::unique_ptr<Lists> m_lists; // raw and filtered sequences
  int m_dataType;
  int m_sortColumn = -1;
  int m_sortOrder = 0;
  bool m_oddMark = false;
  QString m_filterText = QString(QLatin1String(""));
  bool m_secondOddMark = false;
  int m_currentFolderIndex = -1;
  int m_extraFilterCondition = 0;
  OxAbstractItem* m_selectedItem = nullptr;
  int m_filterType = FilterAll;
  int m_filterAccount = 0;
  int m_haveAccounts = 0;
  mutable QRecursiveMutex m_lock;
  QMap<QString, QString> m_calendarColors;
  QMap<QString, QStringList> m_categoryTree;
  QMap<QString, int> m_categoryIconTypes;
  QMap<QString, int> m_categoryItems;
  QStringList m_firstLayerOrder;
  QString m_curFirstCategory;
  QString m_curSecondCategory;
};

#include "model/oxdata.h"

#include "model/oxabstractitem.h"
#include "model/oxcalendaritem.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxnoteitem.h"
#include "model/oxsafaribookmarkitem.h"
#include "model/oxwhatsappitem.h"
#include "model/rankedtree.h"
#include "platform/common/commonutils.h"

#include <QHash>
#include <QMutexLocker>

#include <algorithm>

namespace {
// How the default order compares two items; the item being placed decides.
struct OrderKey {
  enum Kind { SortValue, Text } kind = Text;
  int column = 0;
};

OrderKey orderKeyOf(const OxAbstractItem* item) {
  // Further item kinds join here as the model gains them; bookmarks, files
  // and every other kind order by their first text.
  if (dynamic_cast<const OxWhatsappItem*>(item))
    return {OrderKey::SortValue, 6};
  if (dynamic_cast<const OxCallHistoryItem*>(item))
    return {OrderKey::SortValue, 2};
  if (dynamic_cast<const OxNoteItem*>(item) || dynamic_cast<const OxCalendarItem*>(item))
    return {OrderKey::SortValue, 1};
  return {OrderKey::Text, 0};
}

// True when a comes before b in the default order.
bool comesBefore(const OxAbstractItem* a, const OxAbstractItem* b) {
  const bool aDeleted = a->flag(OxAbstractItem::ItemDeleted);
  const bool bDeleted = b->flag(OxAbstractItem::ItemDeleted);
  if (aDeleted != bDeleted)
    return aDeleted;
  const OrderKey key = orderKeyOf(a);
  if (key.kind == OrderKey::SortValue)
    return CCommonUtils::itemValueLessThan(b->sortValue(key.column), a->sortValue(key.column));
  return QString::localeAwareCompare(a->value(0), b->value(0)) < 0;
}

bool isChecked(const OxAbstractItem* item) {
  return item->flag(OxAbstractItem::ItemChecked | OxAbstractItem::ItemCheckedByHost);
}

const OxWhatsappItem& chatPrototype() {
  static const OxWhatsappItem prototype;
  return prototype;
}
} // namespace

struct OxData::Lists {
  RankedTree<OxAbstractItem*> raw;
  RankedTree<OxAbstractItem*> filtered;
  QHash<const OxAbstractItem*, int> rawNodes; // item -> node handle in raw
  QHash<int, OxCalendarItem*> byTrigger;      // trigger id -> first calendar item

  void clear() {
    raw.clear();
    filtered.clear();
    rawNodes.clear();
    byTrigger.clear();
  }

  void indexTrigger(OxAbstractItem* item) {
    auto* event = dynamic_cast<OxCalendarItem*>(item);
    if (event && event->getTriggerid() != 0 && !byTrigger.contains(event->getTriggerid()))
      byTrigger.insert(event->getTriggerid(), event);
  }

  // Applies f to the items of the raw list (mode 0), the filtered list (1), or
  // the checked items of the filtered list (16), in list order.
  template <typename F> void forMode(int mode, F f) const {
    if (mode & CountFilteredChecked) {
      filtered.forEach([&](int, OxAbstractItem* item) {
        if (isChecked(item))
          f(item);
      });
    } else if (mode & CountFiltered) {
      filtered.forEach([&](int, OxAbstractItem* item) { f(item); });
    } else {
      raw.forEach([&](int, OxAbstractItem* item) { f(item); });
    }
  }
};

OxData::OxData(int dataType) : m_lists(new Lists), m_dataType(dataType) {}

OxData::~OxData() {
  m_lists->raw.forEach([](int, OxAbstractItem* item) { delete item; });
}

// ---- items -----------------------------------------------------------------

void OxData::append(OxAbstractItem* item) {
  if (!item)
    return;
  QMutexLocker locker(&m_lock);
  // Upper bound: before the first item that the new one comes before.
  auto goesBefore = [item](OxAbstractItem* existing) { return comesBefore(item, existing); };
  const int node = m_lists->raw.insert(item, goesBefore);
  m_lists->rawNodes.insert(item, node);
  m_lists->filtered.insert(item, goesBefore);
  m_lists->indexTrigger(item);
  appendForStructData(item);
}

void OxData::prepend(OxAbstractItem* item) {
  if (!item)
    return;
  QMutexLocker locker(&m_lock);
  // Lower bound: before the first item that does not come before the new one.
  auto goesBefore = [item](OxAbstractItem* existing) { return !comesBefore(existing, item); };
  const int node = m_lists->raw.insert(item, goesBefore);
  m_lists->rawNodes.insert(item, node);
  m_lists->filtered.insert(item, goesBefore);
  m_lists->indexTrigger(item);
}

OxAbstractItem* OxData::at(int row, bool filtered) const {
  const RankedTree<OxAbstractItem*>& list = filtered ? m_lists->filtered : m_lists->raw;
  if (row < 0 || row >= list.size())
    return nullptr;
  return list.at(row);
}

int OxData::rawDataIndexForItem(const OxAbstractItem* item) const {
  const auto it = m_lists->rawNodes.constFind(item);
  if (it == m_lists->rawNodes.constEnd())
    return -1;
  return m_lists->raw.indexOfNode(it.value());
}

QString OxData::value(int row, int column) {
  const OxAbstractItem* item = at(row, true);
  return item ? item->value(column) : QString(QLatin1String(""));
}

QVariant OxData::sortValue(int row, int column) {
  const OxAbstractItem* item = at(row, true);
  return item ? item->sortValue(column) : QVariant();
}

const OxAbstractItem* OxData::layoutItem() const {
  if (!m_lists->raw.empty())
    return m_lists->raw.at(0);
  if (m_dataType >= 0 && m_dataType <= 6)
    return &chatPrototype();
  // The built-in apps' lists show their headers while empty too.
  static const OxNoteItem note;
  static const OxCalendarItem event;
  static const OxSafariBookmarkItem bookmark;
  static const OxCallHistoryItem call;
  switch (m_dataType) {
  case 7: return &note;
  case 8: return &event;
  case 9: return &bookmark;
  case 10: return &call;
  default: return nullptr;
  }
}

int OxData::column() const {
  const OxAbstractItem* item = layoutItem();
  return item ? item->column() : 0;
}

int OxData::dataColumn() const {
  const OxAbstractItem* item = layoutItem();
  return item ? item->dataColumn() : 0;
}

QString OxData::columnName(int column) {
  const OxAbstractItem* item = layoutItem();
  return item ? item->columnName(column) : QString(QLatin1String(""));
}

void OxData::clear() {
  QMutexLocker locker(&m_lock);
  m_lists->raw.forEach([](int, OxAbstractItem* item) { delete item; });
  m_lists->clear();
  m_selectedItem = nullptr;
  m_calendarColors.clear();
  m_categoryTree.clear();
  m_categoryIconTypes.clear();
  m_categoryItems.clear();
  m_firstLayerOrder.clear();
}

// ---- counts ----------------------------------------------------------------

int OxData::count(int mode) const {
  if (mode & CountFilteredChecked) {
    int n = 0;
    m_lists->forMode(mode, [&](OxAbstractItem*) { ++n; });
    return n;
  }
  return (mode & CountFiltered) ? m_lists->filtered.size() : m_lists->raw.size();
}

quint64 OxData::size(int mode) const {
  quint64 total = 0;
  m_lists->forMode(mode, [&](OxAbstractItem* item) { total += item->size(); });
  return total;
}

int OxData::allCount(int mode) const { return count(mode); }

int OxData::allDeletedCount() const {
  int n = 0;
  m_lists->raw.forEach([&](int, OxAbstractItem* item) { n += item->flag(OxAbstractItem::ItemDeleted) ? 1 : 0; });
  return n;
}

void OxData::getCountInfo(int& all, int& deleted) {
  all = m_lists->raw.size();
  deleted = allDeletedCount();
}

// ---- ticks -----------------------------------------------------------------

bool OxData::checked(OxAbstractItem* item) const {
  if (!item || item->childrenCount() > 0)
    return false;
  return isChecked(item);
}

void OxData::setChecked(OxAbstractItem* item, bool on) {
  if (!item)
    return;
  item->setFlag(on, OxAbstractItem::ItemChecked);
  item->setFlag(false, OxAbstractItem::ItemCheckedByHost);
}

bool OxData::checkedAll(bool on) const {
  if (m_lists->filtered.empty())
    return !on;
  bool all = true;
  m_lists->filtered.forEach([&](int, OxAbstractItem* item) {
    if (all && checked(item) != on)
      all = false;
  });
  return all;
}

void OxData::setCheckAll(bool on) {
  m_lists->filtered.forEach([&](int, OxAbstractItem* item) { setChecked(item, on); });
}

// ---- recovery selection ----------------------------------------------------

bool OxData::recover(OxAbstractItem* item) const { return item && item->flag(OxAbstractItem::ItemRecover); }

void OxData::setRecover(OxAbstractItem* item, bool on) {
  if (item)
    item->setFlag(on, OxAbstractItem::ItemRecover);
}

void OxData::resetRecover(bool on) {
  m_lists->raw.forEach([&](int, OxAbstractItem* item) { item->setFlag(on, OxAbstractItem::ItemRecover); });
}

int OxData::recoverCount() const {
  int n = 0;
  m_lists->filtered.forEach([&](int, OxAbstractItem* item) { n += recover(item) ? 1 : 0; });
  return n;
}

QList<int> OxData::recoverList() {
  QList<int> rows;
  if (m_sortColumn == -1) {
    m_lists->filtered.forEach([&](int row, OxAbstractItem* item) {
      if (recover(item))
        rows.append(row);
    });
    return rows;
  }
  using Pair = QPair<QVariant, int>;
  QList<Pair> deleted;
  QList<Pair> existing;
  const int column = m_sortColumn;
  m_lists->filtered.forEach([&](int row, OxAbstractItem* item) {
    if (!recover(item))
      return;
    QVariant key = item->sortValue(column);
    if (!key.isValid())
      key = item->value(column).toLower();
    (item->flag(OxAbstractItem::ItemDeleted) ? deleted : existing).append(Pair(key, row));
  });
  const bool ascending = m_sortOrder == Qt::AscendingOrder;
  auto byKey = [ascending](const Pair& a, const Pair& b) {
    return ascending ? CCommonUtils::itemValueLessThan(a.first, b.first)
                     : CCommonUtils::itemValueLessThan(b.first, a.first);
  };
  std::stable_sort(deleted.begin(), deleted.end(), byKey);
  std::stable_sort(existing.begin(), existing.end(), byKey);
  for (const Pair& p : qAsConst(deleted))
    rows.append(p.second);
  for (const Pair& p : qAsConst(existing))
    rows.append(p.second);
  return rows;
}

QList<OxAbstractItem*> OxData::recoverFileList() {
  QList<OxAbstractItem*> items;
  m_lists->filtered.forEach([&](int, OxAbstractItem* item) {
    if (recover(item))
      items.append(item);
  });
  return items;
}

// ---- filtering -------------------------------------------------------------

void OxData::setFilterText(const QString& text) { m_filterText = text; }
QString OxData::filterText(int) const { return m_filterText; }

void OxData::setFilterODD(bool mark, bool second) {
  m_oddMark = mark;
  m_secondOddMark = second;
  m_filterType = FilterODD;
  m_filterAccount = 0;
}

void OxData::setCurTreeCategory(const QString& first, const QString& second) {
  m_curFirstCategory = first;
  m_curSecondCategory = second;
}

void OxData::filter(int unused) { filterUseString(unused, m_filterText); }

void OxData::clearAllFilterCondition(int n) {
  m_oddMark = false;
  m_extraFilterCondition = 0;
  m_filterText = QString(QLatin1String(""));
  filterUseString(n, m_filterText);
}

bool OxData::isFilterContinue(OxAbstractItem* item) const {
  if (!item)
    return true;
  if (m_filterType == FilterDeletedOnly && !item->flag(OxAbstractItem::ItemDeleted))
    return true;
  if (m_filterType == FilterExistingOnly && item->flag(OxAbstractItem::ItemDeleted))
    return true;
  if (m_filterAccount != 0 && item->value(7).toInt() != m_filterAccount)
    return true;
  if (!m_curFirstCategory.isEmpty() && item->getTreeFirstLayerName() != m_curFirstCategory)
    return true;
  if (!m_curSecondCategory.isEmpty() && item->getTreeSecondLayerName() != m_curSecondCategory)
    return true;
  return false;
}

void OxData::filterUseString(int, const QString& text) {
  QMutexLocker locker(&m_lock);
  RankedTree<OxAbstractItem*>& view = m_lists->filtered;
  view.clear();
  m_lists->raw.forEach([&](int, OxAbstractItem* item) {
    if (isFilterContinue(item))
      return;
    if (!text.isEmpty() && !item->filter(text))
      return;
    view.pushBack(item);
  });
}

// ---- categories and folders ------------------------------------------------

void OxData::appendForStructData(OxAbstractItem* item) {
  if (m_dataType < 7 || m_dataType > 10)
    return;
  const QString first = item->getTreeFirstLayerName();
  if (first.isEmpty())
    return;
  const QString second = item->getTreeSecondLayerName();
  if (!m_categoryTree.contains(first))
    m_firstLayerOrder.append(first);
  QStringList& seconds = m_categoryTree[first];
  if (!second.isEmpty() && !seconds.contains(second))
    seconds.append(second);
  m_categoryIconTypes.insert(first, item->getFirstLayerIconType());
  ++m_categoryItems[first];
  if (!second.isEmpty())
    ++m_categoryItems[categoryKey(first, second)];
}

QString OxData::categoryKey(const QString& first, const QString& second) {
  // The unit separator appears in no name a reader gives.
  return second.isEmpty() ? first : first + QChar(0x1F) + second;
}

int OxData::categoryItemCount(const QString& first, const QString& second) const {
  return m_categoryItems.value(categoryKey(first, second), 0);
}

void OxData::onInsertFirstLayers(const QStringList& names) {
  QMutexLocker locker(&m_lock);
  for (const QString& name : names) {
    if (name.isEmpty() || m_categoryTree.contains(name))
      continue;
    m_categoryTree.insert(name, QStringList());
    m_categoryItems.insert(name, 0);
    m_firstLayerOrder.append(name);
  }
}

void OxData::addCalendarColorMap(OxAbstractItem* item, const QString& colour) {
  if (!item || colour.isEmpty())
    return;
  const QString calendar = item->getTreeSecondLayerName();
  if (!calendar.isEmpty())
    m_calendarColors.insert(calendar, colour);
}

OxCalendarItem* OxData::getSameTriggerItem(int id) const {
  if (id == 0)
    return nullptr;
  OxCalendarItem* found = m_lists->byTrigger.value(id, nullptr);
  if (found && found->getTriggerid() == id)
    return found;
  found = nullptr;
  m_lists->raw.forEach([&](int, OxAbstractItem* item) {
    auto* event = dynamic_cast<OxCalendarItem*>(item);
    if (!found && event && event->getTriggerid() == id)
      found = event;
  });
  return found;
}

void OxData::saveSort(int column, int order) {
  m_sortColumn = column;
  m_sortOrder = order;
}

void OxData::clearFolderFilter(OxAbstractItem*) {}
void OxData::setFolderCheckAll(int, bool) {}
void OxData::fillDataOver() {}

int OxData::getFolderItemCheckState(OxAbstractItem* folder) {
  if (!folder)
    return Qt::Unchecked;
  const int n = folder->childrenCount();
  int on = 0;
  for (int i = 0; i < n; ++i) {
    OxAbstractItem* child = folder->getChild(i);
    on += (child && isChecked(child)) ? 1 : 0;
  }
  if (n == 0 || on == 0)
    return Qt::Unchecked;
  return on == n ? Qt::Checked : Qt::PartiallyChecked;
}

#include "model/oxdata.h"

#include "model/oxabstractitem.h"
#include "model/oxcalendaritem.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxnoteitem.h"
#include "model/oxsafaribookmarkitem.h"
#include "model/oxwhatsappitem.h"
#include "model/rankedtree.h"
#include "platform/common/commonutils.h"

#include <QCollator>
#include <QDateTime>
#include <QHash>
#include <QLocale>
#include <QMutexLocker>

#include <algorithm>
#include <optional>

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

// True when a comes before b in the default order, read from the items
// themselves. Slots below answer the same from keys taken once at append;
// this is what they fall back to where their keys cannot decide.
bool comesBefore(const OxAbstractItem* a, const OrderKey& key, const OxAbstractItem* b) {
  const bool aDeleted = a->flag(OxAbstractItem::ItemDeleted);
  const bool bDeleted = b->flag(OxAbstractItem::ItemDeleted);
  if (aDeleted != bDeleted)
    return aDeleted;
  if (key.kind == OrderKey::SortValue)
    return CCommonUtils::itemValueLessThan(b->sortValue(key.column), a->sortValue(key.column));
  return QString::localeAwareCompare(a->value(0), b->value(0)) < 0;
}

// A text ordered as QString::localeAwareCompare orders it: the system
// locale's collation key, compared bytewise, or the UTF-16 text itself in the
// C locale, where the locale-aware order is the code-unit order. An empty text
// is compared as text in every locale (it comes before every other one even
// where the collation ignores all the characters of that other one).
struct TextKey {
  QString text;
  std::optional<QCollatorSortKey> collated;

  static int compare(const TextKey& a, const TextKey& b) {
    if (a.collated && b.collated && !a.text.isEmpty() && !b.text.isEmpty())
      return a.collated->compare(*b.collated);
    return QString::compare(a.text, b.text);
  }
};

// A sort value reduced to what CCommonUtils::itemValueLessThan compares: a
// number, milliseconds for dates, a text key. Other types and pairs of
// different families (a date against a number...) are left to that function.
struct ValueKey {
  enum Class : quint8 { Null, Int, UInt, Real, Date, Text, Other } cls = Null;
  union {
    qint64 i;
    quint64 u;
    double d;
  };
  TextKey text;

  ValueKey() : i(0) {}

  bool numeric() const { return cls == Int || cls == UInt || cls == Real; }
  double real() const { return cls == Real ? d : cls == UInt ? double(u) : double(i); }

  // -1, 0 or 1 for "x less than y", "neither", "y less than x" as the sort
  // value comparison would answer; 2 when the keys cannot tell.
  static int order(const ValueKey& x, const ValueKey& y) {
    if (x.cls == Null || y.cls == Null)
      return x.cls == Null && y.cls != Null ? -1 : (y.cls == Null && x.cls != Null ? 1 : 0);
    if (x.cls == Date && y.cls == Date)
      return x.i < y.i ? -1 : (y.i < x.i ? 1 : 0);
    if (x.numeric() && y.numeric()) {
      if (x.cls == Real || y.cls == Real) {
        const double a = x.real(), b = y.real();
        return a < b ? -1 : (b < a ? 1 : 0);
      }
      if (x.cls == Int && y.cls == Int)
        return x.i < y.i ? -1 : (y.i < x.i ? 1 : 0);
      // Unsigned 64-bit values beyond the signed range: negatives first.
      const bool xNeg = x.cls == Int && x.i < 0;
      const bool yNeg = y.cls == Int && y.i < 0;
      if (xNeg != yNeg)
        return xNeg ? -1 : 1;
      const quint64 a = x.cls == UInt ? x.u : quint64(x.i);
      const quint64 b = y.cls == UInt ? y.u : quint64(y.i);
      return a < b ? -1 : (b < a ? 1 : 0);
    }
    if (x.cls == Text && y.cls == Text) {
      const int c = TextKey::compare(x.text, y.text);
      return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    return 2;
  }
};


// One item with its place in the default order, taken when it is appended.
struct Slot {
  OxAbstractItem* item;
  OrderKey order;
  bool deleted;
  ValueKey value; // the sort value of order.column, or the text of column 0
  int rawNode;    // its node in the raw list
};

// True when a comes before b in the default order; the kind of a decides.
bool comesBefore(const Slot& a, const Slot& b) {
  if (a.deleted != b.deleted)
    return a.deleted;
  if (a.order.kind == b.order.kind && a.order.column == b.order.column) {
    // Sort values: greatest first; texts: ascending.
    const int o = a.order.kind == OrderKey::SortValue ? ValueKey::order(b.value, a.value)
                                                      : ValueKey::order(a.value, b.value);
    if (o != 2)
      return o < 0;
  }
  return comesBefore(a.item, a.order, b.item);
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
  RankedTree<Slot*> raw;
  RankedTree<Slot*> filtered;
  ChunkedVector<Slot> entries;                 // one per item, in arrival order
  // item -> node handle in raw, for the items of entries[0, indexed): built
  // when first asked for rather than at every append.
  QHash<const OxAbstractItem*, int> rawNodes;
  std::size_t indexed = 0;
  QHash<int, OxCalendarItem*> byTrigger;      // trigger id -> first calendar item
  std::optional<QCollator> collator;          // the system locale's, made at the first text

  void clear() {
    raw.clear();
    filtered.clear();
    entries.clear();
    rawNodes.clear();
    indexed = 0;
    byTrigger.clear();
  }

  TextKey textKey(const QString& text) {
    TextKey key{text, std::nullopt};
    if (text.isEmpty())
      return key;
    if (!collator) {
      collator.emplace(QLocale::system());
      if (collator->locale().language() == QLocale::C)
        collator.reset();
    }
    if (collator)
      key.collated = collator->sortKey(text);
    return key;
  }

  ValueKey valueKey(const QVariant& v) {
    ValueKey key;
    if (!v.isValid() || v.isNull())
      return key;
    const int type = v.userType();
    if (type == QMetaType::QDateTime || type == QMetaType::QDate) {
      const QDateTime date = type == QMetaType::QDate ? v.toDate().startOfDay(Qt::UTC) : v.toDateTime();
      key.cls = date.isValid() ? ValueKey::Date : ValueKey::Other;
      key.i = date.isValid() ? date.toMSecsSinceEpoch() : 0;
    } else if (type == QMetaType::ULongLong) {
      key.cls = ValueKey::UInt;
      key.u = v.toULongLong();
    } else if (CCommonUtils::isIntegralType(type)) {
      key.cls = ValueKey::Int;
      key.i = v.toLongLong();
    } else if (type == QMetaType::Double || type == QMetaType::Float) {
      key.cls = ValueKey::Real;
      key.d = v.toDouble();
    } else if (type == QMetaType::QString) {
      key.cls = ValueKey::Text;
      key.text = textKey(v.toString());
    } else {
      key.cls = ValueKey::Other;
    }
    return key;
  }

  Slot* slotFor(OxAbstractItem* item) {
    Slot slot{item, orderKeyOf(item), item->flag(OxAbstractItem::ItemDeleted), ValueKey(), -1};
    if (slot.order.kind == OrderKey::SortValue) {
      slot.value = valueKey(item->sortValue(slot.order.column));
    } else {
      slot.value.cls = ValueKey::Text;
      slot.value.text = textKey(item->value(0));
    }
    return &entries.emplace_back(std::move(slot));
  }

  void indexTrigger(OxAbstractItem* item) {
    auto* event = dynamic_cast<OxCalendarItem*>(item);
    if (event && event->getTriggerid() != 0 && !byTrigger.contains(event->getTriggerid()))
      byTrigger.insert(event->getTriggerid(), event);
  }

  // Visits the items of one list in order: f(index, item).
  template <typename F> static void each(const RankedTree<Slot*>& list, F f) {
    list.forEach([&](int index, Slot* slot) { f(index, slot->item); });
  }

  // Applies f to the items of the raw list (mode 0), the filtered list (1), or
  // the checked items of the filtered list (16), in list order.
  template <typename F> void forMode(int mode, F f) const {
    if (mode & CountFilteredChecked) {
      each(filtered, [&](int, OxAbstractItem* item) {
        if (isChecked(item))
          f(item);
      });
    } else if (mode & CountFiltered) {
      each(filtered, [&](int, OxAbstractItem* item) { f(item); });
    } else {
      each(raw, [&](int, OxAbstractItem* item) { f(item); });
    }
  }
};

OxData::OxData(int dataType) : m_lists(new Lists), m_dataType(dataType) {}

OxData::~OxData() {
  Lists::each(m_lists->raw, [](int, OxAbstractItem* item) { delete item; });
}

// ---- items -----------------------------------------------------------------

void OxData::append(OxAbstractItem* item) {
  if (!item)
    return;
  QMutexLocker locker(&m_lock);
  Slot* slot = m_lists->slotFor(item);
  // Upper bound: before the first item that the new one comes before.
  auto goesBefore = [slot](const Slot* existing) { return comesBefore(*slot, *existing); };
  slot->rawNode = m_lists->raw.insert(slot, goesBefore);
  m_lists->filtered.insert(slot, goesBefore);
  m_lists->indexTrigger(item);
  appendForStructData(item);
}

void OxData::prepend(OxAbstractItem* item) {
  if (!item)
    return;
  QMutexLocker locker(&m_lock);
  Slot* slot = m_lists->slotFor(item);
  // Lower bound: before the first item that does not come before the new one.
  auto goesBefore = [slot](const Slot* existing) { return !comesBefore(*existing, *slot); };
  slot->rawNode = m_lists->raw.insert(slot, goesBefore);
  m_lists->filtered.insert(slot, goesBefore);
  m_lists->indexTrigger(item);
}

OxAbstractItem* OxData::at(int row, bool filtered) const {
  const RankedTree<Slot*>& list = filtered ? m_lists->filtered : m_lists->raw;
  if (row < 0 || row >= list.size())
    return nullptr;
  return list.at(row)->item;
}

int OxData::rawDataIndexForItem(const OxAbstractItem* item) const {
  QMutexLocker locker(&m_lock);
  for (; m_lists->indexed < m_lists->entries.size(); ++m_lists->indexed) {
    const Slot& slot = m_lists->entries[m_lists->indexed];
    m_lists->rawNodes.insert(slot.item, slot.rawNode);
  }
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
    return m_lists->raw.at(0)->item;
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
  Lists::each(m_lists->raw, [](int, OxAbstractItem* item) { delete item; });
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
  Lists::each(m_lists->raw, [&](int, OxAbstractItem* item) { n += item->flag(OxAbstractItem::ItemDeleted) ? 1 : 0; });
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
  Lists::each(m_lists->filtered, [&](int, OxAbstractItem* item) {
    if (all && checked(item) != on)
      all = false;
  });
  return all;
}

void OxData::setCheckAll(bool on) {
  Lists::each(m_lists->filtered, [&](int, OxAbstractItem* item) { setChecked(item, on); });
}

// ---- recovery selection ----------------------------------------------------

bool OxData::recover(OxAbstractItem* item) const { return item && item->flag(OxAbstractItem::ItemRecover); }

void OxData::setRecover(OxAbstractItem* item, bool on) {
  if (item)
    item->setFlag(on, OxAbstractItem::ItemRecover);
}

void OxData::resetRecover(bool on) {
  Lists::each(m_lists->raw, [&](int, OxAbstractItem* item) { item->setFlag(on, OxAbstractItem::ItemRecover); });
}

int OxData::recoverCount() const {
  int n = 0;
  Lists::each(m_lists->filtered, [&](int, OxAbstractItem* item) { n += recover(item) ? 1 : 0; });
  return n;
}

QList<int> OxData::recoverList() {
  QList<int> rows;
  if (m_sortColumn == -1) {
    Lists::each(m_lists->filtered, [&](int row, OxAbstractItem* item) {
      if (recover(item))
        rows.append(row);
    });
    return rows;
  }
  using Pair = QPair<QVariant, int>;
  QList<Pair> deleted;
  QList<Pair> existing;
  const int column = m_sortColumn;
  Lists::each(m_lists->filtered, [&](int row, OxAbstractItem* item) {
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
  Lists::each(m_lists->filtered, [&](int, OxAbstractItem* item) {
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
  RankedTree<Slot*>& view = m_lists->filtered;
  view.clear();
  m_lists->raw.forEach([&](int, Slot* slot) {
    if (isFilterContinue(slot->item))
      return;
    if (!text.isEmpty() && !slot->item->filter(text))
      return;
    view.pushBack(slot);
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
  Lists::each(m_lists->raw, [&](int, OxAbstractItem* item) {
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

#include "apps/viewer/itemtablemodel.h"

#include "model/oxabstractitem.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"

#include <QBrush>
#include <QCoreApplication>
#include <QColor>

#include <algorithm>
#include <numeric>

namespace {
// Long texts (a note's body, a chat's last message) are cut for the table; the
// detail pane shows them whole.
const int kCellChars = 160;

// A chat list's columns: value column, sort-key column, header.
struct ChatColumn {
  int value;
  int key;
  const char* header;
};
const ChatColumn kChatColumns[] = {
    {0, 0, QT_TRANSLATE_NOOP("WHATSAPP_COLUMN", "Chat")},
    {4, 4, QT_TRANSLATE_NOOP("WHATSAPP_COLUMN", "Last message")},
    {3, 6, QT_TRANSLATE_NOOP("WHATSAPP_COLUMN", "Date")},
};
const int kChatColumnCount = 3;

QString cellText(const QString& text) {
  if (text.size() <= kCellChars && !text.contains(QLatin1Char('\n')))
    return text;
  QString cut = text.left(kCellChars * 2).simplified();
  if (cut.size() > kCellChars)
    cut = cut.left(kCellChars - 1) + QChar(0x2026);
  return cut;
}
} // namespace

ItemTableModel::ItemTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void ItemTableModel::setList(OxData* list) {
  beginResetModel();
  m_list = list;
  m_rows.clear();
  m_chats = list && list->dataType() >= 0 && list->dataType() <= 6;
  if (m_list && sortColumn() >= 0)
    buildRowMap(sortColumn(), Qt::SortOrder(m_list->sortOrder()));
  endResetModel();
}

void ItemTableModel::setFilter(const ItemFilter& filter) {
  if (!m_list)
    return;
  beginResetModel();
  m_list->setFilterText(filter.text);
  m_list->setFilterType(filter.state);
  m_list->setFilterAccount(filter.account);
  m_list->setCurTreeCategory(filter.firstLayer, filter.secondLayer);
  m_list->filter();
  m_rows.clear();
  if (sortColumn() >= 0)
    buildRowMap(sortColumn(), Qt::SortOrder(m_list->sortOrder()));
  endResetModel();
}

int ItemTableModel::listRow(int row) const {
  if (row < 0 || row >= rowCount())
    return -1;
  return m_rows.empty() ? row : m_rows[size_t(row)];
}

OxAbstractItem* ItemTableModel::itemAt(int row) const {
  const int r = listRow(row);
  return r < 0 ? nullptr : m_list->at(r, true);
}

int ItemTableModel::rowOf(const OxAbstractItem* item) const {
  if (!item)
    return -1;
  const int n = rowCount();
  for (int row = 0; row < n; ++row)
    if (itemAt(row) == item)
      return row;
  return -1;
}

void ItemTableModel::refreshChecks() {
  if (rowCount() > 0)
    Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, 0), {Qt::CheckStateRole});
}

int ItemTableModel::rowCount(const QModelIndex& parent) const {
  return (parent.isValid() || !m_list) ? 0 : m_list->count(OxData::CountFiltered);
}

int ItemTableModel::columnCount(const QModelIndex& parent) const {
  if (parent.isValid() || !m_list)
    return 0;
  return m_chats ? kChatColumnCount : m_list->dataColumn();
}

int ItemTableModel::valueColumn(int column) const {
  return m_chats && column >= 0 && column < kChatColumnCount ? kChatColumns[column].value : column;
}

int ItemTableModel::sortColumn() const {
  const int key = m_list ? m_list->sortColumn() : -1;
  if (!m_chats || key < 0)
    return key;
  for (int c = 0; c < kChatColumnCount; ++c)
    if (kChatColumns[c].key == key)
      return c;
  return -1;
}

int ItemTableModel::keyColumn(int column) const {
  return m_chats && column >= 0 && column < kChatColumnCount ? kChatColumns[column].key : column;
}

QVariant ItemTableModel::data(const QModelIndex& index, int role) const {
  OxAbstractItem* item = itemAt(index.row());
  if (!item)
    return QVariant();
  switch (role) {
  case Qt::DisplayRole: return cellText(item->value(valueColumn(index.column())));
  case Qt::ToolTipRole: {
    const QString text = item->value(valueColumn(index.column()));
    return text.size() > 40 || text.contains(QLatin1Char('\n')) ? text.left(2000) : QVariant();
  }
  case Qt::CheckStateRole:
    if (index.column() != 0)
      return QVariant();
    return m_list->checked(item) ? Qt::Checked : Qt::Unchecked;
  case Qt::ForegroundRole:
    if (item->flag(OxAbstractItem::ItemDeleted))
      return QBrush(QColor(0xb0, 0x20, 0x20));
    return QVariant();
  case ItemRole: return QVariant::fromValue(static_cast<void*>(item));
  default: return QVariant();
  }
}

bool ItemTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  OxAbstractItem* item = itemAt(index.row());
  if (!item || role != Qt::CheckStateRole || index.column() != 0)
    return false;
  m_list->setChecked(item, Qt::CheckState(value.toInt()) == Qt::Checked);
  Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
  Q_EMIT checksChanged();
  return true;
}

Qt::ItemFlags ItemTableModel::flags(const QModelIndex& index) const {
  Qt::ItemFlags f = QAbstractTableModel::flags(index);
  if (index.isValid() && index.column() == 0)
    f |= Qt::ItemIsUserCheckable;
  return f;
}

QVariant ItemTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || !m_list)
    return QAbstractTableModel::headerData(section, orientation, role);
  if (m_chats)
    return section >= 0 && section < kChatColumnCount
               ? QCoreApplication::translate("WHATSAPP_COLUMN", kChatColumns[section].header)
               : QVariant();
  return m_list->columnName(section);
}

void ItemTableModel::buildRowMap(int column, Qt::SortOrder order) {
  const int n = m_list->count(OxData::CountFiltered);
  std::vector<QVariant> keys(static_cast<size_t>(n));
  for (int r = 0; r < n; ++r) {
    const OxAbstractItem* item = m_list->at(r, true);
    QVariant key = item->sortValue(keyColumn(column));
    // Items without a key of their own sort by their text.
    if (!key.isValid() || key.type() == QVariant::Bool)
      key = item->value(valueColumn(column)).toLower();
    keys[size_t(r)] = std::move(key);
  }
  m_rows.resize(size_t(n));
  std::iota(m_rows.begin(), m_rows.end(), 0);
  const bool ascending = order == Qt::AscendingOrder;
  std::stable_sort(m_rows.begin(), m_rows.end(), [&](int a, int b) {
    return ascending ? CCommonUtils::itemValueLessThan(keys[size_t(a)], keys[size_t(b)])
                     : CCommonUtils::itemValueLessThan(keys[size_t(b)], keys[size_t(a)]);
  });
}

void ItemTableModel::sort(int column, Qt::SortOrder order) {
  if (!m_list)
    return;
  Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  // Selections and the current row follow their items: remember the list
  // row behind each persistent index.
  const QModelIndexList before = persistentIndexList();
  std::vector<int> listRows;
  listRows.reserve(size_t(before.size()));
  for (const QModelIndex& index : before)
    listRows.push_back(listRow(index.row()));

  // The list keeps the column of the key, which its recover order reads.
  m_list->saveSort(column < 0 ? -1 : keyColumn(column), column < 0 ? 0 : int(order));
  m_rows.clear();
  if (column >= 0 && column < columnCount())
    buildRowMap(column, order);

  std::vector<int> viewRow(m_rows.size());
  for (size_t v = 0; v < m_rows.size(); ++v)
    viewRow[size_t(m_rows[v])] = int(v);
  QModelIndexList after;
  after.reserve(before.size());
  for (int i = 0; i < before.size(); ++i) {
    const int r = listRows[size_t(i)];
    if (r < 0)
      after.append(QModelIndex());
    else
      after.append(index(m_rows.empty() ? r : viewRow[size_t(r)], before.at(i).column()));
  }
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

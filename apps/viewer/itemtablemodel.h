#pragma once
// ItemTableModel: one table model for every data type, read straight from the
// type's OxData list.
//
// Rows are the list's filtered view, read lazily through OxData::at(row): the
// model copies no item and no text. Columns and header texts come from the
// list (its item kind's shown columns), except for chats: their two declared
// columns hold the chat's name and title, so a chat list shows the name, the
// last message and its date (values 0, 4 and 3, ordered by the key of 6). The
// first column carries the item's tick (Qt::CheckStateRole), which reads and
// writes the list's checks.
//
// Sorting orders the view by the items' sort keys (their texts where a key is
// invalid) and remembers the choice in the list (OxData::saveSort), so that a
// recovery follows the order the user sees. Without a sort the rows keep the
// list's own order (deleted first, then newest first). A sort costs one int per
// row for the row map.
//
// Filters are the list's own (text, deleted state, account, category); setFilter
// applies them all at once and rebuilds the view.
#include <QAbstractTableModel>
#include <QString>

#include <vector>

class OxAbstractItem;
class OxData;

struct ItemFilter {
  QString text;          // case-insensitive part of any column
  int state = 0;         // OxData::FilterAll, FilterDeletedOnly or FilterExistingOnly
  int account = 0;       // 0: any account
  QString firstLayer;    // category; empty: any
  QString secondLayer;   // sub-category; empty: any
  bool operator==(const ItemFilter& o) const {
    return text == o.text && state == o.state && account == o.account && firstLayer == o.firstLayer &&
           secondLayer == o.secondLayer;
  }
};

class ItemTableModel : public QAbstractTableModel {
  Q_OBJECT
public:
  // The item pointer of a row, for views that show details.
  static const int ItemRole = Qt::UserRole + 1;

  explicit ItemTableModel(QObject* parent = nullptr);

  // Shows another list (or none), with the list's saved sort and the filter
  // it currently has.
  void setList(OxData* list);
  OxData* list() const { return m_list; }
  // Applies the filter to the list and rebuilds the view.
  void setFilter(const ItemFilter& filter);
  // The item of a view row; null out of range.
  OxAbstractItem* itemAt(int row) const;
  // The view row of an item; -1 when it is not shown.
  int rowOf(const OxAbstractItem* item) const;
  // The view column the list is sorted by; -1 for the list's own order.
  int sortColumn() const;
  // Repaints the ticks after they changed outside the model (tick all).
  void refreshChecks();

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  // column -1 goes back to the list's own order.
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

Q_SIGNALS:
  // A row was ticked or unticked through the model.
  void checksChanged();

private:
  int listRow(int row) const;
  int valueColumn(int column) const;
  int keyColumn(int column) const;
  void buildRowMap(int column, Qt::SortOrder order);

  OxData* m_list = nullptr;
  bool m_chats = false;
  std::vector<int> m_rows; // view row -> filtered row; empty while unsorted
};

#include "apps/viewer/itemtablemodel.h"

#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"

#include <QDateTime>
#include <QItemSelectionModel>
#include <QSignalSpy>
#include <QStringList>

#include <gtest/gtest.h>

namespace {
// One call: name, day of April 2022 (its date key), first tree layer, deleted.
struct Call {
  const char* name;
  int day;
  const char* layer;
  bool deleted;
};

// The calls as the reader would hand them over, in a call-history list.
void fillCalls(OxData& list, const std::vector<Call>& calls) {
  for (const Call& c : calls) {
    auto* item = OxCallHistoryItem::createItem();
    item->setValue(QString::fromUtf8(c.name), OxCallHistoryItem::ColName);
    const QDateTime date(QDate(2022, 4, c.day), QTime(12, 0), Qt::UTC);
    item->setValue(date.toString(QStringLiteral("yyyy-MM-dd HH:mm")), OxCallHistoryItem::ColDate);
    item->setSortValue(date, OxCallHistoryItem::ColDate);
    item->setTreeFirstLayerName(QString::fromUtf8(c.layer));
    item->setFlag(c.deleted, OxAbstractItem::ItemDeleted);
    list.append(item);
  }
}

const std::vector<Call> kCalls = {
    {"Anna", 20, "Call History", false}, {"Ben", 22, "Call History", true}, {"anne", 21, "Voice Mail", false},
    {"Carl", 19, "Call History", false}, {"Dora", 23, "Voice Mail", true},
};

QStringList column(const ItemTableModel& model, int c) {
  QStringList texts;
  for (int row = 0; row < model.rowCount(); ++row)
    texts << model.data(model.index(row, c)).toString();
  return texts;
}

TEST(ItemTableModel, RowsAreTheFilteredViewInTheListsOrder) {
  struct Row {
    const char* name;
    ItemFilter filter;
    QStringList names;
  } rows[] = {
      {"no filter: deleted first, then newest first", {}, {"Dora", "Ben", "anne", "Anna", "Carl"}},
      {"text, case ignored", {QStringLiteral("ANN"), 0, 0, {}, {}}, {"anne", "Anna"}},
      {"deleted only", {{}, OxData::FilterDeletedOnly, 0, {}, {}}, {"Dora", "Ben"}},
      {"existing only", {{}, OxData::FilterExistingOnly, 0, {}, {}}, {"anne", "Anna", "Carl"}},
      {"category", {{}, 0, 0, QStringLiteral("Voice Mail"), {}}, {"Dora", "anne"}},
      {"category and state", {{}, OxData::FilterExistingOnly, 0, QStringLiteral("Voice Mail"), {}}, {"anne"}},
      {"nothing matches", {QStringLiteral("zzz"), 0, 0, {}, {}}, {}},
  };
  for (const Row& r : rows) {
    OxData list(10);
    fillCalls(list, kCalls);
    ItemTableModel model;
    model.setList(&list);
    model.setFilter(r.filter);
    EXPECT_EQ(model.rowCount(), r.names.size()) << r.name;
    EXPECT_EQ(column(model, OxCallHistoryItem::ColName), r.names) << r.name;
    EXPECT_EQ(model.columnCount(), OxCallHistoryItem::ColumnCount) << r.name;
    EXPECT_EQ(model.headerData(OxCallHistoryItem::ColPhone, Qt::Horizontal).toString(), QStringLiteral("Phone"))
        << r.name;
  }
}

TEST(ItemTableModel, ChatListsShowNameLastMessageAndDateAndFilterByAccount) {
  OxData list(0);
  struct Chat {
    const char* name;
    const char* last;
    int day;
    int account;
  } chats[] = {{"Anna", "see you", 3, 1}, {"Ben", "ok", 5, 2}, {"Club", "hello", 4, 1}};
  for (const Chat& c : chats) {
    auto* item = OxWhatsappItem::createItem();
    item->setDetailContent(new OxWhatsappChat);
    const QDateTime date(QDate(2022, 4, c.day), QTime(9, 0), Qt::UTC);
    item->setValue(QString::fromUtf8(c.name), 0);
    item->setValue(QStringLiteral("%1 (+49...)").arg(QString::fromUtf8(c.name)), 1);
    item->setValue(date.toString(Qt::ISODate), 3);
    item->setValue(QString::fromUtf8(c.last), 4);
    item->setSortValue(date, 6);
    item->setValue(QString::number(c.account), 7);
    list.append(item);
  }
  ItemTableModel model;
  model.setList(&list);
  ASSERT_EQ(model.columnCount(), 3);
  EXPECT_EQ(column(model, 0), QStringList({"Ben", "Club", "Anna"}));
  EXPECT_EQ(column(model, 1), QStringList({"ok", "hello", "see you"}));
  model.sort(2, Qt::AscendingOrder);
  EXPECT_EQ(column(model, 0), QStringList({"Anna", "Club", "Ben"})) << "the date column sorts by the chat's key";
  EXPECT_EQ(list.sortColumn(), 6) << "the list remembers the key column for its recover order";
  model.setFilter({{}, 0, 1, {}, {}});
  EXPECT_EQ(column(model, 0), QStringList({"Anna", "Club"})) << "account 1, still sorted";
}

TEST(ItemTableModel, SortOrdersByKeysAndKeepsTheSelectionOnItsItem) {
  struct Row {
    const char* name;
    int column;
    Qt::SortOrder order;
    QStringList names;
  } rows[] = {
      {"name ascending, case ignored", OxCallHistoryItem::ColName, Qt::AscendingOrder,
       {"Anna", "anne", "Ben", "Carl", "Dora"}},
      {"name descending", OxCallHistoryItem::ColName, Qt::DescendingOrder, {"Dora", "Carl", "Ben", "anne", "Anna"}},
      {"date ascending by key", OxCallHistoryItem::ColDate, Qt::AscendingOrder, {"Carl", "Anna", "anne", "Ben", "Dora"}},
      {"no column: the list's order", -1, Qt::AscendingOrder, {"Dora", "Ben", "anne", "Anna", "Carl"}},
  };
  for (const Row& r : rows) {
    OxData list(10);
    fillCalls(list, kCalls);
    ItemTableModel model;
    model.setList(&list);
    model.sort(OxCallHistoryItem::ColPhone, Qt::DescendingOrder); // an earlier sort the next one replaces
    QItemSelectionModel selection(&model);
    const int benRow = column(model, OxCallHistoryItem::ColName).indexOf(QStringLiteral("Ben"));
    selection.setCurrentIndex(model.index(benRow, 0), QItemSelectionModel::Select);
    model.sort(r.column, r.order);
    EXPECT_EQ(column(model, OxCallHistoryItem::ColName), r.names) << r.name;
    EXPECT_EQ(model.data(selection.currentIndex()).toString(), QStringLiteral("Ben")) << r.name;
    EXPECT_EQ(list.sortColumn(), r.column) << r.name;
    // A second model on the same list starts in the saved order.
    ItemTableModel again;
    again.setList(&list);
    EXPECT_EQ(column(again, OxCallHistoryItem::ColName), r.names) << r.name;
  }
}

TEST(ItemTableModel, ChecksReadAndWriteTheListsTicks) {
  OxData list(10);
  fillCalls(list, kCalls);
  ItemTableModel model;
  model.setList(&list);
  model.sort(OxCallHistoryItem::ColName, Qt::AscendingOrder);
  QSignalSpy changed(&model, &ItemTableModel::checksChanged);
  const QModelIndex carl = model.index(3, 0);
  ASSERT_EQ(model.data(carl).toString(), QStringLiteral("Carl"));
  EXPECT_EQ(model.data(carl, Qt::CheckStateRole).toInt(), Qt::Checked) << "new items start ticked";
  EXPECT_TRUE(model.flags(carl) & Qt::ItemIsUserCheckable);
  EXPECT_FALSE(model.flags(model.index(3, 1)) & Qt::ItemIsUserCheckable);

  ASSERT_TRUE(model.setData(carl, Qt::Unchecked, Qt::CheckStateRole));
  EXPECT_FALSE(list.checked(model.itemAt(3))) << "the tick reached the sorted row's item";
  EXPECT_EQ(list.count(OxData::CountFilteredChecked), 4);
  EXPECT_EQ(changed.count(), 1);
  EXPECT_EQ(model.data(carl, Qt::CheckStateRole).toInt(), Qt::Unchecked);

  list.setChecked(model.itemAt(0), false);
  EXPECT_EQ(model.data(model.index(0, 0), Qt::CheckStateRole).toInt(), Qt::Unchecked) << "read from the list";
  EXPECT_FALSE(model.setData(model.index(0, 1), Qt::Checked, Qt::CheckStateRole)) << "only the first column ticks";
  EXPECT_FALSE(model.setData(model.index(9, 0), Qt::Checked, Qt::CheckStateRole)) << "no such row";
}
} // namespace

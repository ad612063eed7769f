#include "model/oxdata.h"

#include "model/oxabstractitem.h"
#include "model/oxwhatsappitem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {
// A chat item whose list key (column 6) is a date at the given second.
OxWhatsappItem* chat(const char* name, qint64 secs, bool deleted = false) {
  OxWhatsappItem* item = OxWhatsappItem::createItem();
  item->setValue(QString::fromLatin1(name), 0);
  item->setSortValue(QDateTime::fromSecsSinceEpoch(secs, Qt::UTC), 6);
  item->setFlag(deleted, OxAbstractItem::ItemDeleted);
  return item;
}

// A plain item ordered by the text of column 0, with tree layers.
class TreeItem : public OxAbstractItem {
public:
  TreeItem(const char* text, const char* first = "", const char* second = "", int icon = 3)
      : OxAbstractItem(8), m_first(QString::fromLatin1(first)), m_second(QString::fromLatin1(second)), m_icon(icon) {
    setValue(QString::fromLatin1(text), 0);
  }
  QString getTreeFirstLayerName() const override { return m_first; }
  QString getTreeSecondLayerName() const override { return m_second; }
  int getFirstLayerIconType() const override { return m_icon; }

private:
  QString m_first, m_second;
  int m_icon;
};

// A folder: has children, so it is never itself checked.
class FolderItem : public OxAbstractItem {
public:
  explicit FolderItem(QList<OxAbstractItem*> children) : OxAbstractItem(1), m_children(children) {}
  ~FolderItem() override { qDeleteAll(m_children); }
  int childrenCount() override { return m_children.size(); }
  OxAbstractItem* getChild(int i) override { return m_children.value(i); }

private:
  QList<OxAbstractItem*> m_children;
};

QString names(const OxData& data, bool filtered) {
  QStringList out;
  for (int row = 0; data.at(row, filtered); ++row)
    out << data.at(row, filtered)->value(0);
  return out.join(QLatin1Char(' '));
}

TEST(OxDataOrder, AppendAndPrependPlaceItemsAsTheDefaultOrderSays) {
  struct Step {
    bool prepend;
    const char* name;
    qint64 secs;
    bool deleted;
  };
  struct Row {
    const char* name;
    std::vector<Step> steps;
    const char* expected;
  } rows[] = {
      {"newest first", {{false, "a", 10, false}, {false, "b", 30, false}, {false, "c", 20, false}}, "b c a"},
      {"deleted first", {{false, "old", 10, false}, {false, "new", 99, false}, {false, "del", 1, true}}, "del new old"},
      {"prepend goes before its equals",
       {{false, "a", 5, false}, {false, "b", 5, false}, {true, "p", 5, false}},
       "p a b"},
      {"prepend still sorted",
       {{false, "x", 9, false}, {false, "a", 5, false}, {true, "p", 5, false}, {false, "z", 1, false}},
       "x p a z"},
  };
  for (const auto& r : rows) {
    OxData data(0);
    for (const auto& s : r.steps) {
      OxWhatsappItem* item = chat(s.name, s.secs, s.deleted);
      s.prepend ? data.prepend(item) : data.append(item);
    }
    EXPECT_EQ(names(data, false), QString::fromLatin1(r.expected)) << r.name;
    EXPECT_EQ(names(data, true), QString::fromLatin1(r.expected)) << r.name << " (view)";
  }
}

// Few distinct dates and some deleted items: many ties, which keep arrival order.
TEST(OxDataOrder, RandomArrivalMatchesAStableSortOfTheArrivalSequence) {
  std::mt19937 rng(42);
  for (int round = 0; round < 5; ++round) {
    OxData data(0);
    std::vector<OxWhatsappItem*> expected;
    for (int i = 0; i < 3000; ++i) {
      expected.push_back(chat(QByteArray::number(i).constData(), qint64(rng() % 40), rng() % 5 == 0));
      data.append(expected.back());
    }
    std::stable_sort(expected.begin(), expected.end(), [](OxWhatsappItem* a, OxWhatsappItem* b) {
      const bool da = a->flag(OxAbstractItem::ItemDeleted), db = b->flag(OxAbstractItem::ItemDeleted);
      return da != db ? da : b->sortValue(6).toDateTime() < a->sortValue(6).toDateTime();
    });
    ASSERT_EQ(data.count(0), int(expected.size()));
    for (int row = 0; row < int(expected.size()); ++row) {
      ASSERT_EQ(data.at(row, false), expected[size_t(row)]) << "round " << round << " row " << row;
      ASSERT_EQ(data.rawDataIndexForItem(expected[size_t(row)]), row);
    }
  }
}

TEST(OxDataAccess, OutOfRangeRowsAndForeignItems) {
  OxData data(0);
  data.append(nullptr);
  data.prepend(nullptr);
  data.append(chat("a", 1));
  EXPECT_EQ(data.count(0), 1);
  EXPECT_EQ(data.at(-1, true), nullptr);
  EXPECT_EQ(data.at(1, true), nullptr);
  EXPECT_EQ(data.at(1, false), nullptr);
  EXPECT_EQ(data.value(5, 0), QString());
  EXPECT_FALSE(data.sortValue(-1, 6).isValid());
  OxWhatsappItem other;
  EXPECT_EQ(data.rawDataIndexForItem(&other), -1);
  EXPECT_EQ(data.rawDataIndexForItem(nullptr), -1);
}

TEST(OxDataAccess, ColumnLayoutOfTheItemKind) {
  struct Row {
    int type, dataColumn;
    const char* first;
  } rows[] = {{3, 2, "Content"}, {7, 5, "Title"}, {8, 11, "Title"}, {9, 3, "Title"}, {10, 6, "Name"}, {11, 0, ""}};
  for (const auto& r : rows) {
    OxData empty(r.type);
    EXPECT_EQ(empty.dataColumn(), r.dataColumn) << r.type;
    EXPECT_EQ(empty.columnName(0), QString::fromLatin1(r.first)) << r.type;
  }
  OxData notes(7);
  notes.append(new TreeItem("n", "Notes"));
  EXPECT_EQ(notes.dataColumn(), 8); // the first item decides once there is one
}

// Five items: name, first layer, second layer, deleted, account (column 7).
struct Fixture {
  OxData data{7};
  Fixture() {
    struct {
      const char *name, *first, *second;
      bool deleted;
      int account;
    } rows[] = {{"abc one", "iCloud", "Work", false, 1},
                {"xABCx two", "iCloud", "Home", true, 2},
                {"three", "iCloud", "Work", false, 1},
                {"four abc", "On My iPhone", "", false, 2},
                {"five", "On My iPhone", "", true, 1}};
    for (const auto& r : rows) {
      auto* item = new TreeItem(r.name, r.first, r.second);
      item->setValue(QString::number(r.account), 7);
      item->setFlag(r.deleted, OxAbstractItem::ItemDeleted);
      data.append(item);
    }
  }
};

TEST(OxDataFilter, CombinationsOfTypeAccountCategoryAndText) {
  struct Row {
    const char* name;
    int type, account;
    const char *first, *second, *text;
    const char* expected; // view order: deleted first, then ascending text
  } rows[] = {
      {"everything", 0, 0, "", "", "", "five xABCx two abc one four abc three"},
      {"deleted only", 2, 0, "", "", "", "five xABCx two"},
      {"existing only with text abc", 3, 0, "", "", "abc", "abc one four abc"},
      {"text is case-insensitive", 0, 0, "", "", "ABC", "xABCx two abc one four abc"},
      {"account 1", 0, 1, "", "", "", "five abc one three"},
      {"first layer", 0, 0, "On My iPhone", "", "", "five four abc"},
      {"first and second layer", 0, 0, "iCloud", "Work", "", "abc one three"},
      {"second layer alone", 0, 0, "", "Home", "", "xABCx two"},
      {"all at once", 3, 1, "iCloud", "Work", "thr", "three"},
  };
  for (const auto& r : rows) {
    Fixture f;
    f.data.setFilterType(r.type);
    f.data.setFilterAccount(r.account);
    f.data.setCurTreeCategory(QString::fromLatin1(r.first), QString::fromLatin1(r.second));
    f.data.setFilterText(QString::fromLatin1(r.text));
    f.data.filter(0);
    EXPECT_EQ(names(f.data, true), QString::fromLatin1(r.expected)) << r.name;
    EXPECT_EQ(f.data.count(0), 5) << r.name;
  }
}

TEST(OxDataFilter, ResettingConditions) {
  Fixture f;
  f.data.setFilterText(QStringLiteral("abc"));
  f.data.setFilterType(3);
  f.data.setFilterAccount(2);
  f.data.setFilterODD(true, true);
  EXPECT_EQ(f.data.getFilterType(), 1);
  EXPECT_EQ(f.data.getFilterAccount(), 0);
  EXPECT_EQ(f.data.count(1), 5); // not re-run
  f.data.filter(0);
  EXPECT_EQ(f.data.count(1), 3);
  f.data.setFilterType(2);
  f.data.clearAllFilterCondition(0);
  EXPECT_FALSE(f.data.filterODD());
  EXPECT_EQ(f.data.filterText(0), QString());
  EXPECT_EQ(names(f.data, true), QStringLiteral("five xABCx two")); // the type is kept
  // Appended items land in the view unfiltered until the next filter().
  f.data.append(new TreeItem("aaa"));
  EXPECT_EQ(f.data.count(1), 3);
  f.data.filter(0);
  EXPECT_EQ(f.data.count(1), 2);
}

TEST(OxDataCounts, ModesSizesAndDeleted) {
  Fixture f;
  for (int row = 0; row < 5; ++row)
    f.data.at(row, false)->setSize(quint64(10 * (row + 1)));
  f.data.setChecked(f.data.at(0, false), false);
  f.data.at(1, false)->setFlag(false, OxAbstractItem::ItemChecked);
  f.data.at(1, false)->setFlag(true, OxAbstractItem::ItemCheckedByHost); // a host tick counts as checked
  f.data.setFilterType(3);
  f.data.filter(0); // rows 2, 3, 4 of the raw list are existing
  struct Row {
    int mode, count;
    quint64 size;
  } rows[] = {{0, 5, 150}, {1, 3, 120}, {16, 3, 120}, {17, 3, 120}, {2, 5, 150}};
  for (const auto& r : rows) {
    EXPECT_EQ(f.data.count(r.mode), r.count) << r.mode;
    EXPECT_EQ(f.data.allCount(r.mode), r.count) << r.mode;
    EXPECT_EQ(f.data.size(r.mode), r.size) << r.mode;
  }
  f.data.setFilterType(0);
  f.data.filter(0);
  EXPECT_EQ(f.data.count(16), 4);
  EXPECT_EQ(f.data.allDeletedCount(), 2);
  int all = 0, deleted = 0;
  f.data.getCountInfo(all, deleted);
  EXPECT_EQ(all, 5);
  EXPECT_EQ(deleted, 2);
}

TEST(OxDataChecks, TicksHostTicksAndFolders) {
  OxData data(7);
  EXPECT_FALSE(data.checkedAll(true));
  EXPECT_TRUE(data.checkedAll(false));
  auto* a = new TreeItem("a");
  auto* b = new TreeItem("b");
  data.append(a);
  data.append(b);
  EXPECT_TRUE(data.checkedAll(true));
  b->setFlag(false, OxAbstractItem::ItemChecked);
  b->setFlag(true, OxAbstractItem::ItemCheckedByHost);
  EXPECT_TRUE(data.checked(b));
  data.setChecked(b, true);
  EXPECT_FALSE(b->flag(OxAbstractItem::ItemCheckedByHost));
  data.setChecked(a, false);
  EXPECT_FALSE(data.checkedAll(true));
  EXPECT_FALSE(data.checkedAll(false));
  data.setCheckAll(false);
  EXPECT_TRUE(data.checkedAll(false));
  data.setChecked(nullptr, true);
  EXPECT_FALSE(data.checked(nullptr));

  auto* c1 = new OxAbstractItem(1);
  auto* c2 = new OxAbstractItem(1);
  auto* folder = new FolderItem({c1, c2});
  data.append(folder);
  EXPECT_FALSE(data.checked(folder)); // a folder is never itself checked
  EXPECT_EQ(data.getFolderItemCheckState(folder), int(Qt::Checked));
  c2->setFlag(false, OxAbstractItem::ItemChecked);
  EXPECT_EQ(data.getFolderItemCheckState(folder), int(Qt::PartiallyChecked));
  c1->setFlag(false, OxAbstractItem::ItemChecked);
  EXPECT_EQ(data.getFolderItemCheckState(folder), int(Qt::Unchecked));
  EXPECT_EQ(data.getFolderItemCheckState(a), int(Qt::Unchecked));
}

TEST(OxDataRecover, RecoverListOrders) {
  // View rows: 0 d-new(del,30) 1 d-old(del,10) 2 x(40) 3 y(20) 4 z(5); all but z are marked.
  auto build = [](OxData& data) {
    data.append(chat("y", 20));
    data.append(chat("d-old", 10, true));
    data.append(chat("x", 40));
    data.append(chat("z", 5));
    data.append(chat("d-new", 30, true));
    for (int row = 0; row < data.count(1); ++row)
      data.setRecover(data.at(row, true), data.at(row, true)->value(0) != QLatin1String("z"));
  };
  struct Row {
    const char* name;
    int column, order;
    QList<int> expected;
  } rows[] = {
      {"no saved sort: rows ascending", -1, 0, {0, 1, 2, 3}},
      {"date ascending, deleted first", 6, Qt::AscendingOrder, {1, 0, 3, 2}},
      {"date descending, deleted first", 6, Qt::DescendingOrder, {0, 1, 2, 3}},
      {"text column (no keys) descending", 0, Qt::DescendingOrder, {1, 0, 3, 2}},
  };
  for (const auto& r : rows) {
    OxData data(0);
    build(data);
    data.saveSort(r.column, r.order);
    EXPECT_EQ(data.recoverList(), r.expected) << r.name;
    EXPECT_EQ(data.recoverCount(), 4) << r.name;
  }
  OxData data(0);
  build(data);
  const QList<OxAbstractItem*> files = data.recoverFileList();
  ASSERT_EQ(files.size(), 4);
  EXPECT_EQ(files.first()->value(0), QStringLiteral("d-new"));
  data.resetRecover(false);
  EXPECT_EQ(data.recoverCount(), 0);
}

TEST(OxDataCategories, OnlyTheBuiltInAppListsRecordTheirTree) {
  for (int type : {0, 6, 7, 10}) {
    OxData data(type);
    data.append(new TreeItem("a", "iCloud", "Work", 5));
    data.append(new TreeItem("b", "iCloud", "Home", 5));
    data.append(new TreeItem("c", "iCloud", "Work", 5));
    data.append(new TreeItem("d", "Local", "", 6));
    data.append(new TreeItem("e", "", "", 7));
    if (type < 7) {
      EXPECT_TRUE(data.getCategoryTree().isEmpty()) << type;
      continue;
    }
    EXPECT_EQ(data.getCategoryTree().keys(), (QStringList{QStringLiteral("Local"), QStringLiteral("iCloud")})) << type;
    EXPECT_EQ(data.getCategoryTree().value(QStringLiteral("iCloud")),
              (QStringList{QStringLiteral("Work"), QStringLiteral("Home")}));
    EXPECT_EQ(data.getCategoryIconTypeMap().value(QStringLiteral("Local")), 6);
    EXPECT_EQ(data.getCategoryItemsMap().value(QStringLiteral("iCloud")), 3);
    EXPECT_EQ(data.categoryItemCount(QStringLiteral("iCloud"), QStringLiteral("Work")), 2);
    data.clear();
    EXPECT_TRUE(data.getCategoryTree().isEmpty());
    EXPECT_EQ(data.count(0), 0);
  }
}
} // namespace

#include "model/oxdata.h"

#include "model/oxabstractitem.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxsafaribookmarkitem.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <tuple>
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

QString names(const OxData& data, bool filtered) {
  QStringList out;
  for (int row = 0; data.at(row, filtered); ++row)
    out << data.at(row, filtered)->value(0);
  return out.join(QLatin1Char(' '));
}

// Appends follow the default order (see the random test below); a prepend
// goes before its equals, in the raw list and in the view.
TEST(OxDataOrder, PrependGoesBeforeItsEquals) {
  OxData data(0);
  data.append(chat("a", 5));
  data.append(chat("b", 5));
  data.prepend(chat("p", 5));
  data.append(chat("n", 9));
  EXPECT_EQ(names(data, false), QStringLiteral("n p a b"));
  EXPECT_EQ(names(data, true), QStringLiteral("n p a b"));
}

// The default order as the items state it, compared afresh at every step: the
// reference the list's own keys must agree with.
bool referenceOrder(const OxAbstractItem* a, const OxAbstractItem* b) {
  const bool da = a->flag(OxAbstractItem::ItemDeleted), db = b->flag(OxAbstractItem::ItemDeleted);
  if (da != db)
    return da;
  if (dynamic_cast<const OxWhatsappItem*>(a))
    return CCommonUtils::itemValueLessThan(b->sortValue(6), a->sortValue(6));
  if (dynamic_cast<const OxCallHistoryItem*>(a))
    return CCommonUtils::itemValueLessThan(b->sortValue(2), a->sortValue(2));
  return QString::localeAwareCompare(a->value(0), b->value(0)) < 0;
}

// A call whose list key (column 2) is a date, a number of any width, or null
// or invalid. Dates and numbers never meet in one list: between the two
// families the order falls back to texts and is not transitive.
OxAbstractItem* call(std::mt19937& rng, bool dates) {
  auto* item = new OxCallHistoryItem;
  const int v = int(rng() % 9) - 4;
  QVariant key;
  switch (rng() % 6) {
  case 0: key = QVariant(); break;
  case 1: key = dates ? QVariant(QDateTime()) : QVariant(v); break;
  case 2: key = dates ? QVariant(QDateTime::fromSecsSinceEpoch(v * 86400, Qt::UTC)) : QVariant(qint64(v) * (qint64(1) << 40)); break;
  case 3: key = dates ? QVariant(QDate(2020, 1, 5 + v)) : QVariant(v + 0.5); break;
  case 4: key = dates ? QVariant(QDateTime::fromSecsSinceEpoch(1577836800 + v * 43200, Qt::UTC)) : QVariant(quint64(v)); break;
  default: key = dates ? QVariant(QDateTime()) : QVariant(0xFFFFFFFFFFFFFF00ULL + quint64(v + 4)); break;
  }
  item->setSortValue(key, 2);
  return item;
}

// Texts that a locale-aware order and a code-unit order place differently:
// case, accents, composed and decomposed forms, characters beyond 16 bits,
// control characters, empty texts.
OxAbstractItem* titled(std::mt19937& rng) {
  static const char16_t alphabet[] = u"aAbBzZ \u00e9e\u0301\u00c9-_.19\u00df\u0001\uFFFD";
  QString text;
  for (int n = int(rng() % 5); n > 0; --n) {
    if (rng() % 12 == 0)
      text += QString::fromUtf16(u"\U0001F600");
    else
      text += QChar(ushort(alphabet[rng() % (sizeof alphabet / 2 - 1)]));
  }
  auto* item = new OxSafariBookmarkItem;
  item->setValue(text, 0);
  return item;
}

// Random arrival with many ties and some deleted items: the list is a stable
// sort of the arrival sequence, whatever the kinds meet.
TEST(OxDataOrder, RandomArrivalMatchesAStableSortOfTheArrivalSequence) {
  struct Row {
    const char* name;
    int dataType;
    std::function<OxAbstractItem*(std::mt19937&)> make;
  } rows[] = {
      {"chat dates", 0, [](std::mt19937& rng) { return chat("c", qint64(rng() % 40)); }},
      {"call dates", 10, [](std::mt19937& rng) { return call(rng, true); }},
      {"call numbers of every width", 10, [](std::mt19937& rng) { return call(rng, false); }},
      {"titles", 9, titled},
  };
  for (const Row& r : rows) {
    std::mt19937 rng(42);
    OxData data(r.dataType);
    std::vector<OxAbstractItem*> expected;
    for (int i = 0; i < 3000; ++i) {
      expected.push_back(r.make(rng));
      expected.back()->setFlag(rng() % 5 == 0, OxAbstractItem::ItemDeleted);
      data.append(expected.back());
    }
    std::stable_sort(expected.begin(), expected.end(), referenceOrder);
    ASSERT_EQ(data.count(OxData::CountRaw), int(expected.size())) << r.name;
    for (int row = 0; row < int(expected.size()); ++row) {
      ASSERT_EQ(data.at(row, false), expected[size_t(row)]) << r.name << ", row " << row;
      ASSERT_EQ(data.rawDataIndexForItem(expected[size_t(row)]), row) << r.name;
    }
  }
}

TEST(OxDataAccess, OutOfRangeRowsAndForeignItems) {
  OxData data(0);
  data.append(nullptr);
  data.prepend(nullptr);
  data.append(chat("a", 1));
  EXPECT_EQ(data.count(OxData::CountRaw), 1);
  EXPECT_EQ(data.at(-1, true), nullptr);
  EXPECT_EQ(data.at(1, false), nullptr);
  OxWhatsappItem other;
  EXPECT_EQ(data.rawDataIndexForItem(&other), -1);
}

// Five items: name, first layer, second layer, deleted, account (column 7).
void fill(OxData& data) {
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
    item->setSize(10);
    data.append(item);
  }
}

TEST(OxDataFilter, CombinationsOfTypeAccountCategoryAndText) {
  struct Row {
    const char* name;
    int type, account;
    const char *first, *second, *text;
    const char* expected; // view order: deleted first, then ascending text
  } rows[] = {
      {"deleted only", 2, 0, "", "", "", "five xABCx two"},
      {"existing only with text abc", 3, 0, "", "", "abc", "abc one four abc"},
      {"account 1", 0, 1, "", "", "", "five abc one three"},
      {"first and second layer", 0, 0, "iCloud", "Work", "", "abc one three"},
      {"second layer alone", 0, 0, "", "Home", "", "xABCx two"},
  };
  for (const auto& r : rows) {
    OxData data(7);
    fill(data);
    data.setFilterType(r.type);
    data.setFilterAccount(r.account);
    data.setCurTreeCategory(QString::fromLatin1(r.first), QString::fromLatin1(r.second));
    data.setFilterText(QString::fromLatin1(r.text));
    data.filter(0);
    EXPECT_EQ(names(data, true), QString::fromLatin1(r.expected)) << r.name;
    EXPECT_EQ(data.count(OxData::CountRaw), 5) << r.name;
  }
}

// Clearing keeps the type; appended items land in the view unfiltered until
// the next filter(); a host tick counts as checked.
TEST(OxDataFilter, ClearingAppendingAndCounts) {
  OxData data(7);
  fill(data);
  data.setFilterText(QStringLiteral("abc"));
  data.setFilterType(2);
  data.clearAllFilterCondition(0);
  EXPECT_EQ(names(data, true), QStringLiteral("five xABCx two"));
  data.append(new TreeItem("aaa"));
  EXPECT_EQ(data.count(OxData::CountFiltered), 3);
  data.filter(0);
  EXPECT_EQ(data.count(OxData::CountFiltered), 2);
  data.at(0, true)->setFlag(false, OxAbstractItem::ItemChecked);
  data.at(0, true)->setFlag(true, OxAbstractItem::ItemCheckedByHost);
  data.setChecked(data.at(1, true), false);
  EXPECT_EQ(data.count(OxData::CountFilteredChecked), 1);
  EXPECT_EQ(data.size(16), 10u);
  EXPECT_EQ(data.allDeletedCount(), 2);
}

TEST(OxDataChecks, ATickReplacesAHostTick) {
  OxData data(7);
  auto* b = new TreeItem("b");
  data.append(b);
  b->setFlag(false, OxAbstractItem::ItemChecked);
  b->setFlag(true, OxAbstractItem::ItemCheckedByHost);
  EXPECT_TRUE(data.checked(b));
  data.setChecked(b, true);
  EXPECT_FALSE(b->flag(OxAbstractItem::ItemCheckedByHost));
}

TEST(OxDataRecover, RecoverListOrders) {
  // View rows: 0 d-new(del,30) 1 d-old(del,10) 2 x(40) 3 y(20) 4 z(5); all but z are marked.
  struct Row {
    const char* name;
    int column, order;
    QList<int> expected;
  } rows[] = {
      {"no saved sort: rows ascending", -1, 0, {0, 1, 2, 3}},
      {"date ascending, deleted first", 6, Qt::AscendingOrder, {1, 0, 3, 2}},
      {"text column (no keys) descending", 0, Qt::DescendingOrder, {1, 0, 3, 2}},
  };
  for (const auto& r : rows) {
    OxData data(0);
    for (const auto& [name, secs, deleted] :
         {std::tuple{"y", 20, false}, {"d-old", 10, true}, {"x", 40, false}, {"z", 5, false}, {"d-new", 30, true}})
      data.append(chat(name, secs, deleted));
    for (int row = 0; row < data.count(OxData::CountFiltered); ++row)
      data.setRecover(data.at(row, true), data.at(row, true)->value(0) != QLatin1String("z"));
    data.saveSort(r.column, r.order);
    EXPECT_EQ(data.recoverList(), r.expected) << r.name;
  }
}

TEST(OxDataCategories, OnlyTheBuiltInAppListsRecordTheirTree) {
  for (int type : {6, 7}) {
    OxData data(type);
    for (const char* second : {"Work", "Home", "Work"})
      data.append(new TreeItem("a", "iCloud", second, 5));
    data.append(new TreeItem("e", "", "", 7));
    EXPECT_EQ(data.getCategoryTree().keys(), type < 7 ? QStringList() : QStringList{QStringLiteral("iCloud")}) << type;
    EXPECT_EQ(data.categoryItemCount(QStringLiteral("iCloud"), QStringLiteral("Work")), type < 7 ? 0 : 2) << type;
  }
}
} // namespace

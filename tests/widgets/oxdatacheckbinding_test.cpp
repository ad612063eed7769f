#include "widgets/oxdatacheckbinding.h"

#include "model/oxabstractitem.h"
#include "model/oxdata.h"
#include "widgets/checkboxheaderview.h"

#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

#include <string>

namespace {

// An item with one child stands for a folder of the list.
class FolderItem : public OxAbstractItem {
public:
  FolderItem() : OxAbstractItem(3) {}
  int childrenCount() override { return 1; }
  OxAbstractItem* getChild(int index) override { return index == 0 ? &m_child : nullptr; }

private:
  OxAbstractItem m_child{3};
};

// One character per item: 'x' ticked, '.' not ticked, 'F' a ticked folder,
// 'f' an unticked folder; a capital 'D' / 'd' is a deleted ticked / unticked item.
void fill(OxData& list, const std::string& items) {
  int n = 0;
  for (char c : items) {
    OxAbstractItem* item = (c == 'F' || c == 'f') ? new FolderItem : new OxAbstractItem(3);
    item->setValue(QStringLiteral("item %1").arg(n++), 0);
    item->setFlag(c == 'x' || c == 'F' || c == 'D', OxAbstractItem::ItemChecked);
    item->setFlag(c == 'D' || c == 'd', OxAbstractItem::ItemDeleted);
    list.append(item);
  }
}

TEST(OxDataCheckBinding, HeaderStateFollowsTheFilteredView) {
  struct Row {
    const char* name;
    std::string items;
    bool deletedOnly; // the view shows the deleted items only
    Qt::CheckState expected;
  } rows[] = {
      {"empty list", "", false, Qt::Unchecked},
      {"mixed", "x.x", false, Qt::PartiallyChecked},
      {"ticked folder among ticked items", "xFx", false, Qt::Checked},
      {"unticked folder among ticked items", "xfx", false, Qt::PartiallyChecked},
      {"hidden items do not count", "DD..", true, Qt::Checked},
  };
  for (const auto& r : rows) {
    OxData list(7);
    fill(list, r.items);
    if (r.deletedOnly) {
      list.setFilterType(OxData::FilterDeletedOnly);
      list.filter();
    }
    CheckBoxHeaderView header(Qt::Horizontal);
    new OxDataCheckBinding(&header, &list);
    EXPECT_EQ(header.checkState(), r.expected) << r.name << ": shown as soon as bound";
  }
}

// A list of items shown in a table whose header box is bound to it.
struct BoundTable {
  OxData list{7};
  QStandardItemModel model{0, 3};
  QTableView view;
  CheckBoxHeaderView* header = nullptr;
  OxDataCheckBinding* binding = nullptr;

  explicit BoundTable(const std::string& items) {
    fill(list, items);
    model.setRowCount(int(items.size()));
    header = new CheckBoxHeaderView(Qt::Horizontal, &view);
    header->setSectionsClickable(true);
    view.setHorizontalHeader(header);
    view.setModel(&model);
    header->setCheckBoxColumn(0);
    header->resizeSection(0, 120);
    binding = new OxDataCheckBinding(header, &list, &view);
    view.resize(400, 200);
    view.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
  }
  ~BoundTable() { binding->setData(nullptr); }

  // The box sits at the left of its section, vertically centred.
  void clickBox() {
    const QPoint p(header->sectionViewportPosition(0) + 9, header->viewport()->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, p, 300);
  }
  int ticked() const { return list.count(OxData::CountFilteredChecked); }
};

TEST(OxDataCheckBinding, ClickingTheBoxTicksAndUnticksTheList) {
  BoundTable t("x.f.");
  ASSERT_EQ(t.header->checkState(), Qt::PartiallyChecked);
  QSignalSpy changed(t.binding, &OxDataCheckBinding::checksChanged);
  t.clickBox();
  EXPECT_EQ(t.ticked(), 4); // the folder too
  EXPECT_EQ(t.header->checkState(), Qt::Checked);
  t.clickBox();
  EXPECT_EQ(t.ticked(), 0);
  // The host ticks one row and tells the binding.
  t.list.setChecked(t.list.at(1, true), true);
  t.binding->refresh();
  EXPECT_EQ(t.header->checkState(), Qt::PartiallyChecked);
  ASSERT_EQ(changed.count(), 2);
  EXPECT_FALSE(changed.at(1).at(0).toBool());
}

TEST(OxDataCheckBinding, EmptyOrMissingListKeepsTheBoxClear) {
  BoundTable t("");
  t.clickBox();
  EXPECT_EQ(t.header->checkState(), Qt::Unchecked);

  OxData other(7);
  fill(other, "xx");
  t.binding->setData(&other);
  EXPECT_EQ(t.header->checkState(), Qt::Checked);
  t.header->setCheckState(Qt::PartiallyChecked);
  EXPECT_EQ(t.header->checkState(), Qt::Checked) << "only the list decides the mixed state";
  t.header->setCheckState(Qt::Unchecked);
  EXPECT_EQ(other.count(OxData::CountFilteredChecked), 0) << "a programmatic untick is an order too";
  t.binding->setData(nullptr);
}

TEST(OxDataCheckBinding, DiesWithItsHeader) {
  OxData list(7);
  fill(list, "x.");
  auto* view = new QTableView;
  auto* header = new CheckBoxHeaderView(Qt::Horizontal, view);
  QPointer<OxDataCheckBinding> binding = new OxDataCheckBinding(header, &list, view);
  delete view;
  EXPECT_TRUE(binding.isNull());
}

} // namespace

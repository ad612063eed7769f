#include "widgets/checkboxheaderview.h"

#include <QCursor>
#include <QDir>
#include <QImage>
#include <QItemSelectionModel>
#include <QPixmap>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

// Opens the protected geometry of the header to the tests.
class ProbeHeader : public CheckBoxHeaderView {
public:
  using CheckBoxHeaderView::CheckBoxHeaderView;
  using CheckBoxHeaderView::checkBoxIndicatorRect;

  // The section of a logical index as the header paints it (viewport coordinates).
  QRect sectionRect(int logical) const {
    if (orientation() == Qt::Horizontal)
      return QRect(sectionViewportPosition(logical), 0, sectionSize(logical), viewport()->height());
    return QRect(0, sectionViewportPosition(logical), viewport()->width(), sectionSize(logical));
  }
  // Where the box of a section is, whether or not that section carries it.
  QRect boxRect(int logical) const {
    int extraWidth = 0;
    return checkBoxIndicatorRect(sectionRect(logical), extraWidth);
  }
};

// A shown table whose horizontal header carries the box in boxColumn and a
// sort indicator, ascending on column 0. A sorting view sorts on a header
// click; a view that does not sort selects the column instead.
struct Table {
  QStandardItemModel model{6, 3};
  QTableView view;
  ProbeHeader* header = nullptr;

  explicit Table(int boxColumn = 0, bool sorting = true) {
    model.setHorizontalHeaderLabels({QStringLiteral("All"), QStringLiteral("Name"), QStringLiteral("Date")});
    header = new ProbeHeader(Qt::Horizontal, &view);
    header->setSectionsClickable(true); // as on the header a table view makes itself
    view.setHorizontalHeader(header);
    view.setModel(&model);
    view.setSortingEnabled(sorting);
    header->setSortIndicatorShown(true);
    header->setSortIndicator(0, Qt::AscendingOrder);
    header->resizeSection(0, 120);
    header->setCheckBoxColumn(boxColumn);
    view.resize(480, 240);
    view.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
    parkCursor();
  }

  QWidget* vp() const { return header->viewport(); }
  QPoint boxCentre(int logical = 0) const { return header->boxRect(logical).center(); }
  // Keeps the mouse off the header so that pictures show no hover.
  void parkCursor() const { QCursor::setPos(view.mapToGlobal(QPoint(view.width() - 5, view.height() - 5))); }

  QImage picture() const { return header->grab().toImage(); }
  // The picture's pixels under a viewport rectangle.
  QImage crop(const QImage& image, const QRect& viewportRect) const {
    return image.copy(viewportRect.translated(vp()->mapTo(header, QPoint(0, 0))));
  }
};

TEST(CheckBoxHeaderView, SetCheckStateEmitsOnlyOnChange) {
  CheckBoxHeaderView header(Qt::Horizontal);
  QSignalSpy spy(&header, &CheckBoxHeaderView::checkStateChanged);
  for (Qt::CheckState s : {Qt::Unchecked, Qt::Checked, Qt::Checked, Qt::PartiallyChecked, Qt::Unchecked})
    header.setCheckState(s);
  ASSERT_EQ(spy.count(), 3);
  EXPECT_EQ(spy.at(2).at(0).toInt(), int(Qt::Unchecked));
}

// A click toggles the box only when both press and release land on it with
// the left button; a click that does not toggle reaches the header as a
// section click (sorting or selecting the column) unless it was on the box.
TEST(CheckBoxHeaderView, PressAndReleaseRules) {
  const Qt::CheckState U = Qt::Unchecked, P = Qt::PartiallyChecked, C = Qt::Checked;
  const bool B = true, E = false; // on the box, elsewhere in section 0
  struct Row {
    const char* name;
    int boxColumn;
    bool enabled;
    Qt::CheckState before;
    Qt::MouseButton button;
    bool pressOnBox, releaseOnBox;
    Qt::CheckState after;
    bool passes; // the click reaches the header as a section click
  } rows[] = {
      {"click in box ticks", 0, true, U, Qt::LeftButton, B, B, C, false},
      {"click in box unticks", 0, true, C, Qt::LeftButton, B, B, U, false},
      {"partly checked becomes checked", 0, true, P, Qt::LeftButton, B, B, C, false},
      {"release outside the box cancels", 0, true, U, Qt::LeftButton, B, E, U, false},
      {"press outside, release in box", 0, true, U, Qt::LeftButton, E, B, U, true},
      {"disabled box passes clicks", 0, false, U, Qt::LeftButton, B, B, U, true},
      {"box on another section", 1, true, U, Qt::LeftButton, B, B, U, true},
      {"right button does not toggle", 0, true, U, Qt::RightButton, B, B, U, false},
  };
  for (const Row& c : rows)
    for (bool sorting : {true, false}) {
      SCOPED_TRACE(std::string(c.name) + (sorting ? ", sorting view" : ", selecting view"));
      Table t(c.boxColumn, sorting);
      t.header->setCheckBoxEnabled(c.enabled);
      t.header->setCheckState(c.before);
      QSignalSpy spy(t.header, &CheckBoxHeaderView::checkStateChanged);
      auto point = [&](bool onBox) {
        return onBox ? t.boxCentre(0) : t.header->sectionRect(0).center() + QPoint(40, 0);
      };
      QTest::mousePress(t.vp(), c.button, Qt::NoModifier, point(c.pressOnBox));
      QTest::mouseRelease(t.vp(), c.button, Qt::NoModifier, point(c.releaseOnBox));

      EXPECT_EQ(t.header->checkState(), c.after);
      EXPECT_EQ(spy.count(), c.after != c.before ? 1 : 0);
      EXPECT_EQ(t.header->sortIndicatorOrder(), c.passes ? Qt::DescendingOrder : Qt::AscendingOrder);
      EXPECT_EQ(t.view.selectionModel()->isColumnSelected(0, QModelIndex()), c.passes && !sorting);
    }
}

TEST(CheckBoxHeaderView, VerticalHeaderCarriesTheBoxOnARow) {
  Table t(-1);
  auto* rows = new ProbeHeader(Qt::Vertical, &t.view);
  rows->setSectionsClickable(true);
  t.view.setVerticalHeader(rows);
  rows->setCheckBoxColumn(2);
  QCoreApplication::processEvents();
  QRect box = rows->boxRect(2);
  ASSERT_TRUE(rows->sectionRect(2).contains(box)) << "the row header grows to hold the box";
  QTest::mouseClick(rows->viewport(), Qt::LeftButton, Qt::NoModifier, box.center());
  EXPECT_EQ(rows->checkState(), Qt::Checked);
  EXPECT_FALSE(t.view.selectionModel()->isRowSelected(2, QModelIndex()));
}

TEST(CheckBoxHeaderView, BoxSitsInsideItsSectionAndWidensIt) {
  Table t(-1);
  t.header->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  const int plain = t.header->sectionSize(0);
  t.header->setCheckBoxColumn(0);
  const int withBox = t.header->sectionSize(0);
  int extraWidth = 0;
  const QRect box = t.header->checkBoxIndicatorRect(QRect(0, 0, 100, 24), extraWidth);
  EXPECT_GT(box.left(), 0) << "kept off the section's left edge";
  EXPECT_EQ(withBox - plain, extraWidth);
}

// Renders the header in the three states, saves the pictures for a person to
// look at, and checks that the box's pixels tell the states apart and differ
// from a header without a box.
TEST(CheckBoxHeaderView, DrawsTheThreeStatesDifferently) {
  Table t;
  const QString dir = QStringLiteral(SHERD_WIDGETS_IMAGE_DIR);
  ASSERT_TRUE(QDir().mkpath(dir));
  const QRect box = t.header->boxRect(0);
  ASSERT_TRUE(box.isValid());
  const std::pair<Qt::CheckState, const char*> shots[] = {{Qt::Unchecked, "header-unchecked.png"},
                                                          {Qt::PartiallyChecked, "header-partially-checked.png"},
                                                          {Qt::Checked, "header-checked.png"}};
  std::vector<QImage> boxes;
  for (const auto& s : shots) {
    t.header->setCheckState(s.first);
    const QImage image = t.picture();
    EXPECT_TRUE(image.save(dir + QLatin1Char('/') + QLatin1String(s.second))) << s.second;
    boxes.push_back(t.crop(image, box));
  }
  t.header->setCheckBoxColumn(-1);
  boxes.push_back(t.crop(t.picture(), box));

  for (size_t i = 0; i < boxes.size(); ++i)
    for (size_t j = i + 1; j < boxes.size(); ++j)
      EXPECT_NE(boxes[i], boxes[j]) << "pictures " << i << " and " << j << " (3 is the header without box)";
}

// Columns without a visible section: nothing may be drawn and no click may
// toggle anything, wherever it lands on the header.
struct BadCase {
  const char* name;
  std::function<void(Table&)> arrange;
};

TEST(CheckBoxHeaderView, NoBoxWhereThereIsNoSection) {
  const std::vector<BadCase> cases = {
      {"column beyond the model", [](Table& t) { t.header->setCheckBoxColumn(7); }},
      {"model shrinks below the column",
       [](Table& t) {
         t.header->setCheckBoxColumn(2);
         t.model.removeColumns(1, 2);
       }},
      {"zero-width section",
       [](Table& t) {
         t.header->setMinimumSectionSize(0);
         t.header->resizeSection(0, 0);
       }},
      {"hidden section", [](Table& t) { t.header->hideSection(0); }},
  };
  for (const BadCase& c : cases) {
    SCOPED_TRACE(c.name);
    Table t;
    c.arrange(t);
    QCoreApplication::processEvents();
    const int column = t.header->checkBoxColumn();
    const QImage withBox = t.picture();
    t.header->setCheckBoxColumn(-1);
    const QImage plain = t.picture();
    EXPECT_EQ(withBox, plain);
    t.header->setCheckBoxColumn(column);

    QSignalSpy spy(t.header, &CheckBoxHeaderView::checkStateChanged);
    const int y = t.vp()->height() / 2;
    for (int x = 0; x < t.vp()->width(); x += 3) {
      QTest::mousePress(t.vp(), Qt::LeftButton, Qt::NoModifier, QPoint(x, y));
      QTest::mouseRelease(t.vp(), Qt::LeftButton, Qt::NoModifier, QPoint(x, y));
    }
    EXPECT_EQ(spy.count(), 0);
    EXPECT_EQ(t.header->checkState(), Qt::Unchecked);
  }
}

} // namespace

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
  // Inside section 0, well to the right of its box.
  QPoint elsewhereInSection0() const {
    const QRect s = header->sectionRect(0);
    return QPoint(s.right() - 10, s.center().y());
  }
  // Keeps the mouse off the header so that pictures show no hover.
  void parkCursor() const { QCursor::setPos(view.mapToGlobal(QPoint(view.width() - 5, view.height() - 5))); }

  QImage picture() const { return header->grab().toImage(); }
  // The picture's pixels under a viewport rectangle.
  QImage crop(const QImage& image, const QRect& viewportRect) const {
    return image.copy(viewportRect.translated(vp()->mapTo(header, QPoint(0, 0))));
  }
};

enum class At { Box, Elsewhere };

struct ClickCase {
  const char* name;
  int boxColumn;
  bool enabled;
  Qt::CheckState before;
  Qt::MouseButton button;
  At press, release;
  Qt::CheckState after;
  std::vector<int> emitted;
  bool sorts;   // the sort order of section 0 flips
  bool selects; // column 0 becomes selected (when the view does not sort)
};

TEST(CheckBoxHeaderView, SetCheckStateEmitsOnlyOnChange) {
  CheckBoxHeaderView header(Qt::Horizontal);
  header.setCheckBoxColumn(-7);
  EXPECT_EQ(header.checkBoxColumn(), -1); // any negative column means none
  QSignalSpy spy(&header, &CheckBoxHeaderView::checkStateChanged);
  for (Qt::CheckState s : {Qt::Unchecked, Qt::Checked, Qt::Checked, Qt::PartiallyChecked, Qt::Unchecked})
    header.setCheckState(s);
  ASSERT_EQ(spy.count(), 3);
  EXPECT_EQ(spy.at(0).at(0).toInt(), int(Qt::Checked));
  EXPECT_EQ(spy.at(2).at(0).toInt(), int(Qt::Unchecked));
}

TEST(CheckBoxHeaderView, PressAndReleaseRules) {
  const Qt::CheckState U = Qt::Unchecked, P = Qt::PartiallyChecked, C = Qt::Checked;
  const Qt::MouseButton L = Qt::LeftButton, R = Qt::RightButton;
  const At B = At::Box, E = At::Elsewhere;
  // clang-format off
  const std::vector<ClickCase> cases = {
      // name                                   box  enabled before button press release after emitted sorts selects
      {"click in box ticks",                     0,  true,   U,     L,     B,    B,      C,    {2},    false, false},
      {"click in box unticks",                   0,  true,   C,     L,     B,    B,      U,    {0},    false, false},
      {"partly checked becomes checked",         0,  true,   P,     L,     B,    B,      C,    {2},    false, false},
      {"release outside the box cancels",        0,  true,   U,     L,     B,    E,      U,    {},     false, false},
      {"press outside, release in box",          0,  true,   U,     L,     E,    B,      U,    {},     true,  true},
      {"click elsewhere in the section sorts",   0,  true,   U,     L,     E,    E,      U,    {},     true,  true},
      {"disabled box passes clicks",             0,  false,  U,     L,     B,    B,      U,    {},     true,  true},
      {"no box column is a plain header",        -1, true,   U,     L,     B,    B,      U,    {},     true,  true},
      {"box on another section",                 1,  true,   U,     L,     B,    B,      U,    {},     true,  true},
      {"right button does not toggle",           0,  true,   U,     R,     B,    B,      U,    {},     false, false},
  };
  // clang-format on

  for (const ClickCase& c : cases)
    for (bool sorting : {true, false}) {
      SCOPED_TRACE(std::string(c.name) + (sorting ? ", sorting view" : ", selecting view"));
      Table t(c.boxColumn, sorting);
      t.header->setCheckBoxEnabled(c.enabled);
      t.header->setCheckState(c.before);
      QSignalSpy spy(t.header, &CheckBoxHeaderView::checkStateChanged);
      QSignalSpy clicked(t.header, &QHeaderView::sectionClicked);

      auto point = [&](At at) { return at == At::Box ? t.boxCentre(0) : t.elsewhereInSection0(); };
      QTest::mousePress(t.vp(), c.button, Qt::NoModifier, point(c.press));
      QTest::mouseRelease(t.vp(), c.button, Qt::NoModifier, point(c.release));

      EXPECT_EQ(t.header->checkState(), c.after);
      std::vector<int> emitted;
      for (const QList<QVariant>& args : spy)
        emitted.push_back(args.at(0).toInt());
      EXPECT_EQ(emitted, c.emitted);
      EXPECT_EQ(t.header->sortIndicatorSection(), 0);
      EXPECT_EQ(t.header->sortIndicatorOrder(), c.sorts ? Qt::DescendingOrder : Qt::AscendingOrder);
      EXPECT_EQ(clicked.count(), c.sorts ? 1 : 0);
      EXPECT_EQ(t.view.selectionModel()->isColumnSelected(0, QModelIndex()), c.selects && !sorting);
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
  QSignalSpy spy(rows, &CheckBoxHeaderView::checkStateChanged);
  QTest::mouseClick(rows->viewport(), Qt::LeftButton, Qt::NoModifier, box.center());
  EXPECT_EQ(spy.count(), 1);
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
  EXPECT_GT(extraWidth, box.width());
  EXPECT_EQ(withBox - plain, extraWidth);
  EXPECT_TRUE(t.header->sectionRect(0).contains(t.header->boxRect(0)));
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

TEST(CheckBoxHeaderView, DrawsPressedAndDisabledBoxesDifferently) {
  Table t;
  const QRect box = t.header->boxRect(0);
  const QImage normal = t.crop(t.picture(), box);

  QCursor::setPos(t.vp()->mapToGlobal(box.center()));
  QTest::mousePress(t.vp(), Qt::LeftButton, Qt::NoModifier, box.center());
  const QImage pressed = t.crop(t.picture(), box);
  QTest::mouseRelease(t.vp(), Qt::LeftButton, Qt::NoModifier, box.center());
  t.header->setCheckState(Qt::Unchecked);
  t.parkCursor();

  t.header->setCheckBoxEnabled(false);
  const QImage disabled = t.crop(t.picture(), box);

  EXPECT_NE(normal, pressed);
  EXPECT_NE(normal, disabled);
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
      {"model cleared", [](Table& t) { t.model.clear(); }},
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

TEST(CheckBoxHeaderView, ColumnReappearsWhenTheModelGrows) {
  Table t(4);
  t.view.resize(700, 240);
  QSignalSpy spy(t.header, &CheckBoxHeaderView::checkStateChanged);
  t.model.setColumnCount(5);
  QCoreApplication::processEvents();
  QTest::mouseClick(t.vp(), Qt::LeftButton, Qt::NoModifier, t.boxCentre(4));
  EXPECT_EQ(spy.count(), 1);
}

} // namespace

#pragma once
// A table header that draws a tri-state check box inside one section, so that
// a table of recovered items gets a "tick all / untick all" box in its header.
//
// Clicking the box toggles it (Unchecked -> Checked, Checked -> Unchecked,
// PartiallyChecked -> Checked) and emits checkStateChanged(int). The host then
// ticks or unticks its items and reports the resulting state back with
// setCheckState (for example PartiallyChecked when the rows are mixed).
// OxDataCheckBinding (widgets/oxdatacheckbinding.h) does that round trip for
// an OxData list.
//
// A press inside the box is consumed: it neither sorts nor selects the
// section. Every other mouse event reaches QHeaderView unchanged, so with no
// check-box column (-1) the header behaves exactly as a plain QHeaderView.
//
//   auto* header = new CheckBoxHeaderView(Qt::Horizontal, table);
//   table->setHorizontalHeader(header);
//   header->setCheckBoxColumn(0);
//   connect(header, &CheckBoxHeaderView::checkStateChanged, ...);
#include "platform/common/sherdglobal.h"

#include <QHeaderView>
#include <QStyle>

class QMouseEvent;
class QPainter;

class SHERD_EXPORT CheckBoxHeaderView : public QHeaderView {
  Q_OBJECT
public:
  explicit CheckBoxHeaderView(Qt::Orientation orientation, QWidget* parent = nullptr);
  ~CheckBoxHeaderView() override;

  // Logical section that carries the box; -1 (any negative value) means none.
  // A column that the model does not have (yet) draws nothing and takes no
  // clicks until the model grows to it.
  void setCheckBoxColumn(int column);
  int checkBoxColumn() const;

  // A disabled box is drawn without the enabled state and lets every click
  // through to the header.
  void setCheckBoxEnabled(bool enabled);
  bool checkBoxEnabled() const;

  // Emits checkStateChanged when the state really changes, also when the
  // change comes from this call rather than from a click.
  void setCheckState(Qt::CheckState state);
  Qt::CheckState checkState() const;

Q_SIGNALS:
  void checkStateChanged(int state);

protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
  QSize sectionSizeFromContents(int logicalIndex) const override;

  // The box's rectangle inside a section rectangle, as the style places a
  // check-box indicator, kept off the section's left edge. extraWidth is
  // what the section needs on top of its contents to hold the box.
  QRect checkBoxIndicatorRect(const QRect& section, int& extraWidth) const;
  void drawCheckIndicator(QPainter* painter, const QRect& rect, QStyle::State state, Qt::CheckState checkState) const;

private:
  // The section of the box in viewport coordinates; empty when the column
  // has no visible section.
  QRect checkBoxSectionRect() const;
  // The part of the box that lies on its section; empty when there is none.
  QRect visibleIndicatorRect() const;

  Qt::CheckState m_checkState = Qt::Unchecked;
  int m_checkBoxColumn = -1;
  bool m_checkBoxEnabled = true;
  bool m_pressed = false;
};

#include "widgets/checkboxheaderview.h"

#include <QCursor>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionButton>

CheckBoxHeaderView::CheckBoxHeaderView(Qt::Orientation orientation, QWidget* parent)
    : QHeaderView(orientation, parent) {
  // Hovering must be seen so that the box can be drawn under the mouse.
  setAttribute(Qt::WA_MouseTracking);
}

CheckBoxHeaderView::~CheckBoxHeaderView() = default;

void CheckBoxHeaderView::setCheckBoxColumn(int column) {
  if (column < 0)
    column = -1;
  if (column == m_checkBoxColumn)
    return;
  m_checkBoxColumn = column;
  m_pressed = false;
  // The box column is wider than its contents: sections that size to
  // their contents must be measured again.
  if (model())
    resizeSections();
  viewport()->update();
}

int CheckBoxHeaderView::checkBoxColumn() const { return m_checkBoxColumn; }

void CheckBoxHeaderView::setCheckBoxEnabled(bool enabled) {
  if (enabled == m_checkBoxEnabled)
    return;
  m_checkBoxEnabled = enabled;
  m_pressed = false;
  viewport()->update();
}

bool CheckBoxHeaderView::checkBoxEnabled() const { return m_checkBoxEnabled; }

void CheckBoxHeaderView::setCheckState(Qt::CheckState state) {
  if (state == m_checkState)
    return;
  m_checkState = state;
  viewport()->update();
  emit checkStateChanged(static_cast<int>(state));
}

Qt::CheckState CheckBoxHeaderView::checkState() const { return m_checkState; }

QRect CheckBoxHeaderView::checkBoxIndicatorRect(const QRect& section, int& extraWidth) const {
  QStyleOptionButton option;
  option.initFrom(this);
  option.rect = section;
  QRect indicator = style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this);
  // A box flush with the section's edge would touch the separator line.
  const int margin = style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &option, this) + 1;
  if (indicator.left() == section.left())
    indicator.translate(margin, 0);
  extraWidth = indicator.width() + 2 * margin;
  return indicator;
}

void CheckBoxHeaderView::drawCheckIndicator(QPainter* painter, const QRect& rect, QStyle::State state,
                                            Qt::CheckState checkState) const {
  if (!painter || !rect.isValid())
    return;
  QStyleOptionButton option;
  option.initFrom(this);
  option.rect = rect;
  option.state = state;
  // Styles take a disabled look from the palette's colour group, not only from the state.
  if (!(state & QStyle::State_Enabled))
    option.palette.setCurrentColorGroup(QPalette::Disabled);
  switch (checkState) {
  case Qt::Unchecked:
    option.state |= QStyle::State_Off;
    break;
  case Qt::PartiallyChecked:
    option.state |= QStyle::State_NoChange;
    break;
  case Qt::Checked:
    option.state |= QStyle::State_On;
    break;
  }
  style()->drawPrimitive(QStyle::PE_IndicatorCheckBox, &option, painter, this);
}

QRect CheckBoxHeaderView::checkBoxSectionRect() const {
  const int column = m_checkBoxColumn;
  if (column < 0 || sectionPosition(column) == -1 || isSectionHidden(column))
    return QRect();
  const int size = sectionSize(column);
  if (size <= 0)
    return QRect();
  const int start = sectionViewportPosition(column);
  QRect section = viewport()->rect();
  if (orientation() == Qt::Horizontal) {
    section.setLeft(start);
    section.setRight(start + size - 1);
  } else {
    section.setTop(start);
    section.setBottom(start + size - 1);
  }
  return section;
}

QRect CheckBoxHeaderView::visibleIndicatorRect() const {
  const QRect section = checkBoxSectionRect();
  if (section.isEmpty())
    return QRect();
  int extraWidth = 0;
  const QRect indicator = checkBoxIndicatorRect(section, extraWidth);
  if (!indicator.isValid())
    return QRect();
  // Only the part of the box that is drawn takes clicks.
  return indicator & section;
}

void CheckBoxHeaderView::mousePressEvent(QMouseEvent* event) {
  if (m_checkBoxColumn >= 0 && m_checkBoxEnabled && event->button() == Qt::LeftButton) {
    const QRect indicator = visibleIndicatorRect();
    if (indicator.contains(event->pos())) {
      // Consumed here: the base header would sort or select the section.
      m_pressed = true;
      viewport()->update(indicator);
      event->accept();
      return;
    }
  }
  QHeaderView::mousePressEvent(event);
}

void CheckBoxHeaderView::mouseReleaseEvent(QMouseEvent* event) {
  if (m_checkBoxColumn >= 0 && m_checkBoxEnabled && m_pressed && event->button() == Qt::LeftButton) {
    m_pressed = false;
    const QRect indicator = visibleIndicatorRect();
    if (indicator.contains(event->pos())) {
      // A partly checked box becomes checked: one click ticks everything.
      setCheckState(m_checkState == Qt::Checked ? Qt::Unchecked : Qt::Checked);
      event->accept();
      return;
    }
    viewport()->update(indicator);
  }
  QHeaderView::mouseReleaseEvent(event);
}

void CheckBoxHeaderView::mouseMoveEvent(QMouseEvent* event) {
  QHeaderView::mouseMoveEvent(event);
  // The box is drawn hovered while the mouse is over it; the base header
  // only repaints when the mouse changes section.
  if (m_checkBoxColumn >= 0 && m_checkBoxEnabled) {
    const QRect indicator = visibleIndicatorRect();
    if (!indicator.isEmpty())
      viewport()->update(indicator);
  }
}

void CheckBoxHeaderView::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const {
  painter->save();
  QHeaderView::paintSection(painter, rect, logicalIndex);
  painter->restore();

  if (m_checkBoxColumn < 0 || logicalIndex != m_checkBoxColumn || rect.isEmpty())
    return;
  int extraWidth = 0;
  const QRect indicator = checkBoxIndicatorRect(rect, extraWidth);
  if (!indicator.isValid())
    return;

  QStyle::State state = QStyle::State_None;
  if (m_checkBoxEnabled) {
    state |= QStyle::State_Enabled;
    if (window()->isActiveWindow())
      state |= QStyle::State_Active;
    const QPoint cursor = viewport()->mapFromGlobal(QCursor::pos());
    if (indicator.contains(cursor)) {
      state |= QStyle::State_MouseOver;
      if (m_pressed)
        state |= QStyle::State_Sunken;
    }
  }

  painter->save();
  painter->setClipRect(rect, Qt::IntersectClip);
  drawCheckIndicator(painter, indicator, state, m_checkState);
  painter->restore();
}

QSize CheckBoxHeaderView::sectionSizeFromContents(int logicalIndex) const {
  QSize size = QHeaderView::sectionSizeFromContents(logicalIndex);
  if (m_checkBoxColumn >= 0 && logicalIndex == m_checkBoxColumn) {
    int extraWidth = 0;
    checkBoxIndicatorRect(QRect(0, 0, size.width(), size.height()), extraWidth);
    size.rwidth() += extraWidth;
  }
  return size;
}

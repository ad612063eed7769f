#pragma once
// OxDataCheckBinding: ties the box of a CheckBoxHeaderView to the ticks of an
// OxData list shown in a table.
//
//  - A click on the box ticks (Checked) or unticks (Unchecked) every item of
//    the list's filtered view through OxData::setCheckAll, then repaints the
//    view and emits checksChanged.
//  - The box shows the state of the filtered view: Checked when every item is
//    ticked, Unchecked when none is (or the view is empty), PartiallyChecked
//    when they are mixed. The list does not tell anyone when ticks change, so
//    the host calls refresh() after it ticks a row, filters the list or loads
//    it again.
//
//   auto* header = new CheckBoxHeaderView(Qt::Horizontal, table);
//   header->setSectionsClickable(true);
//   table->setHorizontalHeader(header);
//   header->setCheckBoxColumn(0);
//   auto* binding = new OxDataCheckBinding(header, list, table);
//   ...                       // the host ticks one row through OxData::setChecked
//   binding->refresh();
//
// The binding is a child of the header and dies with it. It does not own the
// list: call setData(nullptr) (or delete the header) before the list goes.
// While bound, a programmatic setCheckState(Checked or Unchecked) on the header
// ticks or unticks the list just like a click does.
#include "platform/common/sherdglobal.h"

#include <QObject>
#include <QPointer>

class CheckBoxHeaderView;
class OxData;
class QAbstractItemView;

class SHERD_EXPORT OxDataCheckBinding : public QObject {
  Q_OBJECT
public:
  // view may be null; it is only repainted after the box changed the ticks.
  OxDataCheckBinding(CheckBoxHeaderView* header, OxData* data, QAbstractItemView* view = nullptr);
  ~OxDataCheckBinding() override;

  OxData* data() const;
  // Binds another list (or none) and shows its state.
  void setData(OxData* data);

  // The header state that the filtered view of a list calls for (Unchecked for null).
  static Qt::CheckState checkStateOf(const OxData* data);

public Q_SLOTS:
  // Shows the list's current state in the box.
  void refresh();

Q_SIGNALS:
  // Every item of the filtered view was just ticked (true) or unticked (false) by the box.
  void checksChanged(bool on);

private Q_SLOTS:
  void onHeaderStateChanged(int state);

private:
  QPointer<CheckBoxHeaderView> m_header;
  OxData* m_data = nullptr;
  QPointer<QAbstractItemView> m_view;
  bool m_refreshing = false;
};

#include "widgets/oxdatacheckbinding.h"

#include "model/oxdata.h"
#include "widgets/checkboxheaderview.h"

#include <QAbstractItemView>

OxDataCheckBinding::OxDataCheckBinding(CheckBoxHeaderView* header, OxData* data, QAbstractItemView* view)
    : QObject(header), m_header(header), m_data(data), m_view(view) {
  if (m_header)
    connect(m_header, &CheckBoxHeaderView::checkStateChanged, this, &OxDataCheckBinding::onHeaderStateChanged);
  refresh();
}

OxDataCheckBinding::~OxDataCheckBinding() = default;

OxData* OxDataCheckBinding::data() const { return m_data; }

void OxDataCheckBinding::setData(OxData* data) {
  m_data = data;
  refresh();
}

Qt::CheckState OxDataCheckBinding::checkStateOf(const OxData* data) {
  if (!data)
    return Qt::Unchecked;
  if (data->checkedAll(true))
    return Qt::Checked;
  if (data->checkedAll(false))
    return Qt::Unchecked;
  // checkedAll never counts a folder (an item with children) as ticked, so a
  // view holding one never reads as all ticked, even right after
  // setCheckAll(true). Left PartiallyChecked, a click would tick again instead
  // of unticking, and the box could never clear the view. Every item of the
  // view ticked, folders included, is what setCheckAll(true) leaves behind.
  if (data->count(OxData::CountFilteredChecked) == data->count(OxData::CountFiltered))
    return Qt::Checked;
  return Qt::PartiallyChecked;
}

void OxDataCheckBinding::refresh() {
  if (!m_header)
    return;
  m_refreshing = true;
  m_header->setCheckState(checkStateOf(m_data));
  m_refreshing = false;
}

void OxDataCheckBinding::onHeaderStateChanged(int state) {
  // The header reports its own changes too; those made by refresh() are not orders.
  if (m_refreshing)
    return;
  if (!m_data || state == Qt::PartiallyChecked) {
    refresh();
    return;
  }
  const bool on = state == Qt::Checked;
  m_data->setCheckAll(on);
  refresh();
  if (m_view)
    m_view->viewport()->update();
  emit checksChanged(on);
}

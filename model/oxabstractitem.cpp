#include "model/oxabstractitem.h"

OxAbstractItem::OxAbstractItem(int columnCount)
    : m_columnCount(columnCount), m_size(0), m_flags(ItemChecked), m_column(0) {
  // Texts start empty, not null.
  static const QString empty(QLatin1String(""));
  m_cells.resize(columnCount > 0 ? columnCount : 0);
  for (Cell& cell : m_cells)
    cell.value = empty;
}

OxAbstractItem::OxAbstractItem(const OxAbstractItem& other) = default;
OxAbstractItem& OxAbstractItem::operator=(const OxAbstractItem& other) = default;
OxAbstractItem::~OxAbstractItem() = default;

void OxAbstractItem::setFlag(bool on, int mask) {
  if (on)
    m_flags |= mask;
  else
    m_flags &= ~mask;
}

int OxAbstractItem::dataColumn() const { return m_column != 0 ? m_column : m_columnCount; }
QString OxAbstractItem::columnName(int) const { return QString(QLatin1String("")); }
QString OxAbstractItem::getTreeFirstLayerName() const { return QString(QLatin1String("")); }
QString OxAbstractItem::getTreeSecondLayerName() const { return QString(QLatin1String("")); }
int OxAbstractItem::getFirstLayerIconType() const { return -1; }
int OxAbstractItem::getSecondLayerIconType() const { return -1; }
int OxAbstractItem::childrenCount() { return 0; }
OxAbstractItem* OxAbstractItem::getChild(int) { return nullptr; }
void OxAbstractItem::sortChildren() {}
OxAbstractItem* OxAbstractItem::parentItem() { return nullptr; }
void OxAbstractItem::setParentItem(OxAbstractItem*) {}
QString OxAbstractItem::filePath() const { return QString(); }
void OxAbstractItem::setFilePath(const QString&) {}

bool OxAbstractItem::setValue(const QString& text, int column) {
  if (!columnOk(column))
    return false;
  m_cells[column].value = text.trimmed();
  return true;
}

QString OxAbstractItem::value(int column) const {
  if (!columnOk(column))
    return QString(QLatin1String(""));
  return m_cells.at(column).value;
}

bool OxAbstractItem::setSortValue(const QVariant& key, int column) {
  if (!columnOk(column))
    return false;
  m_cells[column].sortValue = key;
  return true;
}

QVariant OxAbstractItem::sortValue(int column) const {
  if (!columnOk(column))
    return QVariant(false);
  return m_cells.at(column).sortValue;
}

bool OxAbstractItem::setSize(quint64 bytes) {
  m_size = bytes != 0 ? bytes : calcSize();
  return true;
}

quint64 OxAbstractItem::size() const { return m_size; }
bool OxAbstractItem::flag(int mask) const { return (m_flags & mask) != 0; }
int OxAbstractItem::column() const { return m_column != 0 ? m_column : m_columnCount; }
void OxAbstractItem::setColumn(int column) { m_column = column; }

bool OxAbstractItem::filter(const QString& text) const {
  for (const Cell& cell : m_cells)
    if (cell.value.contains(text, Qt::CaseInsensitive))
      return true;
  return false;
}

quint64 OxAbstractItem::calcSize() const {
  quint64 total = 0;
  for (const Cell& cell : m_cells)
    total += quint64(cell.value.size());
  return total;
}

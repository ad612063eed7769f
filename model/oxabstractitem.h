#pragma once
// OxAbstractItem: the base of every recovered record a host is shown (a chat,
// a note, an event, a call, a bookmark, a file).
//
// An item holds exactly columnCount display texts and columnCount sort keys,
// a byte size and a flag set. Readers fill it and append it to the OxData list
// of their data type, which then owns it.
//
// Traps worth knowing:
//  - Every new item starts *checked* (flags == ItemChecked): a host shows
//    everything ticked for recovery.
//  - setValue trims the text; setSortValue stores the key unchanged.
//  - Out-of-range columns never fail loudly: value() gives "" (not a null
//    string) and sortValue() gives QVariant(false), not an invalid variant, so
//    that comparing two out-of-range keys compares two equal booleans.
//  - setSize(0) means "compute it": the base computes the total number of UTF-16
//    code units of the texts, a rough stand-in for items with no byte size;
//    subclasses with a real size override calcSize().
//  - ItemCheckedByHost is a second tick mark that only a host sets; the model
//    treats it as checked wherever it tests ItemChecked, and clears it whenever
//    it sets or clears ItemChecked itself.
#include "platform/common/sherdglobal.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

class SHERD_EXPORT OxAbstractItem {
public:
  enum ItemFlag {
    ItemDeleted = 1,       // found deleted; sorts before existing items
    ItemChecked = 2,       // ticked for recovery; set in every new item
    ItemRecover = 4,       // chosen for the recovery run
    ItemNoteLocked = 8,    // a password-protected note that no password opened
    ItemCheckedByHost = 16 // the host's own tick mark
  };

  explicit OxAbstractItem(int columnCount = 0);
  OxAbstractItem(const OxAbstractItem& other);
  OxAbstractItem& operator=(const OxAbstractItem& other);
  virtual ~OxAbstractItem();

  // flags |= mask when on, else flags &= ~mask.
  virtual void setFlag(bool on, int mask);
  // The explicit column when one was set (non-zero), else the column count.
  virtual int dataColumn() const;
  // Header text of a column; empty in the base.
  virtual QString columnName(int column) const;
  // The two-level category tree of a host: names and icon-type numbers.
  virtual QString getTreeFirstLayerName() const;
  virtual QString getTreeSecondLayerName() const;
  virtual int getFirstLayerIconType() const;
  virtual int getSecondLayerIconType() const;
  // Folder items have children; a folder is never itself counted as checked.
  virtual int childrenCount();
  virtual OxAbstractItem* getChild(int index);
  virtual void sortChildren();
  virtual OxAbstractItem* parentItem();
  virtual void setParentItem(OxAbstractItem* parent);
  // The extracted file of file-like items; a null string in the base.
  virtual QString filePath() const;
  virtual void setFilePath(const QString& path);

  bool setValue(const QString& text, int column);
  QString value(int column) const;
  bool setSortValue(const QVariant& key, int column);
  QVariant sortValue(int column) const;

  // Stores bytes; 0 stores calcSize() instead. Always true.
  bool setSize(quint64 bytes);
  quint64 size() const;

  // True when any bit of mask is set.
  bool flag(int mask) const;
  int flags() const { return m_flags; }

  // Same rule as the base dataColumn(), not virtual.
  int column() const;
  void setColumn(int column);

  // True when some column text contains text, case ignored. An empty text
  // matches every item that has at least one column.
  bool filter(const QString& text) const;

  int columnCount() const { return m_columnCount; }

protected:
  virtual quint64 calcSize() const;

private:
  bool columnOk(int column) const { return column >= 0 && column < m_columnCount; }

  // A column's display text and sort key, side by side in one block per item.
  struct Cell {
    QString value;
    QVariant sortValue;
  };

  int m_columnCount;
  QVector<Cell> m_cells;
  quint64 m_size;
  int m_flags;
  int m_column;
};

#pragma once
// OxCallHistoryItem: one call (or one voicemail entry of the call list).
//
// Six value columns, all shown: 0 Name, 1 Phone, 2 Date, 3 Location, 4 Type,
// 5 Duration. The list orders calls by the sort key of column 2, newest first.
// The first tree layer is set by the reader ("Call History", "Viber Call
// History", ...); there is no second layer and no icon type of its own.
#include "model/oxabstractitem.h"

class SHERD_EXPORT OxCallHistoryItem : public OxAbstractItem {
public:
  enum Column { ColName = 0, ColPhone, ColDate, ColLocation, ColType, ColDuration, ColumnCount };

  OxCallHistoryItem();
  OxCallHistoryItem(const OxCallHistoryItem& other);
  OxCallHistoryItem& operator=(const OxCallHistoryItem& other);
  ~OxCallHistoryItem() override;

  // A new heap item; null if allocation fails.
  static OxCallHistoryItem* createItem();

  QString columnName(int column) const override;
  QString getTreeFirstLayerName() const override { return m_treeFirstLayerName; }
  void setTreeFirstLayerName(const QString& name) { m_treeFirstLayerName = name; }

private:
  QString m_treeFirstLayerName;
};

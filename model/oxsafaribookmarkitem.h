#pragma once
// OxSafariBookmarkItem: one bookmark, reading-list entry or history visit of
// the web browser.
//
// Three value columns, always all shown (dataColumn() is 3 whatever explicit
// column is set): 0 Title, 1 URL, 2 Date (visits only). The "Date" header is
// translated in the notes' context, as the host's translations have it. The
// list orders bookmarks by the text of column 0, ascending.
//
// Tree layers and icon types are plain stored values that the reader sets:
// first layer "Bookmarks", "Reading List" or "History", second layer the
// bookmark's folder. Icon types start at -1 (none).
#include "model/oxabstractitem.h"

class SHERD_EXPORT OxSafariBookmarkItem : public OxAbstractItem {
public:
  enum Column { ColTitle = 0, ColUrl, ColDate, ColumnCount };

  OxSafariBookmarkItem();
  OxSafariBookmarkItem(const OxSafariBookmarkItem& other);
  OxSafariBookmarkItem& operator=(const OxSafariBookmarkItem& other);
  ~OxSafariBookmarkItem() override;

  // A new heap item; null if allocation fails.
  static OxSafariBookmarkItem* createItem();

  int dataColumn() const override;
  QString columnName(int column) const override;
  QString getTreeFirstLayerName() const override { return m_treeFirstLayerName; }
  QString getTreeSecondLayerName() const override { return m_treeSecondLayerName; }
  int getFirstLayerIconType() const override { return m_firstLayerIconType; }
  int getSecondLayerIconType() const override { return m_secondLayerIconType; }

  void setTreeFirstLayerName(const QString& name) { m_treeFirstLayerName = name; }
  void setTreeSecondLayerName(const QString& name) { m_treeSecondLayerName = name; }
  void setFirstLayerIconType(int type) { m_firstLayerIconType = type; }
  void setSecondLayerIconType(int type) { m_secondLayerIconType = type; }
  QString bookmarkGroup() const { return m_bookmarkGroup; }
  void setBookmarkGroup(const QString& group) { m_bookmarkGroup = group; }

private:
  QString m_bookmarkGroup;
  QString m_treeFirstLayerName;
  QString m_treeSecondLayerName;
  int m_firstLayerIconType = -1;
  int m_secondLayerIconType = -1;
};

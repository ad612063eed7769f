#include "model/oxsafaribookmarkitem.h"

#include <QCoreApplication>

#include <new>

OxSafariBookmarkItem::OxSafariBookmarkItem() : OxAbstractItem(ColumnCount) {}
OxSafariBookmarkItem::OxSafariBookmarkItem(const OxSafariBookmarkItem& other) = default;
OxSafariBookmarkItem& OxSafariBookmarkItem::operator=(const OxSafariBookmarkItem& other) = default;
OxSafariBookmarkItem::~OxSafariBookmarkItem() = default;

OxSafariBookmarkItem* OxSafariBookmarkItem::createItem() { return new (std::nothrow) OxSafariBookmarkItem(); }

int OxSafariBookmarkItem::dataColumn() const { return ColumnCount; }

QString OxSafariBookmarkItem::columnName(int column) const {
  switch (column) {
  case ColTitle: return QCoreApplication::translate("SAFARIBOOKMARK_COLUMN", "Title");
  case ColUrl: return QCoreApplication::translate("SAFARIBOOKMARK_COLUMN", "URL");
  case ColDate: return QCoreApplication::translate("NOTE_COLUMN", "Date");
  default: return QString(QLatin1String(""));
  }
}

#include "model/oxfileitem.h"

#include <QCoreApplication>

#include <new>

OxFileItem::OxFileItem() : OxAbstractItem(ColumnCount) {}
OxFileItem::OxFileItem(int fileType) : OxAbstractItem(ColumnCount), m_fileType(fileType) {}
OxFileItem::OxFileItem(const OxFileItem& other) = default;
OxFileItem& OxFileItem::operator=(const OxFileItem& other) = default;
OxFileItem::~OxFileItem() = default;

OxFileItem* OxFileItem::createItem() { return new (std::nothrow) OxFileItem(); }
OxFileItem* OxFileItem::createItem(int fileType) { return new (std::nothrow) OxFileItem(fileType); }

QString OxFileItem::columnName(int column) const {
  // The file list shares the call list's headers.
  switch (column) {
  case ColName: return QCoreApplication::translate("CALLHISTORY_COLUMN", "Name");
  case ColPhone: return QCoreApplication::translate("CALLHISTORY_COLUMN", "Phone");
  case ColDate: return QCoreApplication::translate("CALLHISTORY_COLUMN", "Date");
  case ColLocation: return QCoreApplication::translate("CALLHISTORY_COLUMN", "Location");
  default: return QString(QLatin1String(""));
  }
}

QImage OxFileItem::thumbnail() const {
  if (m_thumbnailLoaded && !m_thumbnail.isNull())
    return m_thumbnail;
  return m_defaultThumbnail ? *m_defaultThumbnail : QImage();
}

void OxFileItem::setThumbnail(const QImage* image) {
  m_thumbnail = image ? *image : QImage();
  m_thumbnailLoaded = !m_thumbnail.isNull();
}

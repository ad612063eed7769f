#include "model/oxnoteitem.h"

#include <QCoreApplication>

#include <new>

namespace {
QString translateNote(const char* text, int n = -1) {
  return QCoreApplication::translate("NOTE_COLUMN", text, nullptr, n);
}
} // namespace

OxNoteItem::OxNoteItem() : OxAbstractItem(ColumnCount) {}

OxNoteItem::OxNoteItem(const OxNoteItem& other) : OxAbstractItem(other) { copyPiecesFrom(other); }

OxNoteItem& OxNoteItem::operator=(const OxNoteItem& other) {
  if (this != &other) {
    OxAbstractItem::operator=(other);
    copyPiecesFrom(other);
  }
  return *this;
}

OxNoteItem::~OxNoteItem() { clearPieces(); }

OxNoteItem* OxNoteItem::createItem() { return new (std::nothrow) OxNoteItem(); }

int OxNoteItem::dataColumn() const { return ColumnCount; }

QString OxNoteItem::columnName(int column) const {
  switch (column) {
  case ColTitle: return translateNote("Title");
  case ColDate: return translateNote("Date");
  case ColLocation: return translateNote("Location");
  case ColFolder: return translateNote("Folder");
  case ColNotes: return translateNote("Notes");
  default: return QString(QLatin1String(""));
  }
}

QString OxNoteItem::getTreeFirstLayerName() const { return value(ColLocation); }
QString OxNoteItem::getTreeSecondLayerName() const { return value(ColFolder); }
int OxNoteItem::getFirstLayerIconType() const { return value(ColLocation) == QLatin1String("iCloud") ? 1 : 0; }
int OxNoteItem::getSecondLayerIconType() const { return 2; }

void OxNoteItem::clearPieces() {
  qDeleteAll(m_notePieces);
  m_notePieces.clear();
}

void OxNoteItem::copyPiecesFrom(const OxNoteItem& other) {
  QList<NotePiece*> copies;
  copies.reserve(other.m_notePieces.size());
  for (const NotePiece* p : other.m_notePieces)
    if (p)
      copies.append(new NotePiece(*p));
  clearPieces();
  m_notePieces = copies;
  for (int i = 0; i < ATTypeCount; ++i)
    m_attachments[i] = other.m_attachments[i];
}

void OxNoteItem::setNotePieces(const QList<NotePiece*>& pieces) {
  for (NotePiece* old : qAsConst(m_notePieces))
    if (!pieces.contains(old))
      delete old;
  m_notePieces = pieces;
}

OxNoteItem::ATType OxNoteItem::attachmentType(const QString& typeId) {
  if (typeId == QLatin1String("public.jpeg"))
    return ATPhoto;
  if (typeId == QLatin1String("com.apple.notes.sketch") || typeId == QLatin1String("com.apple.drawing") ||
      typeId == QLatin1String("com.apple.drawing.2"))
    return ATSketch;
  if (typeId == QLatin1String("com.apple.quicktime-movie"))
    return ATMovie;
  if (typeId == QLatin1String("com.apple.notes.gallery"))
    return ATGallery;
  return ATOther;
}

void OxNoteItem::addAttachment(const QString& typeId) { ++m_attachments[attachmentType(typeId)]; }

int OxNoteItem::attachmentCount(ATType type) const {
  return (type >= 0 && type < ATTypeCount) ? m_attachments[type] : 0;
}

int OxNoteItem::attachmentCount() const {
  int total = 0;
  for (int n : m_attachments)
    total += n;
  return total;
}

QString OxNoteItem::getATText() const {
  const int total = attachmentCount();
  if (total == 0)
    return translateNote("No additional text");
  int kinds = 0;
  ATType only = ATOther;
  for (int i = 0; i < ATTypeCount; ++i) {
    if (m_attachments[i] > 0) {
      ++kinds;
      only = static_cast<ATType>(i);
    }
  }
  auto counted = [total](const char* one, const char* many) {
    return total == 1 ? translateNote(one) : translateNote(many).arg(total);
  };
  if (kinds == 1) {
    switch (only) {
    case ATSketch: return translateNote("Handwritten note");
    case ATGallery: return counted("1 scanned document", "%1 scanned documents");
    case ATMovie: return counted("1 video", "%1 videos");
    case ATPhoto: return counted("1 photo", "%1 photos");
    default: break;
    }
  }
  return counted("1 attachment", "%1 attachments");
}

void OxNoteItem::copyFull(const OxNoteItem* other) {
  if (other && other != this)
    *this = *other;
}

void OxNoteItem::onChangeDetailContent(const OxNoteItem* other) {
  if (!other || other == this)
    return;
  setValue(other->value(ColNotes), ColNotes);
  copyPiecesFrom(*other);
}

QString OxNoteItem::localStoreName(const QString& deviceType) {
  if (deviceType.contains(QLatin1String("iPod"), Qt::CaseInsensitive))
    return translateNote("On My iPod touch");
  if (deviceType.contains(QLatin1String("iPad"), Qt::CaseInsensitive))
    return translateNote("On My iPad");
  return translateNote("On My iPhone");
}

void OxNoteItem::updateLocationByDeviceType(const QString& deviceType) {
  setValue(localStoreName(deviceType), ColLocation);
}

#pragma once
// OxNoteItem: one note.
//
// Five value columns, all shown (dataColumn() is 5): 0 Title, 1 Date (the
// modification time; its sort key orders the list, newest first), 2 Location
// (the account: "iCloud", an account name, or the device's local store such
// as "On My iPhone"), 3 Folder, 4 Notes (the plain text).
//
// The host's category tree: first layer the account (column 2), second layer
// the folder (column 3). The first-layer icon type is 1 for the iCloud account
// and 0 for every other; the second-layer icon type is always 2.
//
// The body is an ordered list of NotePiece records (text runs and
// attachments) that the item owns: setNotePieces deletes the pieces it
// replaces, and copies of an item copy the pieces (each item owns its own).
// addAttachment counts the note's attachments by kind for getATText().
#include "model/oxabstractitem.h"

#include <QImage>
#include <QList>
#include <QString>

class SHERD_EXPORT OxNoteItem : public OxAbstractItem {
public:
  enum Column { ColTitle = 0, ColDate, ColLocation, ColFolder, ColNotes, ColumnCount };

  // Kinds of attachment a note can hold, from the type identifier the notes
  // store gives it.
  enum ATType {
    ATOther = 0,   // any identifier not listed below
    ATPhoto,       // public.jpeg
    ATSketch,      // com.apple.notes.sketch, com.apple.drawing, com.apple.drawing.2
    ATMovie,       // com.apple.quicktime-movie
    ATGallery,     // com.apple.notes.gallery (scanned documents)
    ATTypeCount
  };

  // One run of a note's body.
  struct SHERD_EXPORT NotePiece {
    enum Kind { Text = 0, Attachment = 1 };
    int kind = Text;
    QString content;   // the text of a text run; the local image of an attachment
    QString name;      // the attachment's file name
    QString moviePath; // the movie of a video attachment
    QImage thumbnail;  // a small picture of the attachment
    // Raw fields of a piece of the modern notes store.
    QString typeId;
    QString text;
    QString pieceName;
    QString previewId;
    QString mediaId;
  };

  OxNoteItem();
  OxNoteItem(const OxNoteItem& other);
  OxNoteItem& operator=(const OxNoteItem& other);
  ~OxNoteItem() override;

  // A new heap item; null if allocation fails.
  static OxNoteItem* createItem();

  int dataColumn() const override;
  QString columnName(int column) const override;
  QString getTreeFirstLayerName() const override;
  QString getTreeSecondLayerName() const override;
  int getFirstLayerIconType() const override;
  int getSecondLayerIconType() const override;

  const QList<NotePiece*>& notePieces() const { return m_notePieces; }
  // Takes the pieces (owned from now on); the previous ones are deleted,
  // except those that are also in the new list.
  void setNotePieces(const QList<NotePiece*>& pieces);

  // Counts one attachment of the given type identifier.
  void addAttachment(const QString& typeId);
  static ATType attachmentType(const QString& typeId);
  int attachmentCount(ATType type) const;
  int attachmentCount() const;
  // A one-line summary of the attachments: "No additional text" without any;
  // when they are all of one kind, that kind's text ("Handwritten note",
  // "%1 scanned documents", "%1 videos", "%1 photos", "%1 attachments", in
  // the singular for exactly one); mixed kinds give "%1 attachments" with the
  // total.
  QString getATText() const;

  // Makes this item a full copy of other: values, keys, size, flags, pieces
  // (copied) and attachment counts. Null is ignored.
  void copyFull(const OxNoteItem* other);
  // Takes over other's body: its text column, pieces (copied) and attachment
  // counts, as when a locked note's content becomes readable. Null is ignored.
  void onChangeDetailContent(const OxNoteItem* other);

  // Sets the location column to the name of the device's local note store,
  // chosen from the device type text, case ignored: "iPod" gives "On My iPod
  // touch", else "iPad" gives "On My iPad", else "On My iPhone".
  void updateLocationByDeviceType(const QString& deviceType);
  static QString localStoreName(const QString& deviceType);

private:
  void clearPieces();
  void copyPiecesFrom(const OxNoteItem& other);

  QList<NotePiece*> m_notePieces;
  int m_attachments[ATTypeCount] = {0, 0, 0, 0, 0};
};

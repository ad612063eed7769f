#pragma once
// OxFileItem: one media file (a photo, a video, a recording) or a folder of
// them, as the media and voicemail readers list them.
//
// Four value columns under the call list's headers and translation context
// (the voicemail files share the call-history list): 0 Name, 1 Phone, 2 Date,
// 3 Location. A file item knows its folder item (parentItem, not owned) and
// its extracted file (filePath).
//
// The file type uses FileFilterConfiguration::getFileType's numbering: 0
// image, 1 video, 2 audio, 3 other, 4 folder, 5 contact card.
//
// Thumbnails: thumbnail() gives the loaded picture, or the default one when
// none is loaded. The item keeps its own copy of a picture given to
// setThumbnail; the default picture is shared by many items and stays the
// caller's (it must outlive the item).
#include "model/oxabstractitem.h"

#include <QByteArray>
#include <QDateTime>
#include <QImage>
#include <QString>

class SHERD_EXPORT OxFileItem : public OxAbstractItem {
public:
  enum Column { ColName = 0, ColPhone, ColDate, ColLocation, ColumnCount };
  enum FileType { FileImage = 0, FileVideo = 1, FileAudio = 2, FileOther = 3, FileFolder = 4, FileContact = 5 };

  // What the host's detail panel shows of a file, filled as it is read.
  struct DetailInfo {
    QDateTime dateTime; // when the picture or recording was taken
    QString location;   // a place text, when the file carries one
    int width = 0;      // pixels, for pictures and videos
    int height = 0;
    qint64 duration = 0; // seconds, for videos and recordings
  };

  OxFileItem();
  explicit OxFileItem(int fileType);
  OxFileItem(const OxFileItem& other);
  OxFileItem& operator=(const OxFileItem& other);
  ~OxFileItem() override;

  // New heap items; null if allocation fails.
  static OxFileItem* createItem();
  static OxFileItem* createItem(int fileType);

  QString columnName(int column) const override;
  QString getTreeFirstLayerName() const override { return m_treeFirstLayerName; }
  void setTreeFirstLayerName(const QString& name) { m_treeFirstLayerName = name; }
  OxAbstractItem* parentItem() override { return m_parent; }
  void setParentItem(OxAbstractItem* parent) override { m_parent = parent; }
  QString filePath() const override { return m_filePath; }
  void setFilePath(const QString& path) override { m_filePath = path; }

  int fileType() const { return m_fileType; }
  void setFileType(int type) { m_fileType = type; }
  bool isImage() const { return m_fileType == FileImage; }
  bool isVideo() const { return m_fileType == FileVideo; }
  bool isAudio() const { return m_fileType == FileAudio; }
  bool isFolder() const { return m_fileType == FileFolder; }

  QByteArray fileData() const { return m_fileData; }
  void setFileData(const QByteArray& data) { m_fileData = data; }
  QString thumbFilePath() const { return m_thumbFilePath; }
  void setThumbFilePath(const QString& path) { m_thumbFilePath = path; }

  // The loaded thumbnail, else the default one, else a null image.
  QImage thumbnail() const;
  // Copies the picture (null clears it) and marks the thumbnail loaded when
  // the picture is not null.
  void setThumbnail(const QImage* image);
  // The shared default picture; not owned.
  void setThumbnailDefault(const QImage* image) { m_defaultThumbnail = image; }
  bool thumbnailLoaded() const { return m_thumbnailLoaded; }
  void setThumbnailLoaded(bool loaded) { m_thumbnailLoaded = loaded; }
  bool isThumbNeedRead() const { return m_thumbNeedRead; }
  void setThumbNeedRead(bool need) { m_thumbNeedRead = need; }
  bool isThumbToMedia() const { return m_thumbToMedia; }
  void setThumbToMedia(bool toMedia) { m_thumbToMedia = toMedia; }

  DetailInfo& detailInfoToUpdate() { return m_detailInfo; }
  const DetailInfo& detailInfo() const { return m_detailInfo; }
  QDateTime getDetailInfoDateTime() const { return m_detailInfo.dateTime; }

private:
  int m_fileType = FileOther;
  QString m_filePath;
  OxAbstractItem* m_parent = nullptr;
  QByteArray m_fileData;
  QString m_thumbFilePath;
  QImage m_thumbnail;
  const QImage* m_defaultThumbnail = nullptr;
  bool m_thumbnailLoaded = false;
  bool m_thumbNeedRead = false;
  bool m_thumbToMedia = false;
  DetailInfo m_detailInfo;
  QString m_treeFirstLayerName;
};

#pragma once
// FileFilterConfiguration: which file-name extensions count as photos,
// videos, documents and audio when media files are collected and shown by
// category.
//
// One process-wide object (instance()), created on first use with built-in
// lists and never destroyed. init() lets an INI settings file replace the
// lists group by group ("Photo", "Video", "Document", "Audio"; the key names
// carry no meaning, the values are the extensions).
//
// Traps worth knowing:
//  - Extensions are kept upper case without the dot, but a settings file's
//    values are taken as they stand: a lower-case entry never matches, since
//    getFileType compares exactly against the upper-cased extension.
//  - getFileType answers from the process-wide object's lists, whatever
//    object it is called on, and never consults the document list: anything
//    that is not a photo, audio, video or contact card is 3.
//  - The document list holds "XLX" and no "XLS"; the host's categories rely on
//    the list as it is.
#include "platform/common/sherdglobal.h"

#include <QString>
#include <QStringList>

class SHERD_EXPORT FileFilterConfiguration {
public:
  enum FileType { Photo = 0, Video = 1, Audio = 2, Other = 3, Folder = 4, ContactCard = 5 };

  static FileFilterConfiguration* instance();

  FileFilterConfiguration(const FileFilterConfiguration& other);
  FileFilterConfiguration& operator=(const FileFilterConfiguration& other);
  ~FileFilterConfiguration();

  // Reads the settings file at path when one exists (nothing changes
  // otherwise); a group with at least one key replaces that list. The joined
  // lists are rebuilt afterwards.
  void init(const QString& path);

  // 0 photo, 2 audio, 1 video (tested in this order), 5 for "VCF", else 3.
  int getFileType(const QString& path) const;

  QStringList& photoFilter() { return m_photo; }
  QStringList& videoFilter() { return m_video; }
  QStringList& documentFilter() { return m_document; }
  QStringList& audioFilter() { return m_audio; }
  // Every list joined: photo, video, document, audio.
  QStringList& appAllFilter() { return m_appAll; }
  QStringList& iPhoneAllFilter() { return m_iPhoneAll; }

private:
  FileFilterConfiguration();
  void rebuildJoined();

  QStringList m_photo;
  QStringList m_video;
  QStringList m_document;
  QStringList m_audio;
  QStringList m_appAll;
  QStringList m_iPhoneAll;
};

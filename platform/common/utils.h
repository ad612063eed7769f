#pragma once
// Where sherd keeps its scratch files, and where backups live on this host.
#include "platform/common/sherdglobal.h"

#include <QImage>
#include <QString>
#include <QStringList>

class SHERD_EXPORT Utils {
public:
  // The process's temporary root, ending with '/': one folder per process under
  // the system temporary folder (or under $SHERD_TEMP when set), created on the
  // first call and removed with everything in it when the process ends. Readers
  // append a word of their own ("Whatsapp", "Notes", ...) directly to it.
  // Empty when the folder cannot be created.
  static QString tempPath();

  // Whether path (existing or not) lies inside the temporary root, or is the
  // root itself. Resolves "..", and links of the part of the path that exists.
  static bool isInsideTempPath(const QString& path);

  // The folders that hold device backups on this host, most likely first:
  // $SHERD_BACKUP_ROOT alone when it is set; otherwise the host's usual
  // folders (both iTunes folders on Windows, MobileSync on macOS, and on other
  // hosts the folder where idevicebackup2 backups are usually kept).
  static QStringList backupRoots();

  // image, loaded from the file at path, turned the way the file says it is
  // meant to be seen: photos from a camera are stored as the sensor read them
  // and carry an orientation tag (EXIF in JPEG and HEIF) instead of being
  // turned. All eight orientations are applied (mirror or flip first, then a
  // quarter turn clockwise). image itself when the file has no tag, the format
  // keeps none, or the file cannot be read.
  static QImage transformed(const QImage& image, const QString& path);
};

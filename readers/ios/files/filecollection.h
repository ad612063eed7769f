#pragma once
// CFileCollection: data kept as plain files in the backup rather than in a
// database (recordings, pictures). It walks the backup's file records, takes
// those of one domain under one folder with one of a set of extensions,
// extracts each to a local file under the temporary root and appends an
// OxFileItem for it.
//
// A subclass sets the extensions (without dot; compared with case ignored)
// and the target list. An empty domain accepts every domain; the folder is a
// case-sensitive prefix of the relative path, so files in its subfolders count
// too. Empty files are never listed.
#include "backup/cidatacollection.h"

#include <QString>
#include <QStringList>

class OxData;
class OxFileItem;
class QFileInfo;
struct BackupFileRecord;

class CFileCollection : public CIDataCollection {
public:
  CFileCollection(const QString& domain, const QString& pathPrefix);
  ~CFileCollection() override;

  void load(MobileBackup* backup) override;

  // Appends an item for the extracted file of the record; false when the
  // extension is not accepted or the file is empty.
  virtual bool addFile(const QFileInfo& extracted, const BackupFileRecord& record);

  // Whether the file name has one of the accepted extensions.
  bool accepts(const QString& fileName) const;

  // Where the extracted files go: the temporary root followed by this word.
  static QString extractFolderName() { return QStringLiteral("Files"); }

protected:
  // Called with each item before it is appended; the base does nothing.
  virtual void fillItem(OxFileItem* item, const BackupFileRecord& record);

  QStringList m_extensions;
  OxData* m_list = nullptr; // not owned
  QString m_domain;
  QString m_pathPrefix;
};

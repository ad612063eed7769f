#include "readers/ios/files/filecollection.h"

#include "model/filefilterconfiguration.h"
#include "model/oxdata.h"
#include "model/oxfileitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"

#include <QFileInfo>

namespace {
const char kModule[] = "iTunesBackup";
} // namespace

CFileCollection::CFileCollection(const QString& domain, const QString& pathPrefix)
    : m_domain(domain), m_pathPrefix(pathPrefix) {}

CFileCollection::~CFileCollection() = default;

void CFileCollection::load(MobileBackup* backup) {
  if (!backup || !m_list)
    return;
  const int count = backup->fileCount();
  if (count <= 0)
    return;
  const QString root = Utils::tempPath() + extractFolderName();
  for (int i = 0; i < count; ++i) {
    if (!reportProgress(0))
      break;
    const BackupFileRecord record = backup->fileAt(i);
    if (!m_domain.isEmpty() && record.domain != m_domain)
      continue;
    if (!record.relativePath.startsWith(m_pathPrefix) || !accepts(record.fileName()))
      continue;
    // One folder per record's folder, so that equal names in two subfolders
    // do not overwrite each other.
    const QString folder =
        root + QLatin1Char('/') + record.domain + QLatin1Char('/') + QFileInfo(record.relativePath).path();
    const QString copy = backup->extractFile(i, folder);
    if (copy.isEmpty() || !QFileInfo::exists(copy)) {
      Log(kModule, 0, "The file %s of %s is missing from the backup", record.relativePath.toUtf8().constData(),
          record.domain.toUtf8().constData());
      continue;
    }
    addFile(QFileInfo(copy), record);
  }
}

bool CFileCollection::accepts(const QString& fileName) const {
  const int dot = fileName.lastIndexOf(QLatin1Char('.'));
  return dot >= 0 && m_extensions.contains(fileName.mid(dot + 1), Qt::CaseInsensitive);
}

bool CFileCollection::addFile(const QFileInfo& extracted, const BackupFileRecord& record) {
  const QString fileName = record.fileName();
  if (!accepts(fileName))
    return false;
  if (extracted.size() < 1) {
    Log(kModule, 1, "Skipped the empty file %s", record.relativePath.toUtf8().constData());
    return false;
  }
  OxFileItem* item = OxFileItem::createItem(FileFilterConfiguration::instance()->getFileType(fileName));
  if (!item)
    return false;
  const QDateTime modified = CCommonUtils::buildDateTimeBaseUnix(record.modified);
  item->setValue(fileName, OxFileItem::ColName);
  item->setValue(CCommonUtils::datetimeToMinute(modified, true), OxFileItem::ColDate);
  item->setSortValue(modified, OxFileItem::ColDate);
  item->setValue(extracted.fileName(), OxFileItem::ColLocation);
  item->setFilePath(extracted.absoluteFilePath());
  item->setSize(quint64(extracted.size()));
  item->setTreeFirstLayerName(QStringLiteral("Voice Mail"));
  fillItem(item, record);
  m_list->append(item);
  return true;
}

void CFileCollection::fillItem(OxFileItem*, const BackupFileRecord&) {}

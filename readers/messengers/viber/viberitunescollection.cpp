#include "readers/messengers/viber/viberitunescollection.h"

#include "platform/backup/mobilebackup.h"

namespace {
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.viber.share.container");
const QString kAppDomain = QStringLiteral("AppDomain-com.viber");
const QString kDatabase = QStringLiteral("database/Contacts.data");
} // namespace

CViberiTunesCollection::CViberiTunesCollection(OxBackup* registry) : m_registry(registry) {}
CViberiTunesCollection::~CViberiTunesCollection() = default;

void CViberiTunesCollection::load(MobileBackup* backup) {
  m_backup = backup;
  m_copy.clear();
  scanFiles();
  if (isBuildingChats())
    readDatabase(m_registry, m_progress);
  if (m_calls)
    readCalls(m_calls);
}

void CViberiTunesCollection::scanFiles() {
  m_files.clear();
  if (!m_backup)
    return;
  const int count = m_backup->fileCount();
  for (int i = 0; i < count; ++i)
    scanRecord(i, m_backup->fileAt(i));
}

void CViberiTunesCollection::scanRecord(int index, const BackupFileRecord& record) {
  if (record.size <= 0)
    return;
  const QString& path = record.relativePath;
  QString key;
  if (record.domain == kGroupDomain) {
    const int at = path.indexOf(kDatabase);
    if (at >= 0) {
      key = path;
      // Only the database itself names the base folder, not its -wal or -shm.
      if (path.endsWith(kDatabase))
        setBaseFolder(path.left(at));
    } else if (path.contains(QLatin1String("ViberIcons/"))) {
      key = MessengerFiles::slashed(path);
    }
  } else if (record.domain == kAppDomain) {
    if (path.startsWith(QLatin1String("Documents/Attachments/")) ||
        path.startsWith(QLatin1String("Documents/Thumbnails/")))
      key = MessengerFiles::slashed(path);
  }
  if (!key.isEmpty())
    m_files.insert(key, index, record);
}

QString CViberiTunesCollection::dbFilePath(const QString& name) {
  // Chats and calls read the same copy.
  if (m_copy.isEmpty())
    m_copy = m_files.copyDatabase(m_backup, baseFolder() + name, QStringLiteral("Viber"));
  return m_copy;
}

QString CViberiTunesCollection::mediaFilePath(const QString& path) { return m_files.localPath(m_backup, path); }

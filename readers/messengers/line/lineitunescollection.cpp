#include "readers/messengers/line/lineitunescollection.h"

#include "platform/backup/mobilebackup.h"

namespace {
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.com.linecorp.line");
const QString kAppDomain = QStringLiteral("AppDomain-jp.naver.line");
const QString kDatabase = QStringLiteral("Line.sqlite");

QString slashed(const QString& path) { return MessengerFiles::slashed(path); }
} // namespace

CLineiTunesCollection::CLineiTunesCollection(OxBackup* registry) : m_registry(registry) {}
CLineiTunesCollection::~CLineiTunesCollection() = default;

void CLineiTunesCollection::load(MobileBackup* backup) {
  m_backup = backup;
  scanFiles();
  readDatabase(m_registry, m_progress);
}

void CLineiTunesCollection::scanFiles() {
  m_files.clear();
  if (!m_backup)
    return;
  const int count = m_backup->fileCount();
  for (int i = 0; i < count; ++i)
    scanRecord(i, m_backup->fileAt(i));
}

void CLineiTunesCollection::scanRecord(int index, const BackupFileRecord& record) {
  if (record.size <= 0)
    return;
  const QString& path = record.relativePath;
  QString key;
  if (record.domain == kGroupDomain) {
    if (path.contains(kDatabase)) {
      key = path;
      // Only the database itself names the base folder, not its -wal or -shm.
      if (path.endsWith(kDatabase))
        setBaseFolder(QString(path).replace(QStringLiteral("Messages/Line.sqlite"), QString()));
    } else if (path.contains(QLatin1String("/Message Thumbnails/")) ||
               slashed(path).contains(QLatin1String("/Message Thumbnails/"))) {
      key = slashed(path);
    }
  } else if (record.domain == kAppDomain) {
    const QString p = slashed(path);
    if (p.contains(QLatin1String("/Message Attachments/")) || p.contains(QLatin1String("/Owned Sticons/packages/")) ||
        p.contains(QLatin1String("/LineAlbumData/")))
      key = p;
  }
  if (!key.isEmpty())
    m_files.insert(key, index, record);
}

QString CLineiTunesCollection::dbFilePath(const QString& name) {
  return m_files.copyDatabase(m_backup, baseFolder() + QStringLiteral("Messages/%1").arg(name), QStringLiteral("Line"));
}

QString CLineiTunesCollection::mediaFilePath(const QString& path) { return m_files.localPath(m_backup, path); }

QString CLineiTunesCollection::mediaFileName(const QString& key, int type) {
  const LineFileEntry* entry = m_files.find(key);
  return entry ? MessengerFiles::mediaFileName(entry->modified, type) : QString();
}

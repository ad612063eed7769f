#include "readers/messengers/line/lineitunescollection.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/utils.h"
#include "readers/messengers/kik/kikitunescollection.h"

namespace {
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.com.linecorp.line");
const QString kAppDomain = QStringLiteral("AppDomain-jp.naver.line");
const QString kDatabase = QStringLiteral("Line.sqlite");

QString slashed(const QString& path) {
  return path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path;
}
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
    m_files.insert(key, LineFileEntry{index, record.domain, record.relativePath, record.modified, record.size});
}

const LineFileEntry* CLineiTunesCollection::findFile(const QString& path) const {
  const auto it = m_files.constFind(slashed(path));
  return it == m_files.constEnd() ? nullptr : &it.value();
}

QString CLineiTunesCollection::dbFilePath(const QString& name) {
  const auto it = m_files.constFind(baseFolder() + QStringLiteral("Messages/%1").arg(name));
  if (it == m_files.constEnd() || !m_backup)
    return QString();
  return m_backup->generalSqlDbFile(Utils::tempPath() + QStringLiteral("Line"), it->domain, it->relativePath);
}

QString CLineiTunesCollection::mediaFilePath(const QString& path) {
  const LineFileEntry* entry = findFile(path);
  if (!entry || !m_backup)
    return QString();
  return m_backup->filePath(entry->index);
}

QString CLineiTunesCollection::mediaFileName(const QString& key, int type) {
  const LineFileEntry* entry = findFile(key);
  return entry ? CKikiTunesCollection::fileNameOf(entry->modified, type) : QString();
}

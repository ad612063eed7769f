#include "readers/messengers/messenger/messengeritunescollection.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "service/progress.h"

#include <QFileInfo>

namespace {
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.com.facebook.Messenger");
const QString kAppDomain = QStringLiteral("AppDomain-com.facebook.Messenger");
const QString kLightspeed = QStringLiteral("lightspeed-userDatabases/");
const QString kMediaCache = QStringLiteral("lightspeed-TAMStorage/");
const QString kOrca = QStringLiteral("orca2.db");

bool isDatabase(const QString& path, const QString& name) {
  return path.endsWith(name) || path.endsWith(name + QStringLiteral("-wal")) ||
         path.endsWith(name + QStringLiteral("-shm"));
}
} // namespace

CMessengeriTunesCollection::CMessengeriTunesCollection(OxBackup* registry) : m_registry(registry) {}
CMessengeriTunesCollection::~CMessengeriTunesCollection() = default;

void CMessengeriTunesCollection::load(MobileBackup* backup) {
  m_backup = backup;
  scanFiles();
  const QStringList stores = databases();
  const int share = m_progress && !stores.isEmpty() ? m_progress->range() / stores.size() : 100;
  for (const QString& store : stores) {
    CSubProgress stage(m_progress, share);
    const QString copy = dbFilePath(store);
    if (copy.isEmpty()) {
      Log("Messenger", 0, "Cannot copy %s out of the backup", store.toUtf8().constData());
      continue;
    }
    readDatabase(m_registry, &stage, copy);
    if (!stage.finish())
      return;
  }
}

QStringList CMessengeriTunesCollection::databases() const {
  QStringList lightspeed;
  QStringList orca;
  for (auto it = m_files.map().constBegin(); it != m_files.map().constEnd(); ++it) {
    if (it.key().contains(kLightspeed) && it.key().endsWith(QLatin1String(".db")))
      lightspeed << it.key();
    else if (it.key().endsWith(kOrca))
      orca << it.key();
  }
  return lightspeed.isEmpty() ? orca : lightspeed;
}

void CMessengeriTunesCollection::scanFiles() {
  m_files.clear();
  m_byName.clear();
  if (!m_backup)
    return;
  const int count = m_backup->fileCount();
  for (int i = 0; i < count; ++i)
    scanRecord(i, m_backup->fileAt(i));
}

void CMessengeriTunesCollection::scanRecord(int index, const BackupFileRecord& record) {
  if (record.size <= 0 || (record.domain != kGroupDomain && record.domain != kAppDomain))
    return;
  const QString& path = record.relativePath;
  if ((path.contains(kLightspeed) && isDatabase(path, QStringLiteral(".db"))) || isDatabase(path, kOrca)) {
    m_files.insert(path, index, record);
  } else if (path.contains(kMediaCache)) {
    const QString key = MessengerFiles::slashed(path);
    m_files.insert(key, index, record);
    m_byName.insert(QFileInfo(path).fileName(), key);
  }
}

QString CMessengeriTunesCollection::dbFilePath(const QString& name) {
  return m_files.copyDatabase(m_backup, name, QStringLiteral("Messenger"));
}

QString CMessengeriTunesCollection::mediaFilePath(const QString& path) { return m_files.localPath(m_backup, path); }

QString CMessengeriTunesCollection::cachedMediaPath(const QString& fileName) {
  const auto it = m_byName.constFind(QFileInfo(fileName).fileName());
  return it == m_byName.constEnd() ? QString() : mediaFilePath(*it);
}

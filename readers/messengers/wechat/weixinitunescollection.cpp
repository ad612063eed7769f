#include "readers/messengers/wechat/weixinitunescollection.h"

#include "platform/backup/mobilebackup.h"

#include <QFileInfo>

namespace {
const QString kDomain = QStringLiteral("AppDomain-com.tencent.xin");
} // namespace

CWeixiniTunesCollection::CWeixiniTunesCollection(OxBackup* registry) : m_registry(registry) {}
CWeixiniTunesCollection::~CWeixiniTunesCollection() = default;

void CWeixiniTunesCollection::load(MobileBackup* backup) {
  m_backup = backup;
  scanFiles();
  readWeixin(m_registry, m_progress, this);
}

void CWeixiniTunesCollection::scanFiles() {
  m_files.clear();
  if (!m_backup)
    return;
  const int count = m_backup->fileCount();
  for (int i = 0; i < count; ++i) {
    const BackupFileRecord record = m_backup->fileAt(i);
    if (record.size > 0 && record.domain == kDomain)
      m_files.insert(MessengerFiles::slashed(record.relativePath), i, record);
  }
}

QStringList CWeixiniTunesCollection::files() {
  QStringList paths;
  paths.reserve(m_files.size());
  for (const MessengerFileEntry& e : m_files.map())
    paths << e.relativePath;
  return paths;
}

QString CWeixiniTunesCollection::localPath(const QString& relativePath) {
  return m_files.localPath(m_backup, relativePath);
}

QString CWeixiniTunesCollection::databasePath(const QString& relativePath) {
  return m_files.copyDatabase(m_backup, MessengerFiles::slashed(relativePath),
                              QStringLiteral("Weixin/") + QFileInfo(relativePath).path());
}

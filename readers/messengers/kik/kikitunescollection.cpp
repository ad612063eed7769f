#include "readers/messengers/kik/kikitunescollection.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "service/progress.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>

namespace {
const char kModule[] = "Kik";
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.com.kik.chat");
const QString kAppDomain = QStringLiteral("AppDomain-com.kik.chat");
const QString kDatabase = QStringLiteral("kik.sqlite");
const QString kDataCache = QStringLiteral("/content_manager/data_cache/");
const QString kAttachments = QStringLiteral("/attachments/");
// How much of a file is read to tell its type.
const qint64 kHeaderProbe = 32;

QString slashed(const QString& path) { return MessengerFiles::slashed(path); }

QByteArray headerOf(const QString& path, bool* opened) {
  QFile file(path);
  *opened = !path.isEmpty() && file.open(QIODevice::ReadOnly);
  return *opened ? file.read(kHeaderProbe).toUpper() : QByteArray();
}
} // namespace

CKikiTunesCollection::CKikiTunesCollection(OxBackup* registry) : m_registry(registry) {}
CKikiTunesCollection::~CKikiTunesCollection() = default;

void CKikiTunesCollection::load(MobileBackup* backup) {
  m_backup = backup;
  scanFiles();
  const int share = m_progress ? int(m_progress->range() * 0.5) : 100;
  CSubProgress readStage(m_progress, share);
  CSubProgress attachmentStage(m_progress, share);
  readDatabase(m_registry, &readStage);
  attachmentPass(&attachmentStage);
}

void CKikiTunesCollection::scanFiles() {
  m_files.clear();
  m_attachmentTypes.clear();
  m_attachmentThumbs.clear();
  if (!m_backup)
    return;
  const int count = m_backup->fileCount();
  for (int i = 0; i < count; ++i) {
    if (!scanRecord(i, m_backup->fileAt(i)))
      break;
  }
}

bool CKikiTunesCollection::scanRecord(int index, const BackupFileRecord& record) {
  if (record.size <= 0)
    return false;
  const QString& path = record.relativePath;
  QString key;
  if (record.domain == kGroupDomain) {
    if (path.contains(kDatabase)) {
      key = path;
      // Only the database itself names the base folder, not its -wal or -shm.
      if (path.endsWith(kDatabase))
        setBaseFolder(QString(path).replace(kDatabase, QString()));
    } else if (path.contains(kDataCache) || path.contains(kAttachments) ||
               path.contains(QLatin1String("/smiley_storage/")) || path.contains(QLatin1String("profpix/thumb_"))) {
      key = slashed(path);
    }
  } else if (record.domain == kAppDomain) {
    if (path.startsWith(QLatin1String("Documents/")) && !path.endsWith(QLatin1String(".plist")) &&
        !path.endsWith(QLatin1String(".sqlite")))
      key = path;
  }
  if (!key.isEmpty())
    m_files.insert(key, index, record);
  return true;
}

QString CKikiTunesCollection::dbFilePath(const QString& name) {
  return m_files.copyDatabase(m_backup, baseFolder() + name, QStringLiteral("Kiki"));
}

QString CKikiTunesCollection::mediaFilePath(const QString& path) { return m_files.localPath(m_backup, path); }

QString CKikiTunesCollection::mediaFileName(const QString& key, int type) {
  const KikFileEntry* entry = m_files.find(key);
  return entry ? MessengerFiles::mediaFileName(entry->modified, type) : QString();
}

void CKikiTunesCollection::registerAttachment(const QString& attachmentPath, const QString& dataCachePath,
                                              int type) {
  const QString key = slashed(dataCachePath);
  m_attachmentTypes.insert(key, type);
  m_attachmentThumbs.insert(key, slashed(attachmentPath));
}

int CKikiTunesCollection::typeOfHeader(const QByteArray& header) {
  const QByteArray upper = header.toUpper();
  if (upper.contains("PNG") || upper.contains("JFIF") || upper.contains("EXIF") || upper.contains("HEIC"))
    return 1;
  if (upper.contains("MP4"))
    return 2;
  return 8;
}

void CKikiTunesCollection::attachmentPass(CIProgressCallback* progress) {
  const int total = m_files.size() + m_attachmentThumbs.size();
  const double step = total > 0 ? double(progress->range()) / double(total) : 0.0;
  Log(kModule, 2, "makeAttachmentData data_cache Thumb size : %d", int(m_attachmentThumbs.size()));

  for (auto it = m_files.map().constBegin(); it != m_files.map().constEnd(); ++it) {
    if (!progress->progress(step))
      return;
    const QString& key = it.key();
    if (!key.contains(kDataCache)) {
      bool opened = false;
      const QString path = mediaFilePath(key);
      const int type = typeOfHeader(headerOf(path, &opened));
      addMediaFile(m_registry, mediaFileName(key, type), path, it->size, QString());
      continue;
    }
    int type = m_attachmentTypes.value(key, 1);
    QString thumb;
    const QString path = mediaFilePath(key);
    const auto registered = m_attachmentThumbs.find(key);
    if (registered != m_attachmentThumbs.end()) {
      thumb = mediaFilePath(*registered);
      m_attachmentThumbs.erase(registered);
    } else {
      bool opened = false;
      const QByteArray header = headerOf(path, &opened);
      if (!opened)
        continue;
      if (header.contains("MP4")) {
        type = 2;
        thumb = mediaFilePath(QString(key).replace(kDataCache, kAttachments));
      }
    }
    addMediaFile(m_registry, mediaFileName(key, type), path, it->size, thumb);
    Log(kModule, 2, "strKey : %s", key.toUtf8().constData());
    Log(kModule, 2, "strFilePath : %s", path.toUtf8().constData());
    Log(kModule, 2, "strThumb : %s", thumb.toUtf8().constData());
  }

  // Descriptors whose full file the pass did not meet.
  for (auto it = m_attachmentThumbs.constBegin(); it != m_attachmentThumbs.constEnd(); ++it) {
    if (!progress->progress(step))
      return;
    const KikFileEntry* entry = m_files.find(it.key());
    if (entry) {
      const QString thumb = mediaFilePath(it.key());
      addMediaFile(m_registry, mediaFileName(it.key(), 1), QString(), entry->size, thumb);
      Log(kModule, 2, "makeAttachmentData strThumbPath : %s", thumb.toUtf8().constData());
    }
    Log(kModule, 2, "strThumb : %s", it.key().toUtf8().constData());
  }
}

void CKikiTunesCollection::addMediaFile(OxBackup*, const QString&, const QString&, qint64, const QString&) {}

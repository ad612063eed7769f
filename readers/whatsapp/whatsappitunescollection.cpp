#include "readers/whatsapp/whatsappitunescollection.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "service/progress.h"

#include <QFileInfo>
#include <QLocale>

namespace {
const char kModule[] = "iTunesBackup";
const QString kGroupDomain = QStringLiteral("AppDomainGroup-group.net.whatsapp.WhatsApp.shared");
const QString kAppDomain = QStringLiteral("AppDomain-net.whatsapp.WhatsApp");

QString withSlash(const QString& path) {
  return path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path;
}
} // namespace

CWhatsappiTunesCollection::CWhatsappiTunesCollection(OxBackup* registry) : m_registry(registry) {}
CWhatsappiTunesCollection::~CWhatsappiTunesCollection() = default;

void CWhatsappiTunesCollection::load(MobileBackup* backup) {
  m_backup = backup;
  if (!backup) {
    Log(kModule, 0, "WhatsApp: no backup to read");
    return;
  }
  buildFileIndex();
  const int share = m_progress ? int(m_progress->range() * 0.5) : 100;
  CSubProgress mediaStage(m_progress, share);
  CSubProgress databaseStage(m_progress, share);
  mediaPass(&mediaStage);
  readDatabase(m_registry, &databaseStage, QString());
}

void CWhatsappiTunesCollection::buildFileIndex() {
  m_fileIndex.clear();
  if (!m_backup)
    return;
  const int count = m_backup->fileCount();
  for (int i = 0; i < count; ++i) {
    const BackupFileRecord record = m_backup->fileAt(i);
    if (record.size < 1)
      continue;
    QString key;
    if (record.domain == kGroupDomain) {
      if (record.relativePath == QLatin1String("ChatStorage.sqlite"))
        key = QStringLiteral("/Documents/ChatStorage.sqlite");
      else if (record.relativePath.contains(QLatin1String("Media/")) ||
               record.relativePath.contains(QLatin1String("gif/")))
        key = withSlash(record.relativePath);
    } else if (record.domain == kAppDomain) {
      key = withSlash(record.relativePath);
    }
    if (key.isEmpty())
      continue;
    WAFileEntry& entry = m_fileIndex[key]; // a later record wins
    entry.index = i;
    entry.domain = record.domain;
    entry.relativePath = record.relativePath;
    entry.modified = record.modified;
    entry.size = record.size;
  }
}

QString CWhatsappiTunesCollection::aliasOf(const QString& key) {
  if (key.startsWith(QLatin1String("/Library/Media/")))
    return key.mid(int(sizeof("/Library") - 1));
  if (key.startsWith(QLatin1String("/Message/Media/")))
    return key.mid(int(sizeof("/Message") - 1));
  return key;
}

void CWhatsappiTunesCollection::mediaPass(CIProgressCallback* progress) {
  m_aliases.clear();
  const double step =
      (m_fileIndex.isEmpty() || !progress) ? 0.0 : double(progress->range()) / m_fileIndex.size();
  for (auto it = m_fileIndex.constBegin(); it != m_fileIndex.constEnd(); ++it) {
    if (progress && !progress->progress(step))
      return;
    const QString alias = aliasOf(it.key());
    m_aliases.insert(alias, it.key()); // a later key with the same alias wins
    if (it.key().endsWith(QLatin1String(".thumb")))
      continue;
    // The hook takes the file as the database names it: asking the backup for
    // a local copy here would decrypt every media file of an encrypted backup,
    // while the chats need the thumbnails only.
    addMediaFile(m_registry, mediaFileName(alias, alias), alias, it.value().size);
  }
}

const WAFileEntry* CWhatsappiTunesCollection::findFile(const QString& path) const {
  QString key = withSlash(path);
  const auto alias = m_aliases.constFind(key);
  if (alias != m_aliases.constEnd())
    key = alias.value();
  const auto entry = m_fileIndex.constFind(key);
  return entry == m_fileIndex.constEnd() ? nullptr : &entry.value();
}

QString CWhatsappiTunesCollection::dbFilePath(const QString& name) {
  const auto entry = m_fileIndex.constFind(QStringLiteral("/Documents/%1").arg(name));
  if (entry == m_fileIndex.constEnd() || !m_backup)
    return QString();
  return m_backup->generalSqlDbFile(Utils::tempPath() + QStringLiteral("Whatsapp"), entry->domain,
                                    entry->relativePath);
}

QString CWhatsappiTunesCollection::mediaFilePath(const QString& path) {
  const WAFileEntry* entry = findFile(path);
  if (!entry || !m_backup)
    return QString();
  return m_backup->filePath(entry->index);
}

QString CWhatsappiTunesCollection::mediaFileName(const QString& path, const QString& source) {
  const WAFileEntry* entry = findFile(path);
  if (!entry)
    return QString();
  const QDateTime modified = CCommonUtils::buildDateTimeBaseUnix(entry->modified);
  QString suffix = QFileInfo(source).suffix();
  if (suffix == QLatin1String("mp4"))
    suffix = QStringLiteral("MOV");
  return QStringLiteral("%1.%2").arg(QLocale::system().toString(modified, QLocale::ShortFormat), suffix);
}

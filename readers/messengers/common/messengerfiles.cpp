#include "readers/messengers/common/messengerfiles.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/utils.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLocale>

void MessengerFiles::insert(const QString& key, int index, const BackupFileRecord& record) {
  m_files.insert(key, MessengerFileEntry{index, record.domain, record.relativePath, record.modified, record.size});
}

const MessengerFileEntry* MessengerFiles::find(const QString& path) const {
  return findKey(slashed(path));
}

const MessengerFileEntry* MessengerFiles::findKey(const QString& key) const {
  const auto it = m_files.constFind(key);
  return it == m_files.constEnd() ? nullptr : &it.value();
}

QString MessengerFiles::localPath(MobileBackup* backup, const QString& path) const {
  const MessengerFileEntry* entry = find(path);
  if (!entry || !backup)
    return QString();
  return backup->filePath(entry->index);
}

QString MessengerFiles::copyDatabase(MobileBackup* backup, const QString& key, const QString& tempFolder) const {
  const MessengerFileEntry* entry = findKey(key);
  if (!entry || !backup)
    return QString();
  return backup->generalSqlDbFile(Utils::tempPath() + tempFolder, entry->domain, entry->relativePath);
}

QString MessengerFiles::slashed(const QString& path) {
  return path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path;
}

QString MessengerFiles::mediaFileName(quint32 modified, int type) {
  const QDateTime date = QDateTime::fromSecsSinceEpoch(qint64(modified), Qt::UTC);
  // Types without an extension keep the bare point.
  const QString ext = type == 1 ? QStringLiteral("jpg") : type == 2 ? QStringLiteral("MOV") : QString();
  return QStringLiteral("%1.%2").arg(QLocale::system().toString(date, QLocale::ShortFormat), ext);
}

int MessengerFiles::typeOfFileName(const QString& name) {
  static const QStringList pictures{QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("png"),
                                    QStringLiteral("heic"), QStringLiteral("gif"), QStringLiteral("webp")};
  static const QStringList videos{QStringLiteral("mp4"), QStringLiteral("mov"), QStringLiteral("m4v")};
  static const QStringList sounds{QStringLiteral("m4a"), QStringLiteral("aac"), QStringLiteral("mp3"),
                                  QStringLiteral("wav"), QStringLiteral("ogg"), QStringLiteral("opus")};
  const QString ext = QFileInfo(name).suffix().toLower();
  if (pictures.contains(ext))
    return 1;
  if (videos.contains(ext))
    return 2;
  if (sounds.contains(ext))
    return 3;
  return 8;
}

#include "readers/messengers/qq/qqitunescollection.h"

#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "service/progress.h"

#include <QRegularExpression>

#include <algorithm>

namespace {
const QString kDomain = QStringLiteral("AppDomain-com.tencent.mqq");

// Originals before other copies, thumbnails last.
int rank(const QString& path) {
  const QString lower = path.toLower();
  return lower.contains(QLatin1String("original")) ? 0 : lower.contains(QLatin1String("thumb")) ? 2 : 1;
}
} // namespace

CQQiTunesCollection::CQQiTunesCollection(OxBackup* registry) : m_registry(registry) {}
CQQiTunesCollection::~CQQiTunesCollection() = default;

void CQQiTunesCollection::load(MobileBackup* backup) {
  m_backup = backup;
  scanFiles();
  if (m_accounts.isEmpty()) {
    Log("iTunesBackup", 1, "No QQ database in the backup");
    return;
  }
  const int share = m_progress ? int(m_progress->range() / double(m_accounts.size())) : 100;
  for (int i = 0; i < m_accounts.size(); ++i) {
    CSubProgress stage(m_progress, share);
    setBaseFolder(QStringLiteral("Documents/contents/%1/").arg(m_accounts.at(i)));
    if (!readDatabase(m_registry, &stage, m_accounts.at(i), i + 1))
      return;
  }
}

void CQQiTunesCollection::scanFiles() {
  static const QRegularExpression dbRe(QStringLiteral("^Documents/contents/([0-9]+)/QQ\\.db$"));
  static const QRegularExpression userRe(QStringLiteral("^(Documents/[0-9]+/)(?:.*/)?([^/.]+)[^/]*$"));
  m_files.clear();
  m_accounts.clear();
  m_stems.clear();
  if (!m_backup)
    return;
  const int count = m_backup->fileCount();
  for (int i = 0; i < count; ++i) {
    const BackupFileRecord record = m_backup->fileAt(i);
    if (record.size <= 0 || record.domain != kDomain)
      continue;
    const QString& path = record.relativePath;
    m_files.insert(MessengerFiles::slashed(path), i, record);
    const QRegularExpressionMatch db = dbRe.match(path);
    if (db.hasMatch()) {
      m_accounts << db.captured(1);
      continue;
    }
    const QRegularExpressionMatch user = userRe.match(path);
    if (user.hasMatch())
      m_stems[user.captured(1) + QLatin1Char('|') + user.captured(2).toLower()] << path;
  }
  std::sort(m_accounts.begin(), m_accounts.end(),
            [](const QString& a, const QString& b) { return a.size() != b.size() ? a.size() < b.size() : a < b; });
  for (QStringList& paths : m_stems)
    std::stable_sort(paths.begin(), paths.end(), [](const QString& a, const QString& b) { return rank(a) < rank(b); });
}

QString CQQiTunesCollection::dbFilePath(const QString& name) {
  const QString key = MessengerFiles::slashed(baseFolder() + name);
  return m_files.copyDatabase(m_backup, key, QStringLiteral("QQ/") + baseFolder().section(QLatin1Char('/'), -2, -2));
}

QString CQQiTunesCollection::mediaFilePath(const QString& path) { return m_files.localPath(m_backup, path); }

QString CQQiTunesCollection::findFile(const QString& folder, const QString& stem) {
  const QStringList paths = m_stems.value(folder + QLatin1Char('|') + stem.toLower());
  return paths.isEmpty() ? QString() : mediaFilePath(paths.first());
}

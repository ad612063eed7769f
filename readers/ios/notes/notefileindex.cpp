#include "readers/ios/notes/notefileindex.h"

#include "platform/backup/mobilebackup.h"

#include <QFileInfo>

namespace {

bool isHex(QChar c) {
  const ushort u = c.unicode();
  return (u >= '0' && u <= '9') || (u >= 'a' && u <= 'f') || (u >= 'A' && u <= 'F');
}

// Whether a 36-character UUID (8-4-4-4-12 hex digits) starts at i.
bool uuidAt(const QString& s, int i) {
  if (i + 36 > s.size())
    return false;
  for (int k = 0; k < 36; ++k) {
    const QChar c = s.at(i + k);
    if (k == 8 || k == 13 || k == 18 || k == 23) {
      if (c != QLatin1Char('-'))
        return false;
    } else if (!isHex(c)) {
      return false;
    }
  }
  return true;
}

} // namespace

QString NoteFileIndex::firstUuid(const QString& text) {
  for (int i = 0; i + 36 <= text.size(); ++i)
    if (uuidAt(text, i))
      return text.mid(i, 36).toUpper();
  return QString();
}

void NoteFileIndex::build(MobileBackup* backup) {
  m_backup = backup;
  m_byDomain.clear();
  m_byToken.clear();
  if (!backup)
    return;
  const int n = backup->fileCount();
  for (int i = 0; i < n; ++i) {
    const BackupFileRecord r = backup->fileAt(i);
    m_byDomain[r.domain].append(i);
    const QString& p = r.relativePath;
    for (int k = 0; k + 36 <= p.size(); ++k) {
      if (!uuidAt(p, k))
        continue;
      QVector<int>& v = m_byToken[r.domain + QLatin1Char('\n') + p.mid(k, 36).toUpper()];
      if (v.isEmpty() || v.last() != i)
        v.append(i);
    }
  }
}

QVector<int> NoteFileIndex::find(const QString& domain, const QString& identifier) const {
  QVector<int> out;
  if (!m_backup || identifier.isEmpty())
    return out;
  const QString token = firstUuid(identifier);
  const QVector<int> candidates =
      token.isEmpty() ? m_byDomain.value(domain) : m_byToken.value(domain + QLatin1Char('\n') + token);
  for (int i : candidates)
    if (m_backup->fileAt(i).relativePath.contains(identifier))
      out.append(i);
  return out;
}

void NoteFileCopies::reset(MobileBackup* backup, const QString& folder) {
  m_backup = backup;
  m_folder = folder;
  m_copies.clear();
  m_names.clear();
}

QString NoteFileCopies::copy(int index) {
  const auto done = m_copies.constFind(index);
  if (done != m_copies.constEnd())
    return done.value();
  QString local;
  if (m_backup && index >= 0 && index < m_backup->fileCount()) {
    const QString name = m_backup->fileAt(index).fileName();
    const bool shared = !name.isEmpty() && !m_names.contains(name);
    local = m_backup->extractFile(index, m_folder + (shared ? QStringLiteral("/files")
                                                             : QLatin1Char('/') + QString::number(index)));
    if (!local.isEmpty() && !QFileInfo::exists(local))
      local.clear();
    if (!local.isEmpty() && shared)
      m_names.insert(name);
  }
  m_copies.insert(index, local);
  return local;
}

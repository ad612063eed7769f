#include "export/outputfolder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

namespace exporting {
namespace {
bool droppedChar(QChar c) {
  switch (c.category()) {
  case QChar::Other_Control:
  case QChar::Other_Format: // direction marks and overrides, zero-width characters
  case QChar::Other_Surrogate:
  case QChar::Other_NotAssigned:
  case QChar::Separator_Line:
  case QChar::Separator_Paragraph:
    return true;
  default:
    return false;
  }
}

bool refusedChar(QChar c) {
  static const QString refused = QStringLiteral("/\\:*?\"<>|");
  return refused.contains(c);
}

bool reservedDeviceName(const QString& name) {
  static const QStringList devices = {QStringLiteral("CON"), QStringLiteral("PRN"), QStringLiteral("AUX"),
                                      QStringLiteral("NUL")};
  const QString stem = name.section(QLatin1Char('.'), 0, 0).toUpper();
  if (devices.contains(stem))
    return true;
  return stem.size() == 4 && (stem.startsWith(QLatin1String("COM")) || stem.startsWith(QLatin1String("LPT"))) &&
         stem.at(3).isDigit();
}

// Cuts to at most maxChars characters without splitting a surrogate pair.
QString cut(const QString& text, int maxChars) {
  if (text.size() <= maxChars)
    return text;
  int n = maxChars;
  if (n > 0 && text.at(n - 1).isHighSurrogate())
    --n;
  return text.left(n);
}

QString trimmedName(QString name) {
  while (!name.isEmpty() && (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' '))))
    name.chop(1);
  while (!name.isEmpty() && (name.startsWith(QLatin1Char('.')) || name.startsWith(QLatin1Char(' '))))
    name.remove(0, 1);
  return name;
}
} // namespace

QString safeFileName(const QString& text, const QString& fallback, int maxChars) {
  QString name;
  name.reserve(text.size());
  for (const QChar c : text) {
    if (c.isSpace())
      name.append(QLatin1Char(' '));
    else if (droppedChar(c) && !c.isSurrogate())
      continue;
    else if (refusedChar(c))
      name.append(QLatin1Char('_'));
    else
      name.append(c);
  }
  name = trimmedName(name.simplified());
  const int dot = name.lastIndexOf(QLatin1Char('.'));
  const QString ext = dot > 0 && name.size() - dot <= 8 ? name.mid(dot) : QString();
  if (name.size() > maxChars)
    name = trimmedName(cut(name.left(name.size() - ext.size()), maxChars - ext.size())) + ext;
  if (name.isEmpty() || name.startsWith(QLatin1Char('.')))
    name = fallback + name;
  if (reservedDeviceName(name))
    name.prepend(QLatin1Char('_'));
  return name;
}

QByteArray hrefOf(const QString& relativePath) { return QUrl::toPercentEncoding(relativePath, "/"); }

OutputFolder::OutputFolder(const QString& root) : m_root(QDir::cleanPath(QDir(root).absolutePath())) {}

QString OutputFolder::absolute(const QString& relativePath) const {
  const QString path = QDir::cleanPath(m_root + QLatin1Char('/') + relativePath);
  if (path != m_root && !path.startsWith(m_root + QLatin1Char('/')))
    return QString();
  return path;
}

bool OutputFolder::makeFolder(const QString& relativeFolder) {
  const QString path = absolute(relativeFolder);
  return !path.isEmpty() && QDir().mkpath(path);
}

bool OutputFolder::taken(const QString& relativeFolder, const QString& name) const {
  const auto it = m_taken.constFind(relativeFolder);
  return it != m_taken.constEnd() && it->contains(name.toLower());
}

QString OutputFolder::reserve(const QString& relativeFolder, const QString& wanted) {
  const int dot = wanted.lastIndexOf(QLatin1Char('.'));
  const QString base = dot > 0 ? wanted.left(dot) : wanted;
  const QString ext = dot > 0 ? wanted.mid(dot) : QString();
  const QString name = reserveBase(relativeFolder, base, {ext});
  return relativeFolder.isEmpty() ? name + ext : relativeFolder + QLatin1Char('/') + name + ext;
}

QString OutputFolder::reserveBase(const QString& relativeFolder, const QString& base, const QStringList& suffixes) {
  QString candidate = base;
  for (int n = 2;; ++n) {
    bool free = true;
    for (const QString& suffix : suffixes)
      free = free && !taken(relativeFolder, candidate + suffix);
    if (free)
      break;
    candidate = QStringLiteral("%1 (%2)").arg(base).arg(n);
  }
  QSet<QString>& names = m_taken[relativeFolder];
  for (const QString& suffix : suffixes)
    names.insert((candidate + suffix).toLower());
  return candidate;
}

OutputFolder::Stored OutputFolder::storeFile(const QString& source, const QString& relativeFolder,
                                             const QString& wanted, const QDateTime& modified) {
  Stored stored;
  const auto known = m_bySource.constFind(source);
  if (known != m_bySource.constEnd()) {
    stored.relativePath = *known;
    stored.duplicate = true;
    return stored;
  }
  if (source.isEmpty() || !QFileInfo(source).isFile()) {
    stored.error = QStringLiteral("missing from the backup");
    return stored;
  }
  if (!makeFolder(relativeFolder)) {
    stored.error = QStringLiteral("cannot create the folder ") + relativeFolder;
    return stored;
  }
  const QString relative = reserve(relativeFolder, wanted);
  QByteArray digest;
  stored.error = copyInto(source, relative, modified, &digest);
  if (!stored.error.isEmpty())
    return stored;
  const auto same = m_byDigest.constFind(digest);
  if (same != m_byDigest.constEnd()) {
    // Our own second copy: it goes, and its name stays taken.
    QFile::remove(absolute(relative));
    stored.relativePath = *same;
    stored.duplicate = true;
    m_bySource.insert(source, *same);
    return stored;
  }
  m_byDigest.insert(digest, relative);
  m_bySource.insert(source, relative);
  stored.relativePath = relative;
  return stored;
}
QString OutputFolder::copyInto(const QString& source, const QString& relativePath, const QDateTime& modified,
                               QByteArray* digest) {
  QFile in(source);
  if (!in.open(QIODevice::ReadOnly))
    return QStringLiteral("missing from the backup");
  const QString target = absolute(relativePath);
  QFile out(target);
  if (target.isEmpty() || !out.open(QIODevice::WriteOnly | QIODevice::NewOnly))
    return QStringLiteral("cannot write ") + relativePath + QStringLiteral(": ") + out.errorString();
  QCryptographicHash hash(QCryptographicHash::Sha1);
  QByteArray buffer(256 * 1024, Qt::Uninitialized);
  qint64 total = 0;
  QString error;
  for (;;) {
    const qint64 n = in.read(buffer.data(), buffer.size());
    if (n < 0) {
      error = QStringLiteral("cannot read the file: ") + in.errorString();
      break;
    }
    if (n == 0)
      break;
    if (digest)
      hash.addData(buffer.constData(), int(n));
    if (out.write(buffer.constData(), n) != n) {
      error = QStringLiteral("cannot write ") + relativePath + QStringLiteral(": ") + out.errorString();
      break;
    }
    total += n;
  }
  out.close();
  if (!error.isEmpty()) {
    QFile::remove(target); // our own partial copy
    return error;
  }
  if (modified.isValid() && out.open(QIODevice::ReadWrite)) {
    out.setFileTime(modified, QFileDevice::FileModificationTime);
    out.close();
  }
  if (digest)
    *digest = QByteArray::number(total) + ':' + hash.result();
  return QString();
}
} // namespace exporting

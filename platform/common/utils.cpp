#include "platform/common/utils.h"

#include "platform/common/log.h"
#include "platform/common/tempguard.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <memory>

namespace {
QString resolved(const QString& path) {
  // Canonicalise the longest existing ancestor, then append the rest: a path
  // that does not exist yet still resolves through links of its parents.
  QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
  QString rest;
  QString head = clean;
  while (!head.isEmpty() && !QFileInfo::exists(head)) {
    const int slash = head.lastIndexOf(QLatin1Char('/'));
    if (slash <= 0) {
      head = QStringLiteral("/");
      break;
    }
    rest.prepend(head.mid(slash));
    head.truncate(slash);
  }
  const QString canon = QFileInfo(head).canonicalFilePath();
  if (canon.isEmpty())
    return clean;
  return QDir::cleanPath(canon + rest);
}

struct TempRoot {
  std::unique_ptr<QTemporaryDir> dir;
  QString path;
  TempRoot() {
    QString base = qEnvironmentVariable("SHERD_TEMP");
    if (base.isEmpty())
      base = QDir::tempPath();
    QDir().mkpath(base);
    TempGuard::sweepStale(base);
    // QTemporaryDir makes the folder owner-only (0700).
    dir = std::make_unique<QTemporaryDir>(QDir(base).absoluteFilePath(TempGuard::rootPrefix() + QStringLiteral("XXXXXX")));
    if (!dir->isValid()) {
      Log("Utils", 0, "cannot create the temporary root under %s: %s", qPrintable(base),
          qPrintable(dir->errorString()));
      return;
    }
    path = QFileInfo(dir->path()).canonicalFilePath();
    TempGuard::install(path);
    if (!path.endsWith(QLatin1Char('/')))
      path += QLatin1Char('/');
  }
};

TempRoot& tempRoot() {
  static TempRoot root;
  return root;
}
} // namespace

QString Utils::tempPath() {
  TempRoot& root = tempRoot();
  if (!root.path.isEmpty() && !QFileInfo::exists(root.path))
    QDir().mkpath(root.path); // someone removed it: make it again
  return root.path;
}

bool Utils::isInsideTempPath(const QString& path) {
  const QString root = tempPath();
  if (root.isEmpty() || path.isEmpty())
    return false;
  const QString p = resolved(path) + QLatin1Char('/');
  return p.startsWith(root);
}

#include "platform/common/commonutils.h"

#include "platform/common/log.h"
#include "platform/common/utils.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <cmath>

namespace {
// 2001-01-01T00:00:00Z in seconds since the Unix epoch.
constexpr qint64 kSeconds1970To2001 = 978307200;

bool isIntegral(int type) {
  switch (type) {
  case QMetaType::Bool:
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
  case QMetaType::Long:
  case QMetaType::ULong:
  case QMetaType::Short:
  case QMetaType::UShort:
  case QMetaType::Char:
  case QMetaType::SChar:
  case QMetaType::UChar:
    return true;
  default:
    return false;
  }
}

bool isNumeric(int type) {
  return isIntegral(type) || type == QMetaType::Double || type == QMetaType::Float;
}

bool isDate(int type) { return type == QMetaType::QDateTime || type == QMetaType::QDate; }

QDateTime asDateTime(const QVariant& v) {
  if (v.userType() == QMetaType::QDate)
    return v.toDate().startOfDay(Qt::UTC);
  return v.toDateTime();
}
} // namespace

QDateTime CCommonUtils::buildDateTimeBase2001(double seconds) {
  if (!std::isfinite(seconds))
    return QDateTime();
  const double ms = std::round(seconds * 1000.0);
  // Keep within what QDateTime can hold; absurd stamps in corrupt rows give null.
  if (std::fabs(ms) > 1e17)
    return QDateTime();
  return QDateTime::fromMSecsSinceEpoch(kSeconds1970To2001 * 1000 + qint64(ms), Qt::UTC);
}

QDateTime CCommonUtils::buildDateTimeBase2001(qint64 seconds) {
  if (seconds > qint64(1e14) || seconds < -qint64(1e14))
    return QDateTime();
  return QDateTime::fromSecsSinceEpoch(kSeconds1970To2001 + seconds, Qt::UTC);
}

QDateTime CCommonUtils::buildDateTimeBase2001(int seconds) { return buildDateTimeBase2001(qint64(seconds)); }

QDateTime CCommonUtils::buildDateTimeBaseUnix(quint32 seconds) {
  return QDateTime::fromSecsSinceEpoch(qint64(seconds), Qt::UTC);
}

QDateTime CCommonUtils::buildDateTimeBaseUnixEx(qint64 seconds) {
  if (seconds > qint64(1e14) || seconds < -qint64(1e14))
    return QDateTime();
  return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

bool CCommonUtils::itemValueLessThan(const QVariant& a, const QVariant& b) {
  const bool av = a.isValid() && !a.isNull();
  const bool bv = b.isValid() && !b.isNull();
  if (!av || !bv)
    return !av && bv;
  const int ta = a.userType();
  const int tb = b.userType();
  if (isDate(ta) && isDate(tb))
    return asDateTime(a) < asDateTime(b);
  if (isNumeric(ta) && isNumeric(tb)) {
    if (isIntegral(ta) && isIntegral(tb)) {
      // Unsigned 64-bit values beyond the signed range still order correctly.
      if (ta == QMetaType::ULongLong || tb == QMetaType::ULongLong) {
        const bool aNeg = ta != QMetaType::ULongLong && a.toLongLong() < 0;
        const bool bNeg = tb != QMetaType::ULongLong && b.toLongLong() < 0;
        if (aNeg != bNeg)
          return aNeg;
        if (aNeg)
          return a.toLongLong() < b.toLongLong();
        return a.toULongLong() < b.toULongLong();
      }
      return a.toLongLong() < b.toLongLong();
    }
    return a.toDouble() < b.toDouble();
  }
  if (ta == QMetaType::QString && tb == QMetaType::QString)
    return QString::localeAwareCompare(a.toString(), b.toString()) < 0;
  return QString::localeAwareCompare(a.toString(), b.toString()) < 0;
}

bool CCommonUtils::clearDir(const QString& path) {
  if (path.isEmpty()) {
    Log("CommonUtils", 0, "clearDir: no folder given");
    return false;
  }
  const QFileInfo info(path);
  if (!info.exists())
    return true;
  if (!info.isDir() || info.isSymLink()) {
    Log("CommonUtils", 0, "clearDir: %s is not a folder", qPrintable(path));
    return false;
  }
  const QString canon = info.canonicalFilePath();
  bool allowed = Utils::isInsideTempPath(canon);
  if (!allowed && info.fileName() == QLatin1String("rotated")) {
    for (const QString& root : Utils::backupRoots()) {
      const QString r = QFileInfo(root).canonicalFilePath();
      if (!r.isEmpty() && canon == r + QStringLiteral("/rotated"))
        allowed = true;
    }
  }
  if (!allowed) {
    Log("CommonUtils", 0, "clearDir: refusing %s: outside the temporary root and the backup scratch folder",
        qPrintable(path));
    return false;
  }
  bool ok = true;
  QDirIterator it(canon, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
  while (it.hasNext()) {
    it.next();
    const QFileInfo fi = it.fileInfo();
    if (fi.isDir() && !fi.isSymLink())
      ok = QDir(fi.filePath()).removeRecursively() && ok;
    else
      ok = QFile::remove(fi.filePath()) && ok;
  }
  if (!ok)
    Log("CommonUtils", 0, "clearDir: could not remove everything inside %s", qPrintable(path));
  return ok;
}

#include "platform/common/commonutils.h"

#include "platform/common/log.h"
#include "platform/common/utils.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QDir>
#include <QFileInfo>
#include <QString>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>

namespace {
// 2001-01-01T00:00:00Z in seconds since the Unix epoch.
constexpr qint64 kSeconds1970To2001 = 978307200;

bool isIntegral(int type) { return CCommonUtils::isIntegralType(type); }

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

bool CCommonUtils::isIntegralType(int type) {
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
  if (!Utils::isInsideTempPath(canon) || canon + QLatin1Char('/') == Utils::tempPath()) {
    Log("CommonUtils", 0, "clearDir: refusing %s: not a folder inside the temporary root", qPrintable(path));
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

namespace {
// The date in the host's local time. QDateTime::toLocalTime() resets the C
// library's zone (tzset) on every call, which re-reads the zone file when TZ
// is unset and dominated loads of many dated rows; here the zone is reset only
// when TZ changes, and the offset of the moment comes from localtime_r.
QDateTime toLocal(const QDateTime& date) {
  static std::mutex mutex;
  static std::string lastTz;
  static bool initialised = false;
  {
    const char* tz = std::getenv("TZ");
    const std::string current = tz ? std::string(1, '=') + tz : std::string();
    std::lock_guard<std::mutex> lock(mutex);
    if (!initialised || current != lastTz) {
      tzset();
      lastTz = current;
      initialised = true;
    }
  }
  const time_t seconds = time_t(date.toSecsSinceEpoch());
  struct tm parts;
  if (!localtime_r(&seconds, &parts))
    return date.toLocalTime();
  return date.toOffsetFromUtc(int(parts.tm_gmtoff));
}

QString formatDate(const QDateTime& date, bool local, const QString& format) {
  if (!date.isValid())
    return QString();
  return (local ? toLocal(date) : date.toUTC()).toString(format);
}
} // namespace

QString CCommonUtils::dateToString(const QDateTime& date, bool local) {
  return formatDate(date, local, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString CCommonUtils::datetimeToString(const QDateTime& date, bool local) {
  return formatDate(date, local, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString CCommonUtils::datetimeToMinute(const QDateTime& date, bool local) {
  return formatDate(date, local, QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString CCommonUtils::datetimeToMinuteCheckNoYear(const QDateTime& date, bool withTime) {
  if (!date.isValid())
    return QString();
  const QDateTime shown = withTime ? toLocal(date) : date.toUTC();
  const bool noYear = shown.date().year() == 1604;
  if (withTime)
    return shown.toString(noYear ? QStringLiteral("MM-dd HH:mm") : QStringLiteral("yyyy-MM-dd HH:mm"));
  return shown.toString(noYear ? QStringLiteral("MM-dd") : QStringLiteral("yyyy-MM-dd"));
}

QString CCommonUtils::durationToString(qint64 seconds, bool alwaysHours) {
  if (seconds < 0)
    seconds = 0;
  const qint64 hours = seconds / 3600;
  const int minutes = int((seconds % 3600) / 60);
  const int secs = int(seconds % 60);
  if (!alwaysHours && hours == 0)
    return QStringLiteral("%1:%2").arg(minutes, 2, 10, QLatin1Char('0')).arg(secs, 2, 10, QLatin1Char('0'));
  return QStringLiteral("%1:%2:%3")
      .arg(hours, 2, 10, QLatin1Char('0'))
      .arg(minutes, 2, 10, QLatin1Char('0'))
      .arg(secs, 2, 10, QLatin1Char('0'));
}

QString CCommonUtils::uniqFileName(const QString& folder, const QString& fileName) {
  const QDir dir(folder);
  QString candidate = dir.absoluteFilePath(fileName);
  if (!QFileInfo::exists(candidate))
    return candidate;
  const QFileInfo info(fileName);
  const QString base = info.completeBaseName();
  const QString suffix = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
  for (int n = 1;; ++n) {
    candidate = dir.absoluteFilePath(QStringLiteral("%1 (%2)%3").arg(base).arg(n).arg(suffix));
    if (!QFileInfo::exists(candidate))
      return candidate;
  }
}

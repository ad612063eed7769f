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
// QDateTime::toLocalTime() resets the C library's zone (tzset) on every call,
// which re-reads the zone file when TZ is unset and dominated loads of many
// dated rows; here the zone is reset only when TZ changes, and the offset of
// the moment comes from localtime_r.
void resetZoneIfChanged() {
  static std::mutex mutex;
  static std::string lastTz;
  static bool initialised = false;
  const char* tz = std::getenv("TZ");
  const std::string current = tz ? std::string(1, '=') + tz : std::string();
  std::lock_guard<std::mutex> lock(mutex);
  if (!initialised || current != lastTz) {
    tzset();
    lastTz = current;
    initialised = true;
  }
}

// The date in the host's local time.
QDateTime toLocal(const QDateTime& date) {
  resetZoneIfChanged();
  const time_t seconds = time_t(date.toSecsSinceEpoch());
  struct tm parts;
  if (!localtime_r(&seconds, &parts))
    return date.toLocalTime();
  return date.toOffsetFromUtc(int(parts.tm_gmtoff));
}

// The fields of the date's wall clock, in the host's zone or in UTC, when the
// date is valid and lies in the years 1000 to 9999 at or after 1970 (the
// range the fast formatter below writes exactly as Qt's "yyyy-MM-dd HH:mm:ss"
// does); false sends the caller to Qt's formatter.
bool wallClock(const QDateTime& date, bool local, struct tm* parts) {
  const qint64 ms = date.toMSecsSinceEpoch();
  if (ms < 0)
    return false;
  const time_t seconds = time_t(ms / 1000);
  if (local) {
    resetZoneIfChanged();
    if (!localtime_r(&seconds, parts))
      return false;
  } else if (!gmtime_r(&seconds, parts)) {
    return false;
  }
  return parts->tm_year + 1900 >= 1000 && parts->tm_year + 1900 <= 9999 && parts->tm_sec < 60;
}

// "yyyy-MM-dd HH:mm:ss" cut to `length` characters (16 leaves out the seconds),
// written without Qt's format parser and locale: dated lists format one text
// per row.
QString formatFields(const struct tm& t, int length) {
  char buffer[20];
  auto two = [&buffer](int at, int v) {
    buffer[at] = char('0' + v / 10);
    buffer[at + 1] = char('0' + v % 10);
  };
  const int year = t.tm_year + 1900;
  two(0, year / 100);
  two(2, year % 100);
  buffer[4] = '-';
  two(5, t.tm_mon + 1);
  buffer[7] = '-';
  two(8, t.tm_mday);
  buffer[10] = ' ';
  two(11, t.tm_hour);
  buffer[13] = ':';
  two(14, t.tm_min);
  buffer[16] = ':';
  two(17, t.tm_sec);
  return QString::fromLatin1(buffer, length);
}

// length 19: "yyyy-MM-dd HH:mm:ss"; 16: "yyyy-MM-dd HH:mm".
QString formatDate(const QDateTime& date, bool local, int length) {
  if (!date.isValid())
    return QString();
  struct tm parts;
  if (wallClock(date, local, &parts))
    return formatFields(parts, length);
  return (local ? toLocal(date) : date.toUTC())
      .toString(length == 19 ? QStringLiteral("yyyy-MM-dd HH:mm:ss") : QStringLiteral("yyyy-MM-dd HH:mm"));
}
} // namespace

QString CCommonUtils::dateToString(const QDateTime& date, bool local) {
  return formatDate(date, local, 19);
}

QString CCommonUtils::datetimeToString(const QDateTime& date, bool local) {
  return formatDate(date, local, 19);
}

QString CCommonUtils::datetimeToMinute(const QDateTime& date, bool local) {
  return formatDate(date, local, 16);
}

QString CCommonUtils::datetimeToMinuteCheckNoYear(const QDateTime& date, bool withTime) {
  if (!date.isValid())
    return QString();
  // From 1970 on the year is never the no-year mark: the fields are written
  // directly, as calendars format one date per event.
  struct tm parts;
  if (wallClock(date, withTime, &parts))
    return formatFields(parts, withTime ? 16 : 10);
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
  // "HH:mm:ss" (hours widen past 99) or "mm:ss", digits written directly:
  // call lists format one duration per row.
  char buffer[32];
  int n = 0;
  if (alwaysHours || hours != 0) {
    char digits[24];
    int d = 0;
    for (qint64 h = hours; h > 0 || d < 2; h /= 10)
      digits[d++] = char('0' + h % 10);
    while (d > 0)
      buffer[n++] = digits[--d];
    buffer[n++] = ':';
  }
  buffer[n++] = char('0' + minutes / 10);
  buffer[n++] = char('0' + minutes % 10);
  buffer[n++] = ':';
  buffer[n++] = char('0' + secs / 10);
  buffer[n++] = char('0' + secs % 10);
  return QString::fromLatin1(buffer, n);
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

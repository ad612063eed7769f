#pragma once
// Common helpers of the readers and the model: building dates from the epochs
// that the apps' databases count from, and the order of sort keys.
#include "platform/common/sherdglobal.h"

#include <QDateTime>
#include <QVariant>

class SHERD_EXPORT CCommonUtils {
public:
  // Seconds since 2001-01-01 00:00:00 UTC (Core Data's reference date) as a
  // UTC QDateTime. Fractions of a second are kept to the millisecond in the
  // double form. A value that is not finite gives a null QDateTime.
  static QDateTime buildDateTimeBase2001(double seconds);
  static QDateTime buildDateTimeBase2001(qint64 seconds);
  static QDateTime buildDateTimeBase2001(int seconds);

  // Seconds since 1970-01-01 00:00:00 UTC as a UTC QDateTime: the 32-bit
  // unsigned times of the backup's file records, and 64-bit ones.
  static QDateTime buildDateTimeBaseUnix(quint32 seconds);
  static QDateTime buildDateTimeBaseUnixEx(qint64 seconds);

  // The order of two sort keys: true when a comes before b ascending.
  //  - an invalid (or null) key comes before every valid one; two invalid keys are equal;
  //  - dates and date-times compare by time (a null date before a valid one);
  //  - two numbers (integers, floating point or booleans) compare by value, as
  //    64-bit integers when both are integral;
  //  - two strings compare with QString::localeAwareCompare;
  //  - anything else compares by its text, locale-aware.
  static bool itemValueLessThan(const QVariant& a, const QVariant& b);
  // The meta types that comparison treats as integers (booleans and chars
  // included); ULongLong is one of them.
  static bool isIntegralType(int metaType);

  // Deletes everything inside the folder (not the folder itself; links are
  // removed, never followed). Refuses, with a logged reason and false, every
  // folder that is not inside the temporary root (Utils::tempPath), and the
  // root itself (other services keep their folders there): sherd deletes no
  // file it did not create. A folder that does not exist is already clear
  // (true).
  static bool clearDir(const QString& path);

  // Texts of dates, in local time when local is true, else in UTC. A null or
  // invalid date gives an empty text.
  //   dateToString, datetimeToString   "yyyy-MM-dd HH:mm:ss"
  //   datetimeToMinute                 "yyyy-MM-dd HH:mm"
  static QString dateToString(const QDateTime& date, bool local);
  static QString datetimeToString(const QDateTime& date, bool local);
  static QString datetimeToMinute(const QDateTime& date, bool local);
  // "yyyy-MM-dd HH:mm" in local time when withTime is true; "yyyy-MM-dd" of the
  // UTC date when it is false (all-day dates are stored at UTC midnight). The
  // phone stores dates without a year (birthdays) in the year 1604: the year is
  // left out for them ("MM-dd HH:mm", "MM-dd").
  static QString datetimeToMinuteCheckNoYear(const QDateTime& date, bool withTime);
  // A duration in seconds as "HH:mm:ss"; the hours go past 24 ("26:00:05").
  // With alwaysHours false, a duration below one hour is "mm:ss". Negative
  // durations count as 0.
  static QString durationToString(qint64 seconds, bool alwaysHours);
  // A path in folder for fileName that names no existing file: fileName itself
  // when free, else "name (1).ext", "name (2).ext", ...
  static QString uniqFileName(const QString& folder, const QString& fileName);
};

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

  // Deletes everything inside the folder (not the folder itself; links are
  // removed, never followed). Refuses, with a logged reason and false, any
  // folder that is not inside the temporary root (Utils::tempPath) and is not
  // the "rotated" scratch folder of a backup root. A folder that does not
  // exist is already clear (true).
  static bool clearDir(const QString& path);
};

#include "platform/common/commonutils.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <limits>

namespace {
TEST(CommonUtilsDates, EpochConversions) {
  struct Row {
    const char* name;
    QDateTime got;
    const char* isoUtc; // nullptr: a null date
  } rows[] = {
      {"2001 epoch, negative", CCommonUtils::buildDateTimeBase2001(qint64(-86400)), "2000-12-31T00:00:00Z"},
      {"2001 epoch, fraction", CCommonUtils::buildDateTimeBase2001(1.5), "2001-01-01T00:00:01.500Z"},
      {"2001 epoch, NaN", CCommonUtils::buildDateTimeBase2001(std::numeric_limits<double>::quiet_NaN()), nullptr},
      {"2001 epoch, absurd", CCommonUtils::buildDateTimeBase2001(1e300), nullptr},
      {"unix, 32-bit past 2038", CCommonUtils::buildDateTimeBaseUnix(4000000000u), "2096-10-02T07:06:40Z"},
  };
  for (const auto& r : rows) {
    if (!r.isoUtc) {
      EXPECT_TRUE(r.got.isNull()) << r.name;
      continue;
    }
    EXPECT_EQ(r.got.toUTC().toString(Qt::ISODateWithMs).remove(QStringLiteral(".000")), QString::fromLatin1(r.isoUtc))
        << r.name;
  }
}

TEST(CommonUtilsOrder, ItemValueLessThan) {
  const QDateTime early = CCommonUtils::buildDateTimeBase2001(qint64(10));
  struct Row {
    const char* name;
    QVariant a, b;
    bool less;
  } rows[] = {
      {"two invalid", QVariant(), QVariant(), false},
      {"null date before valid", QDateTime(), early, true},
      {"integer against double", 2, 2.5, true},
      {"negative below large unsigned", QVariant(qint64(-1)), QVariant(quint64(1) << 63), true},
  };
  for (const auto& r : rows)
    EXPECT_EQ(CCommonUtils::itemValueLessThan(r.a, r.b), r.less) << r.name;
}

// Local texts follow $TZ, read again at every call.
TEST(CommonUtilsText, DateTextsInLocalTimeOrUtc) {
  const QByteArray oldTz = qgetenv("TZ");
  const QDateTime d(QDate(2021, 3, 4), QTime(22, 30, 15), Qt::UTC);
  const QDateTime summer(QDate(2021, 7, 15), QTime(12, 0), Qt::UTC);
  const QDateTime noYear(QDate(1604, 7, 9), QTime(0, 0), Qt::UTC);
  struct Row {
    const char* name;
    const char* tz;
    std::function<QString()> got;
    const char* expected;
  } rows[] = {
      {"local", "UTC-2", [&] { return CCommonUtils::dateToString(d, true); }, "2021-03-05 00:30:15"},
      {"utc", "UTC-2", [&] { return CCommonUtils::datetimeToString(d, false); }, "2021-03-04 22:30:15"},
      {"before 1970", "UTC-2", [] {
         return CCommonUtils::dateToString(QDateTime(QDate(1969, 12, 31), QTime(23, 59, 59, 500), Qt::UTC), true);
       }, "1970-01-01 01:59:59"},
      {"year below 1000", "UTC", [] {
         return CCommonUtils::datetimeToMinute(QDateTime(QDate(999, 1, 2), QTime(3, 4), Qt::UTC), false);
       }, "0999-01-02 03:04"},
      {"daylight saving", "Europe/Oslo", [&] { return CCommonUtils::datetimeToMinute(summer, true); },
       "2021-07-15 14:00"},
      {"zone changed", "America/New_York", [&] { return CCommonUtils::datetimeToMinute(summer, true); },
       "2021-07-15 08:00"},
      {"all day gives the UTC date", "UTC-2", [&] { return CCommonUtils::datetimeToMinuteCheckNoYear(d, false); },
       "2021-03-04"},
      {"an event's time in the host's zone", "UTC-2", [&] { return CCommonUtils::datetimeToMinuteCheckNoYear(d, true); },
       "2021-03-05 00:30"},
      {"an event's time across daylight saving", "Europe/Oslo",
       [&] { return CCommonUtils::datetimeToMinuteCheckNoYear(summer, true); }, "2021-07-15 14:00"},
      {"no year, with its time", "UTC-2", [&] { return CCommonUtils::datetimeToMinuteCheckNoYear(noYear, true); },
       "07-09 02:00"},
      {"year 1604 means no year", "UTC-2", [&] { return CCommonUtils::datetimeToMinuteCheckNoYear(noYear, false); },
       "07-09"},
      {"duration past a day", "UTC", [] { return CCommonUtils::durationToString(93605, true); }, "26:00:05"},
      {"short duration without hours", "UTC", [] { return CCommonUtils::durationToString(65, false); }, "01:05"},
      {"negative duration", "UTC", [] { return CCommonUtils::durationToString(-5, true); }, "00:00:00"},
      {"hours widen past 99", "UTC", [] { return CCommonUtils::durationToString(360061, true); }, "100:01:01"},
      {"an hour shows hours unasked", "UTC", [] { return CCommonUtils::durationToString(3600, false); }, "01:00:00"},
      {"nothing without hours", "UTC", [] { return CCommonUtils::durationToString(0, false); }, "00:00"},
  };
  for (const auto& r : rows) {
    qputenv("TZ", r.tz);
    tzset();
    EXPECT_EQ(r.got(), QString::fromLatin1(r.expected)) << r.name;
  }
  oldTz.isEmpty() ? qunsetenv("TZ") : qputenv("TZ", oldTz);
  tzset();
}

TEST(CommonUtilsFiles, UniqFileNameCountsUpPastTakenNames) {
  QTemporaryDir dir;
  for (const char* name : {"attach_1.png", "attach_1 (1).png", "README"}) {
    QFile f(dir.filePath(QString::fromLatin1(name)));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  }
  EXPECT_EQ(CCommonUtils::uniqFileName(dir.path(), QStringLiteral("attach_1.png")),
            dir.filePath(QStringLiteral("attach_1 (2).png")));
  EXPECT_EQ(CCommonUtils::uniqFileName(dir.path(), QStringLiteral("README")),
            dir.filePath(QStringLiteral("README (1)")));
}
} // namespace

#include "platform/common/commonutils.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ctime>
#include <limits>

namespace {
TEST(CommonUtilsDates, EpochConversions) {
  struct Row {
    const char* name;
    QDateTime got;
    const char* isoUtc; // nullptr: a null date
  } rows[] = {
      {"2001 epoch, zero", CCommonUtils::buildDateTimeBase2001(qint64(0)), "2001-01-01T00:00:00Z"},
      {"2001 epoch, int", CCommonUtils::buildDateTimeBase2001(86400), "2001-01-02T00:00:00Z"},
      {"2001 epoch, negative", CCommonUtils::buildDateTimeBase2001(qint64(-86400)), "2000-12-31T00:00:00Z"},
      {"2001 epoch, fraction", CCommonUtils::buildDateTimeBase2001(1.5), "2001-01-01T00:00:01.500Z"},
      {"2001 epoch, NaN", CCommonUtils::buildDateTimeBase2001(std::numeric_limits<double>::quiet_NaN()), nullptr},
      {"2001 epoch, absurd", CCommonUtils::buildDateTimeBase2001(1e300), nullptr},
      {"unix, 32-bit", CCommonUtils::buildDateTimeBaseUnix(4000000000u), "2096-10-02T07:06:40Z"},
      {"unix, 64-bit", CCommonUtils::buildDateTimeBaseUnixEx(1600000000), "2020-09-13T12:26:40Z"},
  };
  for (const auto& r : rows) {
    if (!r.isoUtc) {
      EXPECT_TRUE(r.got.isNull()) << r.name;
      continue;
    }
    EXPECT_EQ(r.got.timeSpec(), Qt::UTC) << r.name;
    const bool ms = QByteArray(r.isoUtc).contains('.');
    EXPECT_EQ(r.got.toString(ms ? Qt::ISODateWithMs : Qt::ISODate), QString::fromLatin1(r.isoUtc)) << r.name;
  }
}

TEST(CommonUtilsOrder, ItemValueLessThan) {
  const QDateTime early = CCommonUtils::buildDateTimeBase2001(qint64(10));
  const QDateTime late = CCommonUtils::buildDateTimeBase2001(qint64(20));
  struct Row {
    const char* name;
    QVariant a, b;
    bool less;
  } rows[] = {
      {"dates ascending", early, late, true},
      {"dates descending", late, early, false},
      {"equal dates", early, early, false},
      {"invalid before valid", QVariant(), early, true},
      {"valid after invalid", early, QVariant(), false},
      {"two invalid", QVariant(), QVariant(), false},
      {"null date before valid", QDateTime(), early, true},
      {"integers", 2, 10, true},
      {"integer against double", 2, 2.5, true},
      {"double against integer", 2.5, 2, false},
      {"large unsigned", QVariant(quint64(1) << 63), QVariant(qint64(5)), false},
      {"negative below unsigned", QVariant(qint64(-1)), QVariant(quint64(1) << 63), true},
      {"booleans", false, true, true},
      {"strings", QStringLiteral("apple"), QStringLiteral("banana"), true},
      {"strings reversed", QStringLiteral("banana"), QStringLiteral("apple"), false},
  };
  for (const auto& r : rows)
    EXPECT_EQ(CCommonUtils::itemValueLessThan(r.a, r.b), r.less) << r.name;
}

class CommonUtilsText : public ::testing::Test {
protected:
  void SetUp() override {
    oldTz = qgetenv("TZ");
    qputenv("TZ", "UTC-2"); // POSIX: two hours east of UTC
    tzset();
  }
  void TearDown() override {
    if (oldTz.isEmpty())
      qunsetenv("TZ");
    else
      qputenv("TZ", oldTz);
    tzset();
  }
  QByteArray oldTz;
};

TEST_F(CommonUtilsText, DateTextsInLocalTimeOrUtc) {
  const QDateTime d(QDate(2021, 3, 4), QTime(22, 30, 15), Qt::UTC);
  const QDateTime noYear(QDate(1604, 7, 9), QTime(0, 0), Qt::UTC);
  struct Row {
    const char* name;
    QString got;
    const char* expected;
  } rows[] = {
      {"dateToString local", CCommonUtils::dateToString(d, true), "2021-03-05 00:30:15"},
      {"dateToString utc", CCommonUtils::dateToString(d, false), "2021-03-04 22:30:15"},
      {"datetimeToString local", CCommonUtils::datetimeToString(d, true), "2021-03-05 00:30:15"},
      {"datetimeToMinute", CCommonUtils::datetimeToMinute(d, true), "2021-03-05 00:30"},
      {"no-year check, with time", CCommonUtils::datetimeToMinuteCheckNoYear(d, true), "2021-03-05 00:30"},
      {"no-year check, all day (UTC date)", CCommonUtils::datetimeToMinuteCheckNoYear(d, false), "2021-03-04"},
      {"year 1604, all day", CCommonUtils::datetimeToMinuteCheckNoYear(noYear, false), "07-09"},
      {"year 1604, with time", CCommonUtils::datetimeToMinuteCheckNoYear(noYear, true), "07-09 02:00"},
      {"null date", CCommonUtils::dateToString(QDateTime(), true), ""},
      {"duration", CCommonUtils::durationToString(3725, true), "01:02:05"},
      {"duration past a day", CCommonUtils::durationToString(93605, true), "26:00:05"},
      {"short duration without hours", CCommonUtils::durationToString(65, false), "01:05"},
      {"long duration keeps hours", CCommonUtils::durationToString(3600, false), "01:00:00"},
      {"negative duration", CCommonUtils::durationToString(-5, true), "00:00:00"},
  };
  for (const auto& r : rows)
    EXPECT_EQ(r.got, QString::fromLatin1(r.expected)) << r.name;
}

TEST(CommonUtilsFiles, UniqFileNameCountsUpPastTakenNames) {
  QTemporaryDir dir;
  auto touch = [&](const char* name) {
    QFile f(dir.filePath(QString::fromLatin1(name)));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
  };
  EXPECT_EQ(CCommonUtils::uniqFileName(dir.path(), QStringLiteral("attach_1.png")),
            dir.filePath(QStringLiteral("attach_1.png")));
  touch("attach_1.png");
  touch("attach_1 (1).png");
  EXPECT_EQ(CCommonUtils::uniqFileName(dir.path(), QStringLiteral("attach_1.png")),
            dir.filePath(QStringLiteral("attach_1 (2).png")));
  touch("README");
  EXPECT_EQ(CCommonUtils::uniqFileName(dir.path(), QStringLiteral("README")),
            dir.filePath(QStringLiteral("README (1)")));
}

TEST_F(CommonUtilsText, LocalTextsFollowDaylightSavingAndZoneChanges) {
  const QDateTime winter(QDate(2021, 1, 15), QTime(12, 0), Qt::UTC);
  const QDateTime summer(QDate(2021, 7, 15), QTime(12, 0), Qt::UTC);
  struct Row {
    const char* tz;
    const char* winter;
    const char* summer;
  } rows[] = {
      {"Europe/Oslo", "2021-01-15 13:00", "2021-07-15 14:00"},
      {"America/New_York", "2021-01-15 07:00", "2021-07-15 08:00"},
      {"UTC-2", "2021-01-15 14:00", "2021-07-15 14:00"},
  };
  for (const auto& r : rows) {
    qputenv("TZ", r.tz); // changed between calls: the zone must follow
    EXPECT_EQ(CCommonUtils::datetimeToMinute(winter, true), QString::fromLatin1(r.winter)) << r.tz;
    EXPECT_EQ(CCommonUtils::datetimeToMinute(summer, true), QString::fromLatin1(r.summer)) << r.tz;
  }
}
} // namespace

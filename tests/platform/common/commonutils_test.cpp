#include "platform/common/commonutils.h"

#include <gtest/gtest.h>

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
} // namespace

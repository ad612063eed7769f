#include "export/jsonwriter.h"

#include <QByteArray>
#include <QDateTime>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <limits>

namespace {
// What the writer puts out for one array written by fill; path fields are
// named "named:" and their path.
QByteArray written(const std::function<void(JsonWriter&)>& fill) {
  FILE* f = std::tmpfile();
  EXPECT_NE(f, nullptr);
  {
    JsonWriter w(f);
    w.setPathNamer([](const QString& path) { return QStringLiteral("named:") + path; });
    w.beginArray();
    fill(w);
    w.endArray();
  }
  std::rewind(f);
  QByteArray out;
  char buf[4096];
  size_t n = 0;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0)
    out.append(buf, int(n));
  std::fclose(f);
  return out.trimmed();
}

TEST(JsonWriterValues, TextsNumbersAndDatesAreWrittenExactly) {
  const QString longText = QString(255, QLatin1Char('a')) + QLatin1Char('"') + QString(300, QLatin1Char('b'));
  const QDateTime utc(QDate(2021, 3, 4), QTime(22, 30, 15, 123), Qt::UTC);
  const struct {
    const char* name;
    std::function<void(JsonWriter&)> fill;
    QByteArray json;
  } rows[] = {
      {"plain text", [](JsonWriter& w) { w.value(QStringLiteral("hello")); }, R"(["hello"])"},
      {"escapes", [](JsonWriter& w) { w.value(QString::fromUtf8("a\"b\\c\n\r\t\b\f\x1f")); },
       R"(["a\"b\\c\n\r\t\b\f\u001f"])"},
      {"a NUL character", [](JsonWriter& w) { w.value(QString(QChar(0))); }, R"(["\u0000"])"},
      {"accents", [](JsonWriter& w) { w.value(QString::fromUtf8("Zürich \"x\"")); },
       "[\"Z\xc3\xbcrich \\\"x\\\"\"]"},
      {"outside the basic plane", [](JsonWriter& w) { w.value(QString::fromUtf8("\xf0\x9f\x98\x80")); },
       "[\"\xf0\x9f\x98\x80\"]"},
      {"a lone surrogate as Qt encodes it", [](JsonWriter& w) { w.value(QString(QChar(0xD800))); },
       "[" + JsonWriter::quote(QString(QChar(0xD800))) + "]"},
      {"a quote across the copy blocks", [&](JsonWriter& w) { w.value(longText); },
       "[\"" + QByteArray(255, 'a') + "\\\"" + QByteArray(300, 'b') + "\"]"},
      {"keys", [](JsonWriter& w) {
         w.beginObject();
         w.key("type");
         w.value(3);
         w.key("quo\"te");
         w.null();
         w.endObject();
       }, R"([{"type":3,"quo\"te":null}])"},
      {"integers at their limits", [](JsonWriter& w) {
         w.value(std::numeric_limits<qint64>::min());
         w.value(qint64(-1));
         w.value(0);
         w.value(std::numeric_limits<quint64>::max());
       }, R"([-9223372036854775808,-1,0,18446744073709551615])"},
      {"flags", [](JsonWriter& w) {
         w.value(true);
         w.value(false);
       }, R"([true,false])"},
      {"a date in UTC", [&](JsonWriter& w) { w.variant(utc); }, R"(["2021-03-04T22:30:15.123Z"])"},
      {"the first instant of 1970", [](JsonWriter& w) {
         w.variant(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC));
       }, R"(["1970-01-01T00:00:00.000Z"])"},
      {"a date with an offset is written in UTC", [&](JsonWriter& w) {
         w.variant(utc.toOffsetFromUtc(-7200));
       }, R"(["2021-03-04T22:30:15.123Z"])"},
      {"a date before 1970", [](JsonWriter& w) {
         w.variant(QDateTime(QDate(1969, 12, 31), QTime(23, 59, 59, 500), Qt::UTC));
       }, R"(["1969-12-31T23:59:59.500Z"])"},
      {"an invalid date", [](JsonWriter& w) { w.variant(QDateTime()); }, R"([null])"},
  };
  for (const auto& r : rows)
    EXPECT_EQ(written(r.fill), r.json) << r.name;
}
// Only path fields go through the namer: a text that merely starts with "/"
// is written as it was read.
TEST(JsonWriter, PathNamerOnlyRenamesPathFields) {
  const struct {
    const char* name;
    const char* text;
    bool asPath;
    const char* json;
  } rows[] = {
      {"message text starting with a slash", "/shrug", false, R"(["/shrug"])"},
      {"path field", "/tmp/x.jpg", true, R"(["named:/tmp/x.jpg"])"},
      {"relative path field", "x.jpg", true, R"(["x.jpg"])"},
      {"empty path field", "", true, R"([""])"},
      {"escapes", "a\"b\\\n\x01", false, R"(["a\"b\\\n\u0001"])"},
  };
  for (const auto& r : rows) {
    const QString text = QString::fromUtf8(r.text);
    EXPECT_EQ(written([&](JsonWriter& w) { r.asPath ? w.pathValue(text) : w.value(text); }),
              QByteArray(r.json))
        << r.name;
  }
}
} // namespace

#include "export/jsonwriter.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <cstdio>

namespace {
// What the writer puts out for one array written by fill.
template <typename Fill>
QByteArray written(Fill fill) {
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
  char buf[256];
  size_t n = 0;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0)
    out.append(buf, int(n));
  std::fclose(f);
  return out.trimmed();
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

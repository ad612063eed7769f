#include "platform/common/log.h"

#include <QString>
#include <QTemporaryDir>
#include <QFile>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {
struct Line {
  std::string module;
  int level;
  QString text;
};

class LogTest : public ::testing::Test {
protected:
  void TearDown() override {
    SherdLog::setMaxLevel(SherdLog::Info);
    SherdLog::toStderr();
  }
};

TEST_F(LogTest, FormatsAndFiltersByLevel) {
  std::vector<Line> lines;
  SherdLog::setSink([&](const char* m, int l, const QString& t) { lines.push_back({m, l, t}); });
  Log("iTunesBackup", 0, "Not exists: %s", "/x/y");
  Log("WhatsappService", 1, "%d rows, %.1f%%", 12, 50.0);
  Log("WhatsappService", 2, "debug detail is dropped by default");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].module, "iTunesBackup");
  EXPECT_EQ(lines[1].text, QStringLiteral("12 rows, 50.0%"));
  SherdLog::setMaxLevel(SherdLog::Debug);
  Log("m", 2, "now shown");
  EXPECT_EQ(lines.size(), 3u);
}

TEST_F(LogTest, WritesUtf8LinesToAFileAndCanBeSilenced) {
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("sherd.log"));
  ASSERT_TRUE(SherdLog::toFile(path));
  Log("iTunesBackup", 0, "Fail to open db file: %s", "Grüße.sqlite");
  SherdLog::silence();
  Log("iTunesBackup", 0, "silenced");
  QFile f(path);
  ASSERT_TRUE(f.open(QIODevice::ReadOnly));
  const QString content = QString::fromUtf8(f.readAll());
  EXPECT_TRUE(content.contains(QStringLiteral("[iTunesBackup] error: Fail to open db file: Grüße.sqlite")));
  EXPECT_FALSE(content.contains(QStringLiteral("silenced")));
  EXPECT_FALSE(SherdLog::toFile(dir.filePath(QStringLiteral("missing/dir/x.log"))));
}

TEST_F(LogTest, ConcurrentCallersEachDeliverWholeLines) {
  std::atomic<int> count{0};
  std::atomic<int> malformed{0};
  SherdLog::setSink([&](const char*, int, const QString& t) {
    ++count;
    if (!t.startsWith(QStringLiteral("thread ")) || !t.endsWith(QStringLiteral(" end")))
      ++malformed;
  });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t] {
      for (int i = 0; i < 500; ++i)
        Log("m", 1, "thread %d line %d end", t, i);
    });
  for (auto& th : threads)
    th.join();
  EXPECT_EQ(count.load(), 2000);
  EXPECT_EQ(malformed.load(), 0);
}
} // namespace

#include "model/filefilterconfiguration.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
// The process-wide lists are shared by every test: each test that reads a
// settings file puts the built-in lists back afterwards.
class FileFilter : public ::testing::Test {
protected:
  void SetUp() override { saved = *FileFilterConfiguration::instance(); }
  void TearDown() override { *FileFilterConfiguration::instance() = saved; }

  QString writeSettings(const char* text) {
    const QString path = dir.filePath(QStringLiteral("filter.ini"));
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(text);
    return path;
  }

  FileFilterConfiguration saved = *FileFilterConfiguration::instance();
  QTemporaryDir dir;
};

TEST_F(FileFilter, BuiltInTypes) {
  FileFilterConfiguration* c = FileFilterConfiguration::instance();
  struct Row {
    const char* path;
    int type;
  } rows[] = {{"/x/B.HEIC", 0}, {"y.Mov", 1},     {"card.vcf", 5},     {"notes.xls", 3},
              {"dir.v/file", 3}, {"clip.mp4.m4a", 2}, {"trailing.", 3}};
  for (const auto& r : rows)
    EXPECT_EQ(c->getFileType(QString::fromLatin1(r.path)), r.type) << r.path;
  EXPECT_EQ(c->iPhoneAllFilter().size(), 10 + 8 + 9 + 5);
}

TEST_F(FileFilter, SettingsReplaceGroupsThatHaveKeys) {
  FileFilterConfiguration* c = FileFilterConfiguration::instance();
  c->init(writeSettings("[Photo]\nfirst=PNG\nsecond=jpg\nthird=\n[Audio]\n[Video]\nv=MKV\n"));
  EXPECT_EQ(c->photoFilter(), (QStringList{QStringLiteral("PNG"), QStringLiteral("jpg")}));
  EXPECT_EQ(c->audioFilter().size(), 5); // a group without keys keeps the built-in list
  EXPECT_EQ(c->videoFilter(), QStringList{QStringLiteral("MKV")});
  EXPECT_EQ(c->iPhoneAllFilter().size(), 2 + 1 + 9 + 5);
  struct Row {
    const char* path;
    int type;
  } rows[] = {{"a.png", 0}, {"a.JPG", 3}, {"m.mkv", 1}, {"s.mp3", 2}};
  for (const auto& r : rows)
    EXPECT_EQ(c->getFileType(QString::fromLatin1(r.path)), r.type) << r.path;

  // Any object answers from the process-wide lists.
  const FileFilterConfiguration copy = *c;
  c->photoFilter() = QStringList{QStringLiteral("GIF")};
  EXPECT_EQ(copy.getFileType(QStringLiteral("a.gif")), 0);
}

TEST_F(FileFilter, MissingSettingsFileChangesNothing) {
  FileFilterConfiguration* c = FileFilterConfiguration::instance();
  const QStringList before = c->iPhoneAllFilter();
  c->init(dir.filePath(QStringLiteral("absent.ini")));
  c->init(QString());
  EXPECT_EQ(c->iPhoneAllFilter(), before);
}
} // namespace

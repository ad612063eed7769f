#pragma once
// Small helpers the reader tests share: log capture, writing bytes or SQL
// statements to a file, and working copies of the real app databases.
//
// Real databases are never opened in place: SQLite may create or touch -wal
// and -shm files beside a database even when it only reads, so tests copy
// them (with their companions) into their own temporary folder first.
#include "platform/common/log.h"
#include "samples/backupfixture.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace testdata {

// Collects every log line while alive, then leaves the log without a sink.
struct LogCapture {
  QStringList lines;
  LogCapture() {
    SherdLog::setSink([this](const char*, int, const QString& text) { lines << text; });
  }
  ~LogCapture() { SherdLog::setSink(nullptr); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  bool contains(const QString& part) const {
    for (const QString& l : lines)
      if (l.contains(part))
        return true;
    return false;
  }
};

// A test with a temporary folder of its own whose error log lines (level 0)
// land in errors; the log goes back to stderr afterwards.
class ErrorLogTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    SherdLog::setSink([this](const char*, int level, const QString& text) {
      if (level == 0)
        errors << text;
    });
  }
  void TearDown() override { SherdLog::toStderr(); }

  QTemporaryDir dir;
  QStringList errors;
};

// Writes the bytes to the path (replacing what is there, making its folder)
// and answers the path.
inline QString writeFile(const QString& path, const QByteArray& bytes) {
  QDir().mkpath(QFileInfo(path).absolutePath());
  QFile f(path);
  EXPECT_TRUE(f.open(QIODevice::WriteOnly)) << path.toStdString();
  f.write(bytes);
  return path;
}

// Writes the database the statements make (no WAL) to the path and answers
// the path.
inline QString writeSqliteDb(const QString& path, const QStringList& statements) {
  QByteArray bytes;
  QString error;
  EXPECT_TRUE(fixture::makeSqliteDb(statements, false, &bytes, nullptr, &error)) << error.toStdString();
  return writeFile(path, bytes);
}

// Creates (or opens) the SQLite database at the path, runs each statement
// text on it and answers the path.
inline QString execSqlite(const QString& path, const QStringList& statements) {
  sqlite3* db = nullptr;
  EXPECT_EQ(sqlite3_open(path.toUtf8().constData(), &db), SQLITE_OK);
  for (const QString& s : statements)
    EXPECT_EQ(sqlite3_exec(db, s.toUtf8().constData(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  sqlite3_close(db);
  return path;
}

// Copies the real database at the source to the target path, with its -wal
// and -shm companions where the source has them (unless told not to), each
// left writable by the owner. Answers the target, or empty when the source is
// absent or a copy fails.
inline QString copyReal(const QString& source, const QString& target, bool companions = true) {
  if (!QFileInfo(source).isFile())
    return QString();
  QDir().mkpath(QFileInfo(target).absolutePath());
  const QStringList suffixes =
      companions ? QStringList{QString(), QStringLiteral("-wal"), QStringLiteral("-shm")} : QStringList{QString()};
  for (const QString& suffix : suffixes) {
    if (!QFile::exists(source + suffix))
      continue;
    QFile::remove(target + suffix);
    if (!QFile::copy(source + suffix, target + suffix))
      return QString();
    QFile::setPermissions(target + suffix, QFile::ReadOwner | QFile::WriteOwner);
  }
  return target;
}

// The fields of a record as one "a|b|c" text, so that a swapped column shows.
template <typename... T> QString fields(const T&... v) {
  QStringList l;
  (l << ... << QVariant::fromValue(v).toString());
  return l.join(QLatin1Char('|'));
}

} // namespace testdata

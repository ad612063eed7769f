#pragma once
// The bare SQLite scan the load benchmarks set a reader's load beside.
#include "platform/common/utils.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>

#include <sqlite3.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <vector>

namespace bench {

// Steps through every row of the statement and touches every column's bytes,
// with nothing done to them: the floor under a reader's load of the same rows.
inline qint64 bareScanBytes(const QString& path, const char* sql) {
  sqlite3* db = nullptr;
  sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  qint64 sum = 0;
  const int columns = sqlite3_column_count(stmt);
  while (sqlite3_step(stmt) == SQLITE_ROW)
    for (int c = 0; c < columns; ++c)
      sum += sqlite3_column_bytes(stmt, c);
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return sum;
}

// CPU seconds of this process, and wall seconds.
inline double cpuNow() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
}
inline double wallNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Every row of the statements, every column read as SQLite hands it out.
inline qint64 bareScanAll(const QString& db, const std::vector<const char*>& selects) {
  sqlite3* h = nullptr;
  qint64 sum = 0;
  if (sqlite3_open_v2(db.toUtf8().constData(), &h, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
    return -1;
  for (const char* sql : selects) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(h, sql, -1, &st, nullptr) != SQLITE_OK)
      continue;
    const int columns = sqlite3_column_count(st);
    while (sqlite3_step(st) == SQLITE_ROW) {
      for (int c = 0; c < columns; ++c) {
        switch (sqlite3_column_type(st, c)) {
        case SQLITE_TEXT:
          sum += sqlite3_column_bytes(st, c) + (sqlite3_column_text(st, c) ? 1 : 0);
          break;
        case SQLITE_FLOAT:
          sum += qint64(sqlite3_column_double(st, c));
          break;
        default:
          sum += sqlite3_column_int64(st, c);
        }
      }
    }
    sqlite3_finalize(st);
  }
  sqlite3_close(h);
  return sum;
}

// Peak resident memory of this process since the last resetPeak(), in bytes
// (Linux: VmHWM), and its reset. resetPeak() first hands the heap's free
// memory back to the system, so that the peak a load reaches is its own.
inline double peakBytes() {
  QFile f(QStringLiteral("/proc/self/status"));
  if (!f.open(QIODevice::ReadOnly))
    return -1;
  for (const QByteArray& line : f.readAll().split('\n'))
    if (line.startsWith("VmHWM:"))
      return double(line.mid(6).trimmed().split(' ').value(0).toLongLong()) * 1024.0;
  return -1;
}
inline void resetPeak() {
  malloc_trim(0);
  QFile f(QStringLiteral("/proc/self/clear_refs"));
  if (f.open(QIODevice::WriteOnly))
    f.write("5");
}

// Bytes of the files a load reads.
inline double fileBytes(const QStringList& paths) {
  double total = 0;
  for (const QString& p : paths)
    total += double(QFileInfo(p).size());
  return total;
}

// One line of the table `make bench` prints when every bench has run: the
// workload, its load and its baseline (CPU seconds, measured in the same run),
// their ratio, and the peak resident memory the load added over the size of
// the data it read (0 where no memory was measured). Appended to the file
// that SHERD_BENCH_SUMMARY names; nothing when it is unset.
inline void summary(const char* name, double load, double baseline, double peak, double dataBytes) {
  const char* path = std::getenv("SHERD_BENCH_SUMMARY");
  if (!path || !*path)
    return;
  if (FILE* f = std::fopen(path, "a")) {
    std::fprintf(f, "%-34s %9.3f %9.3f %7.2f %10.2f\n", name, load, baseline, baseline > 0 ? load / baseline : 0.0,
                 peak > 0 && dataBytes > 0 ? peak / dataBytes : 0.0);
    std::fclose(f);
  }
}

// Runs f in a child process, so that each load starts from a fresh heap and
// its peak memory is its own; returns the doubles it writes back, or false
// when the child fails.
template <int N, typename F> bool inChild(F f, double (&out)[N]) {
  int fds[2];
  if (pipe(fds) != 0)
    return false;
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    double values[N] = {};
    const bool ok = f(values);
    // The child's scratch folder: _exit skips the clean-up at process end.
    QDir(Utils::tempPath()).removeRecursively();
    if (ok && write(fds[1], values, sizeof values) != ssize_t(sizeof values))
      _exit(2);
    _exit(ok ? 0 : 1);
  }
  close(fds[1]);
  const ssize_t got = read(fds[0], out, sizeof out);
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return got == ssize_t(sizeof out) && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace bench

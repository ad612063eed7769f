#include "platform/common/log.h"

#include <QDateTime>
#include <QString>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace {
enum class Target { Stderr, File, Silent, Sink };

struct LogState {
  std::mutex mutex;
  Target target = Target::Stderr;
  FILE* file = nullptr;
  SherdLog::Sink sink;
  int maxLevel = SherdLog::Info;
};

LogState& state() {
  static LogState s;
  return s;
}

void closeFileLocked(LogState& s) {
  if (s.file) {
    fclose(s.file);
    s.file = nullptr;
  }
}

const char* levelName(int level) {
  switch (level) {
  case SherdLog::Error: return "error";
  case SherdLog::Info: return "info";
  default: return "debug";
  }
}
} // namespace

void Log(const char* module, int level, const char* format, ...) {
  LogState& s = state();
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    if (level > s.maxLevel || s.target == Target::Silent)
      return;
  }
  if (!format)
    return;
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  const int needed = vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::vector<char> buffer(needed > 0 ? size_t(needed) + 1 : 1, '\0');
  if (needed > 0)
    vsnprintf(buffer.data(), buffer.size(), format, args);
  va_end(args);
  const QString text = QString::fromUtf8(buffer.data());
  const char* mod = module ? module : "";

  std::lock_guard<std::mutex> lock(s.mutex);
  switch (s.target) {
  case Target::Silent: return;
  case Target::Sink:
    if (s.sink)
      s.sink(mod, level, text);
    return;
  case Target::Stderr:
  case Target::File: {
    const QByteArray line = QStringLiteral("%1 [%2] %3: %4\n")
                                .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")),
                                     QString::fromUtf8(mod), QString::fromLatin1(levelName(level)), text)
                                .toUtf8();
    FILE* out = s.target == Target::File && s.file ? s.file : stderr;
    fwrite(line.constData(), 1, size_t(line.size()), out);
    fflush(out);
    return;
  }
  }
}

namespace SherdLog {
void toStderr() {
  LogState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  closeFileLocked(s);
  s.sink = nullptr;
  s.target = Target::Stderr;
}

bool toFile(const QString& path) {
  LogState& s = state();
  FILE* f = fopen(path.toLocal8Bit().constData(), "a");
  std::lock_guard<std::mutex> lock(s.mutex);
  if (!f)
    return false;
  closeFileLocked(s);
  s.sink = nullptr;
  s.file = f;
  s.target = Target::File;
  return true;
}

void silence() {
  LogState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  closeFileLocked(s);
  s.sink = nullptr;
  s.target = Target::Silent;
}

void setSink(Sink sink) {
  LogState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  closeFileLocked(s);
  s.target = sink ? Target::Sink : Target::Stderr;
  s.sink = std::move(sink);
}

void setMaxLevel(int level) {
  LogState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.maxLevel = level;
}

int maxLevel() {
  LogState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  return s.maxLevel;
}
} // namespace SherdLog

#include "apps/cli/console.h"

#include "platform/common/log.h"

#include <QStringList>

#include <cerrno>
#include <cstdio>
#include <csignal>
#include <mutex>
#include <termios.h>
#include <unistd.h>

namespace cli::console {
namespace {
struct Held {
  int level;
  QString text;
};

struct State {
  std::mutex mutex;
  QByteArray command = "sherd";
  Verbosity verbosity = Verbosity::Normal;
  QStringList secrets;
  QString status;
  bool statusDrawn = false;
  int errors = 0;
  bool holding = false;
  bool hideSecrets = true;
  QList<Held> held;
};

State& state() {
  static State s;
  return s;
}

QString redactedLocked(const State& s, QString text) {
  for (const QString& secret : s.secrets)
    text.replace(secret, QStringLiteral("***"));
  return text;
}

void clearLocked(State& s) {
  if (s.statusDrawn) {
    std::fputs("\r\033[K", stderr);
    s.statusDrawn = false;
  }
}

void drawLocked(State& s) {
  if (s.status.isEmpty() || s.verbosity == Verbosity::Quiet || !stderrIsTerminal())
    return;
  std::fprintf(stderr, "\r\033[K%s", redactedLocked(s, s.status).toUtf8().constData());
  std::fflush(stderr);
  s.statusDrawn = true;
}

void printLocked(State& s, const QString& text) {
  clearLocked(s);
  std::fprintf(stderr, "%s: %s\n", s.command.constData(), redactedLocked(s, text).toUtf8().constData());
  std::fflush(stderr);
  drawLocked(s);
}

QString logText(int level, const char* module, const QString& text) {
  switch (level) {
  case SherdLog::Error: return text;
  case SherdLog::Info: return QStringLiteral("info: ") + text;
  default: return QStringLiteral("debug: [%1] %2").arg(QString::fromUtf8(module), text);
  }
}
} // namespace

void begin(const char* name, Verbosity verbosity) {
  State& s = state();
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    s.command = QByteArray("sherd ") + name;
    s.verbosity = verbosity;
  }
  SherdLog::setMaxLevel(verbosity == Verbosity::Verbose ? SherdLog::Debug : SherdLog::Error);
  SherdLog::setSink([](const char* module, int level, const QString& text) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (level == SherdLog::Error)
      ++s.errors;
    if (s.verbosity == Verbosity::Quiet)
      return;
    if (s.holding)
      s.held.append({level, logText(level, module, text)});
    else
      printLocked(s, logText(level, module, text));
  });
}

const char* command() { return state().command.constData(); }
Verbosity verbosity() { return state().verbosity; }

void addSecret(const QString& secret) {
  if (secret.isEmpty())
    return;
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (s.hideSecrets && !s.secrets.contains(secret))
    s.secrets.append(secret);
}

void hideNoSecrets() {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.hideSecrets = false;
  s.secrets.clear();
}

QString redacted(QString text) {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  return redactedLocked(s, text);
}

bool stderrIsTerminal() { return isatty(STDERR_FILENO) != 0; }
bool stdinIsTerminal() { return isatty(STDIN_FILENO) != 0; }

void error(const QString& text) {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  printLocked(s, text);
}

void note(const QString& text) {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  if (s.verbosity != Verbosity::Quiet)
    printLocked(s, text);
}

void setStatus(const QString& text) {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.status = text;
  drawLocked(s);
}

void clearStatus() {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.status.clear();
  clearLocked(s);
  std::fflush(stderr);
}

int loggedErrors() {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  return s.errors;
}

void holdLines() {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.holding = true;
}

void releaseLines(const QString& drop) {
  State& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.holding = false;
  for (const Held& line : qAsConst(s.held)) {
    if (drop.isEmpty() || line.text != drop)
      printLocked(s, line.text);
  }
  s.held.clear();
}
} // namespace cli::console

namespace {
// The terminal's settings while echo is off, for a signal that ends the
// prompt: the person's terminal must not stay silent after sherd is gone.
termios g_echoing{};
struct sigaction g_previous[3];
const int kPromptSignals[3] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void restoreEchoAndResignal(int sig) {
  const int saved = errno;
  tcsetattr(STDIN_FILENO, TCSANOW, &g_echoing);
  for (int i = 0; i < 3; ++i)
    if (kPromptSignals[i] == sig)
      sigaction(sig, &g_previous[i], nullptr);
  errno = saved;
  raise(sig); // delivered to the previous handler once this one returns
}
} // namespace

namespace cli::console {
bool readSecret(const QString& prompt, QString* secret) {
  clearStatus();
  // Echo goes off before the prompt shows, so that nothing typed after the
  // prompt can be echoed.
  termios saved{};
  const bool echoOff = tcgetattr(STDIN_FILENO, &saved) == 0;
  if (echoOff) {
    g_echoing = saved;
    struct sigaction restore {};
    restore.sa_handler = restoreEchoAndResignal;
    sigemptyset(&restore.sa_mask);
    for (int i = 0; i < 3; ++i)
      sigaction(kPromptSignals[i], &restore, &g_previous[i]);
    termios quiet = saved;
    quiet.c_lflag &= ~tcflag_t(ECHO);
    quiet.c_lflag |= ECHONL;
    tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
  }
  std::fprintf(stderr, "%s", prompt.toUtf8().constData());
  std::fflush(stderr);
  QByteArray line;
  bool ended = false;
  for (;;) {
    char c = 0;
    const ssize_t n = read(STDIN_FILENO, &c, 1);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0) {
      ended = true;
      break;
    }
    if (c == '\n' || c == '\r')
      break;
    line.append(c);
  }
  if (echoOff) {
    tcsetattr(STDIN_FILENO, TCSANOW, &saved);
    for (int i = 0; i < 3; ++i)
      sigaction(kPromptSignals[i], &g_previous[i], nullptr);
  }
  if (ended && line.isEmpty()) {
    std::fputs("\n", stderr);
    return false;
  }
  *secret = QString::fromUtf8(line);
  return true;
}
} // namespace cli::console

// The sherd program on a terminal (a pseudo-terminal here): the password
// prompt without echo and its three tries, the progress lines, and the
// argument memory that `ps` shows.
#include "samples/backupfixture.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <termios.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

namespace {
const QByteArray kPassword = "Terminal-Pa55";

bool writeBackup(const QString& folder, const QString& password) {
  fixture::BackupPlan plan;
  plan.password = password;
  QString error;
  return fixture::writeBackup(
      folder, plan, {fixture::file(QStringLiteral("HomeDomain"), QStringLiteral("Library/x.txt"), QByteArray("x"))},
      &error);
}

struct Session {
  QByteArray output; // everything the terminal showed
  int exitCode = -1;
  int signal = 0;      // the signal that ended it, if one did
  bool echoAfter = false; // the terminal echoes again once it ended
  bool argumentsShowedSecret = false; // /proc/<pid>/cmdline while it waited
};

// Runs sherd on a fresh pseudo-terminal. Each time the output shows a new
// "Password for" prompt, the next answer is typed (a control character alone,
// "\x04" the end of input or "\x03" an interrupt, is typed as it is). Waits on the terminal with poll, never by sleeping.
Session onTerminal(const QStringList& args, const std::vector<QByteArray>& answers, const QByteArray& secret) {
  std::vector<QByteArray> argv8{QByteArray(SHERD_EXE)};
  for (const QString& a : args)
    argv8.push_back(a.toLocal8Bit());
  std::vector<char*> argv;
  for (QByteArray& a : argv8)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  Session s;
  int master = -1;
  const pid_t pid = forkpty(&master, nullptr, nullptr, nullptr);
  if (pid < 0)
    return s;
  if (pid == 0) {
    execv(argv[0], argv.data());
    _exit(127);
  }
  size_t answered = 0;
  for (;;) {
    pollfd p{master, POLLIN, 0};
    const int ready = poll(&p, 1, 120000);
    if (ready <= 0)
      break; // hung: the exit code below says so
    char buffer[4096];
    const ssize_t n = read(master, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      break; // the child closed the terminal
    s.output.append(buffer, int(n));
    if (s.output.count("Password for") > int(answered) && answered < answers.size()) {
      QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
      if (!secret.isEmpty() && cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().contains(secret))
        s.argumentsShowedSecret = true;
      const QByteArray answer = answers[answered++];
      const bool control = answer.size() == 1 && answer.at(0) < ' ';
      const QByteArray typed = control ? answer : answer + "\r";
      if (write(master, typed.constData(), size_t(typed.size())) != typed.size())
        break;
    }
  }
  int status = 0;
  if (waitpid(pid, &status, 0) == pid) {
    if (WIFEXITED(status))
      s.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status))
      s.signal = WTERMSIG(status);
  }
  termios after{};
  s.echoAfter = tcgetattr(master, &after) == 0 && (after.c_lflag & ECHO) != 0;
  close(master);
  return s;
}

class Terminal : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(writeBackup(dir.filePath(QStringLiteral("locked")), QString::fromLatin1(kPassword)));
    ASSERT_TRUE(writeBackup(dir.filePath(QStringLiteral("plain")), QString()));
  }
  QTemporaryDir dir;
};
} // namespace

TEST_F(Terminal, ThePasswordIsAskedWithoutEchoThreeTimesAtMost) {
  const QByteArray noteSecret = "note-secret-42";
  const struct {
    const char* name;
    std::vector<QByteArray> answers;
    int exitCode;
    int prompts;
    int retries; // "try again" lines
    QByteArray lastLine;
  } rows[] = {
      {"right at once", {kPassword}, 0, 1, 0, "  Links              0"},
      {"wrong, then right", {"nope", kPassword}, 0, 2, 1, "  Links              0"},
      {"three wrong", {"a1", "b2", "c3"}, 3, 3, 2, "sherd info: wrong password"},
      {"end of input", {"\x04"}, 3, 1, 0, "sherd info: no password given"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    const Session s = onTerminal({QStringLiteral("info"), dir.filePath(QStringLiteral("locked"))}, r.answers, {});
    EXPECT_EQ(s.exitCode, r.exitCode) << s.output.constData();
    EXPECT_EQ(s.output.count("Password for"), r.prompts);
    EXPECT_EQ(s.output.count("wrong password, try again"), r.retries);
    for (const QByteArray& typed : r.answers)
      EXPECT_FALSE(s.output.contains(typed)) << "echoed: " << typed.constData();
    EXPECT_EQ(s.output.trimmed().split('\n').last().trimmed(), r.lastLine.trimmed());
    EXPECT_TRUE(s.echoAfter);
  }
  // Interrupted at the prompt, it ends by the signal and leaves the terminal
  // echoing as it found it.
  const Session interrupted = onTerminal({QStringLiteral("info"), dir.filePath(QStringLiteral("locked"))}, {"\x03"}, {});
  EXPECT_EQ(interrupted.signal, SIGINT);
  EXPECT_TRUE(interrupted.echoAfter);
  // While it waits at the prompt, its arguments no longer show a password.
  const Session s = onTerminal({QStringLiteral("scan"), dir.filePath(QStringLiteral("locked")),
                                QStringLiteral("--note-password"), QString::fromLatin1(noteSecret)},
                               {kPassword}, noteSecret);
  EXPECT_EQ(s.exitCode, 0) << s.output.constData();
  EXPECT_FALSE(s.argumentsShowedSecret);
  EXPECT_FALSE(s.output.contains(noteSecret));
}

TEST_F(Terminal, ProgressShowsOnATerminalOnly) {
  const QString plain = dir.filePath(QStringLiteral("plain"));
  const struct {
    const char* name;
    QStringList args;
    bool progress;
  } rows[] = {
      {"scan", {QStringLiteral("scan"), plain, QStringLiteral("--type"), QStringLiteral("whatsapp,notes")}, true},
      {"dump", {QStringLiteral("dump"), plain, QStringLiteral("--type"), QStringLiteral("calls")}, true},
      {"quiet scan", {QStringLiteral("scan"), plain, QStringLiteral("--quiet")}, false},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    const Session s = onTerminal(r.args, {}, {});
    EXPECT_EQ(s.exitCode, 0) << s.output.constData();
    EXPECT_EQ(s.output.contains("Reading 1/"), r.progress) << s.output.constData();
    EXPECT_EQ(s.output.contains("\r\033[K"), r.progress);
    // Each type's name and count as it finishes.
    if (r.args.contains(QStringLiteral("whatsapp,notes"))) {
      EXPECT_TRUE(s.output.contains("\r\033[KReading 1/2 WhatsApp     [------------------------------]   0%"));
      EXPECT_TRUE(s.output.contains("\r\033[KReading 2/2 Notes        [##############################] 100%"));
      EXPECT_TRUE(s.output.contains("sherd scan: WhatsApp (0) read"));
      EXPECT_TRUE(s.output.contains("sherd scan: Notes (0) read"));
    }
  }
}
